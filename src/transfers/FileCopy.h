#pragma once
// Copies a file or a whole folder into a destination folder in the
// background and follows its progress as a percentage of the source's size.
// The copy engine (CopyEngine.h) posts its status reports to the run loop of
// the thread that called startCopyFrom; statusCallback applies them there,
// so percentCompleted and isCompleted change only while that thread runs its
// loop. Use one object from one thread.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/Export.h"
#include "platform/CopyEngine.h"

namespace vork {

class VORK_EXPORT FileCopy {
public:
    FileCopy();
    // Stops a copy still running (its partial item is removed) and waits for
    // its worker. Reports already queued for this object are dropped.
    ~FileCopy();
    FileCopy(const FileCopy &) = delete;
    FileCopy &operator=(const FileCopy &) = delete;

    double percentCompleted() const { return percentCompleted_; }
    void setPercentCompleted(double value) { percentCompleted_ = value; }
    bool isCompleted() const { return isCompleted_; }
    void setIsCompleted(bool value) { isCompleted_ = value; }
    // Declared for callers; nothing in the library writes it.
    int32_t status() const { return status_; }
    void setStatus(int32_t value) { status_ = value; }
    const std::string &errorMessage() const { return errorMessage_; }
    void setErrorMessage(std::string value) { errorMessage_ = std::move(value); }
    uint64_t fileSize() const { return fileSize_; }
    void setFileSize(uint64_t value) { fileSize_ = value; }

    // 0 when nothing exists at the path; a file's size; for a folder the sum
    // of the sizes of everything below it (sub-folders' own sizes included,
    // links not followed, unreadable entries counting 0).
    uint64_t calculateFileSize(const std::optional<std::string> &path) const;
    // Free bytes of the file system holding the path; all ones (logged) when
    // they cannot be read.
    uint64_t calculateAvailableSpace(const std::optional<std::string> &path) const;
    // Logs both figures and answers size < available space, strictly.
    bool hasEnoughSpaceToCopyFrom(const std::optional<std::string> &source,
                                  const std::optional<std::string> &destination) const;
    // Starts copying the source into the destination folder. False with
    // errorMessage set when the copy could not start.
    bool startCopyFrom(const std::optional<std::string> &source, const std::optional<std::string> &destinationFolder);

    // Applies one status report to the FileCopy given as `info`. Throws
    // vork::Exception when `info` is null.
    static void statusCallback(const CopyStatus &status, void *info);

    // Seconds between the engine's progress reports.
    static constexpr double kStatusInterval = 1.0;

private:
    struct Receiver {
        FileCopy *owner;
    };

    double percentCompleted_ = 0;
    bool isCompleted_ = false;
    int32_t status_ = 0;
    std::string errorMessage_;
    uint64_t fileSize_ = 0;

    // Queued reports reach this object through a weak reference to the
    // receiver, which dies with the object.
    std::shared_ptr<Receiver> receiver_;
    std::unique_ptr<CopyOperation> operation_;
};

}  // namespace vork
