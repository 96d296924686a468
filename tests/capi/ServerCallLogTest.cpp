// The log line a server call's C function writes comes before the call's
// first step, so a log installed before the very first call of the process
// (which creates the session and its default log) sees it.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "support/RecordingLog.h"

namespace {

TEST(ServerCallLog, FirstCallOfTheProcessLogsToTheLogInstalledBeforehand) {
    // Each case runs in a fresh process, where no session exists yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::vector<std::pair<std::string, std::function<void()>>> cases = {
        {"clientSitePrivileges called with Self Service", [] { clientSitePrivileges("Self Service"); }},
        {"clientSiteSelection called with 4", [] { clientSiteSelection(4); }},
        {"keepAlive=1", [] { keepAlive(1); }},
    };
    for (const auto &[line, call] : cases) {
        EXPECT_EXIT(
            {
                if (g_ZelInterface) std::_Exit(2);
                vork::test::RecordingLog log;
                call();
                std::_Exit(log.contains(line) ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "")
            << line;
    }
}

}  // namespace
