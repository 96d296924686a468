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

TEST(Status, DefaultsAndTextsFromTheTable) {
    auto clock = platform::clock().install(clockAt(1234));
    VCCStatus fresh;
    EXPECT_EQ(fresh.code(), 0);
    EXPECT_EQ(javaEpochValue(fresh.timestamp()), 1234000);
    EXPECT_EQ(fresh.extendedMessage(), "");
    EXPECT_EQ(fresh.description(), " - ");
    for (const auto &[code, text] : std::vector<std::pair<int32_t, std::string>>{
             {0, "Success - The action was completed successfully."},
             {1421, "Device Not Found - The device specified could not be found."},
             {1504, "Clock Skew Error - There is a discrepancy between the local time and the ZEL server time."},
             {1999, "Unknown Error - An unknown error has occurred."},
             {2100, "Policy Execution Error - TODO"},
             {2101, "Error Updating Management Password - TODO"},
             {42, " - "}})
        EXPECT_EQ(describe(code), text) << code;
    // An unknown code keeps the texts it has.
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

TEST(Status, ReadingTakesTheLeadingDigits) {
    struct Row {
        std::string xml;
        int32_t code;
        std::string title;
        int64_t timestamp;
    };
    for (const Row &row : std::vector<Row>{{"<status><code>abc</code></status>", 0, "Success", 0},
                                           {"<status><code> 1302x</code><timestamp>-1500</timestamp></status>", 1302,
                                            "Invalid Message", -1000}}) {
        VCCStatus status;
        status.setCode(5);
        status.loadFromXmlNode(xml::XmlDocument::parse(row.xml).rootElement());
        EXPECT_EQ(status.code(), row.code) << row.xml;
        EXPECT_EQ(status.title(), row.title) << row.xml;
        EXPECT_EQ(javaEpochValue(status.timestamp()), row.timestamp) << row.xml;
    }
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
    parent = xml::XmlNode::element("content");
    status.saveToXmlNode(parent);
    EXPECT_NE(parent.xmlString().find("<extendedMessage/>"), std::string::npos);
}

}  // namespace
}  // namespace vork::test
