// The effective user id of the process, from geteuid.
#include "platform/EffectiveUser.h"

#include <unistd.h>

namespace vork::platform {

namespace {

class LinuxEffectiveUser : public EffectiveUser {
public:
    uid_t effectiveUserId() override { return ::geteuid(); }
};

}  // namespace

ServiceSlot<EffectiveUser> &effectiveUser() { return defaultServiceSlot<EffectiveUser, LinuxEffectiveUser>(); }

}  // namespace vork::platform
