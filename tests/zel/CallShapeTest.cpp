// What each server call puts on the wire, as the reference server recorded
// it (request type, command-data element, fields in order, value spellings),
// what its answer reads into, and the device record around it.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ZelTestSupport.h"
#include "message/MessageTestSupport.h"
#include "zel/ZelCalls.h"

using namespace vork;
using namespace vork::test;

namespace {

template <typename Call>
Call onSession() {
    Call call;
    call.setZelInterface(g_ZelInterface->shared_from_this());
    return call;
}

using CallShape = OnServer;

constexpr int kAnyStatus = -2;

TEST_F(CallShape, EachCallSendsItsRequestTypeElementAndFields) {
    struct Shape {
        std::function<std::string()> call;
        std::string commandType, commandData;
        Fields fields;
        int status = 0;          // kAnyStatus: whatever the server makes of it, as long as there is one
        std::string replyHolds;  // a text from the server's answer
    };
    const std::vector<Shape> shapes = {
        {[] { return std::string(computerInventoryPrefs()); }, "computerinventorycollectionpreferencerequest",
         "computerInventoryCollectionPreference", {{"ns2:platform", "mac"}}, 0, "Collect Applications"},
        {[] { return std::string(clientSitePrivileges("Self Service")); }, "clientsiteprivilegesrequest",
         "clientSitePrivileges", {{"ns2:clientAppName", "Self Service"}}, 0, "Headquarters"},
        // Site 5 is not the user's: the server's refusal comes back as its status.
        {[] { return std::string(clientSiteSelection(5)); }, "clientsiteselectionrequest", "clientSiteSelection",
         {{"ns2:siteID", "5"}}, 1410},
        {[] { return std::string(clientSiteSelection(-3)); }, "clientsiteselectionrequest", "clientSiteSelection",
         {{"ns2:siteID", "-3"}}, kAnyStatus},
        {[] { return std::string(adminAddObject()); }, "adminaddobjectrequest", "adminAddObject",
         {{"ns2:platform", "mac"}}},
        {[] { return std::string(getPrinterInfo(7)); }, "getprinterinforequest", "getPrinterInfo",
         {{"ns2:printerId", "7"}}, kAnyStatus},
        // "scriptID" with a capital D.
        {[] { return std::string(retrieveScriptData(12)); }, "retrievescriptdatarequest", "retrieveScriptData",
         {{"ns2:scriptID", "12"}}, kAnyStatus},
        {[] { return onSession<ZelCallStorePPD>().execute(); }, "storeppdrequest", "storePPDRequest",
         {{"ns2:platform", "mac"}}},
        {[] { return onSession<ZelCallPackageIndex>().execute(); }, "packageindexrequest", "packageIndex",
         {{"ns2:platform", "mac"}}},
        // The object id is always sent as zero.
        {[] {
             auto call = onSession<ZelFetchCredentials>();
             call.setCredentialType("distributionPoint");
             call.setObjectId(42);
             return call.execute();
         },
         "credentialsrequest", "credentials", {{"ns2:credentialType", "distributionPoint"}, {"ns2:objectID", "0"}}, 0,
         "dpwrite"},
    };
    for (const Shape &shape : shapes) {
        SCOPED_TRACE(shape.commandType);
        server.clearRequests();
        const std::string reply = shape.call();
        EXPECT_EQ(clientMessages(server), 1u);
        expectRecorded(server, {jsonPair("commandType", "io.vork.agent." + shape.commandType),
                                jsonPair("commandData", shape.commandData), fieldsJson(shape.fields),
                                R"("validationErrors": [])"});
        if (shape.status == kAnyStatus) { EXPECT_GE(statusCodeOf(reply), 0) << reply; }
        else { EXPECT_EQ(statusCodeOf(reply), shape.status) << reply; }
        EXPECT_NE(reply.find(shape.replyHolds), std::string::npos) << reply;
    }
}

TEST_F(CallShape, AdminSaveSendsTheCallersElementAsItStands) {
    adminSave("<adminSave><modifiedScripts><script id=\"4\">echo &amp; done</script></modifiedScripts></adminSave>");
    expectRecorded(server, {R"(<adminSave><modifiedScripts><script id=\"4\">echo &amp; done</script>)"});
    // Malformed text still sends the request type; the server says what it
    // makes of a save without objects.
    server.clearRequests();
    EXPECT_EQ(statusCodeOf(adminSave("<adminSave><unclosed></adminSave>")), 1301);
    expectRecorded(server, {jsonPair("commandType", "io.vork.agent.adminsaverequest"), R"("commandData": null)"});
}

TEST_F(CallShape, FetchCredentialsReadsInDocumentOrderAndOtherMessageFormsFailBeforeSending) {
    auto call = onSession<ZelFetchCredentials>();
    call.setCredentialType("distributionPoint");
    VCCMessage message;
    message.setCommandDataClass(&CredentialsResponse::mapping());
    message.loadFromXmlData(call.execute());
    auto response = message.content()->commandDataAs<CredentialsResponse>();
    ASSERT_TRUE(response && response->credentials.size() == 2);
    EXPECT_EQ(response->credentials[0]->objectID, 3);
    EXPECT_EQ(response->credentials[0]->username, "dpread");
    EXPECT_EQ(response->credentials[1]->username, "dpwrite");

    server.clearRequests();
    try {
        call.executeAndReturnMessage();
        FAIL() << "no exception";
    } catch (const UnknownOperationException &e) {
        EXPECT_EQ(e.operation(), "createClientSitePrivilegesRequest");
        EXPECT_EQ(e.className(), "ZelFetchCredentials");
    }
    EXPECT_THROW(call.executeWithResultMessageClass(&CredentialsResponse::mapping()), UnknownOperationException);
    EXPECT_EQ(clientMessages(server), 0u);
}

TEST_F(CallShape, SitePrivilegesReadIntoSitesUnlessTheArrayHasNoElementClass) {
    auto call = onSession<ZelCallClientSitePrivileges>();
    call.setClientAppName("Self Service");
    auto reply = call.executeWithResultMessageClass(&ClientSitePrivilegesResponse::mapping());
    auto response = reply->content()->commandDataAs<ClientSitePrivilegesResponse>();
    ASSERT_TRUE(response && response->sites.size() == 2);
    EXPECT_EQ(response->sites[0]->siteID, 1);
    EXPECT_EQ(response->sites[0]->name, "Headquarters");
    EXPECT_TRUE(response->sites[0]->currentUserSite);
    EXPECT_EQ(response->sites[1]->name, "Branch Office & Lab");
    EXPECT_FALSE(response->sites[1]->currentUserSite);

    server.setFault(R"({"arrayWithoutClass": true})");
    auto status = call.executeWithResultMessageClass(&ClientSitePrivilegesResponse::mapping())->content()->status();
    EXPECT_EQ(status->code(), 1999);
    EXPECT_EQ(status->title(), "ZEL Communication Exception");
    EXPECT_NE(status->extendedMessage().value_or("").find(
                  "Array fields in _xmlFieldOrder need to be followed with :className"),
              std::string::npos);
    // Without a result class the same reply reads fine, and so does the C text.
    EXPECT_EQ(call.executeAndReturnMessage()->content()->status()->code(), 0);
    const std::string text = clientSitePrivileges("Self Service");
    EXPECT_EQ(statusCodeOf(text), 0);
    EXPECT_NE(text.find("Read Computers"), std::string::npos);
}

// A machine that cannot be identified still gets the status-1999 message
// from every C function.
TEST_F(CallShape, UnidentifiedMachineGetsTheFailureMessageFromEveryServerCall) {
    const std::vector<std::function<const char *()>> calls = {
        [] { return keepAlive(0); },         [] { return computerInventoryPrefs(); },
        [] { return clientSitePrivileges("Self Service"); }, [] { return clientSiteSelection(2); },
        [] { return adminSave("<adminSave/>"); },             [] { return adminAddObject(); },
        [] { return getPrinterInfo(1); },    [] { return retrieveScriptData(1); },
    };
    for (bool fails : {false, true}) {  // no identifier at all; reading it fails
        auto guard = platform::machineIdentity().install(std::make_shared<FakeMachineIdentity>(std::nullopt, fails));
        for (size_t i = 0; i < calls.size(); ++i) {
            const char *reply = calls[i]();
            ASSERT_NE(reply, nullptr) << i;
            EXPECT_EQ(statusCodeOf(reply), 1999) << i << ": " << reply;
            VCCMessage parsed;
            parsed.loadFromXmlData(reply);
            EXPECT_EQ(parsed.device().uuid().value_or(""), "") << i;
        }
    }
    EXPECT_EQ(clientMessages(server), 0u);
}

TEST_F(CallShape, AReplyWithoutDeviceRecordIsFilledBeforeItIsReturned) {
    server.setFault(R"({"malformedXml": true})");  // no device record comes back
    auto guard = platform::machineIdentity().install(
        std::make_shared<FakeMachineIdentity>("0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F0"));
    for (const auto &reply : {onSession<ZelCallClientSitePrivileges>().executeAndReturnMessage(),
                              onSession<ZelCallClientSiteSelection>().executeAndReturnMessage()}) {
        EXPECT_FALSE(reply->content());
        EXPECT_EQ(reply->device().uuid(), "0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F0");
        EXPECT_TRUE(reply->device().macAddresses());
    }
}

}  // namespace
