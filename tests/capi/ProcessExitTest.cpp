// An agent that exits, or a thread that ends, with library objects still
// published never crashes: each scenario runs in a child process (this
// program, started again with the scenario named in its environment) that
// must exit with status 0, sanitizers included.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "support/FaultServer.h"
#include "support/TempDir.h"

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
             std::ofstream(file).close();
             std::filesystem::resize_file(file, 64 << 20);  // sparse: quick to make, slow to copy and hash
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

TEST(ProcessExit, ExitingWithObjectsStillPublishedEndsNormally) {
    ASSERT_FALSE(g_childRan);
    // The child exits on purpose with hash threads its unreleased objects
    // still own; ThreadSanitizer would count them as leaked threads, which
    // is the scenario, not a fault. Data races still fail the child.
    const char *tsan = std::getenv("TSAN_OPTIONS");
    ::setenv("TSAN_OPTIONS", (std::string(tsan ? tsan : "") + ":report_thread_leaks=0").c_str(), 1);
    ::setenv("UBSAN_OPTIONS", "halt_on_error=1:print_stacktrace=1", 1);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    for (const auto &[name, scenario] : scenarios()) {
        SCOPED_TRACE(name);
        vork::test::TempDir dir;
        ::setenv("VORK_EXIT_SCENARIO", name.c_str(), 1);
        ::setenv("VORK_EXIT_DIR", dir.str().c_str(), 1);
        // A child that hangs (a deadlock at exit) is killed and fails too.
        EXPECT_EQ(std::system(("timeout -s KILL 120 '" + self + "'").c_str()), 0);
    }
    ::unsetenv("VORK_EXIT_SCENARIO");
}

}  // namespace
