// adjustWindowCoordinates: keeps a window frame on an attached display.
#include <cmath>

#include "VORKCoreCommC/server.h"
#include "VORKCoreCommC/system.h"
#include "capi/Guard.h"
#include "sysinfo/ScreenHelper.h"

using namespace vork;

unsigned char adjustWindowCoordinates(int32_t *x, int32_t *y, int32_t *width, int32_t *height) {
    return capi::guarded<unsigned char>(0, [&]() -> unsigned char {
        if (!x || !y || !width || !height) return 0;
        verifyZelInterface();
        Rect frame{static_cast<float>(*x), static_cast<float>(*y), static_cast<float>(*width), static_cast<float>(*height)};
        if (!ScreenHelper::adjustFrameForAvailableScreens(frame)) return 0;
        // Truncated towards zero; values beyond 32 bits leave the frame untouched.
        const float values[4] = {frame.x, frame.y, frame.width, frame.height};
        for (float v : values)
            if (!std::isfinite(v) || v >= 2147483648.0f || v < -2147483648.0f) return 0;
        *x = static_cast<int32_t>(frame.x);
        *y = static_cast<int32_t>(frame.y);
        *width = static_cast<int32_t>(frame.width);
        *height = static_cast<int32_t>(frame.height);
        return 1;
    });
}
