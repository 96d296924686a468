// Open files on descriptors: pread for bodies (the kernel is told they are
// read in order, which doubles its read-ahead), write on O_APPEND for
// downloads.
#include "platform/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace vork::platform {

namespace {

class LinuxOpenFile : public OpenFile {
public:
    explicit LinuxOpenFile(int fd) : fd_(fd) {}
    ~LinuxOpenFile() override { ::close(fd_); }
    LinuxOpenFile(const LinuxOpenFile &) = delete;
    LinuxOpenFile &operator=(const LinuxOpenFile &) = delete;

    long readAt(char *buffer, size_t size, uint64_t offset, int &error) override {
        for (;;) {
            const ssize_t got = ::pread(fd_, buffer, size, static_cast<off_t>(offset));
            if (got >= 0) return static_cast<long>(got);
            if (errno == EINTR) continue;
            error = errno;
            return -1;
        }
    }

    bool append(const char *data, size_t size, int &error) override {
        while (size > 0) {
            const ssize_t n = ::write(fd_, data, size);
            if (n < 0) {
                if (errno == EINTR) continue;
                error = errno;
                return false;
            }
            data += n;
            size -= static_cast<size_t>(n);
        }
        return true;
    }

    std::optional<uint64_t> size() override {
        struct stat st {};
        if (::fstat(fd_, &st) != 0) return std::nullopt;
        return static_cast<uint64_t>(st.st_size);
    }

    int descriptor() const { return fd_; }

private:
    int fd_;
};

std::unique_ptr<OpenFile> openWith(const std::string &path, int flags, int &error) {
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
    if (fd < 0) {
        error = errno;
        return nullptr;
    }
    return std::make_unique<LinuxOpenFile>(fd);
}

class LinuxFileAccess : public FileAccess {
public:
    std::unique_ptr<OpenFile> openForReading(const std::string &path, int &error) override {
        auto file = openWith(path, O_RDONLY, error);
        if (file) ::posix_fadvise(static_cast<LinuxOpenFile &>(*file).descriptor(), 0, 0, POSIX_FADV_SEQUENTIAL);
        return file;
    }
    std::unique_ptr<OpenFile> openForAppending(const std::string &path, int &error) override {
        return openWith(path, O_WRONLY | O_APPEND | O_CREAT, error);
    }
    std::optional<uint64_t> sizeOf(const std::string &path) override {
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) return std::nullopt;
        return static_cast<uint64_t>(st.st_size);
    }
};

std::shared_ptr<FileAccess> makeDefault() { return std::make_shared<LinuxFileAccess>(); }

}  // namespace

ServiceSlot<FileAccess> &fileAccess() {
    static ServiceSlot<FileAccess> slot(&makeDefault);
    return slot;
}

}  // namespace vork::platform
