// The console user on Linux.
//
// When logind manages seat0 (the seat with the machine's own screen and
// keyboard), the console user is the user of seat0's active session, asked
// through sd-login. When no login manager runs (containers, minimal
// systems), the login records in utmp decide (see Utmp.h).
#include "platform/ConsoleUser.h"

#include <systemd/sd-login.h>
#include <pwd.h>
#include <utmp.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "base/SystemRoot.h"
#include "platform/linux/Utmp.h"

namespace vork::platform {

namespace {

struct FreeOnExit {
    char *text = nullptr;
    ~FreeOnExit() { std::free(text); }
};

std::string userNameOf(uid_t uid) {
    std::vector<char> buffer(16384);
    struct passwd entry;
    struct passwd *found = nullptr;
    if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
    return found->pw_name;
}

class LinuxConsoleUser : public ConsoleUser {
public:
    std::string userName() override {
        FreeOnExit session;
        int found = sd_seat_get_active("seat0", &session.text, nullptr);
        if (found >= 0) {
            uid_t uid = 0;
            if (sd_session_get_uid(session.text, &uid) < 0) return {};
            return userNameOf(uid);
        }
        // The seat exists but no session is active there: no one at the console.
        if (found == -ENODATA) return {};
        // No login manager keeps seat0.
        return consoleUserFromUtmp(systemPath(_PATH_UTMP));
    }
};

}  // namespace

ServiceSlot<ConsoleUser> &consoleUser() { return defaultServiceSlot<ConsoleUser, LinuxConsoleUser>(); }

}  // namespace vork::platform
