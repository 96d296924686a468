// The console user: the login records' reading, and the answer on this
// machine checked against the system's own tools.
#include <gtest/gtest.h>
#include <utmp.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "VORKCoreCommC/sysinfo/VORKSystemInformation.h"
#include "platform/ConsoleUser.h"
#include "platform/linux/Utmp.h"
#include "support/Certificates.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

struct Login { short type; const char *line, *user; };

std::string writeUtmp(const TempDir &dir, const std::vector<Login> &logins, size_t extraBytes = 0) {
    std::string bytes;
    for (const Login &l : logins) {
        struct utmp record;
        std::memset(&record, 0, sizeof record);
        record.ut_type = l.type;
        std::strncpy(record.ut_line, l.line, sizeof record.ut_line);
        std::strncpy(record.ut_user, l.user, sizeof record.ut_user);
        bytes.append(reinterpret_cast<const char *>(&record), sizeof record);
    }
    bytes.append(extraBytes, 'x');
    return dir.write("utmp", bytes).string();
}

TEST(ConsoleUser, LoginRecordsGraphicalDisplayThenVirtualConsole) {
    struct Case { std::vector<Login> logins; const char *user; };
    for (const Case &c : std::vector<Case>{
             {{{USER_PROCESS, "pts/0", "bob"}, {USER_PROCESS, "tty2", "carol"}, {USER_PROCESS, ":0", "alice"}}, "alice"},
             {{{USER_PROCESS, "tty3", "carol"}, {USER_PROCESS, "tty1", "dave"}}, "carol"},
             {{{DEAD_PROCESS, ":0", "gone"}, {LOGIN_PROCESS, "tty1", "LOGIN"}, {USER_PROCESS, "console", "erin"}}, "erin"},
             {{{USER_PROCESS, ":1.0", "frank"}, {USER_PROCESS, ":0", "grace"}}, "frank"},
             {{{USER_PROCESS, "pts/3", "bob"}, {USER_PROCESS, ":x", "mallory"}, {USER_PROCESS, "ttyS0", "serial"},
               {USER_PROCESS, "tty1", ""}}, ""},
             {{}, ""}}) {
        TempDir dir;
        EXPECT_EQ(platform::consoleUserFromUtmp(writeUtmp(dir, c.logins, 7)), c.user);
    }
    EXPECT_EQ(platform::consoleUserFromUtmp("/nonexistent/utmp"), "");
}


}  // namespace
}  // namespace vork::test
