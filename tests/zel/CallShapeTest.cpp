// What each server call puts on the wire, as the reference server recorded
// it: request type, command-data element, fields in order, value spellings.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ZelTestSupport.h"
#include "support/RecordingLog.h"
#include "sysinfo/VORKHardwareIdentification.h"
#include "zel/ZelCalls.h"

using namespace vork;
using namespace vork::test;

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

class CallShape : public ::testing::Test {
protected:
    void SetUp() override { useServer(server); }

    // The one message the call sent.
    Json sent() {
        auto all = clientRequests(server);
        EXPECT_EQ(all.size(), 1u) << server.requests();
        Json record = all.empty() ? Json() : all.back();
        EXPECT_TRUE(record["validationErrors"].items.empty()) << server.requests();
        return record;
    }

public:
    template <typename Call>
    Call call() {
        Call call;
        call.setZelInterface(g_ZelInterface->shared_from_this());
        return call;
    }

protected:
    RefServer server;
};

constexpr int kAnyStatus = -2;

struct Shape {
    const char *name;
    std::function<std::string(CallShape &)> call;
    std::string commandType, commandData;
    Fields fields;
    int status = 0;          // kAnyStatus: whatever the server makes of it, as long as there is one
    std::string logLine;     // written when the call starts
    std::string replyHolds;  // a text from the server's answer
};

TEST_F(CallShape, EachCallSendsItsRequestTypeElementAndFields) {
    const std::vector<Shape> shapes = {
        {"computerInventoryPrefs", [](CallShape &) { return std::string(computerInventoryPrefs()); },
         "computerinventorycollectionpreferencerequest", "computerInventoryCollectionPreference",
         {{"ns2:platform", "mac"}}, 0, "", "Collect Applications"},
        {"clientSitePrivileges", [](CallShape &) { return std::string(clientSitePrivileges("Self Service")); },
         "clientsiteprivilegesrequest", "clientSitePrivileges", {{"ns2:clientAppName", "Self Service"}}, 0,
         "clientSitePrivileges called with Self Service", "Headquarters"},
        // Site 5 is not the user's: the server's refusal comes back as its status.
        {"clientSiteSelection", [](CallShape &) { return std::string(clientSiteSelection(5)); },
         "clientsiteselectionrequest", "clientSiteSelection", {{"ns2:siteID", "5"}}, 1410,
         "clientSiteSelection called with 5"},
        {"clientSiteSelection(1)", [](CallShape &) { return std::string(clientSiteSelection(1)); },
         "clientsiteselectionrequest", "clientSiteSelection", {{"ns2:siteID", "1"}}, 0},
        {"negative site", [](CallShape &) { return std::string(clientSiteSelection(-3)); },
         "clientsiteselectionrequest", "clientSiteSelection", {{"ns2:siteID", "-3"}}, kAnyStatus},
        {"adminAddObject", [](CallShape &) { return std::string(adminAddObject()); }, "adminaddobjectrequest",
         "adminAddObject", {{"ns2:platform", "mac"}}},
        {"getPrinterInfo", [](CallShape &) { return std::string(getPrinterInfo(7)); }, "getprinterinforequest",
         "getPrinterInfo", {{"ns2:printerId", "7"}}, kAnyStatus},
        // "scriptID" with a capital D.
        {"retrieveScriptData", [](CallShape &) { return std::string(retrieveScriptData(12)); },
         "retrievescriptdatarequest", "retrieveScriptData", {{"ns2:scriptID", "12"}}, kAnyStatus},
        {"storePPD", [](CallShape &t) { return t.call<ZelCallStorePPD>().execute(); }, "storeppdrequest",
         "storePPDRequest", {{"ns2:platform", "mac"}}},
        {"packageIndex", [](CallShape &t) { return t.call<ZelCallPackageIndex>().execute(); },
         "packageindexrequest", "packageIndex", {{"ns2:platform", "mac"}}},
        // The object id is always sent as zero.
        {"fetchCredentials",
         [](CallShape &t) {
             auto call = t.call<ZelFetchCredentials>();
             call.setCredentialType("distributionPoint");
             call.setObjectId(42);
             return call.execute();
         },
         "credentialsrequest", "credentials", {{"ns2:credentialType", "distributionPoint"}, {"ns2:objectID", "0"}}, 0,
         "", "dpwrite"},
    };
    for (const Shape &shape : shapes) {
        SCOPED_TRACE(shape.name);
        server.clearRequests();
        RecordingLog log;
        const std::string reply = shape.call(*this);
        Json record = sent();
        EXPECT_EQ(record["commandType"].text, "io.vork.agent." + shape.commandType);
        EXPECT_EQ(record["commandData"].text, shape.commandData);
        EXPECT_EQ(fieldsOf(record), shape.fields);
        if (shape.status == kAnyStatus) {
            EXPECT_GE(statusCodeOf(reply), 0) << reply;
        } else {
            EXPECT_EQ(statusCodeOf(reply), shape.status) << reply;
        }
        EXPECT_TRUE(shape.logLine.empty() || log.contains(shape.logLine)) << shape.logLine;
        EXPECT_NE(reply.find(shape.replyHolds), std::string::npos) << reply;
    }
}

TEST_F(CallShape, ClientSitePrivilegesTextIsNotAffectedByPrivilegeLists) {
    server.setFault(R"({"arrayWithoutClass": true})");
    std::string reply = clientSitePrivileges("Self Service");
    EXPECT_EQ(statusCodeOf(reply), 0);
    EXPECT_NE(reply.find("Read Computers"), std::string::npos);
}

TEST_F(CallShape, AdminSaveSendsTheCallersElementAsItStands) {
    const std::string element =
        "<adminSave><modifiedScripts><script id=\"4\">echo &amp; done</script></modifiedScripts></adminSave>";
    adminSave(element.c_str());
    auto all = clientRequests(server);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_NE(all[0]["body"].text.find(element), std::string::npos) << all[0]["body"].text;

    // Malformed text still sends the request type; the server says what it
    // makes of a save without objects.
    server.clearRequests();
    std::string reply = adminSave("<adminSave><unclosed></adminSave>");
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.adminsaverequest");
    EXPECT_TRUE(record["commandData"].isNull());
    EXPECT_EQ(statusCodeOf(reply), 1301);
}

TEST_F(CallShape, FetchCredentialsAnswerReadsIntoCredentialsInDocumentOrder) {
    auto call = this->call<ZelFetchCredentials>();
    call.setCredentialType("distributionPoint");
    VCCMessage message;
    message.setCommandDataClass(&CredentialsResponse::mapping());
    message.loadFromXmlData(call.execute());
    auto response = message.content()->commandDataAs<CredentialsResponse>();
    ASSERT_TRUE(response);
    ASSERT_EQ(response->credentials.size(), 2u);
    EXPECT_EQ(response->credentials[0]->objectID, 3);
    EXPECT_EQ(response->credentials[0]->username, "dpread");
    EXPECT_EQ(response->credentials[1]->username, "dpwrite");
}

TEST_F(CallShape, FetchCredentialsMessageFormsFailBeforeSending) {
    auto call = this->call<ZelFetchCredentials>();
    call.setCredentialType("ldap");
    try {
        call.executeAndReturnMessage();
        FAIL() << "no exception";
    } catch (const UnknownOperationException &e) {
        EXPECT_EQ(e.operation(), "createClientSitePrivilegesRequest");
        EXPECT_EQ(e.className(), "ZelFetchCredentials");
    }
    EXPECT_THROW(call.executeWithResultMessageClass(&CredentialsResponse::mapping()), UnknownOperationException);
    EXPECT_TRUE(clientRequests(server).empty());
}

TEST_F(CallShape, SitePrivilegesReadIntoSitesUnlessTheArrayHasNoElementClass) {
    auto call = this->call<ZelCallClientSitePrivileges>();
    call.setClientAppName("Self Service");
    auto reply = call.executeWithResultMessageClass(&ClientSitePrivilegesResponse::mapping());
    ASSERT_TRUE(reply->content());
    EXPECT_EQ(reply->content()->status()->code(), 0);
    auto response = reply->content()->commandDataAs<ClientSitePrivilegesResponse>();
    ASSERT_TRUE(response);
    ASSERT_EQ(response->sites.size(), 2u);
    EXPECT_EQ(response->sites[0]->siteID, 1);
    EXPECT_EQ(response->sites[0]->name, "Headquarters");
    EXPECT_TRUE(response->sites[0]->currentUserSite);
    EXPECT_EQ(response->sites[1]->siteID, 2);
    EXPECT_EQ(response->sites[1]->name, "Branch Office & Lab");
    EXPECT_FALSE(response->sites[1]->currentUserSite);

    server.setFault(R"({"arrayWithoutClass": true})");
    reply = call.executeWithResultMessageClass(&ClientSitePrivilegesResponse::mapping());
    ASSERT_TRUE(reply->content());
    auto status = reply->content()->status();
    EXPECT_EQ(status->code(), 1999);
    EXPECT_EQ(status->title(), "ZEL Communication Exception");
    ASSERT_TRUE(status->extendedMessage());
    EXPECT_NE(status->extendedMessage()->find("Array fields in _xmlFieldOrder need to be followed with :className"),
              std::string::npos)
        << *status->extendedMessage();
    // Without a result class the same reply reads fine.
    EXPECT_EQ(call.executeAndReturnMessage()->content()->status()->code(), 0);
}

TEST_F(CallShape, SiteSelectionReturnsTheMessage) {
    auto call = this->call<ZelCallClientSiteSelection>();
    call.setSiteID(2);
    auto reply = call.executeAndReturnMessage();
    ASSERT_TRUE(reply->content());
    EXPECT_EQ(reply->content()->status()->code(), 0);
    EXPECT_EQ(fieldsOf(sent()), (Fields{{"ns2:siteID", "2"}}));
}

TEST(GetUdid, AnswersTheHardwareUuidWithoutAnySetting) {
    std::string expected;
    try {
        expected = VORKHardwareIdentification::getHardwareUUID();
    } catch (const std::exception &) {
        expected.clear();
    }
    const char *udid = getUdid();
    ASSERT_NE(udid, nullptr);
    EXPECT_EQ(std::string(udid), expected);
}

}  // namespace
