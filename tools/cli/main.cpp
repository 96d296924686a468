// vorkcomm: runs the library's operations from a shell.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>

#include "Command.h"

namespace vorkcomm {

std::vector<Command> &commands() {
    static std::vector<Command> all;
    return all;
}

static std::set<std::string> &switches() {
    static std::set<std::string> s{"help"};
    return s;
}
bool isSwitch(const std::string &name) { return switches().count(name) != 0; }
void addSwitch(const std::string &name) { switches().insert(name); }

}  // namespace vorkcomm

using namespace vorkcomm;

static void usage(FILE *out) {
    std::fprintf(out, "usage: vorkcomm COMMAND [options] [arguments]\n\ncommands:\n");
    auto all = commands();
    std::sort(all.begin(), all.end(), [](const Command &a, const Command &b) { return a.name < b.name; });
    for (const Command &c : all)
        std::fprintf(out, "  %-22s %-28s %s\n", c.name.c_str(), c.usage.c_str(), c.summary.c_str());
}

int main(int argc, char **argv) {
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "help")) {
        usage(argc < 2 ? stderr : stdout);
        return argc < 2 ? kExitUsage : kExitOk;
    }
    const std::string name = argv[1];
    auto it = std::find_if(commands().begin(), commands().end(), [&](const Command &c) { return c.name == name; });
    if (it == commands().end()) {
        std::fprintf(stderr, "vorkcomm: unknown command '%s'\n", name.c_str());
        usage(stderr);
        return kExitUsage;
    }
    Options options;
    for (int i = 2; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg.rfind("--", 0) == 0 && arg.size() > 2) {
            std::string key = arg.substr(2), value;
            if (auto eq = key.find('='); eq != std::string::npos) {
                value = key.substr(eq + 1);
                key = key.substr(0, eq);
            } else if (!isSwitch(key)) {
                if (i + 1 >= argc) {
                    std::fprintf(stderr, "vorkcomm: option --%s needs a value\n", key.c_str());
                    return kExitUsage;
                }
                value = argv[++i];
            }
            options.values[key] = value;
        } else {
            options.positional.push_back(arg);
        }
    }
    if (options.has("help")) {
        std::printf("usage: vorkcomm %s %s\n  %s\n", it->name.c_str(), it->usage.c_str(), it->summary.c_str());
        return kExitOk;
    }
    VORKReleaseScopePush();
    int rc = it->run(options);
    VORKReleaseScopePop();
    return rc;
}
