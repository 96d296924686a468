#include "transfers/FileCopy.h"

#include <limits>
#include <system_error>

#include "base/CommCLog.h"
#include "base/Exception.h"
#include "base/Format.h"
#include "platform/FileAttributes.h"
#include "platform/FileSystemSpace.h"

namespace vork {

namespace {

const char *shown(const std::optional<std::string> &text) { return text ? text->c_str() : "(null)"; }

// bytes × 100 ÷ size in IEEE arithmetic, spelled out for a size of 0 (an
// empty source): 0 ÷ 0 is NaN, anything else ÷ 0 is infinite.
double percentOf(double bytes, uint64_t size) {
    if (size == 0) {
        return bytes == 0 ? std::numeric_limits<double>::quiet_NaN() : std::numeric_limits<double>::infinity();
    }
    return bytes * 100.0 / static_cast<double>(size);
}

}  // namespace

FileCopy::FileCopy() : receiver_(std::make_shared<Receiver>(Receiver{this})) {}

FileCopy::~FileCopy() {
    receiver_.reset();
    operation_.reset();
}

uint64_t FileCopy::calculateFileSize(const std::optional<std::string> &path) const {
    return path ? platform::fileAttributes().get()->sizeOfItem(*path) : 0;
}

uint64_t FileCopy::calculateAvailableSpace(const std::optional<std::string> &path) const {
    constexpr uint64_t kUnknown = std::numeric_limits<uint64_t>::max();
    auto attributes = platform::fileSystemSpace().get()->attributesOfFileSystem(path.value_or(""));
    if (!attributes) {
        logDebugf("Unable to get file attributes for path %s: %s", shown(path), attributes.error().c_str());
        return kUnknown;
    }
    if (!attributes.value().freeSize) {
        logDebugf("Unable to get free size for path %s: %s", shown(path), "(null)");
        return kUnknown;
    }
    return *attributes.value().freeSize;
}

bool FileCopy::hasEnoughSpaceToCopyFrom(const std::optional<std::string> &source,
                                        const std::optional<std::string> &destination) const {
    const uint64_t size = calculateFileSize(source);
    const uint64_t available = calculateAvailableSpace(destination);
    logDebugf("Size of %s: %llu  Available space at %s: %llu", shown(source), static_cast<unsigned long long>(size),
              shown(destination), static_cast<unsigned long long>(available));
    return size < available;
}

bool FileCopy::startCopyFrom(const std::optional<std::string> &source,
                             const std::optional<std::string> &destinationFolder) {
    if (!source || !platform::fileAttributes().get()->isReadable(*source)) {
        errorMessage_ = stringf("The source file %s does not exist or cannot be read", shown(source));
        return false;
    }
    fileSize_ = calculateFileSize(source);
    isCompleted_ = false;
    errorMessage_.clear();

    // Reports are delivered on this thread's loop.
    std::shared_ptr<RunLoop> loop;
    try {
        loop = RunLoop::current();
    } catch (const std::system_error &e) {
        errorMessage_ = stringf("Failed to schedule operation with run loop: %ld", copyStatusFromErrno(e.code().value()));
        return false;
    }

    logDebugf("About to copy %s to %s", shown(source), shown(destinationFolder));
    std::weak_ptr<Receiver> receiver = receiver_;
    auto started = destinationFolder
                       ? copyEngine().get()->startCopy(*source, *destinationFolder, std::move(loop),
                                                       RunLoop::Seconds(kStatusInterval),
                                                       [receiver](const CopyStatus &status) {
                                                           if (auto alive = receiver.lock())
                                                               statusCallback(status, alive->owner);
                                                       })
                       : CopyEngine::Started{copystatus::kNotFound, nullptr};
    operation_ = std::move(started.operation);
    logDebugf("Status: %ld", started.status);
    if (started.status == copystatus::kNoErr) return true;
    errorMessage_ = stringf("Failed to begin asynchronous object copy: %ld", started.status);
    return false;
}

void FileCopy::statusCallback(const CopyStatus &status, void *info) {
    logDebugf("statusCallBack was received.");
    if (!info) throw Exception("The info parameter was nil.", stringf("Info %ld", 0L));
    auto *self = static_cast<FileCopy *>(info);
    // The error a copy ended with is not reported: it still completes.
    self->percentCompleted_ = percentOf(static_cast<double>(status.bytesCompleted), self->fileSize_);
    if (status.stage == CopyStage::Complete) {
        logDebugf("Finished!");
        self->isCompleted_ = true;
    }
}

}  // namespace vork
