// What each server call puts on the wire, as the reference server recorded
// it: request type, command-data element, fields in order, value spellings.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

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

    std::shared_ptr<ZelInterface> session() { return g_ZelInterface->shared_from_this(); }

    RefServer server;
};

TEST_F(CallShape, ComputerInventoryPrefs) {
    std::string reply = computerInventoryPrefs();
    EXPECT_EQ(statusCodeOf(reply), 0);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.computerinventorycollectionpreferencerequest");
    EXPECT_EQ(record["commandData"].text, "computerInventoryCollectionPreference");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:platform", "mac"}}));
    EXPECT_NE(reply.find("Collect Applications"), std::string::npos);
}

TEST_F(CallShape, ClientSitePrivileges) {
    RecordingLog log;
    std::string reply = clientSitePrivileges("Self Service");
    EXPECT_EQ(statusCodeOf(reply), 0);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.clientsiteprivilegesrequest");
    EXPECT_EQ(record["commandData"].text, "clientSitePrivileges");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:clientAppName", "Self Service"}}));
    EXPECT_TRUE(log.contains("clientSitePrivileges called with Self Service"));
    EXPECT_NE(reply.find("Headquarters"), std::string::npos);
}

TEST_F(CallShape, ClientSitePrivilegesTextIsNotAffectedByPrivilegeLists) {
    server.setFault(R"({"arrayWithoutClass": true})");
    std::string reply = clientSitePrivileges("Self Service");
    EXPECT_EQ(statusCodeOf(reply), 0);
    EXPECT_NE(reply.find("Read Computers"), std::string::npos);
}

TEST_F(CallShape, ClientSiteSelection) {
    RecordingLog log;
    std::string reply = clientSiteSelection(5);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.clientsiteselectionrequest");
    EXPECT_EQ(record["commandData"].text, "clientSiteSelection");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:siteID", "5"}}));
    EXPECT_TRUE(log.contains("clientSiteSelection called with 5"));
    // Site 5 is not the user's: the server's refusal comes back as its status.
    EXPECT_EQ(statusCodeOf(reply), 1410);
    server.clearRequests();
    EXPECT_EQ(statusCodeOf(clientSiteSelection(1)), 0);
}

TEST_F(CallShape, NegativeSiteNumberIsWrittenAsIs) {
    clientSiteSelection(-3);
    EXPECT_EQ(fieldsOf(sent()), (Fields{{"ns2:siteID", "-3"}}));
}

TEST_F(CallShape, AdminAddObject) {
    std::string reply = adminAddObject();
    EXPECT_EQ(statusCodeOf(reply), 0);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.adminaddobjectrequest");
    EXPECT_EQ(record["commandData"].text, "adminAddObject");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:platform", "mac"}}));
}

TEST_F(CallShape, AdminSaveSendsTheCallersElementAsItStands) {
    const std::string element =
        "<adminSave><modifiedScripts><script id=\"4\">echo &amp; done</script></modifiedScripts></adminSave>";
    adminSave(element.c_str());
    auto all = clientRequests(server);
    ASSERT_EQ(all.size(), 1u);
    std::string body = all[0]["body"].text;
    EXPECT_NE(body.find(element), std::string::npos) << body;
}

TEST_F(CallShape, AdminSaveWithMalformedTextStillSendsTheRequestType) {
    std::string reply = adminSave("<adminSave><unclosed></adminSave>");
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.adminsaverequest");
    EXPECT_TRUE(record["commandData"].isNull());
    // The server says what it makes of a save without objects.
    EXPECT_EQ(statusCodeOf(reply), 1301);
}

TEST_F(CallShape, GetPrinterInfo) {
    std::string reply = getPrinterInfo(7);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.getprinterinforequest");
    EXPECT_EQ(record["commandData"].text, "getPrinterInfo");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:printerId", "7"}}));
    EXPECT_GE(statusCodeOf(reply), 0);
}

TEST_F(CallShape, RetrieveScriptDataSpellsScriptIDWithCapitalD) {
    std::string reply = retrieveScriptData(12);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.retrievescriptdatarequest");
    EXPECT_EQ(record["commandData"].text, "retrieveScriptData");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:scriptID", "12"}}));
    EXPECT_GE(statusCodeOf(reply), 0);
}

TEST_F(CallShape, StorePPDAnnouncesThePlatformOnly) {
    ZelCallStorePPD call;
    call.setZelInterface(session());
    EXPECT_EQ(statusCodeOf(call.execute()), 0);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.storeppdrequest");
    EXPECT_EQ(record["commandData"].text, "storePPDRequest");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:platform", "mac"}}));
}

TEST_F(CallShape, PackageIndex) {
    ZelCallPackageIndex call;
    call.setZelInterface(session());
    EXPECT_EQ(statusCodeOf(call.execute()), 0);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.packageindexrequest");
    EXPECT_EQ(record["commandData"].text, "packageIndex");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:platform", "mac"}}));
}

TEST_F(CallShape, FetchCredentialsSendsObjectIdZero) {
    ZelFetchCredentials call;
    call.setZelInterface(session());
    call.setCredentialType("distributionPoint");
    call.setObjectId(42);
    std::string reply = call.execute();
    EXPECT_EQ(statusCodeOf(reply), 0);
    Json record = sent();
    EXPECT_EQ(record["commandType"].text, "io.vork.agent.credentialsrequest");
    EXPECT_EQ(record["commandData"].text, "credentials");
    EXPECT_EQ(fieldsOf(record), (Fields{{"ns2:credentialType", "distributionPoint"}, {"ns2:objectID", "0"}}));

    // The answer reads into two credentials, in document order.
    VCCMessage message;
    message.setCommandDataClass(&CredentialsResponse::mapping());
    message.loadFromXmlData(reply);
    auto response = message.content()->commandDataAs<CredentialsResponse>();
    ASSERT_TRUE(response);
    ASSERT_EQ(response->credentials.size(), 2u);
    EXPECT_EQ(response->credentials[0]->objectID, 3);
    EXPECT_EQ(response->credentials[0]->username, "dpread");
    EXPECT_EQ(response->credentials[1]->username, "dpwrite");
}

TEST_F(CallShape, FetchCredentialsMessageFormsFailBeforeSending) {
    ZelFetchCredentials call;
    call.setZelInterface(session());
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

TEST_F(CallShape, SitePrivilegesReadIntoSites) {
    ZelCallClientSitePrivileges call;
    call.setZelInterface(session());
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
}

TEST_F(CallShape, ArrayWithoutElementClassBecomesStatus1999) {
    server.setFault(R"({"arrayWithoutClass": true})");
    ZelCallClientSitePrivileges call;
    call.setZelInterface(session());
    call.setClientAppName("Self Service");
    auto reply = call.executeWithResultMessageClass(&ClientSitePrivilegesResponse::mapping());
    ASSERT_TRUE(reply->content());
    auto status = reply->content()->status();
    EXPECT_EQ(status->code(), 1999);
    EXPECT_EQ(status->title(), "ZEL Communication Exception");
    ASSERT_TRUE(status->extendedMessage());
    EXPECT_NE(status->extendedMessage()->find("Array fields in _xmlFieldOrder need to be followed with :className"),
              std::string::npos)
        << *status->extendedMessage();
    // Without a result class the same reply reads fine.
    auto plain = call.executeAndReturnMessage();
    EXPECT_EQ(plain->content()->status()->code(), 0);
}

TEST_F(CallShape, SiteSelectionReturnsTheMessage) {
    ZelCallClientSiteSelection call;
    call.setZelInterface(session());
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
