#include "VORKCoreCommC/sysinfo/VORKTask.h"

#include "base/CommCLog.h"
#include "platform/ProcessLauncher.h"
#include "util/CodePoints.h"
#include "util/Utf8.h"

namespace vork {

namespace {

std::string asUtf8(const std::string &bytes) {
    if (util::isValidUtf8(bytes)) return bytes;
    std::string text;
    text.reserve(bytes.size());
    for (size_t offset = 0; offset < bytes.size();) {
        const util::CodePointStep step = util::codePointAt(bytes, offset);
        util::appendUtf8(text, step.value);
        offset += step.length;
    }
    return text;
}

}  // namespace

std::string VORKTask::runTask(const std::string &toolPath, const std::vector<std::string> &args) {
    const platform::ProcessResult result = platform::processLauncher().get()->run(toolPath, args);
    if (!result.started) {
        logDebugf("VORKTask.runTask: %s could not be started: %s", toolPath.c_str(), result.error.c_str());
        return std::string();
    }
    return asUtf8(result.output);
}

}  // namespace vork
