#include "ToolRun.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "support/TempDir.h"

namespace vork::test {

ToolResult runTool(const std::string &program, const std::vector<std::string> &arguments, bool stderrIsTerminal,
                   const std::string &input) {
    // Standard output and a plain standard error go to files; a terminal is
    // read here until its last writer is gone.
    TempDir dir;
    const std::string out = (dir / "out").string(), err = (dir / "err").string();
    int master = -1, terminal = -1;
    if (stderrIsTerminal && openpty(&master, &terminal, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &a : arguments) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(open(input.c_str(), O_RDONLY), 0);
        dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), 1);
        dup2(stderrIsTerminal ? terminal : open(err.c_str(), O_WRONLY | O_CREAT, 0600), 2);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    ToolResult result;
    if (stderrIsTerminal) {
        close(terminal);
        char buffer[4096];
        for (ssize_t n; (n = read(master, buffer, sizeof buffer)) > 0;) result.err.append(buffer, static_cast<size_t>(n));
        close(master);  // the read ends with EIO once the tool is gone
    }
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.out = readFile(out);
    if (!stderrIsTerminal) result.err = readFile(err);
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
