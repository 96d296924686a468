#pragma once
// The host's own addresses as text, in the order the system lists them.
#include <memory>
#include <string>
#include <vector>

#include "platform/Service.h"

namespace vork::platform {

class HostAddresses {
public:
    virtual ~HostAddresses() = default;
    virtual std::vector<std::string> addresses() = 0;
};

ServiceSlot<HostAddresses> &hostAddresses();

}  // namespace vork::platform
