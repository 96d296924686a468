#include "base/CommCLog.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace {

using vork::CommCLog;

TEST(DefaultLog, TheSameLogTwiceKeepsOneReferenceAnotherDropsTheOldNoneDropsLines) {
    const std::shared_ptr<CommCLog> saved = CommCLog::defaultLog();
    auto first = std::make_shared<CommCLog>();
    auto second = std::make_shared<CommCLog>();
    CommCLog::setDefaultLog(first);
    const long held = first.use_count();
    CommCLog::setDefaultLog(first);
    EXPECT_EQ(first.use_count(), held);
    CommCLog::setDefaultLog(second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(CommCLog::defaultLog(), second);
    CommCLog::setDefaultLog(nullptr);
    vork::logDebugf("nobody hears %s", "this");
    EXPECT_EQ(CommCLog::defaultLog(), nullptr);
    CommCLog::setDefaultLog(saved);
}

TEST(CommCLogFile, NameIsUnderTheProcessUsersHomeAndLoggingWritesNothing) {
    const passwd *pw = getpwuid(geteuid());
    ASSERT_NE(pw, nullptr);
    CommCLog log;
    EXPECT_EQ(log.logFileName(), std::string(pw->pw_dir) + "/Library/Logs/VORK/VORKCoreCommCLog.log");
    log.logDebug(std::string("a line with a secret"));
    log.logDebug(std::nullopt);
    // The released log creates no file.
    EXPECT_FALSE(std::filesystem::exists(log.logFileName()));
}

}  // namespace
