#pragma once
// The window system's list of attached displays.
#include <vector>

#include "platform/Service.h"

namespace vork::platform {

// A rectangle of 32-bit floating-point numbers.
struct Rect {
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;
    bool operator==(const Rect &) const = default;
};

class Displays {
public:
    virtual ~Displays() = default;
    // The frame of every attached display, the primary display first, in
    // the window system's coordinates: origin at the bottom-left corner of
    // the primary display, y growing upwards. Empty when no display is
    // reachable.
    virtual std::vector<Rect> screenRects() = 0;
};

ServiceSlot<Displays> &displays();

}  // namespace vork::platform
