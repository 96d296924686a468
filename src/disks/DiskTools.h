#pragma once
// The system tools the disk classes run, at their fixed paths under the
// system root, through the library's task runner.
#include <string>
#include <vector>

namespace vork::disks {

inline constexpr const char *kDiskUtilPath = "/usr/sbin/diskutil";
inline constexpr const char *kHdiUtilPath = "/usr/bin/hdiutil";

// The tool's standard output. A host without the tool (a Linux machine)
// starts nothing and answers "", the output of a tool that printed nothing,
// so every caller takes its neutral path; the task runner logs why.
std::string runTool(const char *absolutePath, const std::vector<std::string> &args);

// "(a, b, c)": how an argument list appears in log lines.
std::string describeArguments(const std::vector<std::string> &args);

}  // namespace vork::disks
