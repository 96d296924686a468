/* (declarations of this family land here) */
#ifndef VORKCORECOMMC_FILEHASH_H
#define VORKCORECOMMC_FILEHASH_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#endif
