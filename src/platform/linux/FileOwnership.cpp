// File owner and mode through chown and chmod.
#include "platform/FileOwnership.h"

#include <sys/stat.h>
#include <unistd.h>

namespace vork::platform {

namespace {

class LinuxFileOwnership : public FileOwnership {
public:
    bool changeOwner(const std::string &path, uid_t owner, gid_t group) override {
        return ::chown(path.c_str(), owner, group) == 0;
    }
    bool changeMode(const std::string &path, mode_t mode) override { return ::chmod(path.c_str(), mode) == 0; }
};

std::shared_ptr<FileOwnership> makeDefault() { return std::make_shared<LinuxFileOwnership>(); }

}  // namespace

ServiceSlot<FileOwnership> &fileOwnership() {
    static ServiceSlot<FileOwnership> slot(&makeDefault);
    return slot;
}

}  // namespace vork::platform
