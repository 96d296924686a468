// Hardware identification on Linux: the UUID sources and the interface
// list, read from files laid out in a sandboxed system root.
#include <gtest/gtest.h>

#include <iostream>
#include <regex>
#include <tuple>

#include "base/Exception.h"
#include "platform/MachineIdentity.h"
#include "platform/NetworkInterfaces.h"
#include "support/TempDir.h"
#include "sysinfo/VORKHardwareIdentification.h"

namespace vork::test {
namespace {

std::optional<std::string> linuxUuid() { return platform::machineIdentity().get()->hardwareUuid(); }

const std::regex kUuidForm("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");

TEST(MachineIdentity, FirmwareUuidUpperCasedPlaceholdersFallBackToAStablePrivateDerivationOfMachineId) {
    SystemRootSandbox sandbox;
    sandbox.root().write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    std::optional<std::string> derived = linuxUuid();
    ASSERT_TRUE(derived);
    EXPECT_TRUE(std::regex_match(*derived, kUuidForm)) << *derived;
    // The machine id itself does not show through.
    EXPECT_EQ(derived->find("01234567"), std::string::npos);
    sandbox.root().write("sys/class/dmi/id/product_uuid", "4c4c4544-0042-3510-8052-b4c04f4e3732\n");
    EXPECT_EQ(linuxUuid(), "4C4C4544-0042-3510-8052-B4C04F4E3732");
    EXPECT_EQ(VORKHardwareIdentification::getHardwareUUID(), "4C4C4544-0042-3510-8052-B4C04F4E3732");
    for (const char *placeholder : {"00000000-0000-0000-0000-000000000000", "not a uuid", "4c4c4544-0042-3510-8052-b4c04f4e373"}) {
        sandbox.root().write("sys/class/dmi/id/product_uuid", placeholder);
        EXPECT_EQ(linuxUuid(), derived) << placeholder;
    }
    sandbox.root().write("etc/machine-id", "fedcba9876543210fedcba9876543210\n");
    std::optional<std::string> other = linuxUuid();
    EXPECT_TRUE(other && other != derived);
}

TEST(MachineIdentity, NoSourceRaises) {
    SystemRootSandbox sandbox;
    EXPECT_FALSE(linuxUuid());
    try {
        VORKHardwareIdentification::getHardwareUUID();
        ADD_FAILURE() << "no exception";
    } catch (const Exception &e) { EXPECT_EQ(e.name(), "NSInvalidArgumentException"); }
}

TEST(NetworkInterfaces, KernelOrderAddressesHardwareAdaptersAndTheDefaultRoute) {
    SystemRootSandbox sandbox;
    EXPECT_TRUE(platform::networkInterfaces().get()->list().empty());
    sandbox.root().write("sys/class/net/sit0/ifindex", "7\n");  // no address, no type
    auto add = [&](const std::string &name, int index, int type, bool device) {
        const std::string folder = "sys/class/net/" + name + "/";
        sandbox.root().write(folder + "ifindex", std::to_string(index) + "\n");
        sandbox.root().write(folder + "address", (index == 1 ? "00:00:00:00:00:00" : "00:1c:42:aa:bb:0" + std::to_string(index)) + "\n");
        sandbox.root().write(folder + "type", std::to_string(type) + "\n");
        if (device) sandbox.root().write(folder + "device/uevent", "");
    };
    add("lo", 1, 772, false);
    add("enp3s0", 2, 1, true);
    add("wlp2s0", 3, 1, true);
    add("docker0", 4, 1, false);  // bridge
    add("tun0", 5, 65534, false);
    add("ib0", 6, 32, true);  // InfiniBand adapter: not Ethernet
    sandbox.root().write("proc/net/route",
                         "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\tIRTT\n"
                         "docker0\t000011AC\t00000000\t0001\t0\t0\t0\t0000FFFF\t0\t0\t0\n"
                         "enp3s0\t00000000\t0100A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"
                         "wlp2s0\t00000000\t0101A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
                         "tun0\t00000000\t00000000\t0000\t0\t0\t0\t00000000\t0\t0\t0\n");  // down
    const std::vector<platform::NetworkInterface> list = platform::networkInterfaces().get()->list();
    std::vector<std::tuple<std::string, int, bool, bool>> seen;
    for (const auto &i : list) seen.emplace_back(i.name, i.index, i.hardware, i.defaultRoute);
    EXPECT_EQ(seen, (std::vector<std::tuple<std::string, int, bool, bool>>{
                        {"lo", 1, false, false}, {"enp3s0", 2, true, false}, {"wlp2s0", 3, true, true},
                        {"docker0", 4, false, false}, {"tun0", 5, false, false}, {"ib0", 6, false, false},
                        {"sit0", 7, false, false}}));
    EXPECT_EQ(list[0].hardwareAddress + "|" + list[2].hardwareAddress + "|" + list[6].hardwareAddress, "|00:1c:42:aa:bb:03|");
}

// Counts how often the list is asked for.
struct CountingInterfaces : platform::NetworkInterfaces {
    explicit CountingInterfaces(std::vector<platform::NetworkInterface> list) : interfaces(std::move(list)) {}
    std::vector<platform::NetworkInterface> list() override { return ++calls, interfaces; }
    std::vector<platform::NetworkInterface> interfaces;
    int calls = 0;
};

TEST(MacAddressCache, FilledOnceInTheDottedFormUnlessEmpty) {
    auto fake = std::make_shared<CountingInterfaces>(std::vector<platform::NetworkInterface>{
        {"en0", "00:1c:42:aa:bb:cc"}, {"en1", ""}, {"", "11:22:33:44:55:66"}, {"en0", "00:00:5e:00:53:01"}});
    auto guard = platform::networkInterfaces().install(fake);
    MacAddressCache cache;
    MacAddressTable table = cache.addresses();
    EXPECT_EQ(table, (MacAddressTable{{"en0", "00.00.5e.00.53.01"}, {"en1", ""}}));  // later name wins, unnamed skipped
    fake->interfaces.push_back({"en2", "aa:aa:aa:aa:aa:aa"});
    EXPECT_EQ(cache.addresses(), table);
    EXPECT_EQ(fake->calls, 1);
    // An empty table is filled again on the next call.
    fake->interfaces.clear();
    MacAddressCache empty;
    EXPECT_TRUE(empty.addresses().empty());
    fake->interfaces = {{"en1", "00:1c:42:aa:bb:01"}};
    EXPECT_EQ(empty.addresses().at("en1"), "00.1c.42.aa.bb.01");
}

TEST(MacAddressCache, HardwareAdaptersGetEnNamesDefaultRouteFirstThenByIndex) {
    using platform::NetworkInterface;
    const NetworkInterface lo{"lo", "", 1}, bridge{"docker0", "02:42:ac:11:00:01", 4},
        veth{"veth1a2b", "6a:3f:00:00:00:05", 5}, wired{"enp3s0", "00:1c:42:00:00:02", 2, true},
        wifi{"wlp2s0", "00:1c:42:00:00:03", 3, true}, usb{"enx00e04c", "00:e0:4c:00:00:06", 6, true};
    auto routed = [](NetworkInterface i) { return i.defaultRoute = true, i; };
    struct Case { const char *name; std::vector<NetworkInterface> interfaces; std::vector<std::string> enAddresses; };
    const std::vector<Case> cases = {
        {"route on Wi-Fi", {lo, wired, routed(wifi), bridge, veth, usb},
         {"00.1c.42.00.00.03", "00.1c.42.00.00.02", "00.e0.4c.00.00.06"}},
        {"route on a bridge", {lo, wired, wifi, routed(bridge), usb},
         {"00.1c.42.00.00.02", "00.1c.42.00.00.03", "00.e0.4c.00.00.06"}},
        {"container", {lo, routed(veth)}, {}},
    };
    for (const Case &c : cases) {
        auto guard = platform::networkInterfaces().install(std::make_shared<CountingInterfaces>(c.interfaces));
        MacAddressTable table = MacAddressCache().addresses();
        for (size_t i = 0; i <= c.enAddresses.size(); ++i) {  // en0, en1, ... and the first one not made
            auto it = table.find("en" + std::to_string(i));
            std::string found = it == table.end() ? "none" : it->second;
            EXPECT_EQ(found, i < c.enAddresses.size() ? c.enAddresses[i] : "none") << c.name << " en" << i;
        }
        for (const NetworkInterface &interface : c.interfaces)  // the system's names stay beside them
            EXPECT_EQ(table.count(interface.name), 1u) << c.name << " " << interface.name;
    }
}

TEST(HardwareIdentification, PrimaryAndAlternativeAddresses) {
    // The only test here that fills the process-wide table.
    auto fake = std::make_shared<CountingInterfaces>(std::vector<platform::NetworkInterface>{{"lo0", ""}, {"en0", "00:1c:42:aa:bb:cc"}});
    auto guard = platform::networkInterfaces().install(fake);
    EXPECT_EQ(VORKHardwareIdentification::getMacAddress(), "00.1c.42.aa.bb.cc");
    EXPECT_EQ(VORKHardwareIdentification::getAltMacAddress(), "");
    EXPECT_EQ(VORKHardwareIdentification::getAllMacAddresses().size(), 2u);
    EXPECT_EQ(fake->calls, 1);
}

}  // namespace
}  // namespace vork::test
