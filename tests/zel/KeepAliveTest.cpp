// keepAlive end to end through the C interface, and the ways an exchange
// fails: each ends as the status-1999 message, never as a crash or a throw.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "ZelTestSupport.h"
#include "message/Constants.h"
#include "support/RecordingLog.h"
#include "zel/ZelInterface.h"

using namespace vork;
using namespace vork::test;

namespace {

constexpr int kFailure = 1999;
using Fields = std::vector<std::pair<std::string, std::string>>;

std::string closedUrl() { return "http://127.0.0.1:" + std::to_string(closedPort()); }

class KeepAlive : public ::testing::Test {
protected:
    void SetUp() override { useServer(server); }
    RefServer server;
};

TEST_F(KeepAlive, PostsOneKeepAliveRequestPerCallAsXmlWithBasicAuthentication) {
    // Blanks and trailing slashes of the typed URL give exactly one "/".
    setZelUrl((" " + server.url() + "/// ").c_str());
    std::string reply = keepAlive(0);
    EXPECT_EQ(statusCodeOf(reply), 0) << reply;
    Json record = lastClientRequest(server);
    EXPECT_TRUE(record["valid"].boolean) << server.log();
    EXPECT_TRUE(record["authorized"].boolean);
    EXPECT_EQ(record["authUser"].text, "agent");
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.keepaliverequest");
    EXPECT_EQ(record["commandData"].text, "keepAlive");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:invalidate", "0"}}));
    EXPECT_EQ(record["envelope"]["application"].text, kApplicationIdentifier);
    EXPECT_EQ(record["method"].text, "POST");
    EXPECT_EQ(record["path"].text, "/client");
    std::map<std::string, std::string> headers;
    for (const Json &header : record["headers"].items) headers[header[0].text] = header[1].text;
    EXPECT_EQ(headers["Content-Type"], "application/xml; charset=utf-8");
    EXPECT_EQ(headers["Authorization"], "Basic ********");  // the server masks what it records
    // Invalidate is written as one, for any nonzero byte.
    for (unsigned char invalidate : {1, 7}) {
        EXPECT_EQ(statusCodeOf(keepAlive(invalidate)), 0);
        EXPECT_EQ(fieldsOf(lastClientRequest(server)), (Fields{{"ns2:invalidate", "1"}}));
    }
    EXPECT_EQ(clientRequests(server).size(), 3u);
    // Nothing else reaches the resource: no body-less post ahead of the message.
    EXPECT_EQ(emptyClientPosts(server), 0u) << server.requests();
}

TEST_F(KeepAlive, LaterSettingsTakeEffectForLaterCallsAndAWrongPasswordGivesTheAuthenticationStatus) {
    RefServer second;
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    setZelUrl(second.url().c_str());
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    EXPECT_EQ(clientRequests(server).size(), 1u);
    EXPECT_EQ(clientRequests(second).size(), 1u);
    setZelPassword("not-the-password");
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 1400);
}

TEST_F(KeepAlive, FailedExchangesGiveStatus1999) {
    for (const char *fault : {R"({"httpStatus": 500})", R"({"cutConnection": true})"}) {
        server.setFault(fault);
        EXPECT_EQ(statusCodeOf(keepAlive(0)), kFailure) << fault;
    }
    setZelUrl(closedUrl().c_str());  // refused connection
    EXPECT_EQ(statusCodeOf(keepAlive(0)), kFailure);
    // The failure message carries the fixed texts and the reason.
    auto status = g_ZelInterface->submitRequest(VCCMessage::messageWithType("io.vork.agent.keepaliverequest"))
                      ->content()->status();
    EXPECT_EQ(status->code(), kFailure);
    EXPECT_EQ(status->title(), "ZEL Communication Exception");
    EXPECT_EQ(status->message(), "Exception caught in VORKCoreCommC");
    EXPECT_NE(status->extendedMessage().value_or("").find("Connection failure"), std::string::npos);
    setZelUrl(nullptr);
    const char *reply = keepAlive(0);
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(statusCodeOf(reply), kFailure) << reply;
}

TEST_F(KeepAlive, MalformedReplyGivesAMessageWithoutAnyStatus) {
    server.setFault(R"({"malformedXml": true})");
    std::string reply = keepAlive(0);
    // A reply that does not parse is not an error of the exchange: the
    // answer is an envelope without content, so no success can be read.
    EXPECT_EQ(statusCodeOf(reply), -1) << reply;
    EXPECT_EQ(reply.find("<content"), std::string::npos);
    EXPECT_NE(reply.find("vorkMessage"), std::string::npos);
}

TEST_F(KeepAlive, PasswordNeverReachesTheLog) {
    RecordingLog log;
    setZelPassword("s3cret-Pa55");
    keepAlive(0);
    EXPECT_FALSE(log.anyContains("s3cret-Pa55"));
    EXPECT_TRUE(log.anyContains("********"));
    EXPECT_TRUE(log.contains("keepAlive=0"));
}

TEST(KeepAliveTls, SelfSignedServerNeedsTheInvalidCertificateSwitch) {
    RefServerOptions options;
    options.tls = true;
    RefServer server(options);
    useServer(server);
    ASSERT_EQ(server.url().rfind("https://", 0), 0u);
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    setAllowInvalidCertificate(0);
    EXPECT_EQ(statusCodeOf(keepAlive(0)), kFailure);
}

TEST(ServerSettings, SettersWriteTheOneSharedSession) {
    ASSERT_NE(g_ZelInterface, nullptr);  // made by the test environment
    ZelInterface *session = g_ZelInterface;
    setZelUrl("http://127.0.0.1:1/a");
    setZelUrl("http://127.0.0.1:1/b");  // the later one holds
    setZelUsername("agent-user");
    setZelPassword("pw");
    setAllowInvalidCertificate(1);
    EXPECT_EQ(g_ZelInterface, session);
    EXPECT_EQ(g_ZelInterface->connectionTimeout(), 60);
    EXPECT_EQ(g_ZelInterface->application(), kApplicationIdentifier);
    auto config = g_ZelInterface->zelConfig();
    EXPECT_EQ(config->zelUrl(), "http://127.0.0.1:1/b");
    EXPECT_EQ(config->zelUsername(), "agent-user");
    EXPECT_EQ(config->zelPassword(), "pw");
    EXPECT_TRUE(config->allowInvalidCertificate());
    setAllowInvalidCertificate(0);
    EXPECT_FALSE(config->allowInvalidCertificate());
    // Text that is not UTF-8 clears the setting.
    setZelUsername("\xff\xfe");
    EXPECT_EQ(config->zelUsername(), std::nullopt);
}

TEST(ServerSettings, ConcurrentFirstUseMakesOneSession) {
    std::vector<std::thread> threads;
    std::atomic<ZelInterface *> seen[8] = {};
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, i] {
            verifyZelInterface();
            seen[i] = g_ZelInterface;
        });
    for (auto &t : threads) t.join();
    for (auto &s : seen) EXPECT_EQ(s.load(), seen[0].load());
}

TEST_F(KeepAlive, CallsFromSeveralThreadsShareTheSession) {
    std::atomic<int> ok{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            VORKReleaseScopePush();
            for (int j = 0; j < 3; ++j)
                if (statusCodeOf(keepAlive(0)) == 0) ++ok;
            VORKReleaseScopePop();
        });
    for (auto &t : threads) t.join();
    EXPECT_EQ(ok.load(), 12);
    EXPECT_EQ(clientRequests(server).size(), 12u);
}

TEST(Conveniences, RemoveInvalidXmlDataAndUrlNormalising) {
    EXPECT_STREQ(removeInvalidXmlData("a&#8;b"), "ab");
    EXPECT_STREQ(removeInvalidXmlData("a&#10;b"), "a&#10;b");
    EXPECT_STREQ(removeInvalidXmlData("&#1;&#2;&#9;"), "&#9;");
    EXPECT_EQ(removeInvalidXmlData(nullptr), nullptr);
    EXPECT_EQ(removeInvalidXmlData("\xc3\x28"), nullptr);
    EXPECT_NE(zelURLFromUserInput("server"), nullptr);
    EXPECT_EQ(zelURLFromUserInput(nullptr), nullptr);
}

}  // namespace
