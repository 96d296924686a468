#include "sysinfo/ScreenHelper.h"

#include <algorithm>

#include "base/CommCLog.h"

namespace vork {

namespace {

// Least distance between the primary display's bottom and a moved window's.
constexpr float kMinimumBottomMargin = 100;

void logRect(const char *what, const Rect &r) {
    logDebugf("adjustFrameForAvailableScreens: %s={%f, %f, %f, %f}", what, r.x, r.y, r.width, r.height);
}

}  // namespace

bool intersectsRect(const Rect &a, const Rect &b) {
    if (a.width <= 0 || a.height <= 0 || b.width <= 0 || b.height <= 0) return false;
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

std::vector<Rect> ScreenHelper::screenRects() { return platform::displays().get()->screenRects(); }

Rect ScreenHelper::adjustCocoaScreenRectToRB(const Rect &r, const Rect &primary) {
    return {r.x, primary.height - r.y - r.height, r.width, r.height};
}

bool ScreenHelper::adjustFrameForAvailableScreens(Rect &frame) {
    logRect("appFrame", frame);
    const std::vector<Rect> screens = screenRects();
    const Rect primary = screens.empty() ? Rect{} : screens.front();
    bool inView = false;
    for (const Rect &screen : screens) {
        logRect("screenRect (before convert)", screen);
        const Rect converted = adjustCocoaScreenRectToRB(screen, primary);
        logRect("screenRect (after convert)", converted);
        if (intersectsRect(converted, frame)) {
            inView = true;
            break;
        }
    }
    logDebugf("adjustFrameForAvailableScreens: isInView=%s", inView ? "YES" : "NO");
    if (inView) return false;
    Rect moved{std::max(primary.x + (primary.width - frame.width) * 0.5f, primary.x),
               std::max(primary.y + (primary.height - frame.height) * 0.5f, primary.y + kMinimumBottomMargin),
               frame.width, frame.height};
    logRect("newRect", moved);
    frame = adjustCocoaScreenRectToRB(moved, primary);
    logRect("appFrame", frame);
    return true;
}

}  // namespace vork
