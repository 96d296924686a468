#pragma once
// The machine's hardware UUID.
#include <memory>
#include <optional>
#include <string>

#include "platform/Service.h"

namespace vork::platform {

class MachineIdentity {
public:
    virtual ~MachineIdentity() = default;
    // Upper-case 8-4-4-4-12 hexadecimal, or none when the machine offers
    // no identifier.
    virtual std::optional<std::string> hardwareUuid() = 0;
};

ServiceSlot<MachineIdentity> &machineIdentity();

}  // namespace vork::platform
