// HttpTransfer as an object: the retry schedule, the retry rule and the
// client-identity question.
#include <gtest/gtest.h>

#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/HttpTransfer.h"

namespace vork {
namespace {

std::vector<double> schedule(int retries, double min, double max) {
    HttpTransfer transfer;
    transfer.setMaxRetries(retries);
    transfer.setRetryDelayMinSeconds(min);
    transfer.setRetryDelayMaxSeconds(max);
    std::vector<double> delays;
    for (int i = 0; i < retries; ++i) delays.push_back(transfer.delayTimeForIteration(i));
    return delays;
}

TEST(HttpTransferSchedule, ThreeRetriesWithTheDefaults) {
    auto d = schedule(3, 5.0, 120.0);
    ASSERT_EQ(d.size(), 3u);
    EXPECT_NEAR(d[0], 5.0, 1e-9);
    EXPECT_NEAR(d[1], 14.77, 0.005);
    EXPECT_NEAR(d[2], 120.0, 1e-9);
}

TEST(HttpTransferSchedule, FiveRetriesWithTheDefaults) {
    auto d = schedule(5, 5.0, 120.0);
    ASSERT_EQ(d.size(), 5u);
    EXPECT_NEAR(d[0], 5.0, 1e-9);
    EXPECT_NEAR(d[1], 7.282, 0.0005);
    EXPECT_NEAR(d[2], 14.77, 0.005);
    EXPECT_NEAR(d[3], 39.346, 0.0005);
    EXPECT_NEAR(d[4], 120.0, 1e-9);
}

TEST(HttpTransferSchedule, OneRetryWaitsTheMinimum) {
    auto d = schedule(1, 5.0, 120.0);
    EXPECT_DOUBLE_EQ(d.at(0), 5.0);
}

TEST(HttpTransferSchedule, EqualBoundsWaitTheSameEveryTime) {
    for (double delay : schedule(3, 5.0, 5.0)) EXPECT_DOUBLE_EQ(delay, 5.0);
}

TEST(HttpTransferSchedule, NewTransferStartsWithTheDefaults) {
    HttpTransfer transfer;
    EXPECT_EQ(transfer.maxRetries(), 0);
    EXPECT_DOUBLE_EQ(transfer.retryDelayMinSeconds(), 5.0);
    EXPECT_DOUBLE_EQ(transfer.retryDelayMaxSeconds(), 120.0);
    EXPECT_DOUBLE_EQ(transfer.timeout(), 0.0);
    EXPECT_FALSE(transfer.statusMessage());
    EXPECT_TRUE(transfer.headerValues().empty());
}

TEST(HttpTransferRetryRule, OnlyTransientAnswersAreRetried) {
    EXPECT_TRUE(HttpTransfer::shouldRetry(0));
    for (long code : {100, 200, 206, 301, 399, 403, 404, 415, 418, 500, 501})
        EXPECT_FALSE(HttpTransfer::shouldRetry(code)) << code;
    for (long code : {400, 401, 402, 405, 414, 416, 417, 419, 499, 502, 503, 504, 599})
        EXPECT_TRUE(HttpTransfer::shouldRetry(code)) << code;
}

TEST(HttpTransferSecurity, UsesTheFixedKeychainUnderTheSystemRoot) {
    test::SystemRootSandbox sandbox;
    HttpTransfer transfer;
    EXPECT_EQ(transfer.securityAPI().keychainPath(),
              sandbox.at("/Library/Application Support/VORK/VORK.keychain").string());
}

TEST(HttpTransferSecurity, MissingKeychainGivesNoIdentityAndLogsTheError) {
    test::SystemRootSandbox sandbox;
    test::RecordingLog log;
    HttpTransfer transfer;
    transfer.httpRequest().setUrl("https://127.0.0.1:1/x");
    auto credential = transfer.credentialNeededForServerRequest(transfer.httpRequest(), "https://zel/");
    EXPECT_FALSE(credential);
    DomainError error;
    EXPECT_FALSE(transfer.securityAPI().identityAsNSURLCredential(&error));
    EXPECT_EQ(error.code, 3);
    EXPECT_EQ(error.domain, VORKSecurityErrorDomain);
    EXPECT_TRUE(log.anyContains("HttpTransfer - error producing credential for server request https://127.0.0.1:1/x: {"));
}

}  // namespace
}  // namespace vork
