// Process launch on Linux: posix_spawn with the standard output on a pipe.
// The pipe is drained while the tool runs, so a tool printing more than a
// pipe holds never blocks, then the tool is reaped.
#include "platform/ProcessLauncher.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern char **environ;

namespace vork::platform {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1) : fd_(fd) {}
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() { reset(); }
    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_;
};

std::string readToEnd(int fd) {
    std::string output;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            output.append(buffer, static_cast<size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            return output;
        }
    }
}

int waitForExit(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

class LinuxProcessLauncher final : public ProcessLauncher {
public:
    ProcessResult run(const std::string &path, const std::vector<std::string> &args) override {
        ProcessResult result;
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) {
            result.error = std::strerror(errno);
            return result;
        }
        FileDescriptor readEnd(fds[0]), writeEnd(fds[1]);

        std::vector<char *> argv;
        argv.reserve(args.size() + 2);
        argv.push_back(const_cast<char *>(path.c_str()));
        for (const std::string &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
        pid_t pid = -1;
        const int spawned = ::posix_spawn(&pid, path.c_str(), &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        writeEnd.reset();
        if (spawned != 0) {
            result.error = std::strerror(spawned);
            return result;
        }
        result.started = true;
        result.output = readToEnd(readEnd.get());
        result.exitStatus = waitForExit(pid);
        return result;
    }
};

}  // namespace

ServiceSlot<ProcessLauncher> &processLauncher() { return defaultServiceSlot<ProcessLauncher, LinuxProcessLauncher>(); }

}  // namespace vork::platform
