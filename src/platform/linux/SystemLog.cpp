// Notices go to syslog at LOG_NOTICE, under the program's own name.
#include "platform/SystemLog.h"

#include <syslog.h>

namespace vork::platform {

namespace {

class LinuxSystemLog : public SystemLog {
public:
    void notice(const std::string &text) override { syslog(LOG_NOTICE, "%s", text.c_str()); }
};

}  // namespace

ServiceSlot<SystemLog> &systemLog() { return defaultServiceSlot<SystemLog, LinuxSystemLog>(); }

}  // namespace vork::platform
