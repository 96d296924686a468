// The effective user id of the process, from geteuid.
#include "platform/EffectiveUser.h"

#include <unistd.h>

namespace vork::platform {

namespace {

class LinuxEffectiveUser : public EffectiveUser {
public:
    uid_t effectiveUserId() override { return ::geteuid(); }
};

std::shared_ptr<EffectiveUser> makeDefault() { return std::make_shared<LinuxEffectiveUser>(); }

}  // namespace

ServiceSlot<EffectiveUser> &effectiveUser() {
    static ServiceSlot<EffectiveUser> slot(&makeDefault);
    return slot;
}

}  // namespace vork::platform
