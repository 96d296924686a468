#pragma once
// Helpers shared by the file copy and file hash tests.
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <string>

namespace vork::test {

// Runs `body` in a child process under the unprivileged "nobody" ids, so
// permission checks apply even when the tests run as root. Answers the
// child's verdict, or none when the ids cannot be changed.
inline std::optional<bool> asUnprivilegedUser(const std::function<bool()> &body) {
    if (::geteuid() != 0) return body();
    pid_t child = ::fork();
    if (child < 0) return std::nullopt;
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(3);
        ::_exit(body() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 3) return std::nullopt;
    return WEXITSTATUS(status) == 0;
}

}  // namespace vork::test
