// The device record: which interfaces qualify and how the record is read.
#include <gtest/gtest.h>

#include "message/MessageTestSupport.h"
#include "message/VCCDevice.h"
#include "sysinfo/VORKHardwareIdentification.h"

namespace vork::test {
namespace {

TEST(Device, MissingInfoIsFetchedOnlyWhenMissingAndOnlyEnInterfacesWithAnAddressQualify) {
    // The process-wide address table is filled on first use, which is this
    // test's: no other test of this program asks for the machine's addresses.
    auto interfaces = platform::networkInterfaces().install(std::make_shared<FakeNetworkInterfaces>(
        std::vector<platform::NetworkInterface>{
            {"lo0", ""}, {"en0", "00:1c:42:aa:bb:cc"}, {"bridge0", "02:00:00:00:00:01"},
            {"en12", " 00:1c:42:00:00:12\t"}, {"awdl0", "aa:bb:cc:dd:ee:ff"}, {"enx", "00:1c:42:00:00:0e"},
            {"en5", "  "}, {"eth0", "00:1c:42:00:00:01"}, {"En7", "00:1c:42:00:00:07"}}));
    auto identity = std::make_shared<FakeMachineIdentity>("HW-UUID");
    auto guard = platform::machineIdentity().install(identity);
    VCCDevice device;
    device.retrieveMissingDeviceInfo();
    EXPECT_EQ(device.uuid(), "HW-UUID");
    ASSERT_TRUE(device.macAddresses());
    std::vector<std::pair<std::string, std::string>> found;
    for (const VCCMacAddress &mac : *device.macAddresses()) found.emplace_back(*mac.bsdName(), *mac.address());
    EXPECT_EQ(found, (std::vector<std::pair<std::string, std::string>>{
                         {"en0", "00.1c.42.aa.bb.cc"}, {"en12", "00.1c.42.00.00.12"}, {"enx", "00.1c.42.00.00.0e"}}));
    device.setUuid("mine");
    device.setMacAddresses(std::vector<VCCMacAddress>{});
    device.retrieveMissingDeviceInfo();
    EXPECT_EQ(device.uuid(), "mine");
    EXPECT_TRUE(device.macAddresses()->empty());
    EXPECT_EQ(identity->calls, 1);
}

TEST(Device, WrittenRecordAndReadRecordRebuildsTheList) {
    VCCDevice written;
    written.setUuid("U");
    written.setMacAddresses(std::vector<VCCMacAddress>{{std::nullopt, "c.d"}});
    xml::XmlNode root = xml::XmlNode::element("root");
    written.saveToXmlNode(root);
    EXPECT_EQ(root.xmlString(), "<root><device><uuid>U</uuid><macAddresses><macAddress bsdName=\"\">c.d</macAddress>"
                                "</macAddresses></device></root>");
    xml::XmlDocument doc = xml::XmlDocument::parse(
        "<device><uuid> U </uuid><macAddresses><macAddress bsdName='en1'>x</macAddress><other/>"
        "<macAddress>y</macAddress></macAddresses></device>");
    VCCDevice device;
    device.setMacAddresses(std::vector<VCCMacAddress>{{"old", "old"}});
    device.loadFromXmlNode(doc.rootElement());
    EXPECT_EQ(device.uuid(), " U ");
    std::vector<std::pair<std::optional<std::string>, std::optional<std::string>>> read;
    for (const VCCMacAddress &mac : *device.macAddresses()) read.emplace_back(mac.bsdName(), mac.address());
    EXPECT_EQ(read, (decltype(read){{"en1", "x"}, {std::nullopt, "y"}}));
}

}  // namespace
}  // namespace vork::test
