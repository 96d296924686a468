// Reading reply envelopes into typed contents.
#include <gtest/gtest.h>

#include "base/Exception.h"
#include "message/MessageTestSupport.h"
#include "message/VCCMessage.h"
#include "xml/VORKXMLMessage.h"

namespace vork::test {
namespace {

std::string reply(const std::string &contents, const std::string &head = "") {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
           "<ns2:vorkMessage xmlns:ns2=\"http://vork.io/VORKMessage\" "
           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">" +
           (head.empty() ? std::string("<device><uuid>DEV-1</uuid><macAddresses><macAddress bsdName=\"en0\">00.11.22.33.44.55"
                                       "</macAddress></macAddresses></device><application>server</application>"
                                       "<messageTimestamp>1700000000999</messageTimestamp>")
                         : head) +
           contents + "</ns2:vorkMessage>";
}

std::string content(const std::string &status, const std::string &commandData) {
    return "<content xsi:type=\"ns2:ResponseContent\"><uuid>C-1</uuid><commandType>io.vork.agent.keepaliveresponse"
           "</commandType>" +
           status + commandData + "</content>";
}

const char kOkStatus[] = "<status><code>0</code><timestamp>1700000000000</timestamp><title>ignored</title></status>";

TEST(Reply, EnvelopeFieldsAndTypedContent) {
    VCCMessage message;
    message.setCommandDataClass(&Crate::mapping());
    message.loadFromXmlData(reply(content(kOkStatus, "<commandData><crate><ns2:id>3</ns2:id><name> n </name>"
                                                     "<extra>skipped</extra></crate></commandData>")));
    EXPECT_EQ(message.device().uuid(), "DEV-1");
    ASSERT_EQ(message.device().macAddresses().value_or(std::vector<VCCMacAddress>{}).size(), 1u);
    EXPECT_EQ((*message.device().macAddresses())[0].bsdName(), "en0");
    EXPECT_EQ(message.application(), "server");
    EXPECT_EQ(javaEpochValue(message.messageTimestamp()), 1700000000000);
    ASSERT_EQ(message.contents().size(), 1u);
    EXPECT_EQ(message.content()->uuid(), "C-1");
    EXPECT_EQ(message.content()->commandType(), "io.vork.agent.keepaliveresponse");
    auto crate = message.content()->commandDataAs<Crate>();
    ASSERT_NE(crate, nullptr);
    EXPECT_EQ(crate->crateID, 3);
    EXPECT_EQ(crate->name, " n ");
}
TEST(Reply, WithoutClassTheRawContentElementIsKept) {
    VCCMessage message;
    message.loadFromXmlData(reply(content(kOkStatus, "<commandData><keepAlive><checkInFrequency>15</checkInFrequency>"
                                                     "</keepAlive></commandData>")));
    xml::XmlNode raw = message.content()->commandDataElement();
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw.name(), "content");
    VORKXMLMessage view = VORKXMLMessage::messageWithNode(VORKXMLNode(raw));
    EXPECT_EQ(view.integerForProperty("commandData/keepAlive/checkInFrequency"), 15);
}

TEST(Reply, MissingEnvelopeFields) {
    VCCMessage message;
    message.setApplication("before");
    message.device().setUuid("kept");
    message.device().setMacAddresses(std::vector<VCCMacAddress>{{"en0", "x"}});
    message.loadFromXmlData(reply(content(kOkStatus, ""), "<other/>"));
    EXPECT_EQ(javaEpochValue(message.messageTimestamp()), 0);
    EXPECT_FALSE(message.application());
    // A device without an address list keeps the list.
    message.loadFromXmlData(reply("", "<device><uuid>D</uuid></device>"));
    EXPECT_EQ(message.device().uuid(), "D");
    ASSERT_TRUE(message.device().macAddresses());
    EXPECT_EQ(message.device().macAddresses()->size(), 1u);
}

TEST(Reply, NotXmlOrAnotherNamespaceChangesNothing) {
    for (std::string broken : {std::string(), std::string("<a><b></a>"), std::string("\xFF\xFE<\x00a", 5),
                               reply(content(kOkStatus, "")).substr(0, 200)}) {
        VCCMessage message;
        Date before = message.messageTimestamp();
        message.loadFromXmlData(broken);
        EXPECT_TRUE(message.contents().empty());
        EXPECT_EQ(message.messageTimestamp(), before);
    }
    // Children in a namespace are not envelope fields.
    VCCMessage message;
    message.loadFromXmlData("<m xmlns=\"urn:other\"><application>a</application><content/></m>");
    EXPECT_FALSE(message.application());
    EXPECT_TRUE(message.contents().empty());
}

// Parsed contents follow those already there; status texts come from the
// table, not the reply; an absent status or command data leaves defaults.
TEST(Reply, ContentsStatusesAndMissingCommandData) {
    VCCMessage message;
    auto own = std::make_shared<VCCMessageContent>();
    message.addContent(own);
    message.setCommandDataClass(&Crate::mapping());
    message.loadFromXmlData(reply(content("<status><code>1421</code><timestamp>1500</timestamp><title>X</title>"
                                          "<message>Y</message><extendedMessage>more</extendedMessage></status>",
                                          "") +
                                  content("", "<commandData><other/></commandData>")));
    ASSERT_EQ(message.contents().size(), 3u);
    EXPECT_EQ(message.content(), own);
    ASSERT_NE(message.contents()[2]->commandDataAs<Crate>(), nullptr);
    EXPECT_EQ(message.contents()[2]->commandDataAs<Crate>()->crateID, 0);
    std::shared_ptr<VCCStatus> status = message.contents()[1]->status();
    EXPECT_EQ(status->code(), 1421);
    EXPECT_EQ(status->description(), "Device Not Found - The device specified could not be found.");
    EXPECT_EQ(javaEpochValue(status->timestamp()), 1000);
    EXPECT_EQ(status->extendedMessage(), "more");
    std::shared_ptr<VCCStatus> absent = message.contents()[2]->status();
    ASSERT_NE(absent, nullptr);
    EXPECT_EQ(absent->title(), "Success");  // code 0
    EXPECT_FALSE(absent->extendedMessage());
}

}  // namespace
}  // namespace vork::test
