// Host facts: the IPv4 address and the range test.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <cstdio>

#include "Command.h"

namespace vorkcomm {
namespace {

int ip(const Options &) {
    const char *address = currentIpAddress();
    if (!*address) {
        std::fprintf(stderr, "no IPv4 address\n");
        return kExitFailure;
    }
    std::printf("%s\n", address);
    return kExitOk;
}

int inRange(const Options &o) {
    if (o.positional.size() != 3) {
        std::fprintf(stderr, "usage: vorkcomm in-range ADDRESS START END\n");
        return kExitUsage;
    }
    bool inside = ipAddressInRange(o.positional[0].c_str(), o.positional[1].c_str(), o.positional[2].c_str());
    std::printf("%s\n", inside ? "in range" : "not in range");
    return inside ? kExitOk : kExitFailure;
}

CommandRegistrar r1({"ip", "", "this host's IPv4 address", ip});
CommandRegistrar r2({"in-range", "ADDRESS START END", "part-by-part IPv4 range test", inRange});

}  // namespace
}  // namespace vorkcomm
