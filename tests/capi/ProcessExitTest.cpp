// An agent that exits, or a thread that ends, with library objects still
// published never crashes: each scenario runs in a child process (this
// program, started again with the scenario named in its environment) that
// must exit with status 0, sanitizers included.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "support/FaultServer.h"
#include "support/TempDir.h"

extern char **environ;

namespace {

using vork::test::FaultReply;
using vork::test::FaultRequest;
using vork::test::FaultServer;

void submitOnce(const FaultServer &server) {
    httpTransferInit(server.url("/x").c_str(), false, nullptr, nullptr, "<a/>", nullptr);
    httpSubmitRequest();
}

const std::map<std::string, std::function<void(const FaultServer &, const std::string &dir)>> &scenarios() {
    static const std::map<std::string, std::function<void(const FaultServer &, const std::string &)>> table = {
        {"synchronous request, no release", [](const FaultServer &s, const std::string &) { submitOnce(s); }},
        {"worker's synchronous request, then the main thread",
         [](const FaultServer &s, const std::string &) {
             std::thread([&] { submitOnce(s); }).join();
             httpSubmitRequest();
             httpTransferIsComplete();
         }},
        {"asynchronous transfer under way, no release",
         [](const FaultServer &s, const std::string &) {
             httpTransferInit(s.url("/slow").c_str(), false, nullptr, nullptr, nullptr, nullptr);
             httpTransferStart();
             httpTransferIsComplete();
         }},
        {"copy and hash under way, no release",
         [](const FaultServer &, const std::string &dir) {
             const std::string file = dir + "/big.bin";
             if (FILE *f = std::fopen(file.c_str(), "w")) {
                 std::fseek(f, 64 << 20, SEEK_SET);
                 std::fputc(1, f);
                 std::fclose(f);
             }
             fileCopyStart(file.c_str(), (dir + "/copy").c_str());
             // Hashing threads starting while the process exits.
             for (int i = 0; i < 8; ++i) i % 2 ? fileHashSHA512Start(file.c_str()) : fileHashMD5Start(file.c_str());
             fileCopyProgress();
         }},
    };
    return table;
}

// In the child: run the named scenario while the program starts, then exit
// through the ordinary exit path.
const bool g_childRan = [] {
    const char *name = std::getenv("VORK_EXIT_SCENARIO");
    if (!name) return false;
    {
        FaultServer server([](const FaultRequest &r) {
            FaultReply reply{200, "", {}, "<ok/>"};
            if (r.target == "/slow") reply.trickleSeconds = 5;
            return reply;
        });
        scenarios().at(name)(server, std::getenv("VORK_EXIT_DIR"));
    }
    std::exit(0);
}();

int runChild(const std::string &scenario, const std::string &dir) {
    // The child exits on purpose with hash threads its unreleased objects
    // still own; ThreadSanitizer would count them as leaked threads, which
    // is the scenario, not a fault. Data races still fail the child.
    const char *tsan = std::getenv("TSAN_OPTIONS");
    std::vector<std::string> env = {"VORK_EXIT_SCENARIO=" + scenario, "VORK_EXIT_DIR=" + dir,
                                    "UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1",
                                    std::string("TSAN_OPTIONS=") + (tsan ? tsan : "") + ":report_thread_leaks=0"};
    for (char **e = environ; *e; ++e) {
        const std::string entry(*e);
        if (entry.rfind("UBSAN_OPTIONS=", 0) != 0 && entry.rfind("TSAN_OPTIONS=", 0) != 0) env.push_back(entry);
    }
    std::vector<char *> envp;
    for (auto &entry : env) envp.push_back(entry.data());
    envp.push_back(nullptr);
    char self[] = "/proc/self/exe";
    char *argv[] = {self, nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, self, nullptr, nullptr, argv, envp.data()) != 0) return -1;
    // A child that hangs (a deadlock at exit) fails too.
    int status = 0;
    for (int i = 0; i < 1200 && waitpid(pid, &status, WNOHANG) == 0; ++i) usleep(100000);
    if (waitpid(pid, &status, WNOHANG) == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    return status;
}

TEST(ProcessExit, ExitingWithObjectsStillPublishedEndsNormally) {
    ASSERT_FALSE(g_childRan);
    for (const auto &[name, scenario] : scenarios()) {
        SCOPED_TRACE(name);
        vork::test::TempDir dir;
        const int status = runChild(name, dir.str());
        EXPECT_TRUE(WIFEXITED(status)) << "signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 0);
    }
}

}  // namespace
