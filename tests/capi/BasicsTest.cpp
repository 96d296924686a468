// The basic C functions through the public header.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/HostAddresses.h"
#include "runloop/RunLoop.h"

namespace {

class FixedAddresses : public vork::platform::HostAddresses {
public:
    explicit FixedAddresses(std::vector<std::string> list) : list_(std::move(list)) {}
    std::vector<std::string> addresses() override { return list_; }

private:
    std::vector<std::string> list_;
};

TEST(CurrentIpAddress, FirstFourPartEntryWinsLoopbackIncludedAndTheRealHostHasOne) {
    for (const auto &[list, expected] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"fe80::1", "127.0.0.1", "192.168.1.20"}, "127.0.0.1"}, {{"fe80::1", "::1"}, ""}, {{"a.b.c.d", "10.0.0.1"}, "a.b.c.d"}}) {
        auto fake = vork::platform::hostAddresses().install(std::make_shared<FixedAddresses>(list));
        EXPECT_STREQ(currentIpAddress(), expected.c_str());
    }
    EXPECT_NE(std::string(currentIpAddress()), "");  // loopback is always configured
}

TEST(TextConversion, Utf8RoundTripsAndEmptyTextIsNotAbsent) {
    for (const char *text : {"gr\xc3\xbc\xc3\x9f dich", ""}) {
        auto converted = charPtrToNSString(text);
        ASSERT_TRUE(converted.has_value());
        EXPECT_STREQ(NSStringToCharPtr(converted), text);
    }
    EXPECT_FALSE(charPtrToNSString("\xc0\xaf").has_value());  // overlong "/"
}

TEST(ReleaseScope, ExplicitScopesKeepEveryResultUntilPoppedInnermostFirst) {
    const unsigned long implicitBefore = VORKReleaseScopeHeldCount();
    VORKReleaseScopePush();
    const char *outer = NSStringToCharPtr(std::string("outer"));
    const unsigned long withOuter = VORKReleaseScopeHeldCount();
    VORKReleaseScopePush();
    std::vector<const char *> results;
    for (int i = 0; i < 1000; ++i) results.push_back(NSStringToCharPtr(std::to_string(i)));
    EXPECT_EQ(VORKReleaseScopeHeldCount(), withOuter + 1000);
    for (int i = 0; i < 1000; ++i) ASSERT_STREQ(results[static_cast<size_t>(i)], std::to_string(i).c_str());
    unsigned long otherThreadCount = 99;
    std::thread([&] { otherThreadCount = VORKReleaseScopeHeldCount(); }).join();
    EXPECT_EQ(otherThreadCount, 0u);  // scopes are per thread
    VORKReleaseScopePop();
    EXPECT_EQ(VORKReleaseScopeHeldCount(), withOuter);
    EXPECT_STREQ(outer, "outer");
    VORKReleaseScopePop();
    EXPECT_EQ(VORKReleaseScopeHeldCount(), implicitBefore);
    VORKReleaseScopePop();  // without a push: harmless
    EXPECT_STREQ(NSStringToCharPtr(std::string("still works")), "still works");
}

TEST(ReleaseScope, WithoutScopeAResultOutlivesTheNext255CallsAndMemoryIsBounded) {
    std::thread([] {
        const char *first = NSStringToCharPtr(std::string("first"));
        for (int i = 0; i < 255; ++i) NSStringToCharPtr(std::string("later"));
        EXPECT_STREQ(first, "first");
        for (int i = 0; i < 1000000; ++i) ASSERT_EQ(std::strlen(NSStringToCharPtr(std::string(64, 'x'))), 64u);
        EXPECT_EQ(VORKReleaseScopeHeldCount(), 256u);
    }).join();
}

TEST(ProcessRunLoop, RunsWorkPostedToTheCallingThread) {
    bool ran = false;
    vork::RunLoop::current()->post([&] { ran = true; });
    processRunLoop();
    EXPECT_TRUE(ran);
}

}  // namespace
