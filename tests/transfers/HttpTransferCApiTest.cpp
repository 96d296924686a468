// The C functions of the HTTP transfer family against nginx and the fault
// server on 127.0.0.1, polled the way the agent polls them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <VORKCoreCommC/VORKCoreCommC.h>

#include <cmath>
#include <limits>
#include <filesystem>
#include <set>
#include <thread>
#include <tuple>

#include "http/HttpFixture.h"
#include "support/FakeTransport.h"
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
    void SetUp() override { httpTransferRetrySettings(0, 5.0, 120.0); }
    void TearDown() override {
        httpTransferRelease();
        httpTransferRetrySettings(0, 5.0, 120.0);
    }
    test::Nginx &nginx() { return SharedNginx::get().nginx(); }
    HttpTransfer &transfer() { return *static_cast<HttpTransfer *>(g_HttpTransfer); }

    // Polls until complete; answers every status text seen.
    std::set<std::string> pollToEnd(double seconds = 30) {
        std::set<std::string> statuses;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!httpTransferIsComplete()) {
            EXPECT_LT(std::chrono::steady_clock::now(), deadline) << "transfer did not end";
            if (std::chrono::steady_clock::now() > deadline) break;
            const char *status = httpTransferStatus();
            statuses.insert(status ? status : "(null)");
            double progress = httpTransferProgress();
            EXPECT_GE(progress, 0.0);
            EXPECT_LE(progress, 100.0);
        }
        return statuses;
    }
    std::set<std::string> download(const std::string &url, bool allowInvalidCert, const std::string &path) {
        httpTransferInitDownload(url.c_str(), allowInvalidCert, nullptr, nullptr, nullptr, nullptr, path.c_str());
        EXPECT_STREQ(httpTransferStart(), "");
        return pollToEnd();
    }
    // Sets up an upload of a file in the test's folder.
    void initUpload(const std::string &url, const std::string &bytes = "inventory") {
        httpTransferInit(url.c_str(), false, nullptr, nullptr, nullptr, dir.write("log.txt", bytes).c_str());
    }

    test::TempDir dir;
};

TEST_F(HttpTransferCApi, WithoutTransferEveryFunctionAnswersNeutrally) {
    httpTransferRelease();
    EXPECT_EQ(g_HttpTransfer, nullptr);
    EXPECT_DOUBLE_EQ(httpTransferProgress(), -1.0);
    EXPECT_STREQ(httpTransferStatus(), "");
    EXPECT_FALSE(httpTransferCancel());
    EXPECT_TRUE(httpTransferIsComplete());
    EXPECT_EQ(httpResponseCode(), -1);
    EXPECT_STREQ(httpTransferResult(), "");
    EXPECT_STREQ(httpTransferError(), "");
    EXPECT_FALSE(httpTransferAddHeader("X-A", "1"));
}

TEST_F(HttpTransferCApi, ArgumentsAndRequestAreLoggedButNeverThePassword) {
    FaultServer server(always(200, "ok"));
    test::RecordingLog log;
    const std::string url = server.url("/p");
    httpTransferInit(url.c_str(), true, "agent", "hunter2", "<a/>", nullptr);
    EXPECT_TRUE(log.contains("httpTransferInit: urlString=" + url));
    EXPECT_TRUE(log.contains("httpTransferInit: username=agent, password=********"));
    EXPECT_TRUE(log.contains("httpTransferInit: postData=<a/> (<a/>)"));
    EXPECT_TRUE(log.contains("httpTransferInit: filePath="));
    EXPECT_DOUBLE_EQ(transfer().timeout(), 240.0);
    EXPECT_EQ(httpTransferStatus(), nullptr);  // before the first start
    EXPECT_TRUE(httpTransferAddHeader("X-Agent", "7"));
    EXPECT_TRUE(log.contains("httpTransferAddHeader: headerName=X-Agent, headerValue=7"));
    httpTransferStart();
    pollToEnd();
    EXPECT_TRUE(log.contains("HttpTransfer initializeHttpRequest: url=" + url +
                             ", allowInvalidCert=YES, username=agent, password=********, postData.length=4, "
                             "postFilePath=(null), downloadFilePath=(null)"));
    EXPECT_EQ(server.requests().at(0).header("authorization").rfind("Basic ", 0), 0u);
    httpTransferInit(nullptr, false, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(log.contains("httpTransferInit: username=, password=********"));
    EXPECT_TRUE(log.contains("httpTransferInit: postData=(null) ()"));
    for (const std::string &line : log.lines()) EXPECT_EQ(line.find("hunter2"), std::string::npos) << line;
}

TEST_F(HttpTransferCApi, DownloadIntoAFileWithProgress) {
    const std::string &content = SharedNginx::get().file("transfer.bin", 4 << 20);
    const std::string path = (dir / "down/transfer.bin").string();
    EXPECT_LE(download(nginx().httpUrl("/transfer.bin"), false, path).size(), 1u);
    EXPECT_STREQ(httpTransferStatus(), "");
    EXPECT_DOUBLE_EQ(httpTransferProgress(), 100.0);
    EXPECT_EQ(httpResponseCode(), 200);
    EXPECT_STREQ(httpTransferError(), "");
    EXPECT_STREQ(httpTransferResult(), "");
    EXPECT_TRUE(test::readFile(path) == content);
}

TEST_F(HttpTransferCApi, HttpsDownloadNeedsTheSwitchForASelfSignedServer) {
    const std::string &content = SharedNginx::get().file("tls.bin", 1 << 20);
    const std::string url = nginx().httpsUrl("/tls.bin"), path = (dir / "tls.bin").string();
    download(url, false, path);
    EXPECT_EQ(httpResponseCode(), 403);
    EXPECT_NE(std::string(httpTransferError()).find("The certificate for this server is invalid"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path));
    download(url, true, path);
    EXPECT_EQ(httpResponseCode(), 200);
    EXPECT_TRUE(test::readFile(path) == content);
}

TEST_F(HttpTransferCApi, FailedDownloadIsNeverRetried) {
    httpTransferRetrySettings(3, 0.05, 0.1);
    const std::string path = (dir / "missing.bin").string();
    // Neither a failure status nor no answer at all (code 0).
    for (auto [url, code, error] : std::vector<std::tuple<std::string, long, std::string>>{
             {nginx().httpUrl("/missing.bin"), 404,
              "Connection failure: \"The operation couldn\u2019t be completed. ( error 404.)\""},
             {"http://127.0.0.1:" + std::to_string(test::freeLoopbackPort()) + "/x", 0,
              "Connection failure: \"Could not connect to the server.\""}}) {
        SCOPED_TRACE(url);
        EXPECT_EQ(download(url, false, path).count("Retry #1..."), 0u);
        EXPECT_EQ(httpResponseCode(), code);
        EXPECT_EQ(httpTransferError(), error);
        EXPECT_FALSE(std::filesystem::exists(path));
    }
}

TEST_F(HttpTransferCApi, UploadRetriesFollowTheSchedule) {
    int answered = 0;
    std::mutex m;
    FaultServer server([&](const FaultRequest &) {
        std::lock_guard<std::mutex> lock(m);
        return FaultReply{++answered <= 3 ? 503 : 200, "", {}, answered <= 3 ? "busy" : "<stored/>"};
    });
    httpTransferRetrySettings(3, 0.2, 0.8);
    initUpload(server.url("/upload"), test::patternBytes(200000));
    test::RecordingLog log;
    EXPECT_STREQ(httpTransferStart(), "");
    EXPECT_EQ(pollToEnd().count("Retry #1..."), 1u);
    EXPECT_EQ(httpResponseCode(), 200);
    EXPECT_STREQ(httpTransferResult(), "<stored/>");
    EXPECT_STREQ(httpTransferStatus(), "");
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 4u);
    const double expected[] = {0.2, 0.2 - 1 + std::pow(1.6, 0.5), 0.8};
    for (int i = 0; i < 3; ++i) {
        double gap = std::chrono::duration<double>(requests[i + 1].arrived - requests[i].arrived).count();
        EXPECT_GE(gap, expected[i] - 0.01) << i;
        EXPECT_LT(gap, expected[i] + 0.6) << i;
        EXPECT_EQ(requests[i + 1].bodyLength, 200000u);
    }
    EXPECT_TRUE(log.contains("HttpTransfer notifyCompleted retry #1 responseCode:503"));
    EXPECT_TRUE(log.contains("HttpTransfer notifyCompleted retry #3 responseCode:503"));
    EXPECT_TRUE(log.contains("HttpTransfer restartAfterDelay: 0.200000"));
}

TEST_F(HttpTransferCApi, UploadsEndAfterTheirLastRetryOrAtOnceWhenNotRetried) {
    struct Row {
        int status, retries;
        bool inMemory;  // posted from memory instead of from a file
        size_t requests;
    };
    for (const Row &row : std::vector<Row>{{503, 2, false, 3},
                                           {404, 3, false, 1},
                                           {500, 3, false, 1},
                                           {403, 3, false, 1},
                                           {503, 3, true, 1},
                                           {503, 0, false, 1}}) {
        SCOPED_TRACE(std::to_string(row.status) + (row.inMemory ? " in memory" : " file") + " retries " +
                     std::to_string(row.retries));
        auto fake = test::FakeTransport::install([&](auto &) { return test::FakeExchange{row.status, "no"}; });
        httpTransferRetrySettings(row.retries, 0.05, 0.1);
        if (row.inMemory) httpTransferInit("http://zel.test/post", false, nullptr, nullptr, "<inventory/>", nullptr);
        else initUpload("http://zel.test/upload");
        httpTransferStart();
        pollToEnd();
        // The attempt's second end report must not start another round.
        for (int i = 0; i < 5; ++i) EXPECT_TRUE(httpTransferIsComplete());
        const auto requests = fake->requests();
        EXPECT_EQ(requests.size(), row.requests);
        EXPECT_EQ(httpResponseCode(), row.status);
        EXPECT_STREQ(httpTransferStatus(), "");
        if (row.inMemory) {
            EXPECT_EQ(*requests[0].body, "<inventory/>");
            EXPECT_THAT(requests[0].headers,
                        ::testing::Contains(std::pair<std::string, std::string>("Content-Type",
                                                                                "application/xml; charset=utf-8")));
        }
    }
}

TEST_F(HttpTransferCApi, CancelDuringARetryWaitEndsCanceledWithoutFurtherRetry) {
    FaultServer server(always(503, "busy"));
    httpTransferRetrySettings(5, 0.3, 0.5);
    initUpload(server.url("/upload"));
    test::RecordingLog log;
    httpTransferStart();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::string(httpTransferStatus() ? httpTransferStatus() : "") != "Retry #1..." &&
           std::chrono::steady_clock::now() < deadline)
        httpTransferIsComplete();
    ASSERT_STREQ(httpTransferStatus(), "Retry #1...");
    EXPECT_TRUE(httpTransferCancel());
    EXPECT_FALSE(httpTransferIsComplete());
    pollToEnd();
    EXPECT_STREQ(httpTransferStatus(), "Canceled");
    EXPECT_EQ(server.requestCount(), 2u);
    EXPECT_EQ(httpResponseCode(), 503);
    EXPECT_TRUE(log.contains("HttpTransfer canceled before retry #2 responseCode:503"));
}

TEST_F(HttpTransferCApi, RetrySettingsGiveALiveTransferTheMinimumForBothBounds) {
    httpTransferInit("http://127.0.0.1:1/", false, nullptr, nullptr, nullptr, nullptr);
    httpTransferRetrySettings(3, 5.0, 120.0);
    EXPECT_EQ(transfer().maxRetries(), 3);
    EXPECT_DOUBLE_EQ(transfer().retryDelayMinSeconds(), 5.0);
    EXPECT_DOUBLE_EQ(transfer().retryDelayMaxSeconds(), 5.0);
    for (int i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(transfer().delayTimeForIteration(i), 5.0);
    httpTransferInit("http://127.0.0.1:1/", false, nullptr, nullptr, nullptr, nullptr);
    EXPECT_DOUBLE_EQ(transfer().retryDelayMaxSeconds(), 120.0);
    EXPECT_EQ(g_MaxRetries, 3);
}

TEST_F(HttpTransferCApi, SynchronousRequestAnswersTheBodyOrTheFailure) {
    FaultServer server([&](const FaultRequest &r) {
        if (r.target == "/fail") return FaultReply{500, "", {}, "x"};
        return FaultReply{200, "", {}, "<reply>" + r.header("x-agent") + "</reply>"};
    });
    httpTransferInit(server.url("/ok").c_str(), false, "agent", "pw", "<q/>", nullptr);
    httpTransferAddHeader("X-Agent", "42");
    EXPECT_STREQ(httpSubmitRequest(), "<reply>42</reply>");
    httpTransferInit(server.url("/fail").c_str(), false, nullptr, nullptr, "<q/>", nullptr);
    EXPECT_STREQ(httpSubmitRequest(), "Connection failure: \"The operation couldn\u2019t be completed. ( error 500.)\"");
}

TEST_F(HttpTransferCApi, HeaderEntriesReplaceTheBodyType) {
    FaultServer server(always(200, "ok"));
    httpTransferInit(server.url("/h").c_str(), false, nullptr, nullptr, "<q/>", nullptr);
    httpTransferAddHeader("Content-Type", "text/xml");
    httpTransferStart();
    pollToEnd();
    EXPECT_EQ(server.requests().at(0).header("content-type"), "text/xml");
    EXPECT_STREQ(httpTransferResult(), "ok");
}

TEST_F(HttpTransferCApi, HeadersThatCouldSplitTheHeaderBlockAreRefusedAndNeverSent) {
    FaultServer server(always(200, "ok"));
    httpTransferInit(server.url("/h").c_str(), false, nullptr, nullptr, "<q/>", nullptr);
    const std::vector<std::pair<std::string, std::string>> refused = {
        {"X-Injected\r\nX-Evil", "1"}, {"X-A", "v\r\nX-Evil: 1"}, {"X-B", "v\nX-Evil: 1"},
        {"X-C", "v\rX-Evil: 1"},        {"", "v"},                   {"X-Evil: 1\nX-D", "v"},
        {"X Evil", "v"},
    };
    for (const auto &[name, value] : refused) EXPECT_FALSE(httpTransferAddHeader(name.c_str(), value.c_str())) << name;
    EXPECT_TRUE(httpTransferAddHeader("X-Agent", "a: b; c"));
    EXPECT_STREQ(httpSubmitRequest(), "ok");
    const auto sent = server.requests().at(0);
    EXPECT_EQ(sent.header("x-agent"), "a: b; c");
    for (const auto &[name, value] : sent.headers) EXPECT_EQ(name.find("evil"), std::string::npos) << name;
}

TEST_F(HttpTransferCApi, UnusableRetryDelaysNeverMakeTheRetriesHammerTheServer) {
    // Each row: the delays given; a transfer retrying up to 1000 times
    // against a server that is always busy makes one request in a second.
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    for (auto [min, max] : std::vector<std::pair<double, double>>{{inf, inf}, {nan, nan}, {-1, -1}, {1e308, 1e308},
                                                                   {-inf, 1e308}, {nan, 0.1}}) {
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
    test::RecordingLog log;
    httpTransferInitDownload(nginx().httpUrl("/transfer.bin").c_str(), false, nullptr, nullptr, nullptr, nullptr,
                             path.c_str());
    EXPECT_STREQ(httpTransferStart(), "");
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(httpTransferIsComplete());
    EXPECT_TRUE(log.contains("HttpTransfer - asyncSubmitRequest exception: Unable to initialize output file " + path));
}

}  // namespace
}  // namespace vork
