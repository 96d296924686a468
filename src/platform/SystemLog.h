#pragma once
// The system's own log (not the library's CommCLog): a few notices the
// machine's administrator should find there.
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class SystemLog {
public:
    virtual ~SystemLog() = default;
    virtual void notice(const std::string &text) = 0;
};

ServiceSlot<SystemLog> &systemLog();

}  // namespace vork::platform
