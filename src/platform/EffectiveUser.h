#pragma once
// The user the process acts as, for decisions such as "running as root".
#include <sys/types.h>

#include <memory>

#include "platform/Service.h"

namespace vork::platform {

class EffectiveUser {
public:
    virtual ~EffectiveUser() = default;
    virtual uid_t effectiveUserId() = 0;
};

ServiceSlot<EffectiveUser> &effectiveUser();

}  // namespace vork::platform
