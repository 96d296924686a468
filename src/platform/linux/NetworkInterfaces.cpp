// Network interfaces from the kernel's list in /sys/class/net (through
// vork::systemPath(), so tests can lay out their own), ordered by interface
// index. An interface without a hardware address, or with the all-zero one
// the loop-back device reports, has the address "".
//
// An interface counts as the machine's hardware when the kernel links it to
// a device (/sys/class/net/<name>/device: a PCI, USB, SDIO or virtio
// adapter) and its link type is Ethernet (type 1, ARPHRD_ETHER, which Wi-Fi
// reports too). Loop-back, bridges, bonds, veth pairs, tun/tap, docker,
// virbr and the interfaces a container sees have no device link or another
// type. The default route is the lowest-metric route to 0.0.0.0/0 that is
// up in /proc/net/route.
#include "platform/NetworkInterfaces.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/SystemRoot.h"

namespace vork::platform {

namespace {

constexpr int kEthernetLinkType = 1;  // ARPHRD_ETHER
constexpr unsigned long kRouteUp = 0x1;  // RTF_UP

std::string firstLine(const std::filesystem::path &path) {
    std::ifstream in(path);
    std::string line;
    if (in) std::getline(in, line);
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
    return line;
}

// The interface of the default route, "" when there is none.
std::string defaultRouteInterface() {
    std::ifstream in(systemPath("/proc/net/route"));
    std::string line, best;
    long bestMetric = LONG_MAX;
    std::getline(in, line);  // column titles
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string name, destination, gateway, flags, refCount, use, metric, mask;
        if (!(fields >> name >> destination >> gateway >> flags >> refCount >> use >> metric >> mask)) continue;
        if (destination != "00000000" || mask != "00000000") continue;
        if (!(std::strtoul(flags.c_str(), nullptr, 16) & kRouteUp)) continue;
        long value = std::strtol(metric.c_str(), nullptr, 10);
        if (value < bestMetric) bestMetric = value, best = name;
    }
    return best;
}

class LinuxNetworkInterfaces : public NetworkInterfaces {
public:
    std::vector<NetworkInterface> list() override {
        std::vector<NetworkInterface> out;
        std::string routed = defaultRouteInterface();
        std::error_code ec;
        std::filesystem::path root = systemPath("/sys/class/net");
        for (auto it = std::filesystem::directory_iterator(root, ec); !ec && it != std::filesystem::directory_iterator();
             it.increment(ec)) {
            const std::filesystem::path &dir = it->path();
            NetworkInterface interface;
            interface.name = dir.filename().string();
            std::string index = firstLine(dir / "ifindex");
            interface.index = index.empty() ? 0 : static_cast<int>(std::strtol(index.c_str(), nullptr, 10));
            std::string address = firstLine(dir / "address");
            if (address.find_first_not_of("0:") == std::string::npos) address.clear();
            interface.hardwareAddress = address;
            std::error_code deviceError;
            std::string type = firstLine(dir / "type");
            interface.hardware = std::filesystem::exists(dir / "device", deviceError) && !type.empty() &&
                                 std::strtol(type.c_str(), nullptr, 10) == kEthernetLinkType;
            interface.defaultRoute = !routed.empty() && interface.name == routed;
            out.push_back(std::move(interface));
        }
        std::stable_sort(out.begin(), out.end(), [](const NetworkInterface &a, const NetworkInterface &b) {
            return a.index != b.index ? a.index < b.index : a.name < b.name;
        });
        return out;
    }
};

}  // namespace

ServiceSlot<NetworkInterfaces> &networkInterfaces() { return defaultServiceSlot<NetworkInterfaces, LinuxNetworkInterfaces>(); }

}  // namespace vork::platform
