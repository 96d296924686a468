// Status codes: the built-in table, look-up, reading and writing.
#include <gtest/gtest.h>

#include "message/Constants.h"
#include "message/MessageTestSupport.h"
#include "message/VCCStatus.h"

namespace vork::test {
namespace {

std::string describe(int32_t code) {
    VCCStatus status;
    status.setCode(code);
    status.loadTitleAndMessage();
    return status.description();
}

TEST(Status, Defaults) {
    auto clock = platform::clock().install(clockAt(1234));
    VCCStatus status;
    EXPECT_EQ(status.code(), 0);
    EXPECT_EQ(javaEpochValue(status.timestamp()), 1234000);
    EXPECT_EQ(status.title(), "");
    EXPECT_EQ(status.message(), "");
    EXPECT_EQ(status.extendedMessage(), "");
    EXPECT_EQ(status.description(), " - ");
}

TEST(Status, KnownCodes) {
    EXPECT_EQ(describe(0), "Success - The action was completed successfully.");
    EXPECT_EQ(describe(1421), "Device Not Found - The device specified could not be found.");
    EXPECT_EQ(describe(1504), "Clock Skew Error - There is a discrepancy between the local time and the ZEL server time.");
    EXPECT_EQ(describe(1999), "Unknown Error - An unknown error has occurred.");
    EXPECT_EQ(describe(2100), "Policy Execution Error - TODO");
    EXPECT_EQ(describe(2101), "Error Updating Management Password - TODO");
}

TEST(Status, UnknownCodeKeepsTexts) {
    EXPECT_EQ(describe(42), " - ");
    VCCStatus status;
    status.setTitle("mine");
    status.setMessage("kept");
    status.setCode(-1);
    status.loadTitleAndMessage();
    EXPECT_EQ(status.description(), "mine - kept");
}

TEST(Status, TableDocumentHasEveryRowInOrder) {
    xml::XmlDocument table = VCCStatus::statusCodesXmlDoc();
    ASSERT_TRUE(table);
    xml::XmlNode root = table.rootElement();
    EXPECT_EQ(root.name(), "p:vorkStatusCodes");
    EXPECT_EQ(root.attribute("xsi:schemaLocation"), std::string(kVorkMessageNamespace) + " schema/VORKStatusCodes.xsd");
    std::vector<std::string> codes;
    for (const xml::XmlNode &row : root.evaluate("status/code")) codes.push_back(*row.stringValue());
    EXPECT_EQ(codes, (std::vector<std::string>{"0", "1301", "1302", "1303", "1400", "1410", "1411", "1421", "1500",
                                               "1501", "1503", "1504", "1601", "1602", "1998", "1999", "2100", "2101"}));
    EXPECT_NE(VCCStatus::statusCodesXml().find("\t\t<title>Invalid Message Content</title>"), std::string::npos);
}

TEST(Status, ReadingNonNumericCodeIsSuccess) {
    xml::XmlDocument doc = xml::XmlDocument::parse("<status><code>abc</code></status>");
    VCCStatus status;
    status.setCode(5);
    status.loadFromXmlNode(doc.rootElement());
    EXPECT_EQ(status.code(), 0);
    EXPECT_EQ(status.title(), "Success");
    EXPECT_EQ(javaEpochValue(status.timestamp()), 0);
}

TEST(Status, ReadingTakesLeadingDigits) {
    xml::XmlDocument doc = xml::XmlDocument::parse("<status><code> 1302x</code><timestamp>-1500</timestamp></status>");
    VCCStatus status;
    status.loadFromXmlNode(doc.rootElement());
    EXPECT_EQ(status.code(), 1302);
    EXPECT_EQ(status.title(), "Invalid Message");
    EXPECT_EQ(javaEpochValue(status.timestamp()), -1000);
}

TEST(Status, WritingFullStatus) {
    VCCStatus status;
    status.setCode(1999);
    status.setTimestamp(Date(std::chrono::milliseconds(1700000000500)));
    status.setExtendedMessage("why");
    xml::XmlNode parent = xml::XmlNode::element("content");
    status.saveToXmlNode(parent);
    EXPECT_EQ(parent.xmlString(),
              "<content><status><code>1999</code><timestamp>1700000000000</timestamp>"
              "<extendedMessage>why</extendedMessage></status></content>");
    status.setExtendedMessage(std::nullopt);
    xml::XmlNode other = xml::XmlNode::element("content");
    status.saveToXmlNode(other);
    EXPECT_NE(other.xmlString().find("<extendedMessage/>"), std::string::npos);
}

}  // namespace
}  // namespace vork::test
