#include "base/Exception.h"

#include <gtest/gtest.h>

#include "base/Format.h"
#include "capi/Guard.h"

namespace {

TEST(Guard, TurnsAnyExceptionIntoTheNeutralResultAndHandlerSeesTheDescription) {
    EXPECT_EQ(vork::capi::guarded<int>(-1, []() -> int { throw vork::Exception("n", "r"); }), -1);
    EXPECT_EQ(vork::capi::guarded<int>(-1, [] { return 7; }), 7);
    auto describe = [](auto thrower) {
        return vork::capi::guardedOr<std::string>(thrower, [](const std::string &d) { return "handled: " + d; });
    };
    EXPECT_EQ(describe([]() -> std::string { throw vork::Exception("URL Download Error", "Unable to initialize output file /x"); }),
              "handled: Unable to initialize output file /x");
    EXPECT_EQ(describe([]() -> std::string { throw 3; }), "handled: Unknown exception");
}

TEST(Format, LongOutputIsNotTruncated) {
    std::string big(1000, 'z');
    EXPECT_EQ(vork::stringf("[%s]", big.c_str()), "[" + big + "]");
    EXPECT_EQ(vork::stringf("%lf%%", 12.5), "12.500000%");
}

}  // namespace
