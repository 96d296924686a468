// File copy C functions: one process-wide copy object in g_FileCopy, started,
// polled and released by the agent from one thread.
#include "VORKCoreCommC/filecopy.h"

#include <utility>

#include "VORKCoreCommC/basics.h"
#include "base/CommCLog.h"
#include "base/Format.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "transfers/FileCopy.h"

using namespace vork;

VORKFileCopy *g_FileCopy = nullptr;

namespace {

const char *shown(const std::optional<std::string> &text) { return text ? text->c_str() : "(null)"; }

void releaseFileCopy() { delete std::exchange(g_FileCopy, nullptr); }

}  // namespace

bool hasEnoughSpaceForFileInDestination(const char *sourcePath, const char *destinationPath) {
    return capi::guarded<bool>(false, [&] {
        if (!g_FileCopy) g_FileCopy = new FileCopy();
        return g_FileCopy->hasEnoughSpaceToCopyFrom(capi::argument(sourcePath), capi::argument(destinationPath));
    });
}

const char *fileCopyStart(const char *sourcePath, const char *destinationFolder) {
    std::optional<std::string> source, destination;
    return capi::guardedOr<const char *>(
        [&] {
            source = capi::argument(sourcePath);
            destination = capi::argument(destinationFolder);
            releaseFileCopy();
            g_FileCopy = new FileCopy();
            logDebugf("fileCopyStart %s to %s", shown(source), shown(destination));
            const bool started = g_FileCopy->startCopyFrom(source, destination);
            logDebugf("fileCopyStart (src=%s, dst=%s) %s: %s", shown(source), shown(destination),
                      started ? "succeeded" : "failed", g_FileCopy->errorMessage().c_str());
            if (!g_FileCopy->isCompleted()) processRunLoop();
            if (started) return capi::emptyText();
            return g_FileCopy ? capi::returnText(std::string_view(g_FileCopy->errorMessage())) : capi::emptyText();
        },
        [&](const std::string &description) {
            logDebugf("fileCopyStart (src=%s, dst=%s) failed: %s", shown(source), shown(destination),
                      description.c_str());
            return description.empty() ? "Transfer failed" : capi::returnText(std::string_view(description));
        });
}

double fileCopyProgress(void) {
    return capi::guarded<double>(-1.0, [] {
        if (!g_FileCopy) return -1.0;
        if (!g_FileCopy->isCompleted()) processRunLoop();
        if (!g_FileCopy) return -1.0;
        if (g_FileCopy->isCompleted()) return 100.0;
        logDebugf("fileCopyProgress=%lf", g_FileCopy->percentCompleted());
        return g_FileCopy->percentCompleted();
    });
}

bool fileCopyIsComplete(void) {
    return capi::guarded<bool>(false, [] {
        if (!g_FileCopy) return true;
        if (!g_FileCopy->isCompleted()) processRunLoop();
        if (!g_FileCopy) return true;
        logDebugf("isCompleted=%s", yesNo(g_FileCopy->isCompleted()));
        return g_FileCopy->isCompleted();
    });
}

void fileCopyRelease(void) { capi::guardedVoid([] { releaseFileCopy(); }); }
