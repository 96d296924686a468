// Free space from statvfs: the blocks available to unprivileged writers
// (f_bavail) times the fragment size, which is what a copy by an ordinary
// user can fill.
#include "platform/FileSystemSpace.h"

#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>

namespace vork::platform {

namespace {

class LinuxFileSystemSpace : public FileSystemSpace {
public:
    Result<FileSystemAttributes> attributesOfFileSystem(const std::string &path) override {
        struct statvfs fs {};
        if (statvfs(path.c_str(), &fs) != 0) return Error{std::strerror(errno)};
        const unsigned long unit = fs.f_frsize ? fs.f_frsize : fs.f_bsize;
        FileSystemAttributes attributes;
        if (unit != 0) attributes.freeSize = static_cast<uint64_t>(fs.f_bavail) * unit;
        return attributes;
    }
};

}  // namespace

ServiceSlot<FileSystemSpace> &fileSystemSpace() { return defaultServiceSlot<FileSystemSpace, LinuxFileSystemSpace>(); }

}  // namespace vork::platform
