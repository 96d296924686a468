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
    message.setCommandDataClass(&PingRequest::mapping());
    message.loadFromXmlData(reply(content(kOkStatus, "<commandData><ping><ns2:count>3</ns2:count><note> n </note>"
                                                     "<extra>skipped</extra></ping></commandData>")));
    EXPECT_EQ(message.device().uuid(), "DEV-1");
    ASSERT_EQ(message.device().macAddresses().value_or(std::vector<VCCMacAddress>{}).size(), 1u);
    EXPECT_EQ((*message.device().macAddresses())[0].bsdName(), "en0");
    EXPECT_EQ((*message.device().macAddresses())[0].address(), "00.11.22.33.44.55");
    EXPECT_EQ(message.application(), "server");
    EXPECT_EQ(javaEpochValue(message.messageTimestamp()), 1700000000000);
    ASSERT_EQ(message.contents().size(), 1u);
    std::shared_ptr<VCCMessageContent> first = message.content();
    EXPECT_EQ(first->uuid(), "C-1");
    EXPECT_EQ(first->commandType(), "io.vork.agent.keepaliveresponse");
    EXPECT_EQ(first->status()->code(), 0);
    EXPECT_EQ(first->status()->title(), "Success");
    auto ping = first->commandDataAs<PingRequest>();
    ASSERT_NE(ping, nullptr);
    EXPECT_EQ(ping->count, 3);
    EXPECT_EQ(ping->note, " n ");
}

TEST(Reply, SiteListReadsInDocumentOrderUntilAnEntryWithoutClassIsPresent) {
    VCCMessage message;
    message.setCommandDataClass(&LooseSitesResponse::mapping());
    message.loadFromXmlData(reply(content(kOkStatus, "<commandData><clientSitePrivileges><ns2:sites>"
                                                     "<ns2:site><ns2:id>1</ns2:id><ns2:name>Main</ns2:name></ns2:site>"
                                                     "<ns2:site><ns2:id>2</ns2:id></ns2:site>"
                                                     "</ns2:sites></clientSitePrivileges></commandData>")));
    auto sites = message.content()->commandDataAs<LooseSitesResponse>();
    ASSERT_NE(sites, nullptr);
    std::vector<std::pair<int32_t, std::optional<std::string>>> read;
    for (const auto &site : sites->sites) read.emplace_back(site->siteID, site->name);
    EXPECT_EQ(read, (decltype(read){{1, "Main"}, {2, std::nullopt}}));

    VCCMessage failing;
    failing.setCommandDataClass(&LooseSitesResponse::mapping());
    const std::string withPrivileges =
        "<commandData><clientSitePrivileges><sites><site><id>1</id><privileges><privilege>Read</privilege>"
        "</privileges></site></sites></clientSitePrivileges></commandData>";
    EXPECT_THROW(failing.loadFromXmlData(reply(content(kOkStatus, withPrivileges))), Exception);
}

TEST(Reply, ParsedContentsFollowThoseAlreadyThereInOrder) {
    VCCMessage message;
    auto own = std::make_shared<VCCMessageContent>();
    message.addContent(own);
    message.loadFromXmlData(reply(content(kOkStatus, "") + content("<status><code>1999</code></status>", "")));
    ASSERT_EQ(message.contents().size(), 3u);
    EXPECT_EQ(message.content(), own);
    EXPECT_EQ(message.contents()[1]->status()->code(), 0);
    EXPECT_EQ(message.contents()[2]->status()->code(), 1999);
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

TEST(Reply, MissingCommandDataLeavesDefaults) {
    VCCMessage message;
    message.setCommandDataClass(&PingRequest::mapping());
    message.loadFromXmlData(reply(content(kOkStatus, "") + content(kOkStatus, "<commandData><other/></commandData>")));
    for (const auto &read : message.contents()) {
        auto ping = read->commandDataAs<PingRequest>();
        ASSERT_NE(ping, nullptr);
        EXPECT_EQ(ping->count, 0);
    }
}

TEST(Reply, MissingEnvelopeFields) {
    VCCMessage message;
    message.setApplication("before");
    message.device().setUuid("kept");
    message.device().setMacAddresses(std::vector<VCCMacAddress>{{"en0", "x"}});
    message.loadFromXmlData(reply(content(kOkStatus, ""), "<other/>"));
    EXPECT_EQ(javaEpochValue(message.messageTimestamp()), 0);
    EXPECT_FALSE(message.application());
    EXPECT_EQ(message.device().uuid(), "kept");
    // A device without an address list keeps the list.
    message.loadFromXmlData(reply("", "<device><uuid>D</uuid></device>"));
    EXPECT_EQ(message.device().uuid(), "D");
    ASSERT_TRUE(message.device().macAddresses());
    EXPECT_EQ(message.device().macAddresses()->size(), 1u);
}

TEST(Reply, NotXmlOrAnotherNamespaceChangesNothing) {
    for (std::string broken : {std::string(), std::string("not xml"), std::string("<a><b></a>"),
                               std::string("\xFF\xFE<\x00a", 5), reply(content(kOkStatus, "")).substr(0, 200)}) {
        VCCMessage message;
        message.setCommandDataClass(&PingRequest::mapping());
        Date before = message.messageTimestamp();
        message.loadFromXmlData(broken);
        EXPECT_TRUE(message.contents().empty());
        EXPECT_FALSE(message.application());
        EXPECT_EQ(message.messageTimestamp(), before);
    }
    // Children in a namespace are not envelope fields.
    VCCMessage message;
    message.loadFromXmlData("<m xmlns=\"urn:other\"><application>a</application><content/></m>");
    EXPECT_FALSE(message.application());
    EXPECT_TRUE(message.contents().empty());
}

TEST(Reply, StatusTextsFromTheTableNotTheReplyAndAbsentStatusIsSuccess) {
    VCCMessage message;
    message.loadFromXmlData(reply(content("<status><code>1421</code><timestamp>1500</timestamp><title>X</title>"
                                          "<message>Y</message><extendedMessage>more</extendedMessage></status>",
                                          "") +
                                  content("", "")));
    std::shared_ptr<VCCStatus> status = message.content()->status();
    EXPECT_EQ(status->code(), 1421);
    EXPECT_EQ(status->description(), "Device Not Found - The device specified could not be found.");
    EXPECT_EQ(javaEpochValue(status->timestamp()), 1000);
    EXPECT_EQ(status->extendedMessage(), "more");
    std::shared_ptr<VCCStatus> absent = message.contents()[1]->status();
    ASSERT_NE(absent, nullptr);
    EXPECT_EQ(absent->title(), "Success");  // code 0
    EXPECT_FALSE(absent->extendedMessage());
}

TEST(Reply, RoundTripOfARequest) {
    auto ping = std::make_shared<PingRequest>();
    ping->count = 77;
    ping->blob = Bytes{'z'};
    auto request = VCCMessage::messageWithType("io.vork.agent.ping", ping);
    request->setApplication("app");
    request->device().setUuid("U-1");
    request->device().setMacAddresses(std::vector<VCCMacAddress>{{"en3", "aa.bb"}});
    std::optional<std::string> bytes = request->saveToXmlData();
    ASSERT_TRUE(bytes);
    VCCMessage back;
    back.setCommandDataClass(&PingRequest::mapping());
    back.loadFromXmlData(*bytes);
    EXPECT_EQ(back.application(), "app");
    EXPECT_EQ(back.device().uuid(), "U-1");
    EXPECT_EQ((*back.device().macAddresses())[0].bsdName(), "en3");
    EXPECT_EQ(back.content()->uuid(), request->content()->uuid());
    EXPECT_EQ(back.content()->commandType(), "io.vork.agent.ping");
    auto readPing = back.content()->commandDataAs<PingRequest>();
    ASSERT_NE(readPing, nullptr);
    EXPECT_EQ(readPing->count, 77);
    EXPECT_EQ(readPing->blob, Bytes{'z'});
}

}  // namespace
}  // namespace vork::test
