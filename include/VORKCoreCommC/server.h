/* (declarations of this family land here) */
#ifndef VORKCORECOMMC_SERVER_H
#define VORKCORECOMMC_SERVER_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#endif
