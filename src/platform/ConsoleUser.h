#pragma once
// Who is logged in at the machine's console.
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class ConsoleUser {
public:
    virtual ~ConsoleUser() = default;
    // The user name of the console's session, "" when no one is logged in
    // there or the system cannot say.
    virtual std::string userName() = 0;
};

ServiceSlot<ConsoleUser> &consoleUser();

}  // namespace vork::platform
