#include "platform/linux/CopyJob.h"

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

namespace vork::platform::copyjob {

namespace {

// Bytes handed to one copy_file_range or pread/pwrite: small enough that a
// stop request is seen within milliseconds, large enough that the calls
// cost nothing next to the copying.
constexpr size_t kChunk = 16u << 20;
constexpr size_t kBufferSize = 1u << 20;

}  // namespace

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

int Job::copyWithBuffer(Copier &self, int in, int out, off_t offset, off_t length, bool untilEnd) {
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

int Job::copyRange(Copier &self, int in, int out, off_t offset, off_t length) {
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

int Job::copySparse(Copier &self, int in, int out, off_t size) {
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

int Job::copyContents(Copier &self, int in, int out, const struct stat &st) {
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

int Job::finishItem(int fd, const struct stat &st, bool createdWithMode) {
    const mode_t mode = st.st_mode & 0777;
    if (!createdWithMode || (mode & umask) != 0) {
        if (::fchmod(fd, mode) != 0) return errno;
    }
    const struct timespec times[2] = {st.st_atim, st.st_mtim};
    if (::futimens(fd, times) != 0) return errno;
    return 0;
}

Descriptor Job::openSource(int dirFd, const char *name, int flags) {
    flags |= O_RDONLY | O_NOFOLLOW | O_CLOEXEC;
    if (tryNoAtime.load(std::memory_order_relaxed)) {
        int fd = ::openat(dirFd, name, flags | O_NOATIME);
        if (fd >= 0 || errno != EPERM) return Descriptor(fd);
        tryNoAtime.store(false, std::memory_order_relaxed);  // only the owner (or root) may ask for it
    }
    return Descriptor(::openat(dirFd, name, flags));
}

int Job::copyFileEntry(Copier &self, int srcDir, const char *name, int dstDir) {
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

std::shared_ptr<Folder> Job::openFolder(const std::shared_ptr<Folder> &parent, const char *name, int &err) {
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

void Job::runTask(Copier &self, const FileTask &task) {
    if (stopped()) return;
    if (int err = copyFileEntry(self, task.folder->source.get(), task.name.c_str(), task.folder->destination.get()))
        fail(err);
}

void Job::schedule(Copier &self, FileTask task) {
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

void Job::copyQueued(Copier &self) {
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

void Job::walk(Copier &self, const std::shared_ptr<Folder> &folder) {
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

void Job::copyFolder(Copier &self) {
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

void Job::run() {
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

int Job::makeOther(int srcDir, const char *name, const struct stat &st, int dstDir) {
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

Folder::~Folder() {
    if (job.stopped() || !destination) return;
    if (int err = job.finishItem(destination.get(), st, false)) {
        job.fail(err);
        return;
    }
    if (counted) job.advance(static_cast<uint64_t>(st.st_size));
}

}  // namespace vork::platform::copyjob
