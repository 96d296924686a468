#include "http/OutputFile.h"

#include <unistd.h>

#include <cerrno>

namespace vork::http {

OutputFile::~OutputFile() {
    if (fd_ >= 0) ::close(fd_);
}

bool OutputFile::append(const char *data, size_t length) {
    while (length > 0) {
        ssize_t n = ::write(fd_, data, length);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

}  // namespace vork::http
