// File hashing C functions: synchronous digests, and one process-wide
// background hasher in g_FileHashInBackground.
#include "VORKCoreCommC/filehash.h"

#include "base/CommCLog.h"
#include "base/Format.h"
#include "base/ProcessWide.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "transfers/FileHashInBackground.h"
#include "transfers/VORKSecurityFileHash.h"

using namespace vork;

VORKFileHashInBackground *g_FileHashInBackground = nullptr;

namespace {

const char *shownPath(const char *path) { return path ? path : "(null)"; }

auto &hashers() { return processWide<FileHashInBackground, g_FileHashInBackground>(); }

FileHashInBackground &hasher() { return *hashers().getOrMake(); }

// The synchronous digests: "" when hashing fails; an exception is logged and
// its description (or the fixed failure text) answered.
template <class Hash>
const char *hashNow(const char *name, const char *filePath, const char *failedText, Hash &&hash) {
    return capi::guardedOr<const char *>(
        [&] {
            logDebugf("%s filePath=%s", name, shownPath(filePath));
            auto value = hash(capi::argument(filePath));
            return value && !value->empty() ? capi::returnText(std::string_view(*value)) : capi::emptyText();
        },
        [&](const std::string &description) {
            if (description.empty()) {
                logDebugf("%s", failedText);
                return failedText;
            }
            logDebugf("%s failed: %s", name, description.c_str());
            return capi::returnText(std::string_view(description));
        });
}

}  // namespace

const char *fileHashMD5(const char *filePath) {
    return hashNow("fileHashMD5", filePath, "fileHashMD5 failed",
                   [](const std::optional<std::string> &path) { return VORKSecurityFileHash::md5HashOfFileAtPath(path); });
}

const char *fileHashSHA512(const char *filePath) {
    return hashNow("fileHashSHA512", filePath, "fileHashSHA512 failed", [](const std::optional<std::string> &path) {
        return VORKSecurityFileHash::sha512HashOfFileAtPath(path);
    });
}

void fileHashMD5Start(const char *filePath) {
    capi::guardedVoid([&] {
        logDebugf("fileHashMD5Start filePath=%s", shownPath(filePath));
        hasher().startMD5FileHashOfFilepath(capi::argument(filePath));
    });
}

void fileHashSHA512Start(const char *filePath) {
    capi::guardedVoid([&] {
        logDebugf("fileHashSHA512Start filePath=%s", shownPath(filePath));
        hasher().startSHA512FileHashOfFilepath(capi::argument(filePath));
    });
}

bool fileHashIsComplete(void) {
    return capi::guarded<bool>(false, [] {
        auto current = hashers().shared();
        const bool done = current && current->done();
        logDebugf("fileHashIsComplete=%s", yesNo(done));
        return done;
    });
}

const char *fileHashResult(void) {
    return capi::guarded<const char *>(nullptr, [] {
        std::optional<std::string> value;
        if (auto current = hashers().shared()) value = current->hashValue();
        // The label is the one this line has always carried.
        logDebugf("fileHashIsComplete=%s", value ? value->c_str() : "(null)");
        return capi::returnText(value);
    });
}

void fileHashRelease(void) {
    capi::guardedVoid([] {
        logDebugf("fileHashRelease");
        hashers().release();
    });
}

void fileHashInBackgroundInitialize(void) { capi::guardedVoid([] { hasher(); }); }
