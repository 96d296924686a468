// HttpTransfer as an object: the retry schedule, the retry rule and the
// client-identity question.
#include <gtest/gtest.h>

#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/HttpTransfer.h"

namespace vork {
namespace {

TEST(HttpTransferSchedule, DelaysRiseFromTheMinimumToTheMaximum) {
    struct Row {
        int retries;
        double min, max;
        std::vector<std::pair<double, double>> delays;  // expected, tolerance
    };
    constexpr double kExact = 1e-12;
    for (const Row &row : std::vector<Row>{
             {3, 5.0, 120.0, {{5.0, kExact}, {14.77, 0.005}, {120.0, kExact}}},
             {5, 5.0, 120.0, {{5.0, kExact}, {7.282, 0.0005}, {14.77, 0.005}, {39.346, 0.0005}, {120.0, kExact}}},
             {1, 5.0, 120.0, {{5.0, kExact}}},                            // one retry waits the minimum
             {3, 5.0, 5.0, {{5.0, kExact}, {5.0, kExact}, {5.0, kExact}}},  // equal bounds
         }) {
        SCOPED_TRACE(row.retries);
        HttpTransfer transfer;
        transfer.setMaxRetries(row.retries);
        transfer.setRetryDelayMinSeconds(row.min);
        transfer.setRetryDelayMaxSeconds(row.max);
        for (int i = 0; i < row.retries; ++i)
            EXPECT_NEAR(transfer.delayTimeForIteration(i), row.delays.at(i).first, row.delays.at(i).second) << i;
    }
}

TEST(HttpTransferRetryRule, OnlyTransientAnswersAreRetried) {
    EXPECT_TRUE(HttpTransfer::shouldRetry(0));
    for (long code : {100, 200, 206, 301, 399, 403, 404, 415, 418, 500, 501})
        EXPECT_FALSE(HttpTransfer::shouldRetry(code)) << code;
    for (long code : {400, 401, 402, 405, 414, 416, 417, 419, 499, 502, 503, 504, 599})
        EXPECT_TRUE(HttpTransfer::shouldRetry(code)) << code;
}

TEST(HttpTransferSecurity, FixedKeychainUnderTheSystemRootWithoutWhichThereIsNoIdentity) {
    test::SystemRootSandbox sandbox;
    test::RecordingLog log;
    HttpTransfer transfer;
    EXPECT_EQ(transfer.securityAPI().keychainPath(),
              sandbox.at("/Library/Application Support/VORK/VORK.keychain").string());
    transfer.httpRequest().setUrl("https://127.0.0.1:1/x");
    EXPECT_FALSE(transfer.credentialNeededForServerRequest(transfer.httpRequest(), "https://zel/"));
    EXPECT_TRUE(log.anyContains("HttpTransfer - error producing credential for server request https://127.0.0.1:1/x: {"));
}

}  // namespace
}  // namespace vork
