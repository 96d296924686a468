#include "ToolRun.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace vork::test {

ToolResult runTool(const std::string &program, const std::vector<std::string> &arguments, bool stderrIsTerminal,
                   const std::string &input) {
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    if (stderrIsTerminal) {
        if (openpty(&err[0], &err[1], nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
    } else if (pipe2(err, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe");
    }
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &a : arguments) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open(input.c_str(), O_RDONLY), 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);
    ToolResult result;
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string *sinks[2] = {&result.out, &result.err};
    int open = 2;
    while (open > 0 && poll(fds, 2, -1) > 0) {
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !fds[i].revents) continue;
            char buffer[4096];
            ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                sinks[i]->append(buffer, static_cast<size_t>(n));
            } else {  // end of file, or EIO once the terminal's last writer is gone
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

std::vector<std::string> withPlaceholders(const std::vector<std::string> &arguments,
                                          const std::map<std::string, std::string> &values) {
    std::vector<std::string> result;
    for (std::string argument : arguments) {
        for (const auto &[key, value] : values)
            if (auto at = argument.find(key); at != std::string::npos) argument.replace(at, key.size(), value);
        result.push_back(std::move(argument));
    }
    return result;
}

}  // namespace vork::test
