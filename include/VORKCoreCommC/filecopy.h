/* (declarations of this family land here) */
#ifndef VORKCORECOMMC_FILECOPY_H
#define VORKCORECOMMC_FILECOPY_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#endif
