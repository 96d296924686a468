// Transfers under faults, against the fault server on 127.0.0.1: the
// connection cut at random offsets and resumed, answers to ranged requests,
// and a file-size limit standing for a full disk.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <VORKCoreCommC/VORKCoreCommC.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <random>

#include "http/HttpFixture.h"
#include "http/VORKHTTPRequest.h"
#include "http/VORKNetworkingException.h"
#include "support/FaultServer.h"
#include "support/TempDir.h"

namespace vork {
namespace {

namespace fs = std::filesystem;
using test::FaultReply;
using test::FaultRequest;
using test::FaultServer;
using test::pumpUntil;
using test::readFile;

// Serves `source`, answering "Range: bytes=N-" with 206 and the rest, and
// `rangedStatus` instead when set; an answer without a range is cut after
// `cut` bytes when set, or is `plainStatus` when set.
struct RangedSource {
    const std::string &source;
    std::atomic<size_t> cut{0};
    int rangedStatus = 0, plainStatus = 0;
    FaultReply operator()(const FaultRequest &r) const {
        const std::string range = r.header("range");
        const int status = range.empty() ? plainStatus : rangedStatus;
        if (status) return FaultReply{status, "", {}, status == 200 ? source : "no"};
        if (range.empty()) return FaultReply{200, "", {}, source, 0, cut ? std::optional<size_t>(cut.load()) : std::nullopt};
        const size_t from = std::stoull(range.substr(6));
        if (range != "bytes=" + std::to_string(from) + "-") return FaultReply{400, "", {}, "bad range " + range};
        const std::string total = std::to_string(source.size());
        return FaultReply{206, "", {{"Content-Range", "bytes " + std::to_string(from) + "-" +
                                                          std::to_string(source.size() - 1) + "/" + total}},
                          source.substr(from)};
    }
};

// Submits synchronously or asynchronously (pumping until the end); answers
// whether the request ended in failure.
bool submitFails(VORKHTTPRequest &request, bool async) {
    if (async) {
        request.asyncSubmitRequest();
        EXPECT_TRUE(pumpUntil([&] { return request.isCompleted(); }, 30));
        return request.errored();
    }
    try {
        request.submitRequest();
    } catch (const VORKNetworkingException &) {
        EXPECT_TRUE(request.errored());
        return true;
    }
    return request.errored();
}

class TransferFaults : public ::testing::Test {
protected:
    void TearDown() override { fileCopyRelease(); }
    const std::string source = test::patternBytes(256 * 1024, 11);
    test::TempDir dir;
};

TEST_F(TransferFaults, CutsAtRandomOffsetsFailAndResumeToTheExactSource) {
    RangedSource ranged{source};
    FaultServer server([&](const FaultRequest &r) { return ranged(r); });
    std::mt19937 rng(20261123);
    std::uniform_int_distribution<size_t> offsets(1, source.size() - 1);
    const fs::path path = dir / "resumed.bin";
    for (int round = 0; round < 100; ++round) {
        ranged.cut = offsets(rng);
        const bool async = round % 2 == 1;
        SCOPED_TRACE("cut at " + std::to_string(ranged.cut.load()) + (async ? " async" : " sync"));
        VORKHTTPRequest request(server.url("/source.bin"));
        request.setTimeout(10);
        request.setDownloadFilePath(path.string());
        ASSERT_TRUE(submitFails(request, async)) << "a short file was reported complete";
        ASSERT_EQ(fs::file_size(path), ranged.cut.load());
        request.setResumeFromLocation(static_cast<int64_t>(ranged.cut.load()));
        ASSERT_FALSE(submitFails(request, async));
        EXPECT_EQ(request.httpResponse()->responseCode(), 206);
        EXPECT_EQ(request.currentDownloadedBytes(), source.size());
        EXPECT_EQ(request.expectedContentLength(), source.size());
        EXPECT_EQ(request.httpResponse()->responseText(), "");  // the body went to the file only
        ASSERT_TRUE(readFile(path) == source) << "resumed file differs from the source";
    }
}

TEST_F(TransferFaults, AnswersToARangedRequestRestartOrDropThePartialFile) {
    struct Row {
        const char *name;
        int rangedStatus, plainStatus;  // 0: serve the range, the whole source
        bool raises, wholeSource;       // the file ends as the source
        size_t requests;
    };
    for (const Row &row : std::vector<Row>{
             {"206 appends", 0, 0, false, true, 1},
             {"200 restarts the file", 200, 0, false, true, 1},
             {"416 removes the file and starts once more from 0", 416, 0, false, true, 2},
             {"416 then a failure leaves nothing", 416, 503, true, false, 2},
         }) {
        SCOPED_TRACE(row.name);
        RangedSource ranged{source, {}, row.rangedStatus, row.plainStatus};
        FaultServer server([&](const FaultRequest &r) { return ranged(r); });
        const fs::path path = dir.write("partial.bin", source.substr(0, 1000));
        VORKHTTPRequest request(server.url("/source.bin"));
        request.setDownloadFilePath(path.string());
        request.setResumeFromLocation(1000);
        EXPECT_EQ(submitFails(request, false), row.raises);
        EXPECT_EQ(fs::exists(path) && readFile(path) == source, row.wholeSource);
        if (row.raises) { EXPECT_FALSE(fs::exists(path)); }
        ASSERT_EQ(server.requestCount(), row.requests);
        EXPECT_TRUE(server.requests().back().header("range").empty() == (row.requests == 2));
    }
}

TEST_F(TransferFaults, FullDiskFailsDownloadsAndLeavesNoPartialCopy) {
    RangedSource ranged{source};
    FaultServer server([&](const FaultRequest &r) { return ranged(r); });
    const fs::path copySource = dir.write("src/source.bin", source);
    fs::create_directories(dir / "dst");
    // A file-size limit for the whole process, with the signal that would
    // kill the writer ignored: writes past it fail with EFBIG.
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    struct Restore {
        rlimit saved;
        void (*handler)(int);
        ~Restore() { ::setrlimit(RLIMIT_FSIZE, &saved), std::signal(SIGXFSZ, handler); }
    } restore{limit, std::signal(SIGXFSZ, SIG_IGN)};
    limit.rlim_cur = 64 * 1024;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    for (bool async : {false, true}) {
        const fs::path path = dir / "full.bin";
        VORKHTTPRequest request(server.url("/source.bin"));
        request.setDownloadFilePath(path.string());
        ASSERT_TRUE(submitFails(request, async)) << "a download cut short by the disk was reported complete";
        EXPECT_EQ(request.error()->code(), -3003);
        // What was written is a prefix of the source, kept for a resume.
        const std::string kept = fs::exists(path) ? readFile(path) : std::string();
        EXPECT_LE(kept.size(), 64u * 1024);
        EXPECT_TRUE(source.compare(0, kept.size(), kept) == 0);
        fs::remove(path);
    }
    // A copy completes as the file service does (its error is not reported),
    // and removes the partial item it made.
    ASSERT_STREQ(fileCopyStart(copySource.c_str(), (dir / "dst").c_str()), "");
    ASSERT_TRUE(pumpUntil([] { return fileCopyIsComplete(); }, 30));
    EXPECT_FALSE(fs::exists(dir / "dst/source.bin"));
}

}  // namespace
}  // namespace vork
