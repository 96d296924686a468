// Host facts: the IPv4 address and the range test.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <cstdio>

#include "Command.h"
#include "Output.h"

namespace vorkcomm {
namespace {

int ip(const Options &o) {
    if (!o.positional.empty()) return usageError("ip");
    const char *address = currentIpAddress();
    if (!*address) {
        std::fprintf(stderr, "no IPv4 address\n");
        return kExitFailure;
    }
    return emit(o, address, {{"address", std::string(address)}}, kExitOk);
}

int inRange(const Options &o) {
    if (o.positional.size() != 3) return usageError("in-range ADDRESS START END");
    bool inside = ipAddressInRange(o.positional[0].c_str(), o.positional[1].c_str(), o.positional[2].c_str());
    return emit(o, inside ? "in range" : "not in range", {{"inRange", inside}}, inside ? kExitOk : kExitFailure);
}

CommandRegistrar r1({"ip", "", "this host's IPv4 address", ip});
CommandRegistrar r2({"in-range", "ADDRESS START END", "part-by-part IPv4 range test", inRange});

}  // namespace
}  // namespace vorkcomm
