/** \file
 * libVORKCoreCommC: the communication and system-support library of the
 * device-management agent.
 *
 * This is the one header an agent program includes. It declares the flat C
 * interface; the family headers below group the functions.
 *
 * Conventions that hold for every function of the library:
 *  - Text in and out is NUL-terminated UTF-8. Text that is not valid UTF-8 is
 *    treated as absent.
 *  - Returned text is owned by the library. The caller never frees it. It
 *    stays valid until the calling thread's release scope is drained (see
 *    basics.h: VORKReleaseScopePush / VORKReleaseScopePop); copy it before.
 *  - No function throws or aborts on bad input: each answers the neutral
 *    result its comment names (false, -1, -1.0, "" or NULL).
 *  - Asynchronous work (transfers, copies) advances only while the thread
 *    that started it calls processRunLoop or one of the polling functions.
 *  - Booleans are C99 bool (one byte, 0 or 1).
 */
#ifndef VORKCORECOMMC_H
#define VORKCORECOMMC_H

#include "export.h"
#include "basics.h"
#include "security.h"
#include "filecopy.h"
#include "filehash.h"
#include "httptransfer.h"
#include "disks.h"
#include "server.h"
#include "system.h"

#endif
