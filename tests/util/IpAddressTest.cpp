#include "util/IpAddress.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace vork::util {
namespace {

using std::nullopt;
using std::string;

TEST(IpAddressInRange, InsideAndOutside) {
    EXPECT_TRUE(ipAddressInRange(string("10.0.0.5"), string("10.0.0.1"), string("10.0.0.10")));
    EXPECT_FALSE(ipAddressInRange(string("10.0.0.11"), string("10.0.0.1"), string("10.0.0.10")));
    EXPECT_FALSE(ipAddressInRange(string("10.0.0.0"), string("10.0.0.1"), string("10.0.0.10")));
}

TEST(IpAddressInRange, BoundsAreInclusive) {
    EXPECT_TRUE(ipAddressInRange(string("10.0.0.1"), string("10.0.0.1"), string("10.0.0.10")));
    EXPECT_TRUE(ipAddressInRange(string("10.0.0.10"), string("10.0.0.1"), string("10.0.0.10")));
    EXPECT_TRUE(ipAddressInRange(string("192.168.1.1"), string("192.168.1.1"), string("192.168.1.1")));
}

TEST(IpAddressInRange, EveryPartIsComparedOnItsOwn) {
    // Numerically between, but the last part 5 lies outside 10..1.
    EXPECT_FALSE(ipAddressInRange(string("10.1.0.5"), string("10.0.0.10"), string("10.2.0.1")));
    EXPECT_TRUE(ipAddressInRange(string("10.0.5.1"), string("10.0.0.0"), string("10.0.255.255")));
    EXPECT_FALSE(ipAddressInRange(string("10.1.0.0"), string("10.0.0.0"), string("10.0.255.255")));
}

TEST(IpAddressInRange, DifferentPartCountsGiveFalse) {
    EXPECT_FALSE(ipAddressInRange(string("10.0.0.5"), string("10.0.0"), string("10.0.0.10")));
    EXPECT_FALSE(ipAddressInRange(string("10.0.0.5"), string("10.0.0.1"), string("10.0.0.10.1")));
    EXPECT_FALSE(ipAddressInRange(nullopt, string("10.0.0.1"), string("10.0.0.10")));
    EXPECT_FALSE(ipAddressInRange(string("10.0.0.5"), nullopt, string("10.0.0.10")));
    EXPECT_FALSE(ipAddressInRange(string("10.0.0.5"), string("10.0.0.1"), nullopt));
}

TEST(IpAddressInRange, NonNumericPartsReadAsZero) {
    EXPECT_TRUE(ipAddressInRange(string("a.b.c.d"), string("0.0.0.0"), string("0.0.0.0")));
    EXPECT_FALSE(ipAddressInRange(string("a.b.c.d"), string("1.0.0.0"), string("9.0.0.0")));
    // Leading digits count: "5x" is 5.
    EXPECT_TRUE(ipAddressInRange(string("10.0.0.5x"), string("10.0.0.1"), string("10.0.0.10")));
}

TEST(LenientIntValue, ReadsLeadingNumber) {
    EXPECT_EQ(lenientIntValue("42"), 42);
    EXPECT_EQ(lenientIntValue("  -7abc"), -7);
    EXPECT_EQ(lenientIntValue("+3"), 3);
    EXPECT_EQ(lenientIntValue("abc"), 0);
    EXPECT_EQ(lenientIntValue(""), 0);
    EXPECT_EQ(lenientIntValue("99999999999"), 2147483647);
    EXPECT_EQ(lenientIntValue("-99999999999"), -2147483647 - 1);
}

TEST(FirstFourPartAddress, SkipsIpv6AndPicksFirstIpv4) {
    EXPECT_EQ(firstFourPartAddress({"fe80::1", "127.0.0.1", "192.168.1.20"}), "127.0.0.1");
    EXPECT_EQ(firstFourPartAddress({"::1", "192.168.1.20"}), "192.168.1.20");
}

TEST(FirstFourPartAddress, NoCandidateGivesEmptyText) {
    EXPECT_EQ(firstFourPartAddress({"fe80::1", "::1"}), "");
    EXPECT_EQ(firstFourPartAddress({}), "");
    EXPECT_EQ(firstFourPartAddress({"1.2.3", "1.2.3.4.5"}), "");
}

}  // namespace
}  // namespace vork::util
