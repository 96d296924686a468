/** \file
 * Basic functions: text ownership, the run loop, host address helpers. */
#ifndef VORKCORECOMMC_BASICS_H
#define VORKCORECOMMC_BASICS_H

#include "export.h"

#ifdef __cplusplus
#include <optional>
#include <string>
#endif

/**
 * Release scopes.
 *
 * Every text result of the library is a temporary kept by the calling
 * thread. The rule:
 *  - Inside an explicit scope (VORKReleaseScopePush ... VORKReleaseScopePop)
 *    every text result stays valid until the matching VORKReleaseScopePop.
 *    Scopes nest; popping drains only the innermost one.
 *  - Outside any explicit scope a thread keeps its 256 most recent text
 *    results; each further result frees the oldest. A result therefore
 *    survives at least the next 255 text-returning calls on that thread, and
 *    a caller that never opens a scope holds a bounded amount of memory.
 *  - Fixed results such as "" live for the whole process.
 */
VORK_API void VORKReleaseScopePush(void);
/** Drains the innermost explicit scope; does nothing when none is open. */
VORK_API void VORKReleaseScopePop(void);

/** Number of text results the calling thread currently keeps alive. */
VORK_API unsigned long VORKReleaseScopeHeldCount(void);

/**
 * The library's version as "MAJOR.MINOR.PATCH" (for example "1.0.0"), the
 * same as the shared library's file name and pkg-config version. A fixed
 * text owned by the library, valid for the whole process; never NULL.
 */
VORK_API const char *VORKCoreCommCVersion(void);

/**
 * The IPv4 address of this host: the first of the host's addresses (in the
 * order the system lists them, loopback included) that has exactly four
 * dot-separated parts; "" when there is none. Returned text as above.
 */
VORK_API const char *currentIpAddress(void);

/**
 * Component-wise range test: 1 when the address has as many dot-separated
 * parts as start and end and each part lies within [start part, end part]
 * (parts read as lenient integers, non-numbers as 0); 0 otherwise, also for
 * NULL or non-UTF-8 arguments.
 */
VORK_API unsigned char ipAddressInRange(const char *address, const char *rangeStart, const char *rangeEnd);

#ifdef __cplusplus
/**
 * Runs the calling thread's run loop once: handles the work that is ready
 * (posted tasks, due timers, ready sockets) or waits for some up to 0.1 s.
 */
VORK_API_CXX void processRunLoop();

/** Decodes UTF-8 bytes into a text value; none for NULL or invalid UTF-8. */
VORK_API_CXX std::optional<std::string> charPtrToNSString(const char *bytes);

/**
 * The UTF-8 form of a text value as a library-owned temporary (see release
 * scopes above); NULL when the value is absent.
 */
VORK_API_CXX const char *NSStringToCharPtr(const std::optional<std::string> &text);
#endif

#endif
