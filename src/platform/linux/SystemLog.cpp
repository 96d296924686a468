// Notices go to syslog at LOG_NOTICE, under the program's own name.
#include "platform/SystemLog.h"

#include <syslog.h>

namespace vork::platform {

namespace {

class LinuxSystemLog : public SystemLog {
public:
    void notice(const std::string &text) override { syslog(LOG_NOTICE, "%s", text.c_str()); }
};

std::shared_ptr<SystemLog> makeDefault() { return std::make_shared<LinuxSystemLog>(); }

}  // namespace

ServiceSlot<SystemLog> &systemLog() {
    static ServiceSlot<SystemLog> slot(&makeDefault);
    return slot;
}

}  // namespace vork::platform
