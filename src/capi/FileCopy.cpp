// File copy C functions: one process-wide copy object in g_FileCopy, started,
// polled and released by the agent from one thread.
#include "VORKCoreCommC/filecopy.h"

#include "base/CommCLog.h"
#include "base/Format.h"
#include "base/ProcessWide.h"
#include "capi/Guard.h"
#include "capi/PumpRunLoop.h"
#include "capi/ReturnedText.h"
#include "transfers/FileCopy.h"

using namespace vork;

VORKFileCopy *g_FileCopy = nullptr;

namespace {

const char *shown(const std::optional<std::string> &text) { return text ? text->c_str() : "(null)"; }

auto &copies() { return processWide<FileCopy, g_FileCopy>(); }

}  // namespace

bool hasEnoughSpaceForFileInDestination(const char *sourcePath, const char *destinationPath) {
    return capi::guarded<bool>(false, [&] {
        return copies().getOrMake()->hasEnoughSpaceToCopyFrom(capi::argument(sourcePath), capi::argument(destinationPath));
    });
}

const char *fileCopyStart(const char *sourcePath, const char *destinationFolder) {
    std::optional<std::string> source, destination;
    return capi::guardedOr<const char *>(
        [&] {
            source = capi::argument(sourcePath);
            destination = capi::argument(destinationFolder);
            copies().release();
            FileCopy &copy = copies().make();
            logDebugf("fileCopyStart %s to %s", shown(source), shown(destination));
            const bool started = copy.startCopyFrom(source, destination);
            logDebugf("fileCopyStart (src=%s, dst=%s) %s: %s", shown(source), shown(destination),
                      started ? "succeeded" : "failed", copy.errorMessage().c_str());
            // The copy reports through this thread's loop, which may also
            // release it: keep it alive until the answer is made.
            auto held = copies().shared();
            if (!copy.isCompleted()) capi::pumpRunLoopOnce();
            if (started) return capi::emptyText();
            return capi::returnText(std::string_view(copy.errorMessage()));
        },
        [&](const std::string &description) {
            logDebugf("fileCopyStart (src=%s, dst=%s) failed: %s", shown(source), shown(destination),
                      description.c_str());
            return description.empty() ? "Transfer failed" : capi::returnText(std::string_view(description));
        });
}

double fileCopyProgress(void) {
    return capi::guarded<double>(-1.0, [] {
        if (!copies()) return -1.0;
        if (!copies().get()->isCompleted()) capi::pumpRunLoopOnce();
        FileCopy *copy = copies().get();
        if (!copy) return -1.0;
        if (copy->isCompleted()) return 100.0;
        logDebugf("fileCopyProgress=%lf", copy->percentCompleted());
        return copy->percentCompleted();
    });
}

bool fileCopyIsComplete(void) {
    return capi::guarded<bool>(false, [] {
        if (!copies()) return true;
        if (!copies().get()->isCompleted()) capi::pumpRunLoopOnce();
        FileCopy *copy = copies().get();
        if (!copy) return true;
        logDebugf("isCompleted=%s", yesNo(copy->isCompleted()));
        return copy->isCompleted();
    });
}

void fileCopyRelease(void) { capi::guardedVoid([] { copies().release(); }); }
