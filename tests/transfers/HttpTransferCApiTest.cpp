// The C functions of the HTTP transfer family against nginx, the fault
// server and the fake transport, polled the way the agent polls them.
#include <gtest/gtest.h>

#include <VORKCoreCommC/VORKCoreCommC.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <set>
#include <thread>
#include <tuple>

#include "http/HttpFixture.h"
#include "support/FaultServer.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/HttpTransfer.h"

namespace vork {
namespace {

using test::always;
using test::FaultReply;
using test::FaultRequest;
using test::FaultServer;
using test::SharedNginx;

class HttpTransferCApi : public ::testing::Test {
protected:
    void TearDown() override {
        httpTransferRelease();
        httpTransferRetrySettings(0, 5.0, 120.0);
    }
    HttpTransfer &transfer() { return *static_cast<HttpTransfer *>(g_HttpTransfer); }

    // Starts the transfer and polls until complete; answers every status text seen.
    std::set<std::string> runToEnd(double seconds = 30) {
        EXPECT_STREQ(httpTransferStart(), "");
        std::set<std::string> statuses;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!httpTransferIsComplete()) {
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "transfer did not end";
                break;
            }
            statuses.insert(httpTransferStatus() ? httpTransferStatus() : "(null)");
            EXPECT_GE(httpTransferProgress(), 0.0);
            EXPECT_LE(httpTransferProgress(), 100.0);
        }
        return statuses;
    }
    // Sets up an upload of a file in the test's folder.
    void initUpload(const std::string &url, const std::string &bytes = "inventory") {
        httpTransferInit(url.c_str(), false, nullptr, nullptr, nullptr, dir.write("log.txt", bytes).c_str());
    }

    test::TempDir dir;
    test::RecordingLog log;
};

TEST_F(HttpTransferCApi, ArgumentsAndRequestAreLoggedWithThePasswordMasked) {
    FaultServer server(always(200, "ok"));
    const std::string url = server.url("/p");
    httpTransferInit(url.c_str(), true, "agent", "hunter2", "<a/>", nullptr);
    EXPECT_DOUBLE_EQ(transfer().timeout(), 240.0);
    EXPECT_EQ(httpTransferStatus(), nullptr);  // before the first start
    EXPECT_TRUE(httpTransferAddHeader("X-Agent", "7"));
    runToEnd();
    for (const std::string &line :
         {"httpTransferInit: urlString=" + url, std::string("httpTransferInit: username=agent, password=********"),
          std::string("httpTransferInit: postData=<a/> (<a/>)"), std::string("httpTransferInit: filePath="),
          std::string("httpTransferAddHeader: headerName=X-Agent, headerValue=7"),
          "HttpTransfer initializeHttpRequest: url=" + url +
              ", allowInvalidCert=YES, username=agent, password=********, postData.length=4, "
              "postFilePath=(null), downloadFilePath=(null)"})
        EXPECT_TRUE(log.contains(line)) << line;
    EXPECT_EQ(server.requests().at(0).header("authorization").rfind("Basic ", 0), 0u);
    httpTransferInit(nullptr, false, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(log.contains("httpTransferInit: username=, password=********"));
    EXPECT_TRUE(log.contains("httpTransferInit: postData=(null) ()"));
}

TEST_F(HttpTransferCApi, DownloadIntoAFileWithProgressAndAFailedOneIsNeverRetried) {
    const std::string &content = SharedNginx::get().file("transfer.bin", 4 << 20);
    const std::string path = (dir / "down/transfer.bin").string();
    httpTransferInitDownload(SharedNginx::get().nginx().httpUrl("/transfer.bin").c_str(), false, nullptr, nullptr,
                             nullptr, nullptr, path.c_str());
    EXPECT_LE(runToEnd().size(), 1u);
    EXPECT_STREQ(httpTransferStatus(), "");
    EXPECT_DOUBLE_EQ(httpTransferProgress(), 100.0);
    EXPECT_EQ(httpResponseCode(), 200);
    EXPECT_STREQ(httpTransferError(), "");
    EXPECT_TRUE(test::readFile(path) == content);

    httpTransferRetrySettings(3, 0.05, 0.1);
    // Neither a failure status nor no answer at all (code 0).
    for (auto [url, code, error] : std::vector<std::tuple<std::string, long, std::string>>{
             {SharedNginx::get().nginx().httpUrl("/missing.bin"), 404,
              "Connection failure: \"The operation couldn\u2019t be completed. ( error 404.)\""},
             {"http://127.0.0.1:" + std::to_string(test::freeLoopbackPort()) + "/x", 0,
              "Connection failure: \"Could not connect to the server.\""}}) {
        SCOPED_TRACE(url);
        httpTransferInitDownload(url.c_str(), false, nullptr, nullptr, nullptr, nullptr, (dir / "missing").c_str());
        EXPECT_EQ(runToEnd().count("Retry #1..."), 0u);
        EXPECT_EQ(httpResponseCode(), code);
        EXPECT_EQ(httpTransferError(), error);
        EXPECT_FALSE(std::filesystem::exists(dir / "missing"));
    }
}

TEST_F(HttpTransferCApi, UploadRetriesFollowTheScheduleAndEndOnSuccessAfterTheLastOrAtOnceWhenNotRetried) {
    struct Row {
        int status, retries;
        double min, max;
        int busy;       // answers `status` this many times, then 200
        bool inMemory;  // posted from memory instead of from a file
        size_t requests;
    };
    for (const Row &row : std::vector<Row>{{503, 4, 0.1, 0.6, 99, false, 5}, {503, 1, 0.3, 2.0, 99, false, 2},
                                           {503, 3, 0.2, 0.8, 3, false, 4}, {404, 3, 0.05, 0.1, 99, false, 1},
                                           {503, 3, 0.05, 0.1, 99, true, 1}, {503, 0, 0.05, 0.1, 99, false, 1}}) {
        SCOPED_TRACE(std::to_string(row.status) + (row.inMemory ? " in memory " : " file ") + std::to_string(row.retries));
        std::atomic<int> answered{0};
        FaultServer server([&](const FaultRequest &) {
            return ++answered <= row.busy ? FaultReply{row.status, "", {}, "busy"} : FaultReply{200, "", {}, "<stored/>"};
        });
        httpTransferRetrySettings(row.retries, row.min, row.max);
        if (row.inMemory) httpTransferInit(server.url("/post").c_str(), false, nullptr, nullptr, "<inventory/>", nullptr);
        else initUpload(server.url("/upload"), test::patternBytes(200000));
        const auto seen = runToEnd();  // a short wait may pass between two polls
        EXPECT_EQ(std::any_of(seen.begin(), seen.end(), [](auto &s) { return s.rfind("Retry #", 0) == 0; }),
                  row.requests > 1);
        // The attempt's second end report must not start another round.
        for (int i = 0; i < 5; ++i) EXPECT_TRUE(httpTransferIsComplete());
        EXPECT_STREQ(httpTransferStatus(), "");
        EXPECT_EQ(httpResponseCode(), row.busy >= int(row.requests) ? row.status : 200);
        if (row.busy < int(row.requests)) { EXPECT_STREQ(httpTransferResult(), "<stored/>"); }
        const auto requests = server.requests();
        ASSERT_EQ(requests.size(), row.requests);
        if (row.inMemory) {
            EXPECT_EQ(requests[0].body, "<inventory/>");
            EXPECT_EQ(requests[0].header("content-type"), "application/xml; charset=utf-8");
        }
        for (size_t i = 0; i + 1 < row.requests; ++i) {
            const double expected = transfer().delayTimeForIteration(int(i));  // the schedule has its own test
            const double gap = std::chrono::duration<double>(requests[i + 1].arrived - requests[i].arrived).count();
            EXPECT_GE(gap, expected - 0.01) << i;
            EXPECT_LT(gap, expected + 0.5) << i;
            EXPECT_EQ(requests[i + 1].body.size(), 200000u);
        }
    }
    EXPECT_TRUE(log.contains("HttpTransfer notifyCompleted retry #3 responseCode:503"));
    EXPECT_TRUE(log.contains("HttpTransfer restartAfterDelay: 0.200000"));
}

TEST_F(HttpTransferCApi, CancelDuringARetryWaitEndsCanceledWithoutFurtherRetry) {
    FaultServer server(always(503, "busy"));
    httpTransferRetrySettings(5, 0.3, 0.5);
    initUpload(server.url("/upload"));
    httpTransferStart();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::string(httpTransferStatus() ? httpTransferStatus() : "") != "Retry #1..." &&
           std::chrono::steady_clock::now() < deadline)
        httpTransferIsComplete();
    ASSERT_STREQ(httpTransferStatus(), "Retry #1...");
    EXPECT_TRUE(httpTransferCancel());
    EXPECT_FALSE(httpTransferIsComplete());
    while (!httpTransferIsComplete() && std::chrono::steady_clock::now() < deadline) {
    }
    EXPECT_STREQ(httpTransferStatus(), "Canceled");
    EXPECT_EQ(server.requestCount(), 2u);
    EXPECT_EQ(httpResponseCode(), 503);
    EXPECT_TRUE(log.contains("HttpTransfer canceled before retry #2 responseCode:503"));
}

TEST_F(HttpTransferCApi, RetrySettingsGiveALiveTransferTheMinimumForBothBounds) {
    httpTransferInit("http://127.0.0.1:1/", false, nullptr, nullptr, nullptr, nullptr);
    httpTransferRetrySettings(3, 5.0, 120.0);
    EXPECT_EQ(transfer().maxRetries(), 3);
    for (int i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(transfer().delayTimeForIteration(i), 5.0);
    httpTransferInit("http://127.0.0.1:1/", false, nullptr, nullptr, nullptr, nullptr);
    EXPECT_DOUBLE_EQ(transfer().retryDelayMaxSeconds(), 120.0);
    EXPECT_EQ(g_MaxRetries, 3);
}

TEST_F(HttpTransferCApi, SynchronousRequestSendsTheHeadersThatCannotSplitTheBlockAndAnswersBodyOrFailure) {
    FaultServer server([&](const FaultRequest &r) {
        if (r.target == "/fail") return FaultReply{500, "", {}, "x"};
        return FaultReply{200, "", {}, "<reply>" + r.header("x-agent") + r.header("content-type") + "</reply>"};
    });
    httpTransferInit(server.url("/ok").c_str(), false, "agent", "pw", "<q/>", nullptr);
    // The rules for a header have their own test; a refused one is not sent.
    EXPECT_FALSE(httpTransferAddHeader("X-A", "v\r\nX-Evil: 1"));
    EXPECT_TRUE(httpTransferAddHeader("X-Agent", "a: b; c"));
    // A header entry replaces the body's own type.
    EXPECT_TRUE(httpTransferAddHeader("Content-Type", "text/xml"));
    EXPECT_STREQ(httpSubmitRequest(), "<reply>a: b; ctext/xml</reply>");
    const auto sent = server.requests().at(0);
    for (const auto &[name, value] : sent.headers) EXPECT_EQ(name.find("evil"), std::string::npos);
    httpTransferInit(server.url("/fail").c_str(), false, nullptr, nullptr, "<q/>", nullptr);
    EXPECT_STREQ(httpSubmitRequest(), "Connection failure: \"The operation couldn\u2019t be completed. ( error 500.)\"");
}

TEST_F(HttpTransferCApi, UnusableRetryDelaysNeverMakeTheRetriesHammerTheServer) {
    // Each row: the delays given; a transfer retrying up to 1000 times
    // against a server that is always busy makes one request in a second.
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    for (auto [min, max] : std::vector<std::pair<double, double>>{{inf, inf}, {nan, nan}, {-1, -1}, {1e308, 1e308}}) {
        SCOPED_TRACE(std::to_string(min) + " " + std::to_string(max));
        FaultServer server(always(503, "busy"));
        httpTransferRetrySettings(1000, min, max);
        EXPECT_TRUE(std::isfinite(g_RetryDelayMinSeconds) && g_RetryDelayMinSeconds >= 0);
        EXPECT_TRUE(std::isfinite(g_RetryDelayMaxSeconds) && g_RetryDelayMaxSeconds >= 0);
        // The exported variables written directly are checked where used.
        g_RetryDelayMinSeconds = min;
        g_RetryDelayMaxSeconds = max;
        initUpload(server.url("/upload"));
        httpTransferStart();
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (std::chrono::steady_clock::now() < end) httpTransferIsComplete();
        EXPECT_EQ(server.requestCount(), 1u);
        httpTransferRelease();
    }
}

TEST_F(HttpTransferCApi, UnusableOutputFileLeavesTheTransferRunning) {
    dir.write("plain", "x");
    const std::string path = (dir / "plain/sub/out.bin").string();
    httpTransferInitDownload(SharedNginx::get().nginx().httpUrl("/transfer.bin").c_str(), false, nullptr, nullptr,
                             nullptr, nullptr, path.c_str());
    EXPECT_STREQ(httpTransferStart(), "");
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(httpTransferIsComplete());
    EXPECT_TRUE(log.contains("HttpTransfer - asyncSubmitRequest exception: Unable to initialize output file " + path));
}

}  // namespace
}  // namespace vork
