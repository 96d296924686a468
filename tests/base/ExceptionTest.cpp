#include "base/Exception.h"

#include <gtest/gtest.h>

#include "base/Format.h"
#include "capi/Guard.h"

namespace {

TEST(Exception, CarriesNameAndReason) {
    vork::Exception e("Networking Error", "Connection failure");
    EXPECT_EQ(e.name(), "Networking Error");
    EXPECT_EQ(e.description(), "Connection failure");
    EXPECT_STREQ(e.what(), "Connection failure");
}

TEST(Guard, TurnsAnyExceptionIntoTheNeutralResult) {
    EXPECT_EQ(vork::capi::guarded<int>(-1, []() -> int { throw vork::Exception("n", "r"); }), -1);
    EXPECT_EQ(vork::capi::guarded<int>(-1, []() -> int { throw 42; }), -1);
    EXPECT_EQ(vork::capi::guarded<int>(-1, [] { return 7; }), 7);
}

TEST(Guard, HandlerSeesTheDescription) {
    std::string seen;
    auto result = vork::capi::guardedOr<std::string>(
        []() -> std::string { throw vork::Exception("URL Download Error", "Unable to initialize output file /x"); },
        [&](const std::string &description) {
            seen = description;
            return std::string("handled");
        });
    EXPECT_EQ(result, "handled");
    EXPECT_EQ(seen, "Unable to initialize output file /x");
}

TEST(Guard, NonStandardExceptionsHaveAGenericDescription) {
    std::string seen;
    vork::capi::guardedOr<int>([]() -> int { throw 3; },
                               [&](const std::string &d) {
                                   seen = d;
                                   return 0;
                               });
    EXPECT_EQ(seen, "Unknown exception");
}

TEST(Format, LongOutputIsNotTruncated) {
    std::string big(1000, 'z');
    EXPECT_EQ(vork::stringf("[%s]", big.c_str()), "[" + big + "]");
    EXPECT_EQ(vork::stringf("%lf%%", 12.5), "12.500000%");
}

}  // namespace
