// Where the library's log would be written: under the home folder of the
// user the process acts as (the password database, else $HOME).
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "base/CommCLog.h"

namespace vork {

std::string CommCLog::logFileName() const {
    std::string home;
    if (const passwd *pw = getpwuid(geteuid()); pw && pw->pw_dir) home = pw->pw_dir;
    else if (const char *env = std::getenv("HOME")) home = env;
    return (std::filesystem::path(home) / "Library/Logs/VORK" / "VORKCoreCommCLog.log").string();
}

}  // namespace vork
