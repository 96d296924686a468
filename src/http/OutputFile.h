#pragma once
// An open output file, shared by the request that opened it and the
// transport that appends the body to it as it arrives.
#include <cstddef>
#include <string>
#include <utility>

namespace vork::http {

class OutputFile {
public:
    OutputFile(std::string path, int fd) : path_(std::move(path)), fd_(fd) {}
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    const std::string &path() const { return path_; }
    int fd() const { return fd_; }
    // Appends at the end of the file; false when the write failed.
    bool append(const char *data, size_t length);

private:
    std::string path_;
    int fd_;
};

}  // namespace vork::http
