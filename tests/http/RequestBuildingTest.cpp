// Request building, the authentication rules, the upload counter and the
// error texts: no server needed.
#include <gtest/gtest.h>

#include "http/URLError.h"
#include "http/VORKHTTPRequest.h"

namespace vork {
namespace {

TEST(RequestBuilding, XmlBodySetsMethodAndTypeAndHeadersReplaceWithoutRegardToCase) {
    VORKHTTPRequest request(std::string("http://127.0.0.1:1/"), "<a/>");
    EXPECT_EQ(request.method(), "POST");
    EXPECT_EQ(request.headerValues().at("Content-Type"), "application/xml; charset=utf-8");
    EXPECT_EQ(*request.postBody(), "<a/>");
    EXPECT_DOUBLE_EQ(request.timeout(), 60.0);
    EXPECT_TRUE(request.addHeaderValue("text/plain", "content-type"));
    // A line break in either part, or a name that is not one token, is refused.
    for (auto [value, name] : std::vector<std::pair<std::string, std::string>>{
             {"a\r\nX-Evil: 1", "X-A"}, {"a\nb", "X-A"}, {"a\rb", "X-A"}, {"v", "X-A\r\nX-Evil"}, {"v", ""},
             {"v", "X:A"}, {"v", "X A"}})
        EXPECT_FALSE(request.addHeaderValue(value, name)) << name;
    auto headers = request.headerValues();
    EXPECT_EQ(headers.size(), 1u);
    EXPECT_EQ(headers.begin()->second, "text/plain");
}

TEST(RequestBuilding, ResetKeepsOnlyTheUrlAndAMissingUploadFileAnnouncesZeroLength) {
    VORKHTTPRequest request(std::string("http://127.0.0.1:1/x"), "<a/>");
    request.addHeaderValue("1", "X-One");
    request.reset();
    EXPECT_EQ(request.url(), "http://127.0.0.1:1/x");
    EXPECT_EQ(request.method(), "GET");
    EXPECT_TRUE(request.headerValues().empty());
    EXPECT_EQ(request.postBody(), nullptr);
    request.setPostFilePath("/nonexistent/absent.bin");
    EXPECT_EQ(request.headerValues().at("Content-Length"), "0");
    EXPECT_EQ(request.expectedContentLength(), 0u);
    EXPECT_EQ(request.method(), "POST");
}

TEST(RequestAuthentication, RulesFollowCredentialsAndServerAddress) {
    using M = AuthenticationMethod;
    VORKHTTPRequest request;
    auto accepted = [&](std::vector<M> methods) {
        std::vector<bool> answers;
        for (M m : methods) answers.push_back(request.canAuthenticateAgainstProtectionSpace(m));
        return answers;
    };
    EXPECT_EQ(accepted({M::ServerTrust, M::HTTPBasic, M::ClientCertificate}), (std::vector<bool>{true, false, false}));
    request.setUsername("u");
    EXPECT_EQ(accepted({M::HTTPDigest}), std::vector<bool>{false});
    request.setPassword("");
    EXPECT_EQ(accepted({M::HTTPBasic, M::HTTPDigest, M::Default}), (std::vector<bool>{true, true, false}));
    request.setZelAddressForCredential("https://zel/");
    EXPECT_EQ(accepted({M::ClientCertificate, M::Other}), (std::vector<bool>{true, false}));
}

TEST(RequestAuthentication, NoIdentityIsAskedWithoutServerAddress) {
    struct Asker : VORKHTTPRequestDelegate {
        int asked = 0;
        std::optional<URLCredential> credentialNeededForServerRequest(VORKHTTPRequest &, const std::string &) override {
            ++asked;
            return URLCredential::withIdentity({"cert", "key"});
        }
    } asker;
    VORKHTTPRequest request;
    request.setNotifyObject(&asker);
    EXPECT_FALSE(request.credentialForCertFile());
    request.setZelAddressForCredential("https://zel/");
    auto credential = request.credentialForCertFile();
    ASSERT_TRUE(credential && credential->identity);
    EXPECT_EQ(credential->identity->certificatePem, "cert");
    EXPECT_EQ(asker.asked, 1);
}

TEST(RequestAuthentication, ChallengeNotFailedBeforeIsAnsweredOnceWithTheCredentials) {
    VORKHTTPRequest request;
    request.setUsername("agent");
    request.setPassword("secret");
    ChallengeSender sender;
    const auto proposed = URLCredential::withUser("agent", "secret");
    request.connectionDidReceiveAuthenticationChallenge({AuthenticationMethod::HTTPDigest, 0, proposed}, sender);
    ASSERT_EQ(sender.answers().size(), 1u);
    EXPECT_EQ(sender.answers()[0].kind, ChallengeSender::Kind::UseCredential);
    EXPECT_EQ(sender.answers()[0].credential->user, "agent");
    EXPECT_EQ(sender.answers()[0].credential->password, "secret");
}

struct Progress : VORKHTTPRequestDelegate {
    double last = -1;
    void notifyProgress(VORKHTTPRequest &, double percent) override { last = percent; }
};

TEST(UploadCounter, WrapsOfThe32BitTotalCountWith4294967295AndTheLargerExpectedFigureDivides) {
    Progress progress;
    VORKHTTPRequest request;
    request.setNotifyObject(&progress);
    request.setNotifyProgress(true);
    request.connectionDidSendBodyData(50, 50, 200);
    EXPECT_DOUBLE_EQ(progress.last, 25.0);
    request.setExpectedContentLength(1000);
    request.connectionDidSendBodyData(50, 100, 200);
    EXPECT_DOUBLE_EQ(progress.last, 10.0);
    const uint64_t size = 10000000000ULL;  // 10 GB
    request.setExpectedContentLength(size);
    const uint64_t wrap = 4294967295ULL;
    for (auto [sent, total] : std::vector<std::pair<uint32_t, uint64_t>>{
             {4000000000u, 4000000000u}, {100, wrap + 100}, {5000, wrap + 5000}, {7, 2 * wrap + 7}}) {
        request.connectionDidSendBodyData(0, static_cast<int32_t>(sent), -1);
        EXPECT_EQ(request.currentUploadBytes(), total);
    }
    EXPECT_DOUBLE_EQ(progress.last, static_cast<double>(2 * wrap + 7) / static_cast<double>(size) * 100.0);
}

TEST(UrlErrors, CurlFailuresMapOntoThePlatformCodes) {
    for (auto [curl, code] : std::vector<std::pair<CURLcode, long>>{
             {CURLE_OPERATION_TIMEDOUT, -1001}, {CURLE_COULDNT_RESOLVE_HOST, -1003}, {CURLE_COULDNT_CONNECT, -1004},
             {CURLE_RECV_ERROR, -1005}, {CURLE_PARTIAL_FILE, -1005}, {CURLE_PEER_FAILED_VERIFICATION, -1202},
             {CURLE_SSL_CONNECT_ERROR, -1200}, {CURLE_UNSUPPORTED_PROTOCOL, -1002}, {CURLE_OUT_OF_MEMORY, -1}})
        EXPECT_EQ(urlErrorCodeForCurl(curl), code) << curl;
}

TEST(UrlErrors, DescriptionsAreThePlatformTexts) {
    const URLError notFound = URLError::urlError(-1003, "u", "h");
    EXPECT_EQ(notFound.localizedDescription(), "A server with the specified hostname could not be found.");
    EXPECT_EQ(notFound.domain(), "NSURLErrorDomain");
    EXPECT_EQ(notFound.userInfo().at(kFailingURLStringKey), "u");
}

}  // namespace
}  // namespace vork
