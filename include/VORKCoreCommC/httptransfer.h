/* (declarations of this family land here) */
#ifndef VORKCORECOMMC_HTTPTRANSFER_H
#define VORKCORECOMMC_HTTPTRANSFER_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#endif
