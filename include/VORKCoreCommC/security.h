/** \file
 * Security: the error domain shared by the security classes and file hashing. */
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

#endif
