/* System information: installer version and window placement. */
#ifndef VORKCORECOMMC_SYSTEM_H
#define VORKCORECOMMC_SYSTEM_H

#include "export.h"

#ifndef __cplusplus
#include <stdint.h>
#else
#include <cstdint>
#endif

/*
 * The operating-system version recorded in the installation under path: the
 * "ProductVersion" of <path>/System/Library/CoreServices/SystemVersion.plist.
 * "" when the file is missing, unreadable or lacks the version, and for a
 * NULL or non-UTF-8 path. Returned text is owned by the library (basics.h).
 */
VORK_API const char *getOSXInstallVersion(const char *path);

/*
 * Keeps a window on screen. The frame (top-left origin of the primary
 * display, y down) is read from the four integers; when it overlaps no
 * attached display it is moved to the middle of the primary display (at
 * least 100 points above its bottom) and the new frame, truncated towards
 * zero, is written back: answers 1. A frame in view is left alone and any
 * NULL pointer leaves everything untouched: answers 0.
 */
VORK_API unsigned char adjustWindowCoordinates(int32_t *x, int32_t *y, int32_t *width, int32_t *height);

#endif
