#pragma once
// The attributes of the file system that holds a path, as far as copying
// needs them: its free size in bytes.
#include <cstdint>
#include <optional>
#include <string>

#include "base/Result.h"
#include "platform/Service.h"

namespace vork::platform {

struct FileSystemAttributes {
    // Bytes an ordinary writer may still use; none when the file system does
    // not say.
    std::optional<uint64_t> freeSize;
};

class FileSystemSpace {
public:
    virtual ~FileSystemSpace() = default;
    // The attributes, or the system's error text when they cannot be read
    // (for example because the path does not exist).
    virtual Result<FileSystemAttributes> attributesOfFileSystem(const std::string &path) = 0;
};

ServiceSlot<FileSystemSpace> &fileSystemSpace();

}  // namespace vork::platform
