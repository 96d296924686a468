// Transfers under faults, against the fault server on 127.0.0.1: the
// connection cut at random offsets and resumed, answers to ranged requests,
// 503 storms, a server that goes silent, and a file-size limit standing for
// a full disk.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <VORKCoreCommC/VORKCoreCommC.h>

#include <atomic>
#include <cmath>
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

// Serves `source`, answering "Range: bytes=N-" with 206 and the rest; an
// answer without a range is cut after `cut` bytes when `cut` is set.
FaultServer::Handler rangedSource(const std::string &source, const std::atomic<size_t> *cut) {
    return [&source, cut](const FaultRequest &r) {
        const std::string range = r.header("range");
        if (range.rfind("bytes=", 0) != 0) {
            FaultReply reply{200, "", {}, source};
            if (cut && cut->load()) reply.cutAfterBodyBytes = cut->load();
            return reply;
        }
        const size_t from = std::stoull(range.substr(6));
        return FaultReply{206, "", {{"Content-Range", "bytes " + std::to_string(from) + "-" +
                                                          std::to_string(source.size() - 1) + "/" +
                                                          std::to_string(source.size())}},
                          source.substr(from)};
    };
}

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

// A file-size limit for the whole process while in scope, with the signal
// that would kill the writer ignored: writes past it fail with EFBIG.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &saved_);
        oldHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = saved_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, oldHandler_);
    }

private:
    rlimit saved_{};
    void (*oldHandler_)(int) = nullptr;
};

class TransferFaults : public ::testing::Test {
protected:
    void TearDown() override {
        httpTransferRelease();
        fileCopyRelease();
        httpTransferRetrySettings(0, 5.0, 120.0);
    }
    const std::string source = test::patternBytes(256 * 1024, 11);
    test::TempDir dir;
};

TEST_F(TransferFaults, CutsAtRandomOffsetsFailAndResumeToTheExactSource) {
    std::atomic<size_t> cut{0};
    FaultServer server(rangedSource(source, &cut));
    std::mt19937 rng(20261123);
    std::uniform_int_distribution<size_t> offsets(1, source.size() - 1);
    const fs::path path = dir / "resumed.bin";
    for (int round = 0; round < 100; ++round) {
        cut = offsets(rng);
        const bool async = round % 2 == 1;
        SCOPED_TRACE("cut at " + std::to_string(cut.load()) + (async ? " async" : " sync"));
        VORKHTTPRequest request(server.url("/source.bin"));
        request.setTimeout(10);
        request.setDownloadFilePath(path.string());
        ASSERT_TRUE(submitFails(request, async)) << "a short file was reported complete";
        ASSERT_EQ(fs::file_size(path), cut.load());
        request.setResumeFromLocation(static_cast<int64_t>(cut.load()));
        ASSERT_FALSE(submitFails(request, async));
        EXPECT_EQ(request.httpResponse()->responseCode(), 206);
        EXPECT_EQ(request.currentDownloadedBytes(), source.size());
        ASSERT_TRUE(readFile(path) == source) << "resumed file differs from the source";
    }
}

TEST_F(TransferFaults, AnswersToARangedRequestRestartOrDropThePartialFile) {
    struct Row {
        const char *name;
        int rangedStatus;   // answer to a request with a range; 0 = serve the range
        int plainStatus;    // answer to a request without one; 0 = the whole source
        bool raises;
        bool wholeSource;   // the file ends as the source
        size_t requests;
    };
    for (const Row &row : std::vector<Row>{
             {"206 appends", 0, 0, false, true, 1},
             {"200 restarts the file", 200, 0, false, true, 1},
             {"416 removes the file and starts once more from 0", 416, 0, false, true, 2},
             {"416 then a failure leaves nothing", 416, 503, true, false, 2},
         }) {
        SCOPED_TRACE(row.name);
        auto serve = rangedSource(source, nullptr);
        FaultServer server([&](const FaultRequest &r) {
            const int status = r.header("range").empty() ? row.plainStatus : row.rangedStatus;
            if (status == 0) return serve(r);
            return FaultReply{status, "", {}, status == 200 ? source : "no"};
        });
        const fs::path path = dir.write("partial.bin", source.substr(0, 1000));
        VORKHTTPRequest request(server.url("/source.bin"));
        request.setDownloadFilePath(path.string());
        request.setResumeFromLocation(1000);
        EXPECT_EQ(submitFails(request, false), row.raises);
        EXPECT_EQ(fs::exists(path) && readFile(path) == source, row.wholeSource);
        if (row.raises) {
            EXPECT_FALSE(fs::exists(path));
        }
        ASSERT_EQ(server.requestCount(), row.requests);
        EXPECT_TRUE(server.requests().back().header("range").empty() == (row.requests == 2));
    }
}

TEST_F(TransferFaults, StormsOf503FollowTheRetrySchedule) {
    struct Row {
        int retries;
        double min, max;
    };
    for (const Row &row : std::vector<Row>{{4, 0.1, 0.6}, {1, 0.3, 2.0}, {0, 0.1, 0.2}}) {
        SCOPED_TRACE(row.retries);
        FaultServer server(test::always(503, "busy"));
        httpTransferRetrySettings(row.retries, row.min, row.max);
        httpTransferInit(server.url("/upload").c_str(), false, nullptr, nullptr, nullptr,
                         dir.write("up.txt", "inventory").c_str());
        ASSERT_STREQ(httpTransferStart(), "");
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!httpTransferIsComplete() && std::chrono::steady_clock::now() < deadline) {
        }
        ASSERT_TRUE(httpTransferIsComplete());
        EXPECT_EQ(httpResponseCode(), 503);
        const auto requests = server.requests();
        ASSERT_EQ(requests.size(), static_cast<size_t>(row.retries + 1));
        for (int i = 0; i < row.retries; ++i) {
            // min − 1 + (max − min + 1)^(i / (retries − 1)); one retry waits min.
            const double expected =
                row.retries == 1 ? row.min : row.min - 1 + std::pow(row.max - row.min + 1, double(i) / (row.retries - 1));
            const double gap = std::chrono::duration<double>(requests[i + 1].arrived - requests[i].arrived).count();
            EXPECT_GE(gap, expected - 0.01) << i;
            EXPECT_LT(gap, expected + 0.5) << i;
        }
        httpTransferRelease();
    }
}

TEST_F(TransferFaults, SilentServerTimesOutAndNothingIsReportedComplete) {
    FaultServer server([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, source};
        reply.cutAfterBodyBytes = 50000;
        reply.stallAfterCut = true;
        return reply;
    });
    for (bool async : {false, true}) {
        SCOPED_TRACE(async);
        const fs::path path = dir / "stalled.bin";
        VORKHTTPRequest request(server.url("/source.bin"));
        request.setTimeout(1.0);
        request.setDownloadFilePath(path.string());
        const auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(submitFails(request, async));
        const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_GE(took, 1.0);
        EXPECT_LT(took, 6.0);
        EXPECT_EQ(request.error()->code(), -1001);
        EXPECT_EQ(request.httpResponse()->responseCode(), 200);
        // The bytes that came stay for a resume.
        EXPECT_TRUE(readFile(path) == source.substr(0, 50000));
    }
}

TEST_F(TransferFaults, FullDiskFailsDownloadsAndLeavesNoPartialCopy) {
    FaultServer server(rangedSource(source, nullptr));
    const fs::path copySource = dir.write("src/source.bin", source);
    fs::create_directories(dir / "dst");
    FileSizeLimit limit(64 * 1024);
    for (bool async : {false, true}) {
        SCOPED_TRACE(async);
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
    {
        // The transfer functions report the failure too.
        const fs::path path = dir / "full-transfer.bin";
        httpTransferInitDownload(server.url("/source.bin").c_str(), false, nullptr, nullptr, nullptr, nullptr,
                                 path.c_str());
        ASSERT_STREQ(httpTransferStart(), "");
        ASSERT_TRUE(pumpUntil([] { return httpTransferIsComplete(); }, 30));
        EXPECT_STRNE(httpTransferError(), "");
    }
    // A copy completes as the file service does (its error is not reported),
    // and removes the partial item it made.
    ASSERT_STREQ(fileCopyStart(copySource.c_str(), (dir / "dst").c_str()), "");
    ASSERT_TRUE(pumpUntil([] { return fileCopyIsComplete(); }, 30));
    EXPECT_FALSE(fs::exists(dir / "dst/source.bin"));
}

}  // namespace
}  // namespace vork
