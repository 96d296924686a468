#pragma once
// One copy of the Linux copy engine (CopyEngine.cpp): the state a worker
// thread and its helpers share, and the steps of the copy.
//
// File contents take the cheapest path the kernel offers, falling back step
// by step: a reflink (FICLONE, shares the blocks on btrfs, XFS, ...), then
// copy_file_range (stays inside the kernel, may be offloaded by the file
// system), then pread/pwrite through a 1 MiB buffer. A path that the file
// systems of this copy do not support is not tried again for the rest of the
// copy. Sparse files keep their holes.
//
// Folders are walked with descriptors (openat, fstatat, mkdirat) so no path
// is resolved twice. Making thousands of small files is kernel work bound by
// the processor, so on a machine with several cores helper threads copy the
// files while the walk goes on; a folder gets its final permissions and
// times once everything inside it is done. The first failure stops every
// thread.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "platform/CopyEngine.h"
#include "runloop/RunLoop.h"

namespace vork::platform::copyjob {

using Clock = std::chrono::steady_clock;

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    ~Descriptor() { reset(); }
    void reset() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }
    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

// The process's file-creation mask, without changing it (umask() would, for
// every thread): /proc/self/status says it since Linux 4.7. Unknown counts as
// "masks everything", so permissions are always set explicitly.
mode_t currentUmask();

// Whether a copy path failed because the file systems do not offer it.
bool unsupported(int err);

enum class Kind { File, Folder, Other };

struct Job;

// What one copying thread keeps for itself.
struct Copier {
    std::unique_ptr<char[]> buffer;  // for the read/write path, made on first use
};

// A folder of the destination being filled. Its permissions and times are
// set when the last reference goes, that is after everything inside it has
// been copied (queued files and sub-folders hold a reference to it).
struct Folder {
    Folder(Job &job, Descriptor source, Descriptor destination, const struct stat &st, bool counted,
           std::shared_ptr<Folder> parent)
        : job(job), source(std::move(source)), destination(std::move(destination)), st(st), counted(counted),
          parent(std::move(parent)) {}
    ~Folder();

    Job &job;
    Descriptor source;
    Descriptor destination;
    const struct stat st;
    const bool counted;  // sub-folders count their own size; the copied folder does not
    const std::shared_ptr<Folder> parent;
};

struct FileTask {
    std::shared_ptr<Folder> folder;
    std::string name;
};

struct Job {
    std::string destinationItem;
    Kind kind = Kind::File;
    Descriptor source;       // the source file or folder (File, Folder)
    Descriptor destination;  // the item being made (File, Folder)
    struct stat sourceStat {};

    std::shared_ptr<RunLoop> loop;
    Clock::duration interval{};
    CopyEngine::StatusCallback callback;
    std::atomic<bool> cancelled{false};  // the owner went away

    // Shared by the copying threads.
    std::atomic<uint64_t> bytes{0};
    std::atomic<int64_t> lastReport{0};  // steady clock, nanoseconds
    std::atomic<int> failure{0};         // errno of the first failure
    std::atomic<bool> tryClone{true};
    std::atomic<bool> tryRangeCopy{true};
    std::atomic<bool> tryNoAtime{true};
    mode_t umask = 0777;

    // Files waiting for a copier. Bounded, so the folders they keep open
    // stay few; when it is full the walker copies the file itself.
    static constexpr size_t kMaxQueued = 64;
    std::mutex queueMutex;
    std::condition_variable queueChanged;
    std::deque<FileTask> queue;
    bool walkDone = false;

    bool stopped() const {
        return cancelled.load(std::memory_order_relaxed) || failure.load(std::memory_order_relaxed) != 0;
    }

    void fail(int err) {
        int none = 0;
        failure.compare_exchange_strong(none, err ? err : EIO);
    }

    void post(CopyStage stage, long error) {
        CopyStatus status{stage, static_cast<float>(bytes.load()), error};
        loop->post([callback = callback, status] { callback(status); });
    }

    // Counts copied bytes; whichever thread finds the interval passed posts
    // the next progress report.
    void advance(uint64_t n) {
        bytes.fetch_add(n, std::memory_order_relaxed);
        const int64_t now = Clock::now().time_since_epoch().count();
        int64_t last = lastReport.load(std::memory_order_relaxed);
        if (now - last >= interval.count() && lastReport.compare_exchange_strong(last, now))
            post(CopyStage::Running, copystatus::kNoErr);
    }

    // ---- file contents --------------------------------------------------

    int copyWithBuffer(Copier &self, int in, int out, off_t offset, off_t length, bool untilEnd);

    int copyRange(Copier &self, int in, int out, off_t offset, off_t length);

    // Copies only the data extents; the holes stay holes and the size is
    // set at the end.
    int copySparse(Copier &self, int in, int out, off_t size);

    int copyContents(Copier &self, int in, int out, const struct stat &st);

    // ---- metadata ---------------------------------------------------------

    int finishItem(int fd, const struct stat &st, bool createdWithMode);

    // ---- entries of a folder ----------------------------------------------

    Descriptor openSource(int dirFd, const char *name, int flags);

    int copyFileEntry(Copier &self, int srcDir, const char *name, int dstDir);

    // Opens a source sub-folder and makes its counterpart, owner-only until
    // it is filled (its final mode may forbid writing).
    std::shared_ptr<Folder> openFolder(const std::shared_ptr<Folder> &parent, const char *name, int &err);

    void runTask(Copier &self, const FileTask &task);

    void schedule(Copier &self, FileTask task);

    // Copies queued files until the walk is over and the queue is empty.
    void copyQueued(Copier &self);

    // Walks a folder depth first: makes sub-folders, links and special files
    // at once and queues regular files for the copiers.
    void walk(Copier &self, const std::shared_ptr<Folder> &folder);

    // Copies a folder with helper threads: on a machine with more than one
    // core, files are copied in parallel while the walk goes on.
    void copyFolder(Copier &self);

    // ---- the worker -----------------------------------------------------

    void run();

    static int makeOther(int srcDir, const char *name, const struct stat &st, int dstDir);
};

}  // namespace vork::platform::copyjob
