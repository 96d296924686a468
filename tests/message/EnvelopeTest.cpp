// Request envelopes byte for byte, with the clock, the content uuids and
// the device pinned.
#include <gmock/gmock.h>
#include <gtest/gtest.h>


#include "base/Exception.h"
#include "message/Constants.h"
#include "message/EnvelopeWriter.h"
#include "message/MessageTestSupport.h"
#include "message/VCCMessage.h"
#include "xml/ByteSink.h"
#include "zel/ZelContents.h"

namespace vork::test {
namespace {

using ::testing::HasSubstr;

const char kPrologue[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
const char kRoot[] =
    "<ns2:vorkMessage xmlns:ns2=\"http://vork.io/VORKMessage\" "
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xsi:schemaLocation=\"http://vork.io/VORKMessage ../src/main/resources/schema/VORKCommunicationSchema.xsd\">";
const char kDevice[] =
    "<device><uuid>564D7A2C-1B3E-4F5A-9C8D-0E1F2A3B4C5D</uuid><macAddresses>"
    "<macAddress bsdName=\"en0\">00.1c.42.aa.bb.cc</macAddress>"
    "<macAddress bsdName=\"en1\">00.1c.42.aa.bb.cd</macAddress>"
    "</macAddresses></device>";
const char kContentUuid[] = "0F1E2D3C-4B5A-4968-8776-A5B4C3D2E1F0";

class EnvelopeTest : public ::testing::Test {
protected:
    // 2023-11-14 22:13:20.900 UTC: the milliseconds never reach the wire.
    platform::ServiceSlot<platform::Clock>::Override clock_ = platform::clock().install(clockAt(1700000000, 900));

    std::shared_ptr<VCCMessage> request(const std::string &suffix, CommandData data) {
        auto message = VCCMessage::messageWithType(std::string(kApplicationIdentifier) + suffix, std::move(data));
        message->setApplication(kApplicationIdentifier);
        message->device().setUuid("564D7A2C-1B3E-4F5A-9C8D-0E1F2A3B4C5D");
        message->device().setMacAddresses(std::vector<VCCMacAddress>{{"en0", "00.1c.42.aa.bb.cc"}, {"en1", "00.1c.42.aa.bb.cd"}});
        message->content()->setUuid(kContentUuid);
        return message;
    }

    static std::string saved(VCCMessage &message) { return message.saveToXmlData().value_or("(no bytes)"); }

    static std::string envelope(const std::string &contents) {
        return std::string(kPrologue) + kRoot + kDevice + "<application>io.vork.agent</application>" +
               "<messageTimestamp>1700000000000</messageTimestamp>" + contents + "</ns2:vorkMessage>\n";
    }

    static std::string content(const std::string &type, const std::string &commandData) {
        return std::string("<content xsi:type=\"ns2:RequestContent\"><uuid>") + kContentUuid +
               "</uuid><commandType>io.vork.agent" + type +
               "</commandType><status><code>0</code><timestamp>1700000000000</timestamp></status>" + commandData +
               "</content>";
    }
};

TEST_F(EnvelopeTest, CommandDataForms) {
    auto keepAlive = std::make_shared<KeepAliveRequest>();
    keepAlive->invalidate = true;
    auto site = std::make_shared<Site>();
    site->siteID = 1;
    site->name = "Main";
    site->addPrivilege("Read");
    site->addPrivilege("Write");
    site->currentUserSite = true;
    auto sites = std::make_shared<ClientSitePrivilegesResponse>();
    sites->sites = {site, std::make_shared<Site>()};
    // A raw element is written alone, as it stands.
    const std::string raw = "<adminSave><ns2:packages xmlns:ns2=\"urn:p\"><p id=\"1\"/></ns2:packages></adminSave>";
    xml::XmlDocument rawDoc = xml::XmlDocument::parse(raw);
    // A reply's content, written back: it declares the namespaces it uses
    // from the reply's root.
    xml::XmlDocument reply = xml::XmlDocument::parse(
        "<ns2:vorkMessage xmlns:ns2=\"urn:m\" xmlns:xsi=\"urn:x\"><content xsi:type=\"ns2:ResponseContent\">"
        "<commandData><k><ns2:v>1</ns2:v></k></commandData></content></ns2:vorkMessage>");
    // Request type suffix, command data, the whole document.
    const std::vector<std::tuple<std::string, CommandData, std::string>> rows{
        {".keepaliverequest", keepAlive,
         envelope(content(".keepaliverequest",
                          "<commandData><keepAlive><ns2:invalidate>1</ns2:invalidate></keepAlive></commandData>"))},
        // A list of objects whose items are strings; the list entry names no item class.
        {".clientsiteprivilegesrequest", sites,
         envelope(content(".clientsiteprivilegesrequest",
                          "<commandData><clientSitePrivileges><ns2:sites>"
                          "<ns2:site><ns2:id>1</ns2:id><ns2:name>Main</ns2:name><ns2:privileges>"
                          "<ns2:privilege>Read</ns2:privilege><ns2:privilege>Write</ns2:privilege>"
                          "</ns2:privileges><ns2:currentUserSite>1</ns2:currentUserSite></ns2:site>"
                          "<ns2:site><ns2:id>0</ns2:id><ns2:privileges/>"
                          "<ns2:currentUserSite>0</ns2:currentUserSite></ns2:site>"
                          "</ns2:sites></clientSitePrivileges></commandData>"))},
        {".keepaliverequest", std::monostate{}, envelope(content(".keepaliverequest", ""))},
        {".x", std::string("some text"), envelope(content(".x", "<commandData/>"))},
        // An empty alias writes the fields straight into commandData.
        {".x", std::make_shared<VCCStringListItem>("privilege", "Read"),
         envelope(content(".x", "<commandData><ns2:privilege>Read</ns2:privilege></commandData>"))},
        {".adminsaverequest", xml::XmlNode(), envelope(content(".adminsaverequest", ""))},
        {".adminsaverequest", rawDoc.rootElement(), envelope(raw)},
        {".x", reply.rootElement().children().at(0),
         envelope("<content xmlns:xsi=\"urn:x\" xmlns:ns2=\"urn:m\" xsi:type=\"ns2:ResponseContent\">"
                  "<commandData><k><ns2:v>1</ns2:v></k></commandData></content>")},
    };
    // Written straight to bytes, and as a tree: the same document.
    for (const auto &[suffix, data, expected] : rows) {
        auto message = request(suffix, data);
        EXPECT_EQ(saved(*message), expected);
        xml::ByteSink bytes;
        envelope::writeMessage(*message, bytes, MissingDeviceInfo::Leave);
        EXPECT_EQ(bytes.take().value_or("(left to the tree)"), expected);
        EXPECT_EQ(message->saveToXmlDocument().xmlData(), expected);
    }
}

TEST_F(EnvelopeTest, StatusCodeWithoutTextsContentsInOrderAndEmptyAddressList) {
    auto message = request(".first", std::monostate{});
    message->content()->status()->setCode(1421);
    message->content()->status()->loadTitleAndMessage();
    EXPECT_THAT(saved(*message), HasSubstr("<status><code>1421</code><timestamp>1700000000000</timestamp></status>"));
    message->content()->setStatus(nullptr);
    EXPECT_THAT(saved(*message), HasSubstr("</commandType></content>"));
    auto second = std::make_shared<VCCMessageContent>();
    second->setCommandType("second");
    second->setUuid("U2");
    message->addContent(second);
    message->device().setMacAddresses(std::vector<VCCMacAddress>{});
    std::string bytes = saved(*message);
    EXPECT_THAT(bytes, HasSubstr("<macAddresses/>"));
    EXPECT_THAT(bytes, ::testing::ContainsRegex("\\.first</commandType>.*<uuid>U2</uuid><commandType>second</commandType>"));
}

TEST_F(EnvelopeTest, BlankUuidAndUngatheredAddressesAreFetched) {
    auto identity = std::make_shared<FakeMachineIdentity>("ABCDEF01-2345-4678-9ABC-DEF012345678");
    auto guard = platform::machineIdentity().install(identity);
    VCCMessage message;
    message.device().setUuid("  \n");
    message.device().setMacAddresses(std::vector<VCCMacAddress>{});
    EXPECT_THAT(saved(message), HasSubstr("<uuid>ABCDEF01-2345-4678-9ABC-DEF012345678</uuid><macAddresses/>"));
    // A machine without one raises while building.
    identity->uuid.reset();
    VCCMessage orphan;
    orphan.device().setMacAddresses(std::vector<VCCMacAddress>{});
    EXPECT_THAT([&] { (void)orphan.saveToXmlData(); },
                ::testing::Throws<Exception>(::testing::Property(&Exception::name, "NSInvalidArgumentException")));
}

TEST_F(EnvelopeTest, ForbiddenCharactersAreRemovedAndInvalidUtf8GivesNoBytes) {
    auto message = request(".x", std::monostate{});
    message->setApplication("a\x01" "b\xEF\xBF\xBD" "c\xEF\xBF\xBE" "d\xEF\xBF\xBC" "e\t\n");
    EXPECT_THAT(saved(*message), HasSubstr("<application>abcd\xEF\xBF\xBC" "e\t\n</application>"));
    message->setApplication("bad \xC3");
    EXPECT_FALSE(message->saveToXmlData());
}

}  // namespace
}  // namespace vork::test
