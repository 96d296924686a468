// Sequential reads with open/read; the kernel is told the file is read in
// order (POSIX_FADV_SEQUENTIAL), which doubles its read-ahead.
#include "platform/FileReading.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace vork::platform {

namespace {

class LinuxSequentialFile : public SequentialFile {
public:
    explicit LinuxSequentialFile(int fd) : fd_(fd) { ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL); }
    ~LinuxSequentialFile() override { ::close(fd_); }
    LinuxSequentialFile(const LinuxSequentialFile &) = delete;
    LinuxSequentialFile &operator=(const LinuxSequentialFile &) = delete;

    long read(unsigned char *buffer, size_t size, int &error) override {
        for (;;) {
            ssize_t got = ::read(fd_, buffer, size);
            if (got >= 0) return static_cast<long>(got);
            if (errno == EINTR) continue;
            error = errno;
            return -1;
        }
    }

private:
    int fd_;
};

class LinuxFileReading : public FileReading {
public:
    std::unique_ptr<SequentialFile> openForReading(const std::string &path, int &error) override {
        int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            error = errno;
            return nullptr;
        }
        return std::make_unique<LinuxSequentialFile>(fd);
    }
};

}  // namespace

ServiceSlot<FileReading> &fileReading() { return defaultServiceSlot<FileReading, LinuxFileReading>(); }

}  // namespace vork::platform
