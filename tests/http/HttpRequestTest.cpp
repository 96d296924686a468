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
#include "support/FaultServer.h"
#include "support/TempDir.h"
#include "util/Base64.h"

namespace vork {
namespace {

using test::FaultReply;
using test::FaultRequest;
using test::FaultServer;
using test::pumpUntil;
using test::readBytes;
using test::SharedNginx;
using test::writeBytes;

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

TEST_F(HttpRequestTest, SynchronousGetKeepsTheBodyInMemory) {
    const std::string &content = file("small.bin", 100000);
    VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
    auto response = request.submitRequest();
    ASSERT_TRUE(response);
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(response->responseText(), content);
    EXPECT_EQ(response->bytesDownloaded(), content.size());
    EXPECT_EQ(response->bytesUploaded(), 0u);
    EXPECT_TRUE(request.isCompleted());
    EXPECT_FALSE(request.errored());
    EXPECT_EQ(request.expectedContentLength(), content.size());
}

TEST_F(HttpRequestTest, NotFoundRaisesNetworkingErrorAndKeepsTheStatus) {
    VORKHTTPRequest request(nginx().httpUrl("/missing.bin"));
    try {
        request.submitRequest();
        FAIL() << "no exception";
    } catch (const VORKNetworkingExceptionRangeNotSatisfiable &) {
        FAIL() << "wrong kind";
    } catch (const VORKNetworkingException &e) {
        EXPECT_EQ(e.name(), "Networking Error");
        EXPECT_EQ(e.reason(), "Connection failure: \"The operation couldn\u2019t be completed. ( error 404.)\"");
    }
    EXPECT_TRUE(request.errored());
    ASSERT_TRUE(request.error());
    EXPECT_EQ(request.error()->domain(), "");
    EXPECT_EQ(request.error()->code(), 404);
    EXPECT_EQ(request.httpResponse()->responseCode(), 404);
}

TEST_F(HttpRequestTest, AsynchronousFailureStatusCompletesTwice) {
    // The failure status ends the request, and the end of its body reports
    // the end once more.
    Recorder recorder;
    VORKHTTPRequest request(nginx().httpUrl("/missing.bin"));
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

TEST_F(HttpRequestTest, DownloadIntoAFileCreatesItsFolders) {
    const std::string &content = file("medium.bin", 3 << 20);
    VORKHTTPRequest request(nginx().httpUrl("/medium.bin"));
    const auto path = dir / "a/b/out.bin";
    request.setDownloadFilePath(path.string());
    auto response = request.submitRequest();
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(readBytes(path), content);
    EXPECT_EQ(response->responseText(), "");
    EXPECT_EQ(response->bytesDownloaded(), content.size());
}

TEST_F(HttpRequestTest, ResumeAppendsThePartialContentToTheExistingFile) {
    const std::string &content = file("medium.bin", 3 << 20);
    const size_t offset = 1000000;
    const auto path = dir / "resume.bin";
    writeBytes(path, content.substr(0, offset));
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
    EXPECT_TRUE(readBytes(path) == content);
}

TEST_F(HttpRequestTest, RangeBeyondTheEndWithoutDownloadPathRaises416) {
    file("small.bin", 100000);
    VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
    request.setResumeFromLocation(200000);
    EXPECT_THROW(request.submitRequest(), VORKNetworkingExceptionRangeNotSatisfiable);
    EXPECT_EQ(request.httpResponse()->responseCode(), 416);
}

TEST_F(HttpRequestTest, RangeBeyondTheEndWithDownloadPathStartsAgainFromZero) {
    const std::string &content = file("small.bin", 100000);
    const auto path = dir / "416.bin";
    writeBytes(path, std::string(200000, 'x'));
    VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
    request.setDownloadFilePath(path.string());
    request.setResumeFromLocation(200000);
    auto response = request.submitRequest();
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(request.resumeFromLocation(), 0);
    EXPECT_EQ(request.headerValues().count("Range"), 0u);
    EXPECT_TRUE(readBytes(path) == content);
}

TEST_F(HttpRequestTest, FullAnswerToARangedRequestRestartsTheFile) {
    const std::string body = test::patternBytes(300000, 3);
    FaultServer server([&](const FaultRequest &) { return FaultReply{200, "", {}, body}; });
    const auto path = dir / "restart.bin";
    writeBytes(path, std::string(5000, 'x'));
    VORKHTTPRequest request(server.url("/file"));
    request.setDownloadFilePath(path.string());
    request.setResumeFromLocation(5000);
    auto response = request.submitRequest();
    EXPECT_EQ(server.requests().at(0).header("range"), "bytes=5000-");
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(request.resumeFromLocation(), 0);
    EXPECT_EQ(request.expectedContentLength(), body.size());
    EXPECT_EQ(request.currentDownloadedBytes(), body.size());
    EXPECT_TRUE(readBytes(path) == body);
}

TEST_F(HttpRequestTest, FullAnswerToARangedRequestRestartsTheMemoryBuffer) {
    const std::string body = "<whole/>";
    FaultServer server([&](const FaultRequest &) { return FaultReply{200, "", {}, body}; });
    VORKHTTPRequest request(server.url("/file"));
    request.setResumeFromLocation(3);
    auto response = request.submitRequest();
    EXPECT_EQ(response->responseText(), body);
    EXPECT_EQ(request.expectedContentLength(), body.size());
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
    EXPECT_EQ(readBytes(path), body.substr(0, 100000));
    EXPECT_EQ(request.httpResponse()->bytesDownloaded(), 100000u);
}

TEST_F(HttpRequestTest, FailedDownloadLeavesNoEmptyFile) {
    FaultServer server([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, std::string(1000, 'a')};
        reply.cutAfterBodyBytes = 0;
        return reply;
    });
    const auto path = dir / "empty.bin";
    VORKHTTPRequest request(server.url("/file"));
    request.setDownloadFilePath(path.string());
    EXPECT_THROW(request.submitRequest(), VORKNetworkingException);
    EXPECT_FALSE(std::filesystem::exists(path));

    VORKHTTPRequest missing(nginx().httpUrl("/missing.bin"));
    const auto path2 = dir / "missing.bin";
    missing.setDownloadFilePath(path2.string());
    EXPECT_THROW(missing.submitRequest(), VORKNetworkingException);
    EXPECT_FALSE(std::filesystem::exists(path2));
}

TEST_F(HttpRequestTest, UnusableOutputFileRaisesDownloadError) {
    writeBytes(dir / "plain", "x");
    const std::string path = (dir / "plain/sub/out.bin").string();
    VORKHTTPRequest request(nginx().httpUrl("/small.bin"));
    request.setDownloadFilePath(path);
    try {
        request.submitRequest();
        FAIL() << "no exception";
    } catch (const Exception &e) {
        EXPECT_EQ(e.name(), "URL Download Error");
        EXPECT_EQ(e.reason(), "Unable to initialize output file " + path);
    }
}

TEST_F(HttpRequestTest, IdleTimeOutEndsASilentExchange) {
    FaultServer server([&](const FaultRequest &) {
        FaultReply reply{200, "", {}, "late"};
        reply.delaySeconds = 10;
        return reply;
    });
    VORKHTTPRequest request(server.url("/slow"));
    request.setTimeout(0.5);
    const auto start = std::chrono::steady_clock::now();
    try {
        request.submitRequest();
        FAIL() << "no exception";
    } catch (const VORKNetworkingException &e) {
        EXPECT_EQ(e.reason(), "Connection failure: \"The request timed out.\"");
    }
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 5.0);
    EXPECT_EQ(request.error()->code(), -1001);
    EXPECT_EQ(request.httpResponse()->responseCode(), 0);
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

TEST_F(HttpRequestTest, UntrustedCertificateIsRefusedAsForbiddenThenAcceptedWithTheSwitch) {
    const std::string &content = file("small.bin", 100000);
    VORKHTTPRequest refused(nginx().httpsUrl("/small.bin"));
    try {
        refused.submitRequest();
        FAIL() << "no exception";
    } catch (const VORKNetworkingException &e) {
        EXPECT_EQ(e.reason(),
                  "Connection failure: \"The certificate for this server is invalid. You might be connecting to a "
                  "server that is pretending to be \u201c127.0.0.1\u201d which could put your confidential "
                  "information at risk.\"");
    }
    EXPECT_EQ(refused.error()->code(), -1202);
    EXPECT_EQ(refused.error()->domain(), "NSURLErrorDomain");
    EXPECT_EQ(refused.httpResponse()->responseCode(), 403);

    VORKHTTPRequest accepted(nginx().httpsUrl("/small.bin"));
    accepted.setAllowInvalidCert(true);
    auto response = accepted.submitRequest();
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(response->responseText(), content);
}

TEST_F(HttpRequestTest, CertificateSwitchIsProcessWideAndTheLastRequestDecides) {
    file("small.bin", 100000);
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
    EXPECT_EQ(second.httpResponse()->responseCode(), 403);
}

TEST_F(HttpRequestTest, BasicCredentialsOpenTheProtectedFolder) {
    SharedNginx::get().file("private/secret.txt", 1000);
    const std::string url = nginx().httpUrl("/private/secret.txt");
    VORKHTTPRequest good(url);
    good.setUsername(nginx().options().user);
    good.setPassword(nginx().options().password);
    EXPECT_EQ(good.submitRequest()->responseCode(), 200);

    VORKHTTPRequest wrong(url);
    wrong.setUsername(nginx().options().user);
    wrong.setPassword("nope");
    EXPECT_THROW(wrong.submitRequest(), VORKNetworkingException);
    EXPECT_EQ(wrong.httpResponse()->responseCode(), 401);

    VORKHTTPRequest none(url);
    EXPECT_THROW(none.submitRequest(), VORKNetworkingException);
    EXPECT_EQ(none.httpResponse()->responseCode(), 401);
}

TEST_F(HttpRequestTest, BasicHeaderIsSentUpFront) {
    FaultServer server([&](const FaultRequest &) { return FaultReply{200, "", {}, "ok"}; });
    VORKHTTPRequest request(server.url("/x"));
    request.setUsername("agent");
    request.setPassword("p:w");
    request.submitRequest();
    ASSERT_EQ(server.requestCount(), 1u);
    EXPECT_EQ(server.requests()[0].header("authorization"), "Basic " + util::base64EncodedString("agent:p:w"));
}

std::string md5Hex(const std::string &text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(text.data(), text.size(), digest, &length, EVP_md5(), nullptr);
    static const char *hex = "0123456789abcdef";
    std::string out;
    for (unsigned i = 0; i < length; ++i) {
        out += hex[digest[i] >> 4];
        out += hex[digest[i] & 15];
    }
    return out;
}

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
    FaultServer server([&](const FaultRequest &) { return FaultReply{200, "", {}, "<answer/>"}; });
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
    FaultServer server([&](const FaultRequest &) { return FaultReply{200, "", {}, "stored"}; });
    const std::string bytes = test::patternBytes(3 << 20, 11);
    const auto path = dir / "upload.bin";
    writeBytes(path, bytes);
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
    EXPECT_TRUE(r.body == bytes);
    EXPECT_EQ(request.httpResponse()->bytesUploaded(), 0u);
    EXPECT_EQ(request.httpResponse()->responseText(), "stored");
}

TEST_F(HttpRequestTest, UploadToNginxCompletes) {
    const std::string bytes = test::patternBytes(2 << 20, 13);
    const auto path = dir / "upload.bin";
    writeBytes(path, bytes);
    VORKHTTPRequest request(nginx().httpUrl("/upload"));
    request.setPostFilePath(path.string());
    auto response = request.submitRequest();
    EXPECT_EQ(response->responseCode(), 200);
    EXPECT_EQ(response->responseText(), "<ok/>");
    EXPECT_EQ(request.currentUploadBytes(), bytes.size());
}

TEST_F(HttpRequestTest, MissingUploadFileAnnouncesZeroLength) {
    VORKHTTPRequest request(nginx().httpUrl("/upload"));
    request.setPostFilePath((dir / "absent.bin").string());
    EXPECT_EQ(request.headerValues().at("Content-Length"), "0");
    EXPECT_EQ(request.expectedContentLength(), 0u);
    EXPECT_EQ(request.method(), "POST");
}

TEST_F(HttpRequestTest, ConnectionsToTheSameServerAreReused) {
    FaultServer server([&](const FaultRequest &) { return FaultReply{200, "", {}, "ok"}; });
    for (int i = 0; i < 3; ++i) {
        VORKHTTPRequest request(server.url("/again"));
        request.submitRequest();
    }
    auto requests = server.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].connection, requests[2].connection);
}

TEST_F(HttpRequestTest, RefusedConnectionFailsWithCannotConnect) {
    const int port = test::freeLoopbackPort();
    VORKHTTPRequest request("http://127.0.0.1:" + std::to_string(port) + "/x");
    EXPECT_THROW(request.submitRequest(), VORKNetworkingException);
    EXPECT_EQ(request.error()->code(), -1004);
    EXPECT_EQ(request.error()->localizedDescription(), "Connection failure: \"Could not connect to the server.\"");
    EXPECT_EQ(request.httpResponse()->responseCode(), 0);
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
