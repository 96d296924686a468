// The session classes on their own: resource URLs, headers, the application
// stamp, the time-out, clock skew and the asynchronous exchange.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "ZelTestSupport.h"
#include "message/Constants.h"
#include "message/MessageTestSupport.h"
#include "zel/VCCZelService.h"
#include "zel/ZelCalls.h"

using namespace vork;
using namespace vork::test;

namespace {

std::shared_ptr<VCCMessage> keepAliveMessage() { return ZelCallKeepAlive().createKeepAliveRequest(); }

// Gives a session the server's address and credentials.
template <typename Session>
void pointAt(Session &session, const RefServer &server) {
    session.zelConfig()->setZelUrl(server.url());
    session.zelConfig()->setZelUsername(server.user());
    session.zelConfig()->setZelPassword(server.password());
}

TEST(ResourceUrl, TrimsBlanksAndTrailingSlashesAndJoinsTheContext) {
    ZelInterface session;
    VCCZelService service;
    struct Row {
        std::optional<std::string> url, context;
        std::string session, service;
    };
    for (const Row &row : std::vector<Row>{
             {"  https://zel.example:8443/base///  ", " //agent/checkin", "https://zel.example:8443/base/client",
              "https://zel.example:8443/base/agent/checkin"},
             {"http://127.0.0.1:9/root/ ", std::nullopt, "http://127.0.0.1:9/root/client", "http://127.0.0.1:9/root/"},
             {std::nullopt, std::nullopt, "/client", "/"},
             {"", "client", "/client", "/client"},
         }) {
        session.zelConfig()->setZelUrl(row.url);
        service.zelConfig()->setZelUrl(row.url);
        service.setUrlContext(row.context);
        EXPECT_EQ(session.resourceUrl(), row.session);
        EXPECT_EQ(service.resourceUrl(), row.service);
    }
}

TEST(Submit, ServiceCredentialsHeadersWithAValueAndTheSessionsApplicationAreSentAndItsTimeoutHolds) {
    RefServer server;
    VCCZelService service;
    pointAt(service, server);
    service.setUrlContext("client");
    EXPECT_EQ(service.buildRequestWithMessage(keepAliveMessage())->submit()->content()->status()->code(), 0);
    expectRecorded(server, {R"("authorized": true)"});

    ZelInterface own;
    pointAt(own, server);
    own.setApplication("io.vork.selfservice");
    auto message = keepAliveMessage();
    message->setApplication("some.other.app");
    HeaderValues headers{{"X-Vork-Trace", std::string("abc")}, {"X-Vork-Absent", std::nullopt}};
    EXPECT_EQ(own.submitRequest(message, nullptr, &headers)->content()->status()->code(), 0);
    expectRecorded(server, {jsonPair("application", "io.vork.selfservice"), R"(["X-Vork-Trace", "abc"])"});
    EXPECT_EQ(server.requests().find("X-Vork-Absent"), std::string::npos);
    EXPECT_EQ(server.requests().find("some.other.app"), std::string::npos);
    // A slow server past the session's time-out.
    own.setConnectionTimeout(1);
    server.setFault(R"({"delaySeconds": 3})");
    EXPECT_EQ(own.submitRequest(keepAliveMessage())->content()->status()->code(), 1999);
}

TEST(ClockSkew, OffByDefaultAndMarksOldRepliesWhenSet) {
    RefServer server;
    server.setFault(R"({"clockSkewSeconds": -86400})");
    for (int32_t maxSkew : {0, 300}) {
        auto request = VCCZelRequest::requestWithMessage(keepAliveMessage(), server.clientUrl());
        request->setUsername(server.user());
        request->setPassword(server.password());
        request->setMaxClockSkew(maxSkew);
        auto status = request->submit()->content()->status();
        EXPECT_EQ(status->code(), maxSkew ? 1504 : 0);
        if (maxSkew) { EXPECT_EQ(status->title(), "Clock Skew Error"); }
    }
}

TEST(ClockSkew, TheDifferenceIsComparedExactlyAndAReplyWithoutContentIsLeftAlone) {
    VCCZelRequest request(keepAliveMessage(), std::string("http://127.0.0.1:1/client"));
    request.setMaxClockSkew(300);
    auto pinned = platform::clock().install(clockAt(0));
    // Reply time stamp relative to now, in milliseconds, and whether it is skew.
    for (auto [offset, skewed] : {std::pair{-300'000, false}, {300'000, false}, {-300'900, true}, {300'900, true}}) {
        auto reply = VCCMessage::messageWithType("reply");
        reply->setMessageTimestamp(dateNow() + std::chrono::milliseconds(offset));
        request.checkClockSkew(*reply);
        EXPECT_EQ(reply->content()->status()->code(), skewed ? 1504 : 0) << offset;
    }
    VCCMessage empty;
    empty.setMessageTimestamp(dateWithJavaEpochValue(0));
    request.checkClockSkew(empty);
    EXPECT_FALSE(empty.content());
}

struct CompletionRecorder : VORKHTTPRequestDelegate {
    int completions = 0;
    void notifyCompleted(VORKHTTPRequest &) override { ++completions; }
};

TEST(Async, CompletionReachesTheOriginalNotifyObjectAndAFailureLeavesNoResult) {
    RefServer server;
    const std::string closed = "http://127.0.0.1:" + std::to_string(freeLoopbackPort()) + "/client";
    for (const std::string &url : {server.clientUrl(), closed}) {
        CompletionRecorder recorder;
        auto request = VCCZelRequest::requestWithMessage(keepAliveMessage(), url);
        request->setUsername(server.user());
        request->setPassword(server.password());
        // The asynchronous path reads replies without the result class.
        request->setResultMessageClass(&ClientSitePrivilegesResponse::mapping());
        request->setNotifyObject(&recorder);
        request->setNotifyCompleted(true);
        request->submitAsync();
        EXPECT_EQ(request->originalNotifyObject(), &recorder);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (recorder.completions == 0 && std::chrono::steady_clock::now() < deadline) processRunLoop();
        EXPECT_EQ(recorder.completions, 1);
        auto result = request->resultMessage();
        if (url == closed) {
            EXPECT_FALSE(result);
            EXPECT_TRUE(request->error());
        } else {
            ASSERT_TRUE(result && result->content());
            EXPECT_EQ(result->content()->status()->code(), 0);
            EXPECT_TRUE(result->content()->commandDataElement());
            // Sent again, the request still tells the caller's object.
            EXPECT_EQ(request->submit()->content()->status()->code(), 0);
            EXPECT_EQ(recorder.completions, 2);
            EXPECT_EQ(request->originalNotifyObject(), &recorder);
        }
    }
}

}  // namespace
