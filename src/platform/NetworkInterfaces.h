#pragma once
// The network interfaces the kernel lists, with their hardware addresses.
#include <memory>
#include <string>
#include <vector>

#include "platform/Service.h"

namespace vork::platform {

struct NetworkInterface {
    std::string name;             // "en0", "eth0", "lo"
    std::string hardwareAddress;  // as the system writes it ("00:1c:42:aa:bb:cc"), "" when none
};

class NetworkInterfaces {
public:
    virtual ~NetworkInterfaces() = default;
    // Every interface in the kernel's order.
    virtual std::vector<NetworkInterface> list() = 0;
};

ServiceSlot<NetworkInterfaces> &networkInterfaces();

}  // namespace vork::platform
