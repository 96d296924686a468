#include "base/CommCLog.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/TempDir.h"

namespace {

using vork::CommCLog;

class DefaultLogSwap : public ::testing::Test {
protected:
    void SetUp() override { saved_ = CommCLog::defaultLog(); }
    void TearDown() override { CommCLog::setDefaultLog(saved_); }
    std::shared_ptr<CommCLog> saved_;
};

TEST_F(DefaultLogSwap, TheSameLogTwiceKeepsOneReferenceAnotherDropsTheOldNoneDropsLines) {
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
}

TEST(CommCLogFile, NameIsUnderTheProcessUsersHomeAndLoggingWritesNothing) {
    const passwd *pw = getpwuid(geteuid());
    ASSERT_NE(pw, nullptr);
    vork::test::TempDir home;
    CommCLog log;
    EXPECT_EQ(log.logFileName(), std::string(pw->pw_dir) + "/Library/Logs/VORK/VORKCoreCommCLog.log");
    log.logDebug(std::string("a line with a secret"));
    log.logDebug(std::nullopt);
    // The released log creates no folder and no file anywhere near its name.
    EXPECT_FALSE(std::filesystem::exists(log.logFileName()));
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

}  // namespace
