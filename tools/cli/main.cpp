// vorkcomm: runs the library's operations from a shell.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>

#include "Command.h"

namespace vorkcomm {

std::vector<Command> &commands() {
    static std::vector<Command> all;
    return all;
}

bool parseNumber(const std::string &text, long long min, long long max, long long &value) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return false;
    errno = 0;
    char *end = nullptr;
    const long long parsed = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || parsed < min || parsed > max) return false;
    value = parsed;
    return true;
}

}  // namespace vorkcomm

using namespace vorkcomm;

namespace {

constexpr const char *kGlobalSwitches = "help quiet json";

void usage(FILE *out) {
    std::fprintf(out,
                 "usage: vorkcomm COMMAND [options] [arguments]\n"
                 "       vorkcomm --version | --help\n\n"
                 "Runs the operations of libVORKCoreCommC from a shell. Every command takes\n"
                 "--help (its usage), --quiet (no progress bar or notes) and --json (the\n"
                 "result as one JSON object on standard output).\n\n"
                 "Exit codes: 0 success, 1 the operation failed, 2 a bad command line,\n"
                 "3 no answer from the server or a failed transfer.\n\ncommands:\n");
    auto all = commands();
    std::sort(all.begin(), all.end(), [](const Command &a, const Command &b) { return a.name < b.name; });
    for (const Command &c : all) std::fprintf(out, "  %-18s %s\n", c.name.c_str(), c.summary.c_str());
}

// Switches and value options the command accepts, from its option text.
struct Accepted {
    std::set<std::string> switches, values;
    explicit Accepted(const Command &command) {
        std::istringstream words(std::string(kGlobalSwitches) + " " + command.options);
        for (std::string word; words >> word;) {
            if (word.back() == '=') values.insert(word.substr(0, word.size() - 1));
            else switches.insert(word);
        }
    }
};

// Splits the arguments after the command name; answers kExitOk or prints
// why the line is wrong and answers kExitUsage.
int parse(const Command &command, int argc, char **argv, Options &options) {
    const Accepted accepted(command);
    bool onlyPositional = false;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        if (onlyPositional || arg == "-" || arg.size() < 2 || arg[0] != '-' ||
            (arg[1] != '-' && std::isdigit(static_cast<unsigned char>(arg[1])))) {
            options.positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            onlyPositional = true;
            continue;
        }
        std::string key = arg.substr(arg[1] == '-' ? 2 : 1), value;
        const size_t eq = key.find('=');
        if (eq != std::string::npos) {
            value = key.substr(eq + 1);
            key.resize(eq);
        }
        if (arg[1] != '-' || (!accepted.switches.count(key) && !accepted.values.count(key))) {
            std::fprintf(stderr, "vorkcomm: %s does not take the option %s (see vorkcomm %s --help)\n",
                         command.name.c_str(), arg.c_str(), command.name.c_str());
            return kExitUsage;
        }
        if (accepted.switches.count(key) && eq != std::string::npos) {
            std::fprintf(stderr, "vorkcomm: the option --%s takes no value\n", key.c_str());
            return kExitUsage;
        }
        if (accepted.values.count(key) && eq == std::string::npos) {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "vorkcomm: the option --%s needs a value\n", key.c_str());
                return kExitUsage;
            }
            value = argv[++i];
        }
        options.values[key] = value;
    }
    return kExitOk;
}

void commandHelp(const Command &c) {
    std::printf("usage: vorkcomm %s %s\n  %s\n", c.name.c_str(), c.usage.c_str(), c.summary.c_str());
    std::printf("options: --help --quiet --json");
    std::istringstream words(c.options);
    for (std::string word; words >> word;)
        std::printf(" --%s", word.back() == '=' ? (word.substr(0, word.size() - 1) + " VALUE").c_str() : word.c_str());
    std::printf("\n");
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        usage(stderr);
        return kExitUsage;
    }
    const std::string name = argv[1];
    if (name == "--help" || name == "help") {
        usage(stdout);
        return kExitOk;
    }
    if (name == "--version") {
        std::printf("vorkcomm %s\n", VORKCoreCommCVersion());
        return kExitOk;
    }
    auto it = std::find_if(commands().begin(), commands().end(), [&](const Command &c) { return c.name == name; });
    if (it == commands().end()) {
        std::fprintf(stderr, "vorkcomm: unknown command '%s'\n", name.c_str());
        usage(stderr);
        return kExitUsage;
    }
    Options options;
    if (int rc = parse(*it, argc, argv, options); rc != kExitOk) return rc;
    if (options.has("help")) {
        commandHelp(*it);
        return kExitOk;
    }
    VORKReleaseScopePush();
    int rc = it->run(options);
    VORKReleaseScopePop();
    return rc;
}
