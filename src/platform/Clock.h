#pragma once
// The wall clock. Messages and statuses take "now" from here, so tests can
// pin the time stamps of the documents they compare.
#include <chrono>

#include "platform/Service.h"

namespace vork::platform {

class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() = 0;
};

ServiceSlot<Clock> &clock();

}  // namespace vork::platform
