// Version parsing, ordering and wild-card matching.
#include <gtest/gtest.h>

#include "VORKCoreCommC/sysinfo/VORKOperatingSystem.h"

namespace vork::test {
namespace {

TEST(OperatingSystem, ParsesAndNormalises) {
    struct Case { const char *text; int major, minor, point; const char *normalised; };
    for (const Case &c : std::initializer_list<Case>{
             {"10.8", 10, 8, 0, "10.8.0"},           {"10.7.5.1", 10, 7, 5, "10.7.5"},
             {"10.x.2", 10, 0, 2, "10.0.2"},         {" 11 . 2 .\t3", 11, 2, 3, "11.2.3"},
             {"-1.-2.3", -1, -2, 3, "-1.-2.3"},      {"13.4.1 (c)", 13, 4, 0, "13.4.0"},
             {"99999999999.1", 2147483647, 1, 0, "2147483647.1.0"}}) {
        VORKOperatingSystem os(c.text);
        EXPECT_EQ(os.majorVersion(), c.major) << c.text;
        EXPECT_EQ(os.minorVersion(), c.minor) << c.text;
        EXPECT_EQ(os.pointVersion(), c.point) << c.text;
        EXPECT_EQ(os.versionString(), c.normalised) << c.text;
    }
}

TEST(OperatingSystem, OrdersNumericallyPartByPart) {
    // left, right, expected sign of (left - right)
    struct Case { const char *left, *right; int order; };
    for (const Case &c : std::initializer_list<Case>{{"10.9.1", "10.10.0", -1}, {"10.10", "10.9.5", 1},
                                                    {"10.8", "10.8.0", 0},      {"11.0.1", "10.15.7", 1},
                                                    {"10.13.6", "10.13.6.9", 0}, {"10.6.8", "10.6.10", -1}}) {
        VORKOperatingSystem left(c.left), right(c.right);
        SCOPED_TRACE(std::string(c.left) + " vs " + c.right);
        EXPECT_EQ(left.isLessThan(right), c.order < 0);
        EXPECT_EQ(left.isLessThanOrEqualTo(right), c.order <= 0);
        EXPECT_EQ(left.isGreaterThan(right), c.order > 0);
        EXPECT_EQ(left.isGreaterThanOrEqualTo(right), c.order >= 0);
        EXPECT_EQ(left.isEqualToVORKOperatingSystem(right), c.order == 0);
        EXPECT_EQ(left.isLessThanVersionString(c.right), c.order < 0);
        EXPECT_EQ(left.isEqualToOsString(c.right), c.order == 0);
    }
}

TEST(OperatingSystem, WildCardPatterns) {
    struct Case { const char *pattern, *wild; std::vector<std::string> parts; const char *matching, *notMatching; };
    for (const Case &c : std::initializer_list<Case>{
             {"10.8.x", "x", {"10", "8", "x"}, "10.8.5", "10.9.0"},
             {"10.x.x", "x", {"10", "x", "x"}, "10.14.6", "11.0.0"},
             {"10.8", "x", {"10", "8", "x"}, "10.8.5", "10.9.0"},
             {" 10 .8\n.*", "*", {" 10 ", "8\n", "*"}, "10.8.2", "10.9.2"},
             {"10.13.6.1", "x", {"10", "13", "6", "1"}, "10.13.6", "10.13.7"},
             // Deliberate: these never match.
             {"x.x.x", "x", {"x", "x", "x"}, nullptr, "10.8.0"},
             {"10", "x", {"x", "x", "x"}, nullptr, "10.0.0"},
             {"10.08.x", "x", {"10", "08", "x"}, nullptr, "10.8.3"},
             {"", "x", {"x", "x", "x"}, nullptr, "0.0.0"}}) {
        SCOPED_TRACE(c.pattern);
        EXPECT_EQ(VORKOperatingSystem::versionStringPartsFromWildCardString(c.pattern, c.wild), c.parts);
        if (c.matching) {
            EXPECT_TRUE(VORKOperatingSystem(c.matching).matchesVersionString(c.pattern, c.wild));
        }
        EXPECT_FALSE(VORKOperatingSystem(c.notMatching).matchesVersionString(c.pattern, c.wild));
    }
}

}  // namespace
}  // namespace vork::test
