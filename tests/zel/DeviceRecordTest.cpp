// The device record around a server call: a machine that cannot be
// identified still gets the status-1999 message from every C function, and
// a reply is written back (device record filled) before it is returned.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZelTestSupport.h"
#include "platform/MachineIdentity.h"
#include "zel/ZelCalls.h"

using namespace vork;
using namespace vork::test;

namespace {

// A machine whose identity is the given answer, or whose reading fails.
struct FixedIdentity : platform::MachineIdentity {
    explicit FixedIdentity(std::optional<std::string> answer, bool fails = false)
        : answer(std::move(answer)), fails(fails) {}
    std::optional<std::string> hardwareUuid() override {
        if (fails) throw std::runtime_error("firmware table unreadable");
        return answer;
    }
    std::optional<std::string> answer;
    bool fails;
};

TEST(UnidentifiedMachine, EveryServerCallAnswersTheFailureMessage) {
    RefServer server;
    useServer(server);
    const std::vector<std::function<const char *()>> calls = {
        [] { return keepAlive(0); },         [] { return computerInventoryPrefs(); },
        [] { return clientSitePrivileges("Self Service"); }, [] { return clientSiteSelection(2); },
        [] { return adminSave("<adminSave/>"); },             [] { return adminAddObject(); },
        [] { return getPrinterInfo(1); },    [] { return retrieveScriptData(1); },
    };
    for (bool fails : {false, true}) {  // no identifier at all; reading it fails
        auto guard = platform::machineIdentity().install(std::make_shared<FixedIdentity>(std::nullopt, fails));
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

TEST(WrittenBack, AReplyWithoutDeviceRecordIsFilledBeforeItIsReturned) {
    RefServer server;
    useServer(server);
    server.setFault(R"({"malformedXml": true})");  // no device record comes back
    auto guard = platform::machineIdentity().install(
        std::make_shared<FixedIdentity>("0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F0"));
    ZelCallClientSitePrivileges privileges;
    ZelCallClientSiteSelection selection;
    for (ZelCall *call : std::initializer_list<ZelCall *>{&privileges, &selection})
        call->setZelInterface(g_ZelInterface->shared_from_this());
    for (const auto &reply : {privileges.executeAndReturnMessage(), selection.executeAndReturnMessage()}) {
        EXPECT_FALSE(reply->content());
        EXPECT_EQ(reply->device().uuid(), "0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0F0");
        EXPECT_TRUE(reply->device().macAddresses());
    }
}

}  // namespace
