#pragma once
// The console user as the login records (utmp) tell it, for machines where
// no login manager runs.
#include <string>
#include <string_view>

namespace vork::platform {

// Reads the utmp file at path. A record counts when it is a live login
// (USER_PROCESS) with a user name on a console line: an X display (":0",
// ":1.0") first, else a virtual console ("tty1", "console"). Pseudo
// terminals (remote and terminal-window logins) never count. Among records
// of the same kind the first in the file wins. "" when none counts or the
// file cannot be read.
std::string consoleUserFromUtmp(const std::string &path);

// Whether a utmp line names a graphical display (2), a virtual console (1)
// or neither (0).
int consoleLineRank(std::string_view line);

}  // namespace vork::platform
