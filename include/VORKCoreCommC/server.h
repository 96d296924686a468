/* Server settings, conveniences and server calls. */
#ifndef VORKCORECOMMC_SERVER_H
#define VORKCORECOMMC_SERVER_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

/*
 * The management server's URL for what a user typed: "https://" and the
 * port 8443 are added when missing, and a trailing "/" (see the URL helper
 * rules). Returned text is library-owned; NULL when the result is no URL
 * or the input is NULL or not UTF-8.
 */
VORK_API const char *zelURLFromUserInput(const char *userInput);

#endif
