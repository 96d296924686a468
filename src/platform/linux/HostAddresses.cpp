// Host addresses from getifaddrs: every interface address, IPv4 and IPv6,
// loopback included, in the kernel's order.
#include "platform/HostAddresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace vork::platform {

namespace {

class LinuxHostAddresses : public HostAddresses {
public:
    std::vector<std::string> addresses() override {
        std::vector<std::string> out;
        ifaddrs *list = nullptr;
        if (getifaddrs(&list) != 0) return out;
        for (ifaddrs *it = list; it; it = it->ifa_next) {
            if (!it->ifa_addr) continue;
            char text[INET6_ADDRSTRLEN] = {};
            if (it->ifa_addr->sa_family == AF_INET) {
                auto *in = reinterpret_cast<sockaddr_in *>(it->ifa_addr);
                if (inet_ntop(AF_INET, &in->sin_addr, text, sizeof text)) out.emplace_back(text);
            } else if (it->ifa_addr->sa_family == AF_INET6) {
                auto *in6 = reinterpret_cast<sockaddr_in6 *>(it->ifa_addr);
                if (inet_ntop(AF_INET6, &in6->sin6_addr, text, sizeof text)) out.emplace_back(text);
            }
        }
        freeifaddrs(list);
        return out;
    }
};

}  // namespace

ServiceSlot<HostAddresses> &hostAddresses() { return defaultServiceSlot<HostAddresses, LinuxHostAddresses>(); }

}  // namespace vork::platform
