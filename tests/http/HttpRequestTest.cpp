// VORKHTTPRequest against real servers on 127.0.0.1: nginx for files,
// ranges, TLS and basic authentication; the fault server for what nginx
// will not do on demand.
#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <sys/stat.h>

#include <filesystem>
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

using test::FaultReply;
using test::FaultRequest;
using test::FaultServer;
using test::always;
using test::pumpUntil;
using test::readFile;
using test::SharedNginx;

struct Recorder : VORKHTTPRequestDelegate {
    std::vector<double> progress;
    int completions = 0;
    std::vector<std::string> servers;
    std::vector<std::thread::id> threads;
    std::optional<URLCredential> credentialNeededForServerRequest(VORKHTTPRequest &, const std::string &server) override {
        servers.push_back(server);
        return std::nullopt;
    }
    void notifyProgress(VORKHTTPRequest &, double percent) override {
        progress.push_back(percent);
        threads.push_back(std::this_thread::get_id());
    }
    void notifyCompleted(VORKHTTPRequest &) override {
        ++completions;
        threads.push_back(std::this_thread::get_id());
    }
};

void watch(VORKHTTPRequest &request, Recorder &recorder) {
    request.setNotifyObject(&recorder);
    request.setNotifyProgress(true);
    request.setNotifyCompleted(true);
}

class HttpRequestTest : public ::testing::Test {
protected:
    test::Nginx &nginx() { return SharedNginx::get().nginx(); }
    const std::string &file(const std::string &name, size_t size) { return SharedNginx::get().file(name, size); }
    test::TempDir dir;
};

TEST_F(HttpRequestTest, SynchronousGetKeepsTheBodyInMemoryOrWritesTheFileAndItsFolders) {
    const std::string &content = file("small.bin", 100000);
    const auto path = dir / "a/b/out.bin";
    for (bool toFile : {false, true}) {
        VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
        if (toFile) request.setDownloadFilePath(path.string());
        auto response = request.submitRequest();
        ASSERT_TRUE(response);
        EXPECT_EQ(response->responseCode(), 200);
        EXPECT_EQ(response->responseText(), toFile ? "" : content);
        EXPECT_EQ(response->bytesDownloaded(), content.size());
        EXPECT_EQ(response->bytesUploaded(), 0u);
        EXPECT_TRUE(request.isCompleted() && !request.errored());
        EXPECT_EQ(request.expectedContentLength(), content.size());
    }
    EXPECT_EQ(readFile(path), content);
}

TEST_F(HttpRequestTest, SynchronousFailuresRaiseNetworkingErrorsWithThePlatformTexts) {
    file("small.bin", 100000);
    SharedNginx::get().file("private/secret.txt", 1000);
    FaultServer slow([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, "late"};
        reply.delaySeconds = 10;
        return reply;
    });
    const std::string failed = "Connection failure: \"The operation couldn\u2019t be completed. ( error ";
    const std::string secret = nginx().httpUrl("/private/secret.txt");
    struct Row {
        std::string url, password;  // a password is sent with the options' user
        double timeout;
        std::string reason, domain;
        long code;
        int status;
    };
    const std::vector<Row> rows = {
        {nginx().httpUrl("/missing.bin"), "", 60, failed + "404.)\"", "", 404, 404},
        {secret, "nope", 60, failed + "401.)\"", "", 401, 401},
        {secret, "", 60, failed + "401.)\"", "", 401, 401},
        {"http://127.0.0.1:" + std::to_string(test::freeLoopbackPort()) + "/x", "", 60,
         "Connection failure: \"Could not connect to the server.\"", "NSURLErrorDomain", -1004, 0},
        // The idle time-out ends a silent exchange.
        {slow.url("/slow"), "", 0.5, "Connection failure: \"The request timed out.\"", "NSURLErrorDomain", -1001, 0},
        {nginx().httpsUrl("/small.bin"), "", 60,
         "Connection failure: \"The certificate for this server is invalid. You might be connecting to a server that "
         "is pretending to be \u201c127.0.0.1\u201d which could put your confidential information at risk.\"",
         "NSURLErrorDomain", -1202, 403},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.url);
        VORKHTTPRequest request(row.url);
        request.setTimeout(row.timeout);
        if (!row.password.empty()) {
            request.setUsername(nginx().options().user);
            request.setPassword(row.password);
        }
        const auto start = std::chrono::steady_clock::now();
        try {
            request.submitRequest();
            ADD_FAILURE() << "no exception";
        } catch (const VORKNetworkingExceptionRangeNotSatisfiable &) {
            ADD_FAILURE() << "wrong kind";
        } catch (const VORKNetworkingException &e) {
            EXPECT_EQ(e.name(), "Networking Error");
            EXPECT_EQ(e.reason(), row.reason);
        }
        EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 5.0);
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
    watch(request, recorder);
    request.asyncSubmitRequest();
    ASSERT_TRUE(pumpUntil([&] { return recorder.completions >= 2; }));
    EXPECT_TRUE(request.errored());
    EXPECT_EQ(request.httpResponse()->responseCode(), 404);
}

TEST_F(HttpRequestTest, ReportsArriveOnlyOnTheSubmittingThreadWhileItPumps) {
    const std::string &content = file("medium.bin", 3 << 20);
    Recorder recorder;
    VORKHTTPRequest request(nginx().httpUrl("/medium.bin"));
    watch(request, recorder);
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
}

TEST_F(HttpRequestTest, RarePumpingStillDeliversTheWholeBodyInOrder) {
    const std::string &content = file("large.bin", 24 << 20);
    VORKHTTPRequest request(nginx().httpUrl("/large.bin"));
    request.asyncSubmitRequest();
    auto loop = RunLoop::current();
    for (int i = 0; i < 400 && !request.isCompleted(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        loop->runOnce(RunLoop::Seconds(0));
    }
    ASSERT_TRUE(request.isCompleted());
    ASSERT_FALSE(request.errored());
    EXPECT_TRUE(request.httpResponse()->responseText() == content);
}

TEST_F(HttpRequestTest, ResumeAppendsThePartialContentToTheExistingFile) {
    const std::string &content = file("medium.bin", 3 << 20);
    const size_t offset = 1000000;
    const auto path = dir.write("resume.bin", content.substr(0, offset));
    Recorder recorder;
    VORKHTTPRequest request(nginx().httpUrl("/medium.bin"));
    watch(request, recorder);
    request.setDownloadFilePath(path.string());
    request.setResumeFromLocation(offset);
    request.asyncSubmitRequest();
    ASSERT_TRUE(pumpUntil([&] { return request.isCompleted(); }));
    EXPECT_EQ(request.httpResponse()->responseCode(), 206);
    EXPECT_EQ(request.headerValues().at("Range"), "bytes=1000000-");
    EXPECT_EQ(request.expectedContentLength(), content.size());
    EXPECT_EQ(request.currentDownloadedBytes(), content.size());
    ASSERT_FALSE(recorder.progress.empty());
    EXPECT_GT(recorder.progress.front(), 100.0 * offset / content.size());
    EXPECT_TRUE(readFile(path) == content);
}

TEST_F(HttpRequestTest, RangeBeyondTheEndRaises416OrWithADownloadPathStartsAgainFromZero) {
    const std::string &content = file("small.bin", 100000);
    VORKHTTPRequest inMemory(nginx().httpUrl("/small.bin"));
    inMemory.setResumeFromLocation(200000);
    EXPECT_THROW(inMemory.submitRequest(), VORKNetworkingExceptionRangeNotSatisfiable);
    EXPECT_EQ(inMemory.httpResponse()->responseCode(), 416);

    const auto path = dir.write("416.bin", std::string(200000, 'x'));
    VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
    request.setDownloadFilePath(path.string());
    request.setResumeFromLocation(200000);
    EXPECT_EQ(request.submitRequest()->responseCode(), 200);
    EXPECT_EQ(request.resumeFromLocation(), 0);
    EXPECT_EQ(request.headerValues().count("Range"), 0u);
    EXPECT_TRUE(readFile(path) == content);
}

TEST_F(HttpRequestTest, FullAnswerToARangedRequestRestartsTheFileOrTheMemoryBuffer) {
    const std::string body = test::patternBytes(300000, 3);
    FaultServer server(always(200, body));
    const auto path = dir.write("restart.bin", std::string(5000, 'x'));
    VORKHTTPRequest request(server.url("/file"));
    request.setDownloadFilePath(path.string());
    request.setResumeFromLocation(5000);
    auto response = request.submitRequest();
    EXPECT_EQ(server.requests().at(0).header("range"), "bytes=5000-");
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(request.resumeFromLocation(), 0);
    EXPECT_EQ(request.expectedContentLength(), body.size());
    EXPECT_EQ(request.currentDownloadedBytes(), body.size());
    EXPECT_TRUE(readFile(path) == body);

    VORKHTTPRequest inMemory(server.url("/file"));
    inMemory.setResumeFromLocation(3);
    EXPECT_TRUE(inMemory.submitRequest()->responseText() == body);
    EXPECT_EQ(inMemory.expectedContentLength(), body.size());
}

TEST_F(HttpRequestTest, ConnectionCutMidBodyFailsAsLostAndKeepsThePartialFile) {
    const std::string body = test::patternBytes(400000, 5);
    FaultServer server([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, body};
        reply.cutAfterBodyBytes = 100000;
        return reply;
    });
    const auto path = dir / "cut.bin";
    VORKHTTPRequest request(server.url("/file"));
    request.setDownloadFilePath(path.string());
    request.asyncSubmitRequest();
    ASSERT_TRUE(pumpUntil([&] { return request.isCompleted(); }));
    ASSERT_TRUE(request.errored());
    EXPECT_EQ(request.error()->domain(), "NSURLErrorDomain");
    EXPECT_EQ(request.error()->code(), -1005);
    EXPECT_EQ(request.error()->localizedDescription(), "Connection failure: \"The network connection was lost.\"");
    EXPECT_EQ(request.httpResponse()->responseCode(), 200);
    EXPECT_EQ(readFile(path), body.substr(0, 100000));
    EXPECT_EQ(request.httpResponse()->bytesDownloaded(), 100000u);
}

TEST_F(HttpRequestTest, FailedDownloadLeavesNoEmptyFileAndAnUnusableOneRaisesDownloadError) {
    FaultServer server([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, std::string(1000, 'a')};
        reply.cutAfterBodyBytes = 0;
        return reply;
    });
    for (const std::string &url : {server.url("/file"), nginx().httpUrl("/missing.bin")}) {
        const auto path = dir / "empty.bin";
        VORKHTTPRequest request(url);
        request.setDownloadFilePath(path.string());
        EXPECT_THROW(request.submitRequest(), VORKNetworkingException) << url;
        EXPECT_FALSE(std::filesystem::exists(path)) << url;
    }
    dir.write("plain", "x");
    const std::string path = (dir / "plain/sub/out.bin").string();
    VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
    request.setDownloadFilePath(path);
    try {
        request.submitRequest();
        ADD_FAILURE() << "no exception";
    } catch (const Exception &e) {
        EXPECT_EQ(e.name() + ": " + e.reason(), "URL Download Error: Unable to initialize output file " + path);
    }
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
    auto response = request.submitRequest();
    EXPECT_EQ(response->responseText(), body);
}

TEST_F(HttpRequestTest, CertificateSwitchIsProcessWideAndTheLastRequestDecides) {
    const std::string &content = file("small.bin", 100000);
    VORKHTTPRequest first(nginx().httpsUrl("/small.bin"));
    first.setAllowInvalidCert(true);
    first.asyncSubmitRequest();
    EXPECT_TRUE(URLRequestTrust::allowInvalidCert());
    EXPECT_TRUE(URLRequestTrust::allowsAnyHTTPSCertificateForHost("any.example"));
    // Set from another thread, the switch holds for this thread's requests too.
    std::thread([] { URLRequestTrust::setAllowInvalidCert(true); }).join();
    VORKHTTPRequest second(nginx().httpsUrl("/small.bin"));
    second.asyncSubmitRequest();
    EXPECT_FALSE(URLRequestTrust::allowInvalidCert());
    EXPECT_FALSE(URLRequestTrust::allowsAnyHTTPSCertificateForHost("127.0.0.1"));
    ASSERT_TRUE(pumpUntil([&] { return first.isCompleted() && second.isCompleted(); }));
    EXPECT_EQ(first.httpResponse()->responseCode(), 200);
    EXPECT_EQ(first.httpResponse()->responseText(), content);
    EXPECT_EQ(second.httpResponse()->responseCode(), 403);
}

TEST_F(HttpRequestTest, BasicCredentialsAreSentUpFrontAndOpenTheProtectedFolder) {
    SharedNginx::get().file("private/secret.txt", 1000);
    VORKHTTPRequest good(nginx().httpUrl("/private/secret.txt"));
    good.setUsername(nginx().options().user);
    good.setPassword(nginx().options().password);
    EXPECT_EQ(good.submitRequest()->responseCode(), 200);

    // Up front on every request, over one reused connection.
    FaultServer server(always(200, "ok"));
    for (int i = 0; i < 3; ++i) {
        VORKHTTPRequest request(server.url("/x"));
        request.setUsername("agent");
        request.setPassword("p:w");
        request.submitRequest();
    }
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[2].header("authorization"), "Basic " + util::base64EncodedString("agent:p:w"));
    EXPECT_EQ(requests[0].connection, requests[2].connection);
}

std::string md5Hex(const std::string &text) { return test::hexDigest(text, EVP_md5()); }

std::string digestField(const std::string &header, const std::string &name) {
    size_t pos = header.find(name + "=");
    if (pos == std::string::npos) return "";
    pos += name.size() + 1;
    if (header[pos] == '"') return header.substr(pos + 1, header.find('"', pos + 1) - pos - 1);
    return header.substr(pos, header.find_first_of(", ", pos) - pos);
}

TEST_F(HttpRequestTest, DigestChallengeIsAnsweredWithTheCredentials) {
    const std::string user = "agent", password = "digest-pw", realm = "vork";
    FaultServer server([&](const FaultRequest &r) {
        const std::string auth = r.header("authorization");
        if (auth.rfind("Digest ", 0) != 0)
            return FaultReply{401, "", {{"WWW-Authenticate", "Digest realm=\"vork\", nonce=\"n0nce\", qop=\"auth\", algorithm=MD5"}}, "no"};
        const std::string ha1 = md5Hex(user + ":" + realm + ":" + password);
        const std::string ha2 = md5Hex(r.method + ":" + digestField(auth, "uri"));
        const std::string expected = md5Hex(ha1 + ":n0nce:" + digestField(auth, "nc") + ":" +
                                            digestField(auth, "cnonce") + ":auth:" + ha2);
        if (digestField(auth, "username") != user || digestField(auth, "response") != expected)
            return FaultReply{401, "", {}, "bad"};
        return FaultReply{200, "", {}, "<digest-ok/>"};
    });
    VORKHTTPRequest request(server.url("/d"), "<q/>");
    request.setUsername(user);
    request.setPassword(password);
    auto response = request.submitRequest();
    EXPECT_EQ(response->responseText(), "<digest-ok/>");
    auto requests = server.requests();
    ASSERT_GE(requests.size(), 2u);
    EXPECT_EQ(requests.front().header("authorization").rfind("Basic ", 0), 0u);
    EXPECT_EQ(requests.back().header("authorization").rfind("Digest ", 0), 0u);
    EXPECT_EQ(requests.back().header("authorization").find("Basic"), std::string::npos);
    EXPECT_EQ(requests.back().body, "<q/>");
}

TEST_F(HttpRequestTest, XmlPostSendsTheBodyWithTheXmlType) {
    FaultServer server(always(200, "<answer/>"));
    const std::string body = "<request>" + std::string(1000, 'x') + "</request>";
    auto request = VORKHTTPRequest::xmlPostRequestWithUrl(server.url("/client"), body);
    auto response = request->submitRequest();
    EXPECT_EQ(response->responseText(), "<answer/>");
    EXPECT_EQ(response->bytesUploaded(), body.size());
    EXPECT_EQ(response->totalBytes(), body.size() + 9);
    auto r = server.requests().at(0);
    EXPECT_EQ(r.method, "POST");
    EXPECT_EQ(r.header("content-type"), "application/xml; charset=utf-8");
    EXPECT_EQ(r.body, body);
    EXPECT_EQ(*request->postBody(), body);
}

TEST_F(HttpRequestTest, FileUploadStreamsRawBytesUnderTheMultipartType) {
    FaultServer server(always(200, "stored"));
    const std::string bytes = test::patternBytes(3 << 20, 11);
    const auto path = dir.write("upload.bin", bytes);
    Recorder recorder;
    VORKHTTPRequest request(server.url("/upload"));
    watch(request, recorder);
    request.setPostFilePath(path.string());
    EXPECT_EQ(request.expectedContentLength(), bytes.size());
    EXPECT_EQ(request.fileStream(), path.string());
    request.asyncSubmitRequest();
    ASSERT_TRUE(pumpUntil([&] { return request.isCompleted(); }));
    EXPECT_FALSE(request.errored());
    EXPECT_EQ(request.currentUploadBytes(), bytes.size());
    ASSERT_FALSE(recorder.progress.empty());
    EXPECT_DOUBLE_EQ(recorder.progress.back(), 100.0);
    auto r = server.requests().at(0);
    EXPECT_EQ(r.header("content-type"), "multipart/form-data; charset=utf-8");
    EXPECT_EQ(r.header("content-length"), std::to_string(bytes.size()));
    // No "Expect: 100-continue", and so no wait for a "100 Continue".
    EXPECT_EQ(r.headers.count("expect"), 0u);
    EXPECT_TRUE(r.body == bytes);
    EXPECT_EQ(request.httpResponse()->bytesUploaded(), 0u);
    EXPECT_EQ(request.httpResponse()->responseText(), "stored");
}

TEST_F(HttpRequestTest, UploadToNginxCompletesAndAMissingFileAnnouncesZeroLength) {
    const std::string bytes = test::patternBytes(2 << 20, 13);
    const auto path = dir.write("upload.bin", bytes);
    VORKHTTPRequest request(nginx().httpUrl("/upload"));
    request.setPostFilePath(path.string());
    EXPECT_EQ(request.submitRequest()->responseText(), "<ok/>");
    EXPECT_EQ(request.currentUploadBytes(), bytes.size());
    VORKHTTPRequest absent(nginx().httpUrl("/upload"));
    absent.setPostFilePath((dir / "absent.bin").string());
    EXPECT_EQ(absent.headerValues().at("Content-Length"), "0");
    EXPECT_EQ(absent.expectedContentLength(), 0u);
    EXPECT_EQ(absent.method(), "POST");
}

// Records the challenges a request is handed and how it answers them.
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
        SCOPED_TRACE(row.user.value_or("no user"));
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
    // A request without credentials of its own whose delegate side answers
    // the challenge with one: the exchange starts again carrying it.
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

TEST_F(HttpRequestTest, ChallengeNotFailedBeforeIsAnsweredOnceWithTheCredentials) {
    AuthenticationChallenge challenge;
    challenge.method = AuthenticationMethod::HTTPDigest;
    auto fake = test::FakeTransport::install([&](auto &) {
        test::FakeExchange exchange{200, "<ok/>"};
        exchange.challenge = challenge;
        return exchange;
    });
    ChallengeRecorder request("http://zel.test/client");
    request.setUsername("agent");
    request.setPassword("secret");
    EXPECT_EQ(request.submitRequest()->responseText(), "<ok/>");
    const auto answers = fake->answers();
    ASSERT_EQ(answers.size(), 1u);
    ASSERT_EQ(answers[0].size(), 1u);
    EXPECT_EQ(answers[0][0].kind, ChallengeSender::Kind::UseCredential);
    EXPECT_EQ(answers[0][0].credential->user.value_or("") + ":" + answers[0][0].credential->password.value_or(""), "agent:secret");
}

TEST_F(HttpRequestTest, ClientIdentityIsAskedOnlyWithAServerAddress) {
    file("small.bin", 100000);
    Recorder recorder;
    VORKHTTPRequest request(nginx().httpsUrl("/small.bin"));
    watch(request, recorder);
    request.setAllowInvalidCert(true);
    request.submitRequest();
    EXPECT_TRUE(recorder.servers.empty());
    request.setZelAddressForCredential("https://zel.example:8443/");
    request.submitRequest();
    ASSERT_EQ(recorder.servers.size(), 1u);
    EXPECT_EQ(recorder.servers[0], "https://zel.example:8443/");
}

}  // namespace
}  // namespace vork
