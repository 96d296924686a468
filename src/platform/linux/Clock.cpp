// The system's real-time clock.
#include "platform/Clock.h"

namespace vork::platform {

namespace {

class SystemClock : public Clock {
public:
    std::chrono::system_clock::time_point now() override { return std::chrono::system_clock::now(); }
};

}  // namespace

ServiceSlot<Clock> &clock() { return defaultServiceSlot<Clock, SystemClock>(); }

}  // namespace vork::platform
