/** \file
 * Security: the error domain and the constants of the security classes. */
#ifndef VORKCORECOMMC_SECURITY_H
#define VORKCORECOMMC_SECURITY_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

/**
 * The domain of every error object the security classes and file hashing
 * make ("com.vork.security.error"). Owned by the library; valid for the
 * whole process.
 */
VORK_API const char *const VORKSecurityErrorDomain;

/** The path of the system keychain ("/Library/Keychains/System.keychain"),
 * which the security facade never unlocks and never creates. Owned by the
 * library; valid for the whole process. */
VORK_API const char *const VORKSecuritySystemKeychainPath;

/** The fixed password of the keychain files this library creates; the same
 * value creates and unlocks them. Kept in plain text on purpose: the
 * keychain's protection is its file mode and its access lists. Owned by the
 * library; valid for the whole process. */
VORK_API const char *const VORKSecurityPlainTextPasswordThisIsBad;

#endif
