#include "util/IpAddress.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace vork::util {
namespace {

using std::nullopt;
using Address = std::optional<std::string>;

TEST(IpAddressInRange, Table) {
    const std::vector<std::tuple<Address, Address, Address, bool>> rows = {
        {"10.0.0.5", "10.0.0.1", "10.0.0.10", true}, {"10.0.0.11", "10.0.0.1", "10.0.0.10", false},
        {"10.0.0.0", "10.0.0.1", "10.0.0.10", false},
        // Bounds are inclusive.
        {"10.0.0.1", "10.0.0.1", "10.0.0.10", true}, {"10.0.0.10", "10.0.0.1", "10.0.0.10", true},
        // Every part is compared on its own: numerically between, but 5 lies outside 10..1.
        {"10.1.0.5", "10.0.0.10", "10.2.0.1", false}, {"10.0.5.1", "10.0.0.0", "10.0.255.255", true},
        // Different part counts or a missing address.
        {"10.0.0.5", "10.0.0", "10.0.0.10", false}, {"10.0.0.5", "10.0.0.1", "10.0.0.10.1", false},
        {nullopt, "10.0.0.1", "10.0.0.10", false}, {"10.0.0.5", nullopt, "10.0.0.10", false},
        // Non-numeric parts read as zero; leading digits count ("5x" is 5).
        {"a.b.c.d", "0.0.0.0", "0.0.0.0", true}, {"a.b.c.d", "1.0.0.0", "9.0.0.0", false},
        {"10.0.0.5x", "10.0.0.1", "10.0.0.10", true},
    };
    for (const auto &[ip, low, high, inside] : rows)
        EXPECT_EQ(ipAddressInRange(ip, low, high), inside)
            << ip.value_or("(none)") << " in " << low.value_or("(none)") << ".." << high.value_or("(none)");
}

TEST(LenientIntValue, ReadsLeadingNumberAndClamps) {
    const std::vector<std::pair<std::string, int>> rows = {
        {"42", 42}, {"  -7abc", -7}, {"+3", 3}, {"abc", 0}, {"", 0},
        {"99999999999", 2147483647}, {"-99999999999", -2147483647 - 1}};
    for (const auto &[text, value] : rows) EXPECT_EQ(lenientIntValue(text), value) << text;
}

}  // namespace
}  // namespace vork::util
