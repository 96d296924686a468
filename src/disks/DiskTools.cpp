#include "disks/DiskTools.h"

#include <filesystem>

#include "VORKCoreCommC/sysinfo/VORKTask.h"
#include "base/CommCLog.h"
#include "base/SystemRoot.h"

namespace vork::disks {

std::string runTool(const char *absolutePath, const std::vector<std::string> &args) {
    const std::string tool = systemPath(absolutePath);
    std::error_code error;
    if (!std::filesystem::is_regular_file(tool, error)) {
        logDebugf("runTool: %s is not installed at %s; nothing was run", absolutePath, tool.c_str());
        return "";
    }
    return VORKTask::runTask(tool, args);
}

std::string describeArguments(const std::vector<std::string> &args) {
    std::string text = "(";
    for (size_t i = 0; i < args.size(); ++i) text += (i ? ", " : "") + args[i];
    return text + ")";
}

}  // namespace vork::disks
