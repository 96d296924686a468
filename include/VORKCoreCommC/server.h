/** \file
 * Server settings, conveniences and server calls. */
#ifndef VORKCORECOMMC_SERVER_H
#define VORKCORECOMMC_SERVER_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

/**
 * @name Server settings
 * Server settings. The first setter called (or verifyZelInterface) creates
 * the process's one server session; later calls change the settings for
 * every later server call. Text is copied. Text that is NULL or not UTF-8
 * clears the setting.
 * @{
 */

/** The server's base URL (scheme, host, port, optional path). */
VORK_API void setZelUrl(const char *zelUrl);
/** User name for basic authentication. */
VORK_API void setZelUsername(const char *zelUsername);
/** Password for basic authentication; never written to any log. */
VORK_API void setZelPassword(const char *zelPassword);
/** Nonzero: accept a server certificate that fails validation. */
VORK_API void setAllowInvalidCertificate(unsigned char allowInvalidCertificate);
/** @} */

#ifdef __cplusplus
namespace vork {
class ZelInterface;
}
/** The process's server session: null until the first setter or server call
   creates it; never replaced or released afterwards. */
VORK_API vork::ZelInterface *g_ZelInterface;
/** Creates the server session and the default log on first use (safe to call
   from several threads at once). */
VORK_API_CXX void verifyZelInterface();
#else
/** The process's server session (opaque to C callers). */
VORK_API void *g_ZelInterface;
#endif

/** This machine's hardware UUID; "" when it cannot be read. Does not create
   the server session. Returned text is library-owned. */
VORK_API const char *getUdid(void);

/**
 * The management server's URL for what a user typed: "https://" and the
 * port 8443 are added when missing, and a trailing "/" (see the URL helper
 * rules). Returned text is library-owned; NULL when the result is no URL
 * or the input is NULL or not UTF-8.
 */
VORK_API const char *zelURLFromUserInput(const char *userInput);

/** The text with numeric character references to characters XML forbids
   ("&#1;" ... "&#8;", "&#11;", "&#12;", "&#14;" ... "&#28;") removed; NULL
   for NULL or non-UTF-8 input. Returned text is library-owned. */
VORK_API const char *removeInvalidXmlData(const char *text);

/**
 * @name Server calls
 * Server calls. Each posts one request message to the server's "client"
 * resource with the session's settings and answers the XML of the response
 * message, as the library wrote it back, as library-owned text. The caller
 * reads the status code of the first content:
 *   - 0 is success; another code is the server's refusal (for example 1400
 *     for wrong credentials);
 *   - 1999 means the exchange failed in the library: no server URL, a
 *     refused or cut connection, an HTTP error status, a time-out, or a
 *     request that could not be built (for example a machine whose hardware
 *     UUID cannot be read, in which case the device record is sent empty);
 *   - a reply that arrives but does not parse as XML is no failure of the
 *     exchange: the answer is an envelope without any content (and so
 *     without any status), which the caller must not take for success.
 * Never NULL.
 * @{
 */

/** Keep-alive; nonzero invalidate asks the server to end the session. */
VORK_API const char *keepAlive(unsigned char invalidate);
/** Which inventory the agent collects and which choices it offers. */
VORK_API const char *computerInventoryPrefs(void);
/** The sites the user may work in for the named client application. */
VORK_API const char *clientSitePrivileges(const char *clientAppName);
/** Tells the server which site the user chose. */
VORK_API const char *clientSiteSelection(int siteID);
/** Saves objects: xmlData is the complete command-data element. */
VORK_API const char *adminSave(const char *xmlData);
/** What the server offers for adding a new object. */
VORK_API const char *adminAddObject(void);
/** The definition of one printer. */
VORK_API const char *getPrinterInfo(int printerId);
/** The data of one script. */
VORK_API const char *retrieveScriptData(int scriptId);

/** @} */

/**
 * @name Keychain access for a program
 * @{
 */

#ifdef __cplusplus
namespace vork {
class VORKSecurityAccess;
}
/** An access list of the credential store (a C++ class; opaque to C callers). */
typedef vork::VORKSecurityAccess VORKAccess;
#else
/** An access list of the credential store; opaque to C callers. */
typedef struct VORKAccess VORKAccess;
#endif

/**
 * A new access list, described "vork", that trusts one program: the
 * executable at path, or the calling program when path is NULL. Keychain
 * items protected by it may be used without asking only by that program.
 * Answers NULL when path names no existing file or is not UTF-8. The caller
 * owns the result and frees it with vorkRefRelease.
 */
VORK_API VORKAccess *vorkRef(const char *path);
/** Frees an access list made by vorkRef; NULL is ignored. */
VORK_API void vorkRefRelease(VORKAccess *access);
/** @} */

#endif
