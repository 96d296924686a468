// The session classes on their own: resource URLs, headers, the application
// stamp, clock skew, the asynchronous exchange, and the content classes'
// wire order.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZelTestSupport.h"
#include "message/Constants.h"
#include "platform/Clock.h"
#include "message/VCCMessageContent.h"
#include "xml/XmlNode.h"
#include "zel/VCCZelService.h"
#include "zel/ZelCalls.h"

using namespace vork;
using namespace vork::test;

namespace {

std::shared_ptr<VCCMessage> keepAliveMessage() {
    ZelCallKeepAlive call;
    return call.createKeepAliveRequest();
}

// Gives a configuration the server's address and credentials.
void pointAt(VCCConfig &config, const RefServer &server) {
    config.setZelUrl(server.url());
    config.setZelUsername(server.user());
    config.setZelPassword(server.password());
}

// A keepAlive request to the server's message resource, signed in.
std::shared_ptr<VCCZelRequest> keepAliveRequest(const RefServer &server) {
    auto request = VCCZelRequest::requestWithMessage(keepAliveMessage(), server.clientUrl());
    request->setUsername(server.user());
    request->setPassword(server.password());
    return request;
}

TEST(ResourceUrl, TrimsBlanksAndTrailingSlashesAndJoinsTheContext) {
    ZelInterface session;
    session.zelConfig()->setZelUrl("  https://zel.example:8443/base///  ");
    EXPECT_EQ(session.resourceUrl(), "https://zel.example:8443/base/client");
    session.zelConfig()->setZelUrl(std::nullopt);
    EXPECT_EQ(session.resourceUrl(), "/client");
    session.zelConfig()->setZelUrl("");
    EXPECT_EQ(session.resourceUrl(), "/client");
    // A service joins base and context.
    VCCZelService service;
    service.zelConfig()->setZelUrl("http://127.0.0.1:9/root/ ");
    service.setUrlContext(" //agent/checkin");
    EXPECT_EQ(service.resourceUrl(), "http://127.0.0.1:9/root/agent/checkin");
    service.setUrlContext(std::nullopt);
    EXPECT_EQ(service.resourceUrl(), "http://127.0.0.1:9/root/");
    service.zelConfig()->setZelUrl(std::nullopt);
    EXPECT_EQ(service.resourceUrl(), "/");
}

TEST(ResourceUrl, ServiceRequestsCarryItsCredentials) {
    RefServer server;
    VCCZelService service;
    pointAt(*service.zelConfig(), server);
    service.setUrlContext("client");
    auto request = service.buildRequestWithMessage(keepAliveMessage());
    EXPECT_EQ(request->username(), server.user());
    EXPECT_EQ(request->password(), server.password());
    auto reply = request->submit();
    ASSERT_TRUE(reply->content());
    EXPECT_EQ(reply->content()->status()->code(), 0);
    EXPECT_TRUE(lastClientRequest(server)["authorized"].boolean);
}

TEST(Submit, CustomHeadersWithAValueAreSent) {
    RefServer server;
    useServer(server);
    HeaderValues headers{{"X-Vork-Trace", std::string("abc")}, {"X-Vork-Absent", std::nullopt}};
    auto reply = g_ZelInterface->submitRequest(keepAliveMessage(), nullptr, &headers);
    EXPECT_EQ(reply->content()->status()->code(), 0);
    const Json record = lastClientRequest(server);
    std::map<std::string, std::string> sent;
    for (const Json &header : record["headers"].items) sent[header[0].text] = header[1].text;
    EXPECT_EQ(sent["X-Vork-Trace"], "abc");
    EXPECT_EQ(sent.count("X-Vork-Absent"), 0u);
}

TEST(Submit, TheSessionsApplicationReplacesTheMessages) {
    RefServer server;
    useServer(server);
    auto message = keepAliveMessage();
    message->setApplication("some.other.app");
    g_ZelInterface->submitRequest(message);
    EXPECT_EQ(lastClientRequest(server)["envelope"]["application"].text, kApplicationIdentifier);

    ZelInterface own;
    pointAt(*own.zelConfig(), server);
    own.setApplication("io.vork.selfservice");
    own.submitRequest(keepAliveMessage());
    EXPECT_EQ(lastClientRequest(server)["envelope"]["application"].text, "io.vork.selfservice");
}

TEST(Submit, TimeoutComesFromTheSession) {
    ZelInterface session;
    session.setConnectionTimeout(5);
    session.zelConfig()->setAllowInvalidCertificate(true);
    auto request = session.buildRequestWithMessage(keepAliveMessage());
    EXPECT_TRUE(request->allowInvalidCert());
    EXPECT_EQ(request->url(), "/client");
    // The body is fixed when the request is made.
    auto body = request->postBody();
    ASSERT_TRUE(body);
    EXPECT_NE(body->find("<keepAlive>"), std::string::npos);
    EXPECT_NE(body->find("<ns2:invalidate>0</ns2:invalidate>"), std::string::npos) << *body;
}

TEST(Submit, SlowServerPastTheTimeoutGivesStatus1999) {
    RefServer server;
    ZelInterface session;
    pointAt(*session.zelConfig(), server);
    session.setConnectionTimeout(1);
    server.setFault(R"({"delaySeconds": 3})");
    auto reply = session.submitRequest(keepAliveMessage());
    EXPECT_EQ(reply->content()->status()->code(), 1999);
}

TEST(ClockSkew, OffByDefaultAndMarksOldRepliesWhenSet) {
    RefServer server;
    server.setFault(R"({"clockSkewSeconds": -86400})");
    auto submit = [&](int32_t maxSkew) {
        auto request = keepAliveRequest(server);
        request->setMaxClockSkew(maxSkew);
        return request->submit();
    };
    EXPECT_EQ(submit(0)->content()->status()->code(), 0);
    auto marked = submit(300);
    EXPECT_EQ(marked->content()->status()->code(), 1504);
    EXPECT_EQ(marked->content()->status()->title(), "Clock Skew Error");
}

TEST(ClockSkew, TheDifferenceIsComparedExactly) {
    VCCZelRequest request(keepAliveMessage(), std::string("http://127.0.0.1:1/client"));
    request.setMaxClockSkew(300);
    struct Pinned : platform::Clock {
        std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::time_point{}; }
    };
    auto pinned = platform::clock().install(std::make_shared<Pinned>());
    // Reply time stamp relative to now, in milliseconds, and whether it is skew.
    for (auto [offset, skewed] : {std::pair{-300'000, false}, {300'000, false}, {-300'900, true}, {300'900, true}}) {
        auto reply = VCCMessage::messageWithType("reply");
        reply->setMessageTimestamp(dateNow() + std::chrono::milliseconds(offset));
        request.checkClockSkew(*reply);
        EXPECT_EQ(reply->content()->status()->code(), skewed ? 1504 : 0) << offset;
    }
}

TEST(ClockSkew, AMessageWithoutContentIsLeftAlone) {
    VCCZelRequest request(keepAliveMessage(), std::string("http://127.0.0.1:1/client"));
    request.setMaxClockSkew(1);
    VCCMessage empty;
    empty.setMessageTimestamp(dateWithJavaEpochValue(0));
    request.checkClockSkew(empty);
    EXPECT_FALSE(empty.content());
}

struct CompletionRecorder : VORKHTTPRequestDelegate {
    int completions = 0;
    void notifyCompleted(VORKHTTPRequest &) override { ++completions; }
};

void pumpUntil(const std::function<bool()> &done) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done() && std::chrono::steady_clock::now() < deadline) processRunLoop();
}

TEST(Async, CompletionReachesTheOriginalNotifyObjectAndWithoutOneItCompletesSilently) {
    RefServer server;
    CompletionRecorder recorder;
    for (bool notified : {true, false}) {
        auto request = keepAliveRequest(server);
        // The asynchronous path reads replies without the result class.
        request->setResultMessageClass(&ClientSitePrivilegesResponse::mapping());
        if (notified) request->setNotifyObject(&recorder);
        request->setNotifyCompleted(true);
        request->submitAsync();
        EXPECT_EQ(request->originalNotifyObject(), notified ? &recorder : nullptr);
        pumpUntil([&] { return request->isCompleted() && (!notified || recorder.completions > 0); });
        auto result = request->resultMessage();
        ASSERT_TRUE(result && result->content());
        EXPECT_EQ(result->content()->status()->code(), 0);
        EXPECT_TRUE(result->content()->commandDataElement());
    }
    EXPECT_GE(recorder.completions, 1);
}

TEST(Async, FailureLeavesNoResultAndKeepsTheError) {
    auto request = VCCZelRequest::requestWithMessage(
        keepAliveMessage(), "http://127.0.0.1:" + std::to_string(closedPort()) + "/client");
    CompletionRecorder recorder;
    request->setNotifyObject(&recorder);
    request->setNotifyCompleted(true);
    request->submitAsync();
    pumpUntil([&] { return recorder.completions > 0; });
    EXPECT_EQ(recorder.completions, 1);
    EXPECT_FALSE(request->resultMessage());
    EXPECT_TRUE(request->error());
}

std::vector<std::string> childNames(const MappedObject &object) {
    xml::XmlNode element = xml::XmlNode::element("x");
    VCCMessageContent::saveCommandDataObject(object, element);
    std::vector<std::string> names;
    for (const auto &child : element.children()) names.push_back(child.localName());
    return names;
}

TEST(Contents, ChoiceAndItemOrderTheirFlagsDifferently) {
    EXPECT_EQ(childNames(UIChoice{}), (std::vector<std::string>{"value", "visible", "enabled"}));
    UIChoice choice;
    choice.label = "L";
    choice.description = "D";
    EXPECT_EQ(childNames(choice), (std::vector<std::string>{"label", "description", "value", "visible", "enabled"}));
    OsInstallItem item;
    item.label = "L";
    item.description = "D";
    EXPECT_EQ(childNames(item), (std::vector<std::string>{"label", "description", "enabled", "visible", "value"}));
    OsInstallCategory category;
    category.osInstallItem = std::make_shared<OsInstallItem>();
    EXPECT_EQ(childNames(category), (std::vector<std::string>{"enabled", "visible", "value", "osInstallItem"}));
}

TEST(Contents, ParameterWritesItsNumberAsId) {
    Parameter parameter;
    parameter.parameterId = 9;
    for (auto *field : {&parameter.name, &parameter.ip, &parameter.share, &parameter.type, &parameter.username,
                        &parameter.password})
        *field = "x";
    parameter.zone = parameter.domain = "";  // empty texts are still written
    EXPECT_EQ(childNames(parameter),
              (std::vector<std::string>{"id", "name", "ip", "share", "type", "zone", "domain", "username", "password",
                                        "enableLoadBalancing", "master", "backupID"}));
}

TEST(Contents, ElementNamesAndDeclarationsThatNameMissingFieldsWriteNothing) {
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(KeepAliveRequest{}), "keepAlive");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(StorePPDRequest{}), "storePPDRequest");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(Parameter{}), "config");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(Payload{}), "config");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(UIChoice{}), "config");
    AdminSaveRequest save;
    save.deletedObjects = std::vector<std::shared_ptr<MappedObject>>{std::make_shared<Payload>()};
    EXPECT_TRUE(childNames(save).empty());
    StoreAutoRun autoRun;
    autoRun.osName = "macOS";
    EXPECT_TRUE(childNames(autoRun).empty());
}


TEST(Site, PrivilegeAtIndexKeepsItsBoundaryTest) {
    Site site;
    site.addPrivilege("Read Computers");
    site.addPrivilege("Update Computers");
    EXPECT_EQ(site.privilegeQty(), 2u);
    EXPECT_EQ(site.privilegeAtIndex(1), "Update Computers");
    EXPECT_EQ(site.privilegeAtIndex(3), std::nullopt);
    EXPECT_EQ(site.privilegeAtIndex(-1), std::nullopt);
    EXPECT_THROW(site.privilegeAtIndex(2), std::out_of_range);
}

TEST(Site, PrivilegesAreWrittenAsPrivilegeElements) {
    Site site;
    site.siteID = 4;
    site.name = "Lab";
    site.addPrivilege("Read Computers");
    EXPECT_EQ(childNames(site), (std::vector<std::string>{"id", "name", "privileges", "currentUserSite"}));
    xml::XmlNode element = xml::XmlNode::element("x");
    VCCMessageContent::saveCommandDataObject(site, element);
    EXPECT_NE(element.xmlString().find("privilege>Read Computers<"), std::string::npos) << element.xmlString();
}

TEST(Config, DefaultConfigIsKeptUntilReplaced) {
    auto config = std::make_shared<VCCConfig>();
    VCCConfig::setDefaultConfig(config);
    EXPECT_EQ(VCCConfig::defaultConfig(), config);
    VCCConfig::setDefaultConfig(nullptr);
    EXPECT_EQ(VCCConfig::defaultConfig(), nullptr);
    VCCConfig fresh;
    EXPECT_EQ(fresh.maxClockSkew(), 0);
    EXPECT_FALSE(fresh.allowInvalidCertificate());
    EXPECT_EQ(fresh.zelUrl(), std::nullopt);
}

}  // namespace
