#pragma once
// An open output file, shared by the request that opened it and the
// transport that appends the body to it as it arrives.
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "platform/FileAccess.h"

namespace vork::http {

class OutputFile {
public:
    OutputFile(std::string path, std::unique_ptr<platform::OpenFile> file)
        : path_(std::move(path)), file_(std::move(file)) {}
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    const std::string &path() const { return path_; }
    // Appends at the end of the file; false when the write failed.
    bool append(const char *data, size_t length) {
        int error = 0;
        return file_->append(data, length, error);
    }

private:
    std::string path_;
    std::unique_ptr<platform::OpenFile> file_;
};

}  // namespace vork::http
