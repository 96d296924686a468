#pragma once
// Files read once from start to end in chunks (digests stream files this
// way). Failures carry the system's error number, which callers hand on.
#include <cstddef>
#include <memory>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class SequentialFile {
public:
    virtual ~SequentialFile() = default;
    // Fills up to `size` bytes; answers how many (0 at the end), or -1 with
    // the error number in `error`.
    virtual long read(unsigned char *buffer, size_t size, int &error) = 0;
};

class FileReading {
public:
    virtual ~FileReading() = default;
    // The file opened for reading, or null with the error number in `error`.
    virtual std::unique_ptr<SequentialFile> openForReading(const std::string &path, int &error) = 0;
};

ServiceSlot<FileReading> &fileReading();

}  // namespace vork::platform
