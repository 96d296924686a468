#include "disks/DiskTools.h"

#include "VORKCoreCommC/sysinfo/VORKTask.h"
#include "base/SystemRoot.h"

namespace vork::disks {

std::string runTool(const char *absolutePath, const std::vector<std::string> &args) {
    // A tool that cannot be started (none on a Linux host) answers "" and
    // the task runner logs why.
    return VORKTask::runTask(systemPath(absolutePath), args);
}

std::string describeArguments(const std::vector<std::string> &args) {
    std::string text = "(";
    for (size_t i = 0; i < args.size(); ++i) text += (i ? ", " : "") + args[i];
    return text + ")";
}

}  // namespace vork::disks
