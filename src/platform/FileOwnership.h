#pragma once
// Changing a file's owner, group and mode (chown and chmod on Linux), so
// that tests can observe ownership changes without being root.
#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class FileOwnership {
public:
    virtual ~FileOwnership() = default;
    // -1 leaves the owner or the group as it is. False when it failed.
    virtual bool changeOwner(const std::string &path, uid_t owner, gid_t group) = 0;
    virtual bool changeMode(const std::string &path, mode_t mode) = 0;
};

ServiceSlot<FileOwnership> &fileOwnership();

}  // namespace vork::platform
