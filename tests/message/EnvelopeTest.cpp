// Request envelopes byte for byte, with the clock, the content uuids and
// the device pinned.
#include <gtest/gtest.h>
#include <libxml/xmlschemas.h>

#include <filesystem>

#include "base/Exception.h"
#include "message/Constants.h"
#include "message/MessageTestSupport.h"
#include "message/VCCMessage.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

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

class KeepAliveSample : public Mapped<KeepAliveSample> {
public:
    bool invalidate = false;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<KeepAliveSample>("KeepAliveSample")
                                           .alias("keepAlive")
                                           .fieldOrder({"invalidate"})
                                           .field("invalidate", &KeepAliveSample::invalidate);
        return cls;
    }
};

class SiteSelectionSample : public Mapped<SiteSelectionSample> {
public:
    int32_t siteID = 0;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<SiteSelectionSample>("ClientSiteSelectionRequest")
                                           .fieldOrder({"siteID"})
                                           .field("siteID", &SiteSelectionSample::siteID);
        return cls;
    }
};

class SiteSample : public Mapped<SiteSample> {
public:
    int32_t siteID = 0;
    std::optional<std::string> name;
    std::vector<std::shared_ptr<VCCStringListItem>> privileges;
    bool currentUserSite = false;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<SiteSample>("SiteSample")
                                           .alias("site")
                                           .fieldOrder({"siteID=id", "name", "privileges", "currentUserSite"})
                                           .field("siteID", &SiteSample::siteID)
                                           .field("name", &SiteSample::name)
                                           .field("privileges", &SiteSample::privileges)
                                           .field("currentUserSite", &SiteSample::currentUserSite);
        return cls;
    }
};

class SitesSample : public Mapped<SitesSample> {
public:
    std::vector<std::shared_ptr<SiteSample>> sites;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<SitesSample>("ClientSitePrivilegesResponse")
                                           .fieldOrder({"sites:SiteSample"})
                                           .field("sites", &SitesSample::sites);
        return cls;
    }
};

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

TEST_F(EnvelopeTest, KeepAliveRequestBytes) {
    auto data = std::make_shared<KeepAliveSample>();
    data->invalidate = true;
    std::optional<std::string> bytes = request(".keepaliverequest", data)->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, envelope(content(".keepaliverequest",
                                       "<commandData><keepAlive><ns2:invalidate>1</ns2:invalidate></keepAlive></commandData>")));
}

TEST_F(EnvelopeTest, ListOfObjectsWithStringItemsBytes) {
    auto data = std::make_shared<SitesSample>();
    auto site = std::make_shared<SiteSample>();
    site->siteID = 1;
    site->name = "Main";
    site->privileges = {std::make_shared<VCCStringListItem>("privilege", "Read"),
                        std::make_shared<VCCStringListItem>("privilege", "Write")};
    site->currentUserSite = true;
    data->sites = {site, std::make_shared<SiteSample>()};
    std::optional<std::string> bytes = request(".clientsiteprivilegesrequest", data)->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, envelope(content(".clientsiteprivilegesrequest",
                                       "<commandData><clientSitePrivileges><ns2:sites>"
                                       "<ns2:site><ns2:id>1</ns2:id><ns2:name>Main</ns2:name><ns2:privileges>"
                                       "<ns2:privilege>Read</ns2:privilege><ns2:privilege>Write</ns2:privilege>"
                                       "</ns2:privileges><ns2:currentUserSite>1</ns2:currentUserSite></ns2:site>"
                                       "<ns2:site><ns2:id>0</ns2:id><ns2:privileges/>"
                                       "<ns2:currentUserSite>0</ns2:currentUserSite></ns2:site>"
                                       "</ns2:sites></clientSitePrivileges></commandData>")));
}

TEST_F(EnvelopeTest, KeepAliveFalseIsZero) {
    std::optional<std::string> bytes = request(".keepaliverequest", std::make_shared<KeepAliveSample>())->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<keepAlive><ns2:invalidate>0</ns2:invalidate></keepAlive>"), std::string::npos);
}

TEST_F(EnvelopeTest, NameDerivedFromTypeAndNumberField) {
    auto data = std::make_shared<SiteSelectionSample>();
    data->siteID = 5;
    std::optional<std::string> bytes = request(".clientsiteselectionrequest", data)->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes,
              envelope(content(".clientsiteselectionrequest",
                               "<commandData><clientSiteSelection><ns2:siteID>5</ns2:siteID></clientSiteSelection>"
                               "</commandData>")));
}

TEST_F(EnvelopeTest, CommandDataTypeAttribute) {
    auto data = std::make_shared<TypedRequest>();
    data->value = "v";
    std::optional<std::string> bytes = request(".x", data)->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<commandData><typed xsi:type=\"ns2:TypedRequestType\"><ns2:value>v</ns2:value></typed>"
                          "</commandData>"),
              std::string::npos);
}

TEST_F(EnvelopeTest, NoCommandDataNoElement) {
    std::optional<std::string> bytes = request(".keepaliverequest", std::monostate{})->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, envelope(content(".keepaliverequest", "")));
}

TEST_F(EnvelopeTest, PlainTextCommandDataIsAnEmptyElement) {
    std::optional<std::string> bytes = request(".x", std::string("some text"))->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<commandData/></content>"), std::string::npos);
    EXPECT_EQ(bytes->find("some text"), std::string::npos);
}

TEST_F(EnvelopeTest, CommandDataWithEmptyAliasWritesFieldsIntoCommandData) {
    auto item = std::make_shared<VCCStringListItem>("privilege", "Read");
    std::optional<std::string> bytes = request(".x", item)->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<commandData><ns2:privilege>Read</ns2:privilege></commandData>"), std::string::npos);
}

TEST_F(EnvelopeTest, RawElementIsWrittenAloneAsItStands) {
    xml::XmlDocument caller = xml::XmlDocument::parse("<adminSave><ns2:packages xmlns:ns2=\"urn:p\"><p id=\"1\"/></ns2:packages></adminSave>");
    std::optional<std::string> bytes = request(".adminsaverequest", caller.rootElement())->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, envelope("<adminSave><ns2:packages xmlns:ns2=\"urn:p\"><p id=\"1\"/></ns2:packages></adminSave>"));
    // The caller's element is copied, not moved.
    EXPECT_EQ(caller.rootElement().children().size(), 1u);
}

TEST_F(EnvelopeTest, AbsentRawElementLeavesACommandWithoutData) {
    std::optional<std::string> bytes = request(".adminsaverequest", xml::XmlNode())->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, envelope(content(".adminsaverequest", "")));
}

TEST_F(EnvelopeTest, StatusCodeIsWrittenButNotItsTexts) {
    auto message = request(".x", std::monostate{});
    message->content()->status()->setCode(1421);
    message->content()->status()->loadTitleAndMessage();
    message->content()->status()->setTimestamp(Date(std::chrono::milliseconds(5000)));
    std::optional<std::string> bytes = message->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<status><code>1421</code><timestamp>1700000000000</timestamp></status>"), std::string::npos);
    EXPECT_EQ(bytes->find("Device Not Found"), std::string::npos);
}

TEST_F(EnvelopeTest, RemovedStatusIsNotWritten) {
    auto message = request(".x", std::monostate{});
    message->content()->setStatus(nullptr);
    std::optional<std::string> bytes = message->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("</commandType></content>"), std::string::npos);
}

TEST_F(EnvelopeTest, ContentsInOrderAndEmptyAddressList) {
    auto message = request(".first", std::monostate{});
    auto second = std::make_shared<VCCMessageContent>();
    second->setCommandType("second");
    second->setUuid("U2");
    message->addContent(second);
    message->device().setMacAddresses(std::vector<VCCMacAddress>{});
    std::optional<std::string> bytes = message->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<macAddresses/>"), std::string::npos);
    size_t first = bytes->find(".first</commandType>");
    size_t other = bytes->find("<uuid>U2</uuid><commandType>second</commandType>");
    ASSERT_NE(first, std::string::npos);
    ASSERT_NE(other, std::string::npos);
    EXPECT_LT(first, other);
    message->clearContent();
    EXPECT_EQ(message->content(), nullptr);
}

TEST_F(EnvelopeTest, NoPrefixBelowTheRootExceptFields) {
    auto data = std::make_shared<KeepAliveSample>();
    xml::XmlDocument doc = request(".keepaliverequest", data)->saveToXmlDocument();
    EXPECT_EQ(doc.version(), "1.0");
    EXPECT_EQ(doc.characterEncoding(), "UTF-8");
    EXPECT_TRUE(doc.standalone());
    xml::XmlNode root = doc.rootElement();
    EXPECT_EQ(root.name(), "ns2:vorkMessage");
    std::vector<std::string> children;
    for (const xml::XmlNode &child : root.children()) children.push_back(child.name());
    EXPECT_EQ(children, (std::vector<std::string>{"device", "application", "messageTimestamp", "content"}));
    // The tree is namespace-aware: fields are in the message namespace,
    // everything else of the envelope in none.
    EXPECT_EQ(root.evaluate("//*[namespace-uri() = 'http://vork.io/VORKMessage']").size(), 2u);
    EXPECT_EQ(root.evaluate("//*[local-name() = 'invalidate' and namespace-uri() = 'http://vork.io/VORKMessage']").size(), 1u);
}

TEST_F(EnvelopeTest, BlankUuidAndUngatheredAddressesAreFetched) {
    auto identity = std::make_shared<FakeMachineIdentity>("ABCDEF01-2345-4678-9ABC-DEF012345678");
    auto guard = platform::machineIdentity().install(identity);
    VCCMessage message;
    message.device().setUuid("  \n");
    message.device().setMacAddresses(std::vector<VCCMacAddress>{});
    std::optional<std::string> bytes = message.saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<uuid>ABCDEF01-2345-4678-9ABC-DEF012345678</uuid><macAddresses/>"), std::string::npos);
    EXPECT_EQ(identity->calls, 1);
    // A set uuid is not fetched again.
    (void)message.saveToXmlData();
    EXPECT_EQ(identity->calls, 1);
}

TEST_F(EnvelopeTest, MachineWithoutUuidRaisesWhileBuilding) {
    auto guard = platform::machineIdentity().install(std::make_shared<FakeMachineIdentity>(std::nullopt));
    VCCMessage message;
    message.device().setMacAddresses(std::vector<VCCMacAddress>{});
    try {
        (void)message.saveToXmlData();
        FAIL() << "no exception";
    } catch (const Exception &e) {
        EXPECT_EQ(e.name(), "NSInvalidArgumentException");
    }
}

TEST_F(EnvelopeTest, ForbiddenCharactersAreRemovedFromTheBytes) {
    auto message = request(".x", std::monostate{});
    message->setApplication("a\x01" "b\xEF\xBF\xBD" "c\xEF\xBF\xBE" "d\xEF\xBF\xBC" "e\t\n");
    std::optional<std::string> bytes = message->saveToXmlData();
    ASSERT_TRUE(bytes);
    EXPECT_NE(bytes->find("<application>abcd\xEF\xBF\xBC" "e\t\n</application>"), std::string::npos);
}

TEST_F(EnvelopeTest, InvalidUtf8GivesNoBytes) {
    auto message = request(".x", std::monostate{});
    message->setApplication("bad \xC3");
    EXPECT_FALSE(message->saveToXmlData());
}

TEST_F(EnvelopeTest, TimestampCarriesWholeSeconds) {
    VCCMessage message;
    EXPECT_EQ(javaEpochValue(message.messageTimestamp()), 1700000000000);
    message.setMessageTimestamp(Date(std::chrono::milliseconds(978307200750)));
    message.device().setUuid("U");
    message.device().setMacAddresses(std::vector<VCCMacAddress>{});
    EXPECT_NE(message.saveToXmlData()->find("<messageTimestamp>978307200000</messageTimestamp>"), std::string::npos);
}

// The reference server's schema accepts what the library writes.
TEST_F(EnvelopeTest, RequestValidatesAgainstTheServerSchema) {
    std::filesystem::path schemaFile = std::filesystem::path(VORK_SOURCE_DIR) / "tools/refserver/schema/VORKMessage.xsd";
    if (!std::filesystem::exists(schemaFile)) GTEST_SKIP() << "no schema at " << schemaFile;
    xmlSchemaParserCtxtPtr parser = xmlSchemaNewParserCtxt(schemaFile.c_str());
    xmlSchemaPtr schema = xmlSchemaParse(parser);
    xmlSchemaFreeParserCtxt(parser);
    ASSERT_NE(schema, nullptr);
    xmlSchemaValidCtxtPtr validator = xmlSchemaNewValidCtxt(schema);

    auto keepAlive = std::make_shared<KeepAliveSample>();
    auto selection = std::make_shared<SiteSelectionSample>();
    selection->siteID = 12;
    for (auto &[suffix, data] : std::vector<std::pair<std::string, CommandData>>{
             {".keepaliverequest", keepAlive}, {".clientsiteselectionrequest", selection}}) {
        auto message = request(suffix, data);
        message->content()->setUuid(std::nullopt);
        message->content()->setUuid(VCCMessageContent().uuid());  // a real, generated one
        std::optional<std::string> bytes = message->saveToXmlData();
        ASSERT_TRUE(bytes);
        xmlDocPtr doc = xmlReadMemory(bytes->data(), static_cast<int>(bytes->size()), nullptr, nullptr, 0);
        ASSERT_NE(doc, nullptr);
        EXPECT_EQ(xmlSchemaValidateDoc(validator, doc), 0) << *bytes;
        xmlFreeDoc(doc);
    }
    xmlSchemaFreeValidCtxt(validator);
    xmlSchemaFree(schema);
}

}  // namespace
}  // namespace vork::test
