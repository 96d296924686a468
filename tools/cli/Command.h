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
    // --quiet: no progress bar and no notes on stderr (errors still go there).
    bool quiet() const { return has("quiet"); }
    // --json: the result as one JSON object on stdout instead of text.
    bool json() const { return has("json"); }
};

struct Command {
    std::string name;
    std::string usage;    // arguments, e.g. "ADDRESS START END"
    std::string summary;  // one line
    std::function<int(const Options &)> run;
    // The options the command takes besides the global ones (--help, --quiet,
    // --json), separated by blanks; a name ending in "=" takes a value
    // ("server= insecure"). Any other option is a usage error.
    std::string options;
};

std::vector<Command> &commands();

struct CommandRegistrar {
    explicit CommandRegistrar(Command command) { commands().push_back(std::move(command)); }
};

// The options of every server command (see Session.h).
extern const char *const kSessionOptions;

// Reads a whole decimal number in [min, max]; false for anything else
// ("", "abc", "12x", out of range).
bool parseNumber(const std::string &text, long long min, long long max, long long &value);

}  // namespace vorkcomm
