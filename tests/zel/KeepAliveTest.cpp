// keepAlive end to end through the C interface, and the ways an exchange
// fails: each ends as the status-1999 message, never as a crash or a throw.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "ZelTestSupport.h"
#include "message/Constants.h"
#include "zel/ZelInterface.h"

using namespace vork;
using namespace vork::test;

namespace {

constexpr int kFailure = 1999;

using KeepAlive = OnServer;

TEST_F(KeepAlive, PostsOneKeepAliveRequestPerCallAsXmlWithBasicAuthentication) {
    // Blanks and trailing slashes of the typed URL give exactly one "/".
    setZelUrl((" " + server.url() + "/// ").c_str());
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    expectRecorded(server, {R"("valid": true)", R"("authorized": true)", jsonPair("authUser", "agent"),
                            jsonPair("commandType", "io.vork.agent.keepaliverequest"),
                            jsonPair("commandData", "keepAlive"), fieldsJson({{"ns2:invalidate", "0"}}),
                            jsonPair("application", kApplicationIdentifier), jsonPair("method", "POST"),
                            jsonPair("path", "/client"), R"(["Content-Type", "application/xml; charset=utf-8"])",
                            R"(["Authorization", "Basic ********"])"});
    // Invalidate is written as one, for any nonzero byte.
    for (unsigned char invalidate : {1, 7}) EXPECT_EQ(statusCodeOf(keepAlive(invalidate)), 0);
    // A record shows its first content's fields twice: as the content and on their own.
    EXPECT_EQ(occurrences(server.requests(), fieldsJson({{"ns2:invalidate", "1"}})), 2 * 2u);
    // Nothing else reaches the resource: no body-less post ahead of the message.
    EXPECT_EQ(clientMessages(server), 3u);
    EXPECT_EQ(occurrences(server.requests(), R"("path": "/client")"), 3u);
}

TEST_F(KeepAlive, LaterSettingsTakeEffectForLaterCallsAndAWrongPasswordGivesTheAuthenticationStatus) {
    RefServer second;
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    setZelUrl(second.url().c_str());
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    EXPECT_EQ(clientMessages(server), 1u);
    EXPECT_EQ(clientMessages(second), 1u);
    setZelPassword("not-the-password");
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 1400);
}

TEST_F(KeepAlive, FailedExchangesGiveStatus1999AndAnUnreadableReplyNoStatus) {
    for (const char *fault : {R"({"httpStatus": 500})", R"({"cutConnection": true})"}) {
        server.setFault(fault);
        EXPECT_EQ(statusCodeOf(keepAlive(0)), kFailure) << fault;
    }
    // A reply that does not parse is not an error of the exchange: the answer
    // is an envelope without content, so no success can be read.
    server.setFault(R"({"malformedXml": true})");
    const std::string malformed = keepAlive(0);
    EXPECT_EQ(statusCodeOf(malformed), -1);
    EXPECT_NE(malformed.find("vorkMessage"), std::string::npos);
    setZelUrl(("http://127.0.0.1:" + std::to_string(freeLoopbackPort())).c_str());  // refused connection
    auto status = g_ZelInterface->submitRequest(VCCMessage::messageWithType("io.vork.agent.keepaliverequest"))
                      ->content()->status();
    EXPECT_EQ(status->code(), kFailure);
    EXPECT_EQ(status->title(), "ZEL Communication Exception");
    EXPECT_EQ(status->message(), "Exception caught in VORKCoreCommC");
    EXPECT_NE(status->extendedMessage().value_or("").find("Connection failure"), std::string::npos);
    setZelUrl(nullptr);
    EXPECT_EQ(statusCodeOf(keepAlive(0)), kFailure);
}

TEST(KeepAliveTls, SelfSignedServerNeedsTheInvalidCertificateSwitch) {
    RefServer server({.tls = true});
    useServer(server);
    EXPECT_EQ(statusCodeOf(keepAlive(0)), 0);
    setAllowInvalidCertificate(0);
    EXPECT_EQ(statusCodeOf(keepAlive(0)), kFailure);
}

TEST(ServerSettings, SettersWriteTheOneSharedSessionWhichConcurrentFirstUseMakesOnce) {
    std::vector<std::thread> threads;
    std::atomic<ZelInterface *> seen[8] = {};
    for (int i = 0; i < 8; ++i) threads.emplace_back([&, i] { seen[i] = (verifyZelInterface(), g_ZelInterface); });
    for (auto &t : threads) t.join();
    for (auto &s : seen) EXPECT_EQ(s.load(), g_ZelInterface);
    setZelUrl("http://127.0.0.1:1/a");
    setZelUrl("http://127.0.0.1:1/b");  // the later one holds
    setZelUsername("agent-user");
    setAllowInvalidCertificate(1);
    EXPECT_EQ(g_ZelInterface->connectionTimeout(), 60);
    auto config = g_ZelInterface->zelConfig();
    EXPECT_EQ(config->zelUrl(), "http://127.0.0.1:1/b");
    EXPECT_EQ(config->zelUsername(), "agent-user");
    EXPECT_TRUE(config->allowInvalidCertificate());
    setZelUsername("\xff\xfe");  // text that is not UTF-8 clears the setting
    EXPECT_EQ(config->zelUsername(), std::nullopt);
}

TEST_F(KeepAlive, CallsFromSeveralThreadsShareTheSession) {
    std::atomic<int> ok{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            VORKReleaseScopePush();
            for (int j = 0; j < 3; ++j) ok += statusCodeOf(keepAlive(0)) == 0;
            VORKReleaseScopePop();
        });
    for (auto &t : threads) t.join();
    EXPECT_EQ(ok.load(), 12);
    EXPECT_EQ(clientMessages(server), 12u);
}

TEST(Conveniences, RemoveInvalidXmlDataDropsOnlyTheCharacterReferencesXmlForbids) {
    EXPECT_STREQ(removeInvalidXmlData("a&#8;b&#10;"), "ab&#10;");
    EXPECT_STREQ(removeInvalidXmlData("&#1;&#2;&#9;"), "&#9;");
}

}  // namespace
