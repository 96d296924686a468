// Status codes: the built-in table, look-up, reading and writing.
#include <gtest/gtest.h>

#include "message/Constants.h"
#include "message/MessageTestSupport.h"
#include "message/VCCStatus.h"

namespace vork::test {
namespace {

TEST(Status, DefaultsAndTextsFromTheTable) {
    auto clock = platform::clock().install(clockAt(1234));
    VCCStatus fresh;
    EXPECT_EQ(fresh.code(), 0);
    EXPECT_EQ(javaEpochValue(fresh.timestamp()), 1234000);
    EXPECT_EQ(fresh.description(), " - ");
    for (const auto &[code, text] : std::vector<std::pair<int32_t, std::string>>{
             {0, "Success - The action was completed successfully."},
             {1421, "Device Not Found - The device specified could not be found."},
             {1999, "Unknown Error - An unknown error has occurred."},
             {2100, "Policy Execution Error - TODO"},
             {42, " - "}}) {
        VCCStatus status;
        status.setCode(code);
        status.loadTitleAndMessage();
        EXPECT_EQ(status.description(), text) << code;
    }
    // An unknown code keeps the texts it has.
    VCCStatus status;
    status.setTitle("mine");
    status.setMessage("kept");
    status.setCode(-1);
    status.loadTitleAndMessage();
    EXPECT_EQ(status.description(), "mine - kept");
}

TEST(Status, TableDocumentHasEveryRowInOrder) {
    xml::XmlNode root = VCCStatus::statusCodesXmlDoc().rootElement();
    EXPECT_EQ(root.attribute("xsi:schemaLocation"), std::string(kVorkMessageNamespace) + " schema/VORKStatusCodes.xsd");
    std::vector<std::string> codes;
    for (const xml::XmlNode &row : root.evaluate("status/code")) codes.push_back(*row.stringValue());
    EXPECT_EQ(codes, (std::vector<std::string>{"0", "1301", "1302", "1303", "1400", "1410", "1411", "1421", "1500",
                                               "1501", "1503", "1504", "1601", "1602", "1998", "1999", "2100", "2101"}));
    EXPECT_NE(VCCStatus::statusCodesXml().find("\t\t<title>Invalid Message Content</title>"), std::string::npos);
}

TEST(Status, ReadingTakesTheLeadingDigitsAndWritingSkipsTheTexts) {
    VCCStatus status;
    status.setCode(5);
    status.loadFromXmlNode(xml::XmlDocument::parse("<status><code>abc</code></status>").rootElement());
    EXPECT_EQ(status.title(), "Success");
    status.loadFromXmlNode(xml::XmlDocument::parse("<status><code> 1302x</code></status>").rootElement());
    EXPECT_EQ(status.title(), "Invalid Message");
    status.setCode(1999);
    status.setTimestamp(Date(std::chrono::milliseconds(1700000000500)));
    status.setExtendedMessage("why");
    xml::XmlNode parent = xml::XmlNode::element("content");
    status.saveToXmlNode(parent);
    EXPECT_EQ(parent.xmlString(), "<content><status><code>1999</code><timestamp>1700000000000</timestamp>"
                                  "<extendedMessage>why</extendedMessage></status></content>");
    status.setExtendedMessage(std::nullopt);
    parent = xml::XmlNode::element("content");
    status.saveToXmlNode(parent);
    EXPECT_NE(parent.xmlString().find("<extendedMessage/>"), std::string::npos);
}

}  // namespace
}  // namespace vork::test
