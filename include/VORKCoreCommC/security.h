/* (declarations of this family land here) */
#ifndef VORKCORECOMMC_SECURITY_H
#define VORKCORECOMMC_SECURITY_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#endif
