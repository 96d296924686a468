// The system's real-time clock.
#include "platform/Clock.h"

namespace vork::platform {

namespace {

class SystemClock : public Clock {
public:
    std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::now(); }
};

std::shared_ptr<Clock> makeDefault() { return std::make_shared<SystemClock>(); }

}  // namespace

ServiceSlot<Clock> &clock() {
    static ServiceSlot<Clock> slot(&makeDefault);
    return slot;
}

}  // namespace vork::platform
