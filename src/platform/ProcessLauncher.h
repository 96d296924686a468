#pragma once
// Starting a command-line tool and reading back what it prints.
#include <string>
#include <vector>

#include "platform/Service.h"

namespace vork::platform {

struct ProcessResult {
    bool started = false;     // false: the tool could not be started at all
    std::string output;       // everything the tool wrote to its standard output
    int exitStatus = -1;      // exit code, or 128 + signal number; -1 when not started
    std::string error;        // why the tool could not be started
};

class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    // Runs the tool at path (no shell, no PATH search) with args as its
    // argv[1..], standard output to a pipe that is read while the tool
    // runs, standard input and error inherited; waits until it exits.
    virtual ProcessResult run(const std::string &path, const std::vector<std::string> &args) = 0;
};

ServiceSlot<ProcessLauncher> &processLauncher();

}  // namespace vork::platform
