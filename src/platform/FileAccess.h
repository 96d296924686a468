#pragma once
// Open files for the HTTP transport: a request body read at explicit
// offsets (so the transport can rewind it for a resend without a seek) and
// a download appended to as the bytes arrive. Each call is one system call
// on the hot path; nothing is buffered on top. Failures carry the system's
// error number, which callers hand on.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class OpenFile {
public:
    virtual ~OpenFile() = default;
    // Fills up to `size` bytes from `offset`; answers how many (0 at the
    // end), or -1 with the error number in `error`.
    virtual long readAt(char *buffer, size_t size, uint64_t offset, int &error) = 0;
    // Writes all of `data` at the end of the file; false with the error
    // number in `error` when the write failed.
    virtual bool append(const char *data, size_t size, int &error) = 0;
    // The file's size now, or none when it cannot be read.
    virtual std::optional<uint64_t> size() = 0;
};

class FileAccess {
public:
    virtual ~FileAccess() = default;
    // The file opened for reading from start to end, or null with the error
    // number in `error`.
    virtual std::unique_ptr<OpenFile> openForReading(const std::string &path, int &error) = 0;
    // The file opened for appending, created empty (mode 0644) when
    // missing, or null with the error number in `error`.
    virtual std::unique_ptr<OpenFile> openForAppending(const std::string &path, int &error) = 0;
    // The size in the file's attributes (following links), or none.
    virtual std::optional<uint64_t> sizeOf(const std::string &path) = 0;
};

ServiceSlot<FileAccess> &fileAccess();

}  // namespace vork::platform
