#pragma once
// Runs a program to its end and collects its exit code, standard output and
// standard error; standard error can be a pseudo-terminal, standard input
// reads a file.
#include <map>
#include <string>
#include <vector>

namespace vork::test {

struct ToolResult {
    int exitCode = -1;  // 128 + signal when killed
    std::string out, err;
    double seconds = 0;
};

ToolResult runTool(const std::string &program, const std::vector<std::string> &arguments, bool stderrIsTerminal,
                   const std::string &input = "/dev/null");

// The arguments with every placeholder (a key of values, such as "{dir}")
// replaced by its value.
std::vector<std::string> withPlaceholders(const std::vector<std::string> &arguments,
                                          const std::map<std::string, std::string> &values);

}  // namespace vork::test
