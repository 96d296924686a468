#pragma once
// Subcommands of vorkcomm. Each source file registers its commands with a
// static CommandRegistrar, so a new family of commands is one new file.
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vorkcomm {

// Exit codes scripts can rely on.
enum ExitCode : int {
    kExitOk = 0,
    kExitFailure = 1,     // the operation ran and failed (server status, bad digest...)
    kExitUsage = 2,       // bad command line
    kExitUnreachable = 3, // no answer from the server or a transfer failed
};

struct Options {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values;  // --name value / --name=value
    bool has(const std::string &name) const { return values.count(name) != 0; }
    std::string get(const std::string &name, const std::string &fallback = "") const {
        auto it = values.find(name);
        return it == values.end() ? fallback : it->second;
    }
};

struct Command {
    std::string name;
    std::string usage;    // arguments, e.g. "ADDRESS START END"
    std::string summary;  // one line
    std::function<int(const Options &)> run;
};

std::vector<Command> &commands();

struct CommandRegistrar {
    explicit CommandRegistrar(Command command) { commands().push_back(std::move(command)); }
};

// Flags that take no value.
bool isSwitch(const std::string &name);
void addSwitch(const std::string &name);

}  // namespace vorkcomm
