// VORKHTTPRequest against real servers on 127.0.0.1: nginx for files,
// ranges, TLS and basic authentication; the fault server for what nginx
// will not do on demand; the fake transport where a server adds nothing.
#include <gtest/gtest.h>

#include <thread>

#include "HttpFixture.h"
#include "http/VORKHTTPRequest.h"
#include "http/VORKNetworkingException.h"
#include "support/FakeTransport.h"
#include "support/FaultServer.h"
#include "support/TempDir.h"
#include "util/Base64.h"

namespace vork {
namespace {

using test::always;
using test::FaultReply;
using test::FaultRequest;
using test::FaultServer;
using test::pumpUntil;
using test::SharedNginx;

struct Recorder : VORKHTTPRequestDelegate {
    std::vector<double> progress;
    int completions = 0;
    std::vector<std::thread::id> threads;
    void notifyProgress(VORKHTTPRequest &, double percent) override {
        progress.push_back(percent);
        threads.push_back(std::this_thread::get_id());
    }
    void notifyCompleted(VORKHTTPRequest &) override {
        ++completions;
        threads.push_back(std::this_thread::get_id());
    }
    void watch(VORKHTTPRequest &request) {
        request.setNotifyObject(this);
        request.setNotifyProgress(true);
        request.setNotifyCompleted(true);
    }
};

class HttpRequestTest : public ::testing::Test {
protected:
    test::Nginx &nginx() { return SharedNginx::get().nginx(); }
    const std::string &file(const std::string &name, size_t size) { return SharedNginx::get().file(name, size); }
    test::TempDir dir;
};

TEST_F(HttpRequestTest, SynchronousFailuresRaiseNetworkingErrorsWithThePlatformTexts) {
    file("small.bin", 100000);
    FaultServer faults([&](const FaultRequest &r) {
        FaultReply reply{200, "", {}, std::string(400000, 'b')};
        if (r.target == "/slow") reply.delaySeconds = 10;
        else reply.cutAfterBodyBytes = 100000;
        return reply;
    });
    const std::string failed = "Connection failure: \"The operation couldn\u2019t be completed. ( error ";
    struct Row {
        std::string url;
        double timeout;
        std::string reason, domain;
        long code;
        int status;
    };
    const std::vector<Row> rows = {
        {nginx().httpUrl("/missing.bin"), 60, failed + "404.)\"", "", 404, 404},
        {"http://127.0.0.1:" + std::to_string(test::freeLoopbackPort()) + "/x", 60,
         "Connection failure: \"Could not connect to the server.\"", "NSURLErrorDomain", -1004, 0},
        // The idle time-out ends a silent exchange.
        {faults.url("/slow"), 0.5, "Connection failure: \"The request timed out.\"", "NSURLErrorDomain", -1001, 0},
        {faults.url("/cut"), 60, "Connection failure: \"The network connection was lost.\"", "NSURLErrorDomain",
         -1005, 200},
        {nginx().httpsUrl("/small.bin"), 60,
         "Connection failure: \"The certificate for this server is invalid. You might be connecting to a server that "
         "is pretending to be \u201c127.0.0.1\u201d which could put your confidential information at risk.\"",
         "NSURLErrorDomain", -1202, 403},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.url);
        VORKHTTPRequest request(row.url);
        request.setTimeout(row.timeout);
        try {
            request.submitRequest();
            ADD_FAILURE() << "no exception";
        } catch (const VORKNetworkingExceptionRangeNotSatisfiable &) {
            ADD_FAILURE() << "wrong kind";
        } catch (const VORKNetworkingException &e) {
            EXPECT_EQ(e.name() + ": " + e.reason(), "Networking Error: " + row.reason);
        }
        EXPECT_TRUE(request.errored());
        ASSERT_TRUE(request.error());
        EXPECT_EQ(request.error()->domain(), row.domain);
        EXPECT_EQ(request.error()->code(), row.code);
        EXPECT_EQ(request.error()->localizedDescription(), row.reason);
        EXPECT_EQ(request.httpResponse()->responseCode(), row.status);
    }
}

TEST_F(HttpRequestTest, AsynchronousFailureStatusCompletesTwice) {
    // The failure status ends the request, and the end of its body reports
    // the end once more.
    auto fake = test::FakeTransport::install([](auto &) { return test::FakeExchange{404, "missing"}; });
    Recorder recorder;
    VORKHTTPRequest request("http://files.test/missing.bin");
    recorder.watch(request);
    request.asyncSubmitRequest();
    ASSERT_TRUE(pumpUntil([&] { return recorder.completions >= 2; }));
    EXPECT_TRUE(request.errored());
    EXPECT_EQ(request.httpResponse()->responseCode(), 404);
}

TEST_F(HttpRequestTest, ReportsArriveOnlyOnTheSubmittingThreadWhileItPumpsHoweverRarely) {
    const std::string &content = file("medium.bin", 3 << 20);
    Recorder recorder;
    VORKHTTPRequest request(nginx().httpUrl("/medium.bin"));
    recorder.watch(request);
    request.asyncSubmitRequest();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(recorder.progress.empty());
    EXPECT_EQ(recorder.completions, 0);
    EXPECT_FALSE(request.isCompleted());
    ASSERT_TRUE(pumpUntil([&] { return request.isCompleted(); }));
    EXPECT_EQ(recorder.completions, 1);
    ASSERT_FALSE(recorder.progress.empty());
    EXPECT_DOUBLE_EQ(recorder.progress.back(), 100.0);
    EXPECT_TRUE(std::is_sorted(recorder.progress.begin(), recorder.progress.end()));
    for (auto id : recorder.threads) EXPECT_EQ(id, std::this_thread::get_id());
    EXPECT_EQ(request.httpResponse()->responseText(), content);

    const std::string &large = file("large.bin", 24 << 20);
    VORKHTTPRequest rare(nginx().httpUrl("/large.bin"));
    rare.asyncSubmitRequest();
    for (int i = 0; i < 400 && !rare.isCompleted(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        RunLoop::current()->runOnce(RunLoop::Seconds(0));
    }
    ASSERT_TRUE(rare.isCompleted() && !rare.errored());
    EXPECT_TRUE(rare.httpResponse()->responseText() == large);
}

TEST_F(HttpRequestTest, TimeOutDoesNotCutABodyThatKeepsFlowing) {
    const std::string body = test::patternBytes(100000, 9);
    FaultServer server([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, body};
        reply.trickleSeconds = 2.0;  // a piece every 0.2 s
        return reply;
    });
    VORKHTTPRequest request(server.url("/trickle"));
    request.setTimeout(0.8);
    EXPECT_EQ(request.submitRequest()->responseText(), body);
}

TEST_F(HttpRequestTest, CertificateSwitchIsProcessWideAndTheLastRequestDecides) {
    const std::string &content = file("small.bin", 100000);
    VORKHTTPRequest first(nginx().httpsUrl("/small.bin"));
    first.setAllowInvalidCert(true);
    first.asyncSubmitRequest();
    EXPECT_TRUE(URLRequestTrust::allowsAnyHTTPSCertificateForHost("any.example"));
    // Set from another thread, the switch holds for this thread's requests too.
    std::thread([] { URLRequestTrust::setAllowInvalidCert(true); }).join();
    VORKHTTPRequest second(nginx().httpsUrl("/small.bin"));
    second.asyncSubmitRequest();
    EXPECT_FALSE(URLRequestTrust::allowsAnyHTTPSCertificateForHost("127.0.0.1"));
    ASSERT_TRUE(pumpUntil([&] { return first.isCompleted() && second.isCompleted(); }));
    EXPECT_EQ(first.httpResponse()->responseText(), content);
    EXPECT_EQ(second.httpResponse()->responseCode(), 403);
}

TEST_F(HttpRequestTest, CredentialsAreSentUpFrontAsBasicAndDigestIsAnsweredWhenAsked) {
    // Up front on every request, over one reused connection; a digest
    // challenge is answered with the same credentials and the body again.
    FaultServer server([](const FaultRequest &r) {
        if (r.target != "/digest" || r.header("authorization").rfind("Digest ", 0) == 0)
            return FaultReply{200, "", {}, "<ok/>"};
        return FaultReply{401, "", {{"WWW-Authenticate", "Digest realm=\"vork\", nonce=\"n0nce\", qop=\"auth\""}}, "no"};
    });
    for (const char *target : {"/x", "/x", "/digest"}) {
        VORKHTTPRequest request(server.url(target), "<q/>");
        request.setUsername("agent");
        request.setPassword("p:w");
        EXPECT_EQ(request.submitRequest()->responseText(), "<ok/>");
    }
    auto requests = server.requests();
    ASSERT_GE(requests.size(), 4u);
    EXPECT_EQ(requests[1].header("authorization"), "Basic " + util::base64EncodedString("agent:p:w"));
    EXPECT_EQ(requests[0].connection, requests[1].connection);
    EXPECT_EQ(requests[2].header("authorization").rfind("Basic ", 0), 0u);
    EXPECT_NE(requests.back().header("authorization").find("username=\"agent\""), std::string::npos);
    EXPECT_EQ(requests.back().body, "<q/>");
}

TEST_F(HttpRequestTest, XmlPostCountsItsBodyAndAFileUploadStreamsRawBytesUnderTheMultipartType) {
    FaultServer server(always(200, "stored"));
    const std::string body = "<request>" + std::string(1000, 'x') + "</request>";
    EXPECT_EQ(VORKHTTPRequest::xmlPostRequestWithUrl(server.url("/client"), body)->submitRequest()->totalBytes(),
              body.size() + 6);  // uploaded and downloaded
    EXPECT_EQ(server.requests().at(0).body, body);
    const std::string bytes = test::patternBytes(3 << 20, 11);
    const auto path = dir.write("upload.bin", bytes);
    Recorder recorder;
    VORKHTTPRequest request(server.url("/upload"));
    recorder.watch(request);
    request.setPostFilePath(path.string());
    EXPECT_EQ(request.expectedContentLength(), bytes.size());
    request.asyncSubmitRequest();
    ASSERT_TRUE(pumpUntil([&] { return request.isCompleted(); }));
    EXPECT_FALSE(request.errored());
    EXPECT_EQ(request.currentUploadBytes(), bytes.size());
    ASSERT_FALSE(recorder.progress.empty());
    EXPECT_DOUBLE_EQ(recorder.progress.back(), 100.0);
    auto r = server.requests().at(1);
    EXPECT_EQ(r.header("content-type"), "multipart/form-data; charset=utf-8");
    EXPECT_EQ(r.header("content-length"), std::to_string(bytes.size()));
    // No "Expect: 100-continue", and so no wait for a "100 Continue".
    EXPECT_EQ(r.headers.count("expect"), 0u);
    EXPECT_TRUE(r.body == bytes);
    EXPECT_EQ(request.httpResponse()->bytesUploaded(), 0u);
    EXPECT_EQ(request.httpResponse()->responseText(), "stored");
}

// Records how a request answers the challenges it is handed.
struct ChallengeRecorder : VORKHTTPRequest {
    using VORKHTTPRequest::VORKHTTPRequest;
    std::vector<AuthenticationChallenge> challenges;
    std::vector<std::vector<ChallengeSender::Kind>> answers;
    void connectionDidReceiveAuthenticationChallenge(const AuthenticationChallenge &challenge,
                                                     ChallengeSender &sender) override {
        challenges.push_back(challenge);
        VORKHTTPRequest::connectionDidReceiveAuthenticationChallenge(challenge, sender);
        answers.emplace_back();
        for (const auto &answer : sender.answers()) answers.back().push_back(answer.kind);
    }
};

TEST_F(HttpRequestTest, ChallengeThatFailedBeforeIsCancelledAndAnsweredOnceMore) {
    using Kind = ChallengeSender::Kind;
    FaultServer server([](const FaultRequest &) {
        return FaultReply{401, "", {{"WWW-Authenticate", "Basic realm=\"vork\""}}, "denied"};
    });
    struct Row {
        std::optional<std::string> user;
        std::vector<std::vector<Kind>> answers;
    };
    for (const Row &row : std::vector<Row>{{"agent", {{Kind::Cancel, Kind::UseCredential}}}, {std::nullopt, {}}}) {
        ChallengeRecorder request(server.url("/protected"));
        request.setUsername(row.user);
        request.setPassword("wrong");
        EXPECT_THROW(request.submitRequest(), VORKNetworkingException);
        EXPECT_EQ(request.httpResponse()->responseCode(), 401);
        EXPECT_EQ(request.answers, row.answers);
        for (const auto &challenge : request.challenges) {
            EXPECT_EQ(challenge.method, AuthenticationMethod::HTTPBasic);
            EXPECT_EQ(challenge.previousFailureCount, 1);
            ASSERT_TRUE(challenge.proposedCredential);
            EXPECT_EQ(challenge.proposedCredential->user, row.user);
        }
    }
}

TEST_F(HttpRequestTest, CredentialGivenForAChallengeIsSentInANewAttempt) {
    struct Answering : VORKHTTPRequest {
        using VORKHTTPRequest::VORKHTTPRequest;
        int asked = 0;
        bool connectionCanAuthenticateAgainstProtectionSpace(AuthenticationMethod) override { return true; }
        void connectionDidReceiveAuthenticationChallenge(const AuthenticationChallenge &,
                                                         ChallengeSender &sender) override {
            ++asked;
            sender.useCredential(URLCredential::withUser("agent", "secret"));
        }
    };
    const std::string expected = "Basic " + util::base64EncodedString("agent:secret");
    FaultServer server([&](const FaultRequest &r) {
        if (r.header("authorization") == expected) return FaultReply{200, "", {}, "<ok/>"};
        return FaultReply{401, "", {{"WWW-Authenticate", "Basic realm=\"vork\""}}, "denied"};
    });
    Answering request(server.url("/protected"));
    EXPECT_EQ(request.submitRequest()->responseText(), "<ok/>");
    EXPECT_EQ(request.asked, 1);
}

}  // namespace
}  // namespace vork
