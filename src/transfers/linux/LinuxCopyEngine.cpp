// The Linux copy engine. The start runs on the caller's thread: it checks
// the paths and creates the destination item with O_EXCL / mkdir, which both
// refuses an existing name atomically and catches permission problems at
// once. A worker thread then fills the item.
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
#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>
#include <vector>

#include "transfers/CopyEngine.h"

namespace vork {

long copyStatusFromErrno(int errnum) {
    switch (errnum) {
        case 0: return copystatus::kNoErr;
        case ENOENT: return copystatus::kNotFound;
        case ENOTDIR: return copystatus::kNotAFolder;
        case EEXIST: return copystatus::kDuplicateName;
        case EACCES:
        case EPERM: return copystatus::kPermission;
        case EROFS: return copystatus::kReadOnly;
        case ENOSPC:
        case EDQUOT:
        case EFBIG: return copystatus::kDiskFull;
        case EINVAL:
        case ELOOP:
        case ENAMETOOLONG: return copystatus::kParameter;
        default: return copystatus::kIOError;
    }
}

namespace {

using Clock = std::chrono::steady_clock;

// Bytes handed to one copy_file_range or pread/pwrite: small enough that a
// stop request is seen within milliseconds, large enough that the calls
// cost nothing next to the copying.
constexpr size_t kChunk = 16u << 20;
constexpr size_t kBufferSize = 1u << 20;

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
mode_t currentUmask() {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("Umask:", 0) == 0) return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8));
    }
    return 0777;
}

bool unsupported(int err) {
    return err == EOPNOTSUPP || err == ENOTTY || err == EXDEV || err == EINVAL || err == ENOSYS || err == EBADF;
}

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

    int copyWithBuffer(Copier &self, int in, int out, off_t offset, off_t length, bool untilEnd) {
        if (!self.buffer) self.buffer = std::make_unique<char[]>(kBufferSize);
        char *buffer = self.buffer.get();
        while (untilEnd || length > 0) {
            if (stopped()) return ECANCELED;
            size_t want = untilEnd ? kBufferSize : static_cast<size_t>(std::min<off_t>(length, kBufferSize));
            ssize_t got = ::pread(in, buffer, want, offset);
            if (got < 0) {
                if (errno == EINTR) continue;
                return errno;
            }
            if (got == 0) break;
            for (ssize_t done = 0; done < got;) {
                ssize_t put = ::pwrite(out, buffer + done, static_cast<size_t>(got - done), offset + done);
                if (put < 0) {
                    if (errno == EINTR) continue;
                    return errno;
                }
                done += put;
            }
            offset += got;
            length -= got;
            advance(static_cast<uint64_t>(got));
        }
        return 0;
    }

    int copyRange(Copier &self, int in, int out, off_t offset, off_t length) {
        while (length > 0) {
            if (stopped()) return ECANCELED;
            if (!tryRangeCopy.load(std::memory_order_relaxed))
                return copyWithBuffer(self, in, out, offset, length, false);
            loff_t inOffset = offset, outOffset = offset;
            size_t chunk = static_cast<size_t>(std::min<off_t>(length, kChunk));
            ssize_t n = ::copy_file_range(in, &inOffset, out, &outOffset, chunk, 0);
            if (n < 0) {
                if (errno == EINTR) continue;
                if (unsupported(errno)) {
                    tryRangeCopy.store(false, std::memory_order_relaxed);
                    continue;
                }
                return errno;
            }
            if (n == 0) break;  // the source became shorter while we copied
            offset += n;
            length -= n;
            advance(static_cast<uint64_t>(n));
        }
        return 0;
    }

    // Copies only the data extents; the holes stay holes and the size is
    // set at the end.
    int copySparse(Copier &self, int in, int out, off_t size) {
        off_t position = 0;
        while (position < size) {
            off_t data = ::lseek(in, position, SEEK_DATA);
            if (data < 0) {
                if (errno == ENXIO) break;  // only a hole is left
                if (int err = copyRange(self, in, out, position, size - position)) return err;
                break;
            }
            data = std::min(data, size);
            off_t hole = ::lseek(in, data, SEEK_HOLE);
            if (hole < 0 || hole > size) hole = size;
            advance(static_cast<uint64_t>(data - position));
            if (int err = copyRange(self, in, out, data, hole - data)) return err;
            position = hole;
        }
        if (position < size) advance(static_cast<uint64_t>(size - position));
        if (::ftruncate(out, size) != 0) return errno;
        return 0;
    }

    int copyContents(Copier &self, int in, int out, const struct stat &st) {
        // Files of virtual file systems report size 0 and still have
        // contents: read them to the end.
        if (st.st_size == 0) return copyWithBuffer(self, in, out, 0, 0, true);
        if (tryClone.load(std::memory_order_relaxed)) {
            if (::ioctl(out, FICLONE, in) == 0) {
                advance(static_cast<uint64_t>(st.st_size));
                return 0;
            }
            if (!unsupported(errno) && errno != EPERM) return errno;
            tryClone.store(false, std::memory_order_relaxed);
        }
        if (st.st_blocks * 512 < st.st_size) return copySparse(self, in, out, st.st_size);
        return copyRange(self, in, out, 0, st.st_size);
    }

    // ---- metadata ---------------------------------------------------------

    int finishItem(int fd, const struct stat &st, bool createdWithMode) {
        const mode_t mode = st.st_mode & 0777;
        if (!createdWithMode || (mode & umask) != 0) {
            if (::fchmod(fd, mode) != 0) return errno;
        }
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        if (::futimens(fd, times) != 0) return errno;
        return 0;
    }

    // ---- entries of a folder ----------------------------------------------

    Descriptor openSource(int dirFd, const char *name, int flags) {
        flags |= O_RDONLY | O_NOFOLLOW | O_CLOEXEC;
        if (tryNoAtime.load(std::memory_order_relaxed)) {
            int fd = ::openat(dirFd, name, flags | O_NOATIME);
            if (fd >= 0 || errno != EPERM) return Descriptor(fd);
            tryNoAtime.store(false, std::memory_order_relaxed);  // only the owner (or root) may ask for it
        }
        return Descriptor(::openat(dirFd, name, flags));
    }

    int copyFileEntry(Copier &self, int srcDir, const char *name, int dstDir) {
        Descriptor in = openSource(srcDir, name, 0);
        if (!in) return errno;
        struct stat st {};
        if (::fstat(in.get(), &st) != 0) return errno;
        if (!S_ISREG(st.st_mode)) return EAGAIN;  // replaced by something else while we looked
        Descriptor out(::openat(dstDir, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 0777));
        if (!out) return errno;
        if (int err = copyContents(self, in.get(), out.get(), st)) return err;
        return finishItem(out.get(), st, true);
    }

    // Opens a source sub-folder and makes its counterpart, owner-only until
    // it is filled (its final mode may forbid writing).
    std::shared_ptr<Folder> openFolder(const std::shared_ptr<Folder> &parent, const char *name, int &err) {
        Descriptor in = openSource(parent->source.get(), name, O_DIRECTORY);
        struct stat st {};
        if (!in || ::fstat(in.get(), &st) != 0 || ::mkdirat(parent->destination.get(), name, 0700) != 0) {
            err = errno;
            return nullptr;
        }
        Descriptor out(::openat(parent->destination.get(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!out) {
            err = errno;
            return nullptr;
        }
        return std::make_shared<Folder>(*this, std::move(in), std::move(out), st, true, parent);
    }

    void runTask(Copier &self, const FileTask &task) {
        if (stopped()) return;
        if (int err = copyFileEntry(self, task.folder->source.get(), task.name.c_str(), task.folder->destination.get()))
            fail(err);
    }

    void schedule(Copier &self, FileTask task) {
        {
            std::lock_guard<std::mutex> lock(queueMutex);
            if (queue.size() < kMaxQueued) {
                queue.push_back(std::move(task));
                queueChanged.notify_one();
                return;
            }
        }
        runTask(self, task);
    }

    // Copies queued files until the walk is over and the queue is empty.
    void copyQueued(Copier &self) {
        for (;;) {
            FileTask task;
            {
                std::unique_lock<std::mutex> lock(queueMutex);
                queueChanged.wait(lock, [this] { return !queue.empty() || walkDone; });
                if (queue.empty()) return;
                task = std::move(queue.front());
                queue.pop_front();
            }
            runTask(self, task);
        }
    }

    // Walks a folder depth first: makes sub-folders, links and special files
    // at once and queues regular files for the copiers.
    void walk(Copier &self, const std::shared_ptr<Folder> &folder) {
        int listFd = ::openat(folder->source.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        DIR *listing = listFd >= 0 ? ::fdopendir(listFd) : nullptr;
        if (!listing) {
            fail(errno);
            if (listFd >= 0) ::close(listFd);
            return;
        }
        while (!stopped()) {
            errno = 0;
            const dirent *entry = ::readdir(listing);
            if (!entry) {
                if (errno) fail(errno);
                break;
            }
            const char *name = entry->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
            unsigned char type = entry->d_type;
            struct stat st {};
            if (type == DT_UNKNOWN || (type != DT_REG && type != DT_DIR)) {
                if (::fstatat(folder->source.get(), name, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                    fail(errno);
                    break;
                }
                type = S_ISREG(st.st_mode) ? DT_REG : S_ISDIR(st.st_mode) ? DT_DIR : DT_UNKNOWN;
            }
            if (type == DT_REG) {
                schedule(self, FileTask{folder, name});
            } else if (type == DT_DIR) {
                int err = 0;
                auto child = openFolder(folder, name, err);
                if (!child) {
                    fail(err);
                    break;
                }
                walk(self, child);
            } else if (int err = makeOther(folder->source.get(), name, st, folder->destination.get())) {
                fail(err);
                break;
            } else {
                advance(static_cast<uint64_t>(st.st_size));
            }
        }
        ::closedir(listing);
    }

    // Copies a folder with helper threads: on a machine with more than one
    // core, files are copied in parallel while the walk goes on.
    void copyFolder(Copier &self) {
        auto top = std::make_shared<Folder>(*this, std::move(source), std::move(destination), sourceStat, false,
                                            nullptr);
        const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
        const unsigned helpers = std::min(cores, 4u) - 1;
        std::vector<std::thread> copiers;
        for (unsigned i = 0; i < helpers; ++i) {
            try {
                copiers.emplace_back([this] {
                    Copier own;
                    copyQueued(own);
                });
            } catch (const std::system_error &) {
                break;  // fewer helpers then
            }
        }
        walk(self, top);
        top.reset();
        {
            std::lock_guard<std::mutex> lock(queueMutex);
            walkDone = true;
        }
        queueChanged.notify_all();
        copyQueued(self);
        for (std::thread &copier : copiers) copier.join();
    }

    // ---- the worker -----------------------------------------------------

    void run() {
        lastReport.store(Clock::now().time_since_epoch().count());
        umask = currentUmask();
        post(CopyStage::Running, copystatus::kNoErr);
        Copier self;
        if (kind == Kind::File) {
            int err = copyContents(self, source.get(), destination.get(), sourceStat);
            if (!err) err = finishItem(destination.get(), sourceStat, true);
            if (err) fail(err);
        } else if (kind == Kind::Folder) {
            copyFolder(self);
        }
        source.reset();
        destination.reset();
        int err = failure.load();
        if (!err && cancelled.load()) err = ECANCELED;
        if (err) {
            std::error_code ignored;
            std::filesystem::remove_all(destinationItem, ignored);
        }
        if (cancelled.load()) return;  // nobody is listening any more
        post(CopyStage::Complete, copyStatusFromErrno(err));
    }

    static int makeOther(int srcDir, const char *name, const struct stat &st, int dstDir) {
        if (S_ISLNK(st.st_mode)) {
            // st_size is the target's length, except on some virtual file
            // systems that answer 0.
            std::string target(static_cast<size_t>(std::max<off_t>(st.st_size, 0)) + 256, '\0');
            ssize_t n = ::readlinkat(srcDir, name, target.data(), target.size());
            if (n < 0) return errno;
            if (static_cast<size_t>(n) == target.size()) return ENAMETOOLONG;
            target.resize(static_cast<size_t>(n));
            if (::symlinkat(target.c_str(), dstDir, name) != 0) return errno;
            const struct timespec times[2] = {st.st_atim, st.st_mtim};
            ::utimensat(dstDir, name, times, AT_SYMLINK_NOFOLLOW);  // best effort, as for links everywhere
            return 0;
        }
        // FIFOs, sockets and device nodes are made anew, as cp -R does.
        if (::mknodat(dstDir, name, (st.st_mode & S_IFMT) | (st.st_mode & 0777), st.st_rdev) != 0) return errno;
        return 0;
    }
};

Folder::~Folder() {
    if (job.stopped() || !destination) return;
    if (int err = job.finishItem(destination.get(), st, false)) {
        job.fail(err);
        return;
    }
    if (counted) job.advance(static_cast<uint64_t>(st.st_size));
}

class LinuxCopyOperation : public CopyOperation {
public:
    LinuxCopyOperation(std::shared_ptr<Job> job, std::thread worker) : job_(std::move(job)), worker_(std::move(worker)) {}
    ~LinuxCopyOperation() override {
        job_->cancelled.store(true);
        if (worker_.joinable()) worker_.join();
    }

private:
    std::shared_ptr<Job> job_;
    std::thread worker_;
};

// The last component of a path, ignoring trailing slashes ("a/b/" -> "b").
std::string lastComponent(const std::string &path) {
    size_t end = path.find_last_not_of('/');
    if (end == std::string::npos) return {};
    size_t start = path.find_last_of('/', end);
    return path.substr(start == std::string::npos ? 0 : start + 1, end - (start == std::string::npos ? 0 : start + 1) + 1);
}

// Whether `inner` is `outer` or lies inside it, by their real paths.
bool isInside(const std::string &inner, const std::string &outer) {
    std::unique_ptr<char, decltype(&std::free)> a(::realpath(inner.c_str(), nullptr), &std::free);
    std::unique_ptr<char, decltype(&std::free)> b(::realpath(outer.c_str(), nullptr), &std::free);
    if (!a || !b) return false;
    std::string in = a.get(), out = b.get();
    if (out == "/") return true;
    return in == out || in.rfind(out + "/", 0) == 0;
}

class LinuxCopyEngine : public CopyEngine {
public:
    Started startCopy(const std::string &source, const std::string &destinationFolder, std::shared_ptr<RunLoop> loop,
                      RunLoop::Seconds interval, StatusCallback callback) override {
        struct stat st {};
        if (::lstat(source.c_str(), &st) != 0) return {copyStatusFromErrno(errno), nullptr};
        struct stat folder {};
        if (::stat(destinationFolder.c_str(), &folder) != 0) return {copyStatusFromErrno(errno), nullptr};
        if (!S_ISDIR(folder.st_mode)) return {copystatus::kNotAFolder, nullptr};
        const std::string name = lastComponent(source);
        if (name.empty() || name == "." || name == "..") return {copystatus::kParameter, nullptr};
        if (S_ISDIR(st.st_mode) && isInside(destinationFolder, source)) return {copystatus::kParameter, nullptr};

        Descriptor folderFd(::open(destinationFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folderFd) return {copyStatusFromErrno(errno), nullptr};

        auto job = std::make_shared<Job>();
        job->destinationItem = (std::filesystem::path(destinationFolder) / name).string();
        job->sourceStat = st;
        job->loop = std::move(loop);
        job->interval = std::chrono::duration_cast<Clock::duration>(interval);
        job->callback = std::move(callback);

        if (S_ISREG(st.st_mode)) {
            job->kind = Kind::File;
            job->source = Descriptor(::open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
            if (!job->source) return {copyStatusFromErrno(errno), nullptr};
            job->destination = Descriptor(
                ::openat(folderFd.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 0777));
            if (!job->destination) return {copyStatusFromErrno(errno), nullptr};
        } else if (S_ISDIR(st.st_mode)) {
            job->kind = Kind::Folder;
            job->source = Descriptor(::open(source.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (!job->source) return {copyStatusFromErrno(errno), nullptr};
            if (::mkdirat(folderFd.get(), name.c_str(), 0700) != 0) return {copyStatusFromErrno(errno), nullptr};
            job->destination =
                Descriptor(::openat(folderFd.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (!job->destination) {
                int err = errno;
                ::unlinkat(folderFd.get(), name.c_str(), AT_REMOVEDIR);
                return {copyStatusFromErrno(err), nullptr};
            }
        } else {
            job->kind = Kind::Other;
            Descriptor parent(::open(std::filesystem::path(source).parent_path().empty()
                                         ? "."
                                         : std::filesystem::path(source).parent_path().c_str(),
                                     O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!parent) return {copyStatusFromErrno(errno), nullptr};
            if (int err = Job::makeOther(parent.get(), name.c_str(), st, folderFd.get()))
                return {copyStatusFromErrno(err), nullptr};
            job->bytes.store(static_cast<uint64_t>(st.st_size));
        }

        try {
            std::thread worker([job] { job->run(); });
            return {copystatus::kNoErr, std::make_unique<LinuxCopyOperation>(job, std::move(worker))};
        } catch (const std::system_error &e) {
            job->source.reset();
            job->destination.reset();
            std::error_code ignored;
            std::filesystem::remove_all(job->destinationItem, ignored);
            return {copyStatusFromErrno(e.code().value()), nullptr};
        }
    }
};

std::shared_ptr<CopyEngine> makeDefault() { return std::make_shared<LinuxCopyEngine>(); }

}  // namespace

platform::ServiceSlot<CopyEngine> &copyEngine() {
    static platform::ServiceSlot<CopyEngine> slot(&makeDefault);
    return slot;
}

}  // namespace vork
