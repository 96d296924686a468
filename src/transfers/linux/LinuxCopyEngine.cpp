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
// copy. Sparse files keep their holes. Folders are walked with descriptors
// (openat, fstatat, mkdirat) so no path is resolved twice.
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

struct Job {
    std::string destinationItem;
    Kind kind = Kind::File;
    Descriptor source;       // the source file or folder (File, Folder)
    Descriptor destination;  // the item being made (File, Folder)
    struct stat sourceStat {};

    std::shared_ptr<RunLoop> loop;
    Clock::duration interval{};
    CopyEngine::StatusCallback callback;
    std::atomic<bool> stop{false};

    // Worker only.
    uint64_t bytes = 0;
    Clock::time_point lastReport;
    mode_t umask = 0777;
    bool tryClone = true;
    bool tryRangeCopy = true;
    bool tryNoAtime = true;
    std::unique_ptr<char[]> buffer;

    void post(CopyStage stage, long error) {
        CopyStatus status{stage, static_cast<float>(bytes), error};
        loop->post([callback = callback, status] { callback(status); });
    }

    void advance(uint64_t n) {
        bytes += n;
        const auto now = Clock::now();
        if (now - lastReport >= interval) {
            lastReport = now;
            post(CopyStage::Running, copystatus::kNoErr);
        }
    }

    // ---- file contents --------------------------------------------------

    int copyWithBuffer(int in, int out, off_t offset, off_t length, bool untilEnd) {
        if (!buffer) buffer = std::make_unique<char[]>(kBufferSize);
        while (untilEnd || length > 0) {
            if (stop.load(std::memory_order_relaxed)) return ECANCELED;
            size_t want = untilEnd ? kBufferSize : static_cast<size_t>(std::min<off_t>(length, kBufferSize));
            ssize_t got = ::pread(in, buffer.get(), want, offset);
            if (got < 0) {
                if (errno == EINTR) continue;
                return errno;
            }
            if (got == 0) break;
            for (ssize_t done = 0; done < got;) {
                ssize_t put = ::pwrite(out, buffer.get() + done, static_cast<size_t>(got - done), offset + done);
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

    int copyRange(int in, int out, off_t offset, off_t length) {
        while (length > 0) {
            if (stop.load(std::memory_order_relaxed)) return ECANCELED;
            if (!tryRangeCopy) return copyWithBuffer(in, out, offset, length, false);
            loff_t inOffset = offset, outOffset = offset;
            size_t chunk = static_cast<size_t>(std::min<off_t>(length, kChunk));
            ssize_t n = ::copy_file_range(in, &inOffset, out, &outOffset, chunk, 0);
            if (n < 0) {
                if (errno == EINTR) continue;
                if (unsupported(errno)) {
                    tryRangeCopy = false;
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
    int copySparse(int in, int out, off_t size) {
        off_t position = 0;
        while (position < size) {
            off_t data = ::lseek(in, position, SEEK_DATA);
            if (data < 0) {
                if (errno == ENXIO) break;  // only a hole is left
                if (int err = copyRange(in, out, position, size - position)) return err;
                break;
            }
            data = std::min(data, size);
            off_t hole = ::lseek(in, data, SEEK_HOLE);
            if (hole < 0 || hole > size) hole = size;
            advance(static_cast<uint64_t>(data - position));
            if (int err = copyRange(in, out, data, hole - data)) return err;
            position = hole;
        }
        if (position < size) advance(static_cast<uint64_t>(size - position));
        if (::ftruncate(out, size) != 0) return errno;
        return 0;
    }

    int copyContents(int in, int out, const struct stat &st) {
        // Files of virtual file systems report size 0 and still have
        // contents: read them to the end.
        if (st.st_size == 0) return copyWithBuffer(in, out, 0, 0, true);
        if (tryClone) {
            if (::ioctl(out, FICLONE, in) == 0) {
                advance(static_cast<uint64_t>(st.st_size));
                return 0;
            }
            if (!unsupported(errno) && errno != EPERM) return errno;
            tryClone = false;
        }
        if (st.st_blocks * 512 < st.st_size) return copySparse(in, out, st.st_size);
        return copyRange(in, out, 0, st.st_size);
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
        if (tryNoAtime) {
            int fd = ::openat(dirFd, name, flags | O_NOATIME);
            if (fd >= 0 || errno != EPERM) return Descriptor(fd);
            tryNoAtime = false;  // only the owner (or root) may ask for it
        }
        return Descriptor(::openat(dirFd, name, flags));
    }

    int copyFileEntry(int srcDir, const char *name, int dstDir) {
        Descriptor in = openSource(srcDir, name, 0);
        if (!in) return errno;
        struct stat st {};
        if (::fstat(in.get(), &st) != 0) return errno;
        if (!S_ISREG(st.st_mode)) return copyOtherEntry(srcDir, name, dstDir);  // replaced meanwhile
        Descriptor out(::openat(dstDir, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 0777));
        if (!out) return errno;
        if (int err = copyContents(in.get(), out.get(), st)) return err;
        return finishItem(out.get(), st, true);
    }

    int copyFolderEntry(int srcDir, const char *name, int dstDir) {
        Descriptor in = openSource(srcDir, name, O_DIRECTORY);
        if (!in) return errno;
        struct stat st {};
        if (::fstat(in.get(), &st) != 0) return errno;
        // Owner-only until it is filled: the final mode may forbid writing.
        if (::mkdirat(dstDir, name, 0700) != 0) return errno;
        Descriptor out(::openat(dstDir, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!out) return errno;
        if (int err = copyFolderContents(in.get(), out.get())) return err;
        if (int err = finishItem(out.get(), st, false)) return err;
        advance(static_cast<uint64_t>(st.st_size));
        return 0;
    }

    int copyOtherEntry(int srcDir, const char *name, int dstDir) {
        struct stat st {};
        if (::fstatat(srcDir, name, &st, AT_SYMLINK_NOFOLLOW) != 0) return errno;
        if (S_ISREG(st.st_mode)) return copyFileEntry(srcDir, name, dstDir);
        if (S_ISDIR(st.st_mode)) return copyFolderEntry(srcDir, name, dstDir);
        if (int err = makeOther(srcDir, name, st, dstDir)) return err;
        advance(static_cast<uint64_t>(st.st_size));
        return 0;
    }

    int copyFolderContents(int srcDir, int dstDir) {
        int listFd = ::openat(srcDir, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (listFd < 0) return errno;
        DIR *listing = ::fdopendir(listFd);
        if (!listing) {
            int err = errno;
            ::close(listFd);
            return err;
        }
        int result = 0;
        for (;;) {
            if (stop.load(std::memory_order_relaxed)) {
                result = ECANCELED;
                break;
            }
            errno = 0;
            const dirent *entry = ::readdir(listing);
            if (!entry) {
                result = errno;
                break;
            }
            const char *name = entry->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
            switch (entry->d_type) {
                case DT_REG: result = copyFileEntry(srcDir, name, dstDir); break;
                case DT_DIR: result = copyFolderEntry(srcDir, name, dstDir); break;
                default: result = copyOtherEntry(srcDir, name, dstDir); break;
            }
            if (result) break;
        }
        ::closedir(listing);
        return result;
    }

    // ---- the worker -----------------------------------------------------

    void run() {
        lastReport = Clock::now();
        umask = currentUmask();
        post(CopyStage::Running, copystatus::kNoErr);
        int err = 0;
        if (kind == Kind::File) {
            err = copyContents(source.get(), destination.get(), sourceStat);
            if (!err) err = finishItem(destination.get(), sourceStat, true);
        } else if (kind == Kind::Folder) {
            err = copyFolderContents(source.get(), destination.get());
            if (!err) err = finishItem(destination.get(), sourceStat, false);
        }
        source.reset();
        destination.reset();
        if (err) {
            std::error_code ignored;
            std::filesystem::remove_all(destinationItem, ignored);
        }
        if (stop.load()) return;  // nobody is listening any more
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

class LinuxCopyOperation : public CopyOperation {
public:
    LinuxCopyOperation(std::shared_ptr<Job> job, std::thread worker) : job_(std::move(job)), worker_(std::move(worker)) {}
    ~LinuxCopyOperation() override {
        job_->stop.store(true);
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
            job->bytes = static_cast<uint64_t>(st.st_size);
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
