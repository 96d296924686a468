#pragma once
// The engine behind FileCopy: copies a file, a symbolic link or a whole
// folder into a destination folder on a worker thread and posts status
// reports to the run loop of the thread that started it, so the starter
// sees them only while it runs that loop.
//
// Rules every engine keeps:
//  - The copy takes the source's name inside the destination folder and
//    never replaces an existing item of that name (the start is refused).
//  - Contents, folder structure, permission bits (rwx of owner, group and
//    others) and modification times are copied; ownership stays that of the
//    process, extended attributes are not copied.
//  - The source is only read.
//  - A copy that fails part-way, or is stopped, removes what it wrote, so no
//    half-written item is left under the final name. It still ends with a
//    Complete report, which carries the failure's status.
//
// Status codes answer a start or travel with the final report. They follow
// the numbering of the classic file manager, so the agent's texts read the
// same on every platform.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Service.h"
#include "runloop/RunLoop.h"

namespace vork {

enum class CopyStage : int { Undefined = 0, Preflighting = 1, Running = 2, Complete = 3 };

namespace copystatus {
constexpr long kNoErr = 0;
constexpr long kDiskFull = -34;       // no space left on the destination
constexpr long kIOError = -36;        // any other failure of the system
constexpr long kNotFound = -43;       // the source or the destination folder does not exist
constexpr long kDuplicateName = -48;  // the destination already holds an item of that name
constexpr long kParameter = -50;      // the source cannot be copied there (a folder into itself, a socket)
constexpr long kPermission = -54;     // not allowed to read the source or write the destination
constexpr long kReadOnly = -61;       // the destination is on a read-only file system
constexpr long kNotAFolder = -120;    // the destination is not a folder
}  // namespace copystatus

// The status code for an errno value.
long copyStatusFromErrno(int errnum);

struct CopyStatus {
    CopyStage stage = CopyStage::Undefined;
    // Bytes copied so far. Reported as a 32-bit float, the precision the
    // agent has always read this figure with.
    float bytesCompleted = 0;
    // copystatus::kNoErr, or the status of the failure that ended the copy
    // (Complete reports only).
    long error = copystatus::kNoErr;
};

// A running copy. Destroying it stops the copy at the next chunk, removes
// the partial item and waits for the worker, which posts nothing after that.
// Reports already posted still run on the loop, so the callback must not
// point at anything that can be freed before them (hold a weak reference).
class CopyOperation {
public:
    virtual ~CopyOperation() = default;
};

class CopyEngine {
public:
    using StatusCallback = std::function<void(const CopyStatus &)>;

    struct Started {
        long status = copystatus::kNoErr;
        std::unique_ptr<CopyOperation> operation;  // set when status is kNoErr
    };

    virtual ~CopyEngine() = default;

    // Checks the source and the destination folder, creates the destination
    // item (so a name clash is refused at once) and starts the worker.
    // `callback` runs on `loop`'s thread for every report: one Running report
    // when the worker begins, one about every `interval` while it copies and
    // one Complete report at the end.
    virtual Started startCopy(const std::string &source, const std::string &destinationFolder,
                              std::shared_ptr<RunLoop> loop, RunLoop::Seconds interval,
                              StatusCallback callback) = 0;
};

platform::ServiceSlot<CopyEngine> &copyEngine();

}  // namespace vork
