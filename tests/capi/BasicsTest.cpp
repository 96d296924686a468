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

auto useAddresses(std::vector<std::string> list) {
    return vork::platform::hostAddresses().install(std::make_shared<FixedAddresses>(std::move(list)));
}

TEST(CurrentIpAddress, FirstFourPartEntryWinsAndLoopbackIsNotSkipped) {
    auto fake = useAddresses({"fe80::1", "127.0.0.1", "192.168.1.20"});
    EXPECT_STREQ(currentIpAddress(), "127.0.0.1");
}

TEST(CurrentIpAddress, OnlyIpv6GivesEmptyText) {
    auto fake = useAddresses({"fe80::1", "::1"});
    EXPECT_STREQ(currentIpAddress(), "");
}

TEST(CurrentIpAddress, NoAddressesGivesEmptyText) {
    auto fake = useAddresses({});
    EXPECT_STREQ(currentIpAddress(), "");
}

TEST(CurrentIpAddress, FourPartsAreNotCheckedForNumbers) {
    auto fake = useAddresses({"a.b.c.d", "10.0.0.1"});
    EXPECT_STREQ(currentIpAddress(), "a.b.c.d");
}

TEST(CurrentIpAddress, RealHostListsLoopback) {
    // The real service: loopback is always configured on a Linux host.
    EXPECT_STREQ(currentIpAddress(), currentIpAddress());
    EXPECT_NE(std::string(currentIpAddress()), "");
}

TEST(IpAddressInRangeC, AnswersOneOrZero) {
    EXPECT_EQ(ipAddressInRange("10.0.0.5", "10.0.0.1", "10.0.0.10"), 1);
    EXPECT_EQ(ipAddressInRange("10.0.0.5", "10.0.0", "10.0.0.10"), 0);
    EXPECT_EQ(ipAddressInRange("10.1.0.5", "10.0.0.10", "10.2.0.1"), 0);
}

TEST(IpAddressInRangeC, NullOrNonUtf8ArgumentsAreOutOfRange) {
    EXPECT_EQ(ipAddressInRange(nullptr, "0.0.0.0", "255.255.255.255"), 0);
    EXPECT_EQ(ipAddressInRange("10.0.0.1", nullptr, "255.255.255.255"), 0);
    EXPECT_EQ(ipAddressInRange("10.0.0.1", "0.0.0.0", nullptr), 0);
    EXPECT_EQ(ipAddressInRange("10.0.0.\xff", "0.0.0.0", "255.255.255.255"), 0);
}

TEST(TextConversion, ValidUtf8RoundTrips) {
    auto text = charPtrToNSString("gr\xc3\xbc\xc3\x9f dich");
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(*text, "gr\xc3\xbc\xc3\x9f dich");
    EXPECT_STREQ(NSStringToCharPtr(text), "gr\xc3\xbc\xc3\x9f dich");
}

TEST(TextConversion, InvalidUtf8AndNullGiveNoText) {
    EXPECT_FALSE(charPtrToNSString("\xc3\x28").has_value());
    EXPECT_FALSE(charPtrToNSString("\xed\xa0\x80").has_value());  // a surrogate
    EXPECT_FALSE(charPtrToNSString("\xc0\xaf").has_value());      // overlong "/"
    EXPECT_FALSE(charPtrToNSString(nullptr).has_value());
    EXPECT_EQ(NSStringToCharPtr(std::nullopt), nullptr);
}

TEST(TextConversion, EmptyTextIsNotAbsent) {
    auto text = charPtrToNSString("");
    ASSERT_TRUE(text.has_value());
    const char *out = NSStringToCharPtr(text);
    ASSERT_NE(out, nullptr);
    EXPECT_STREQ(out, "");
}

TEST(ReleaseScope, ExplicitScopeKeepsEveryResultUntilPopped) {
    const unsigned long implicitBefore = VORKReleaseScopeHeldCount();
    VORKReleaseScopePush();
    const unsigned long before = VORKReleaseScopeHeldCount();
    std::vector<const char *> results;
    for (int i = 0; i < 1000; ++i) results.push_back(NSStringToCharPtr(std::to_string(i)));
    EXPECT_EQ(VORKReleaseScopeHeldCount(), before + 1000);
    for (int i = 0; i < 1000; ++i) ASSERT_STREQ(results[static_cast<size_t>(i)], std::to_string(i).c_str());
    VORKReleaseScopePop();
    EXPECT_EQ(before, implicitBefore);
    EXPECT_EQ(VORKReleaseScopeHeldCount(), implicitBefore);
}

TEST(ReleaseScope, PopDrainsOnlyTheInnermostScope) {
    VORKReleaseScopePush();
    const char *outer = NSStringToCharPtr(std::string("outer"));
    const unsigned long withOuter = VORKReleaseScopeHeldCount();
    VORKReleaseScopePush();
    NSStringToCharPtr(std::string("inner"));
    EXPECT_EQ(VORKReleaseScopeHeldCount(), withOuter + 1);
    VORKReleaseScopePop();
    EXPECT_EQ(VORKReleaseScopeHeldCount(), withOuter);
    EXPECT_STREQ(outer, "outer");
    VORKReleaseScopePop();
}

TEST(ReleaseScope, PopWithoutPushIsHarmless) {
    VORKReleaseScopePop();
    VORKReleaseScopePop();
    EXPECT_STREQ(NSStringToCharPtr(std::string("still works")), "still works");
}

TEST(ReleaseScope, WithoutScopeAResultOutlivesTheNext255Calls) {
    std::thread([] {
        const char *first = NSStringToCharPtr(std::string("first"));
        for (int i = 0; i < 255; ++i) NSStringToCharPtr(std::string("later"));
        EXPECT_STREQ(first, "first");
    }).join();
}

TEST(ReleaseScope, WithoutScopeAMillionCallsHoldBoundedMemory) {
    std::thread([] {
        for (int i = 0; i < 1000000; ++i) {
            const char *text = NSStringToCharPtr(std::string(64, 'x'));
            ASSERT_EQ(std::strlen(text), 64u);
        }
        EXPECT_EQ(VORKReleaseScopeHeldCount(), 256u);
    }).join();
}

TEST(ReleaseScope, ScopesArePerThread) {
    VORKReleaseScopePush();
    NSStringToCharPtr(std::string("here"));
    unsigned long otherThreadCount = 99;
    std::thread([&] { otherThreadCount = VORKReleaseScopeHeldCount(); }).join();
    EXPECT_EQ(otherThreadCount, 0u);
    VORKReleaseScopePop();
}

TEST(ProcessRunLoop, RunsWorkPostedToTheCallingThread) {
    bool ran = false;
    vork::RunLoop::current()->post([&] { ran = true; });
    processRunLoop();
    EXPECT_TRUE(ran);
}

}  // namespace
