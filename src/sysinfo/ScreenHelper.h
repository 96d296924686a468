#pragma once
// Keeps a window on screen: a window frame (top-left origin, y down) that
// overlaps no attached display is moved to the middle of the primary
// display, at least 100 points above its bottom edge.
#include <vector>

#include "platform/Displays.h"

namespace vork {

using Rect = platform::Rect;

class ScreenHelper {
public:
    // The frame of every attached display, primary first, in the window
    // system's coordinates (origin bottom-left of the primary, y up).
    static std::vector<Rect> screenRects();
    // Converts between the two coordinate systems (either direction): y
    // becomes primary.height - r.y - r.height.
    static Rect adjustCocoaScreenRectToRB(const Rect &r, const Rect &primary);
    // Moves the frame onto the primary display when no display overlaps it
    // by a positive area; answers whether it moved.
    static bool adjustFrameForAvailableScreens(Rect &frame);
};

// Whether the two rectangles overlap with positive area (an empty rectangle
// overlaps nothing).
bool intersectsRect(const Rect &a, const Rect &b);

}  // namespace vork
