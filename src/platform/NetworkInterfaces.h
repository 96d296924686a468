#pragma once
// The network interfaces the kernel lists, with their hardware addresses.
#include <memory>
#include <string>
#include <vector>

#include "platform/Service.h"

namespace vork::platform {

struct NetworkInterface {
    std::string name;             // the system's name: "en0", "eth0", "enp3s0", "lo"
    std::string hardwareAddress;  // as the system writes it ("00:1c:42:aa:bb:cc"), "" when none
    // The system's interface index; 0 when unknown.
    int index = 0;
    // A network adapter of the machine (Ethernet or Wi-Fi, on a bus, USB or
    // a virtual machine's adapter), as opposed to a software interface:
    // loop-back, bridge, tunnel, veth pair, container or hypervisor network.
    bool hardware = false;
    // The interface the default route leaves through.
    bool defaultRoute = false;
};

class NetworkInterfaces {
public:
    virtual ~NetworkInterfaces() = default;
    // Every interface in the system's order.
    virtual std::vector<NetworkInterface> list() = 0;
};

ServiceSlot<NetworkInterfaces> &networkInterfaces();

}  // namespace vork::platform
