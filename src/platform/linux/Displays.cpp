// The display list on Linux: the monitors XRandR reports for the default
// screen of the X display named by $DISPLAY. No reachable display gives an
// empty list; a server without RandR 1.5 monitors gives its screen as one
// display.
//
// X places monitors in root-window coordinates (origin top-left, y down).
// They are turned into the window system's coordinates of the display list:
// the primary monitor (RandR's primary, else the first listed) comes first,
// and every frame is taken relative to the primary's bottom-left corner with
// y growing upwards. Window frames in top-left coordinates are therefore
// root coordinates less the primary monitor's top-left corner (plain root
// coordinates when the primary sits at the root's origin, as usual).
#include "platform/Displays.h"

#include <X11/Xlib.h>
#include <X11/extensions/Xrandr.h>

#include <algorithm>
#include <memory>

namespace vork::platform {

namespace {

struct XRect {
    int x, y, width, height;
};

std::vector<XRect> monitorsOf(Display *display) {
    std::vector<XRect> monitors;
    const Window root = DefaultRootWindow(display);
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (XRRQueryExtension(display, &eventBase, &errorBase) && XRRQueryVersion(display, &major, &minor) &&
        (major > 1 || (major == 1 && minor >= 5))) {
        int count = 0;
        XRRMonitorInfo *info = XRRGetMonitors(display, root, True, &count);
        for (int i = 0; i < count; ++i) {
            XRect rect{info[i].x, info[i].y, info[i].width, info[i].height};
            if (info[i].primary) monitors.insert(monitors.begin(), rect);
            else monitors.push_back(rect);
        }
        if (info) XRRFreeMonitors(info);
    }
    if (monitors.empty()) {
        const int screen = DefaultScreen(display);
        monitors.push_back({0, 0, DisplayWidth(display, screen), DisplayHeight(display, screen)});
    }
    return monitors;
}

class XRandRDisplays : public Displays {
public:
    std::vector<Rect> screenRects() override {
        std::unique_ptr<Display, int (*)(Display *)> display(XOpenDisplay(nullptr), XCloseDisplay);
        if (!display) return {};
        const std::vector<XRect> monitors = monitorsOf(display.get());
        const XRect &primary = monitors.front();
        std::vector<Rect> rects;
        for (const XRect &m : monitors)
            rects.push_back({static_cast<float>(m.x - primary.x),
                             static_cast<float>(primary.y + primary.height - m.y - m.height),
                             static_cast<float>(m.width), static_cast<float>(m.height)});
        return rects;
    }
};

}  // namespace

ServiceSlot<Displays> &displays() { return defaultServiceSlot<Displays, XRandRDisplays>(); }

}  // namespace vork::platform
