#pragma once
// Stand-ins for the system disk tools: an executable shell script at the
// tool's fixed path inside a sandboxed system root, which records every
// argument vector it is run with and prints saved outputs.
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace vork::test {

class StandInTool {
public:
    StandInTool(const SystemRootSandbox &sandbox, const std::string &absolutePath);

    // What one run with exactly these arguments prints. Several answers for
    // the same arguments are given in turn; the last one keeps answering.
    // Runs without an answer print nothing.
    StandInTool &answer(const std::vector<std::string> &args, const std::string &output, int times = 1);
    // The argument vectors of every run so far, in order.
    std::vector<std::vector<std::string>> calls() const;

private:
    std::filesystem::path state_;
    int answers_ = 0;
};

// The text of a saved tool output under tests/disks/fixtures/.
std::string fixture(const std::string &name);

}  // namespace vork::test
