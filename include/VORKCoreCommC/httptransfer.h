/** \file
 * HTTP transfers: one process-wide download or upload with progress, a
 * status line, cancel and retries of file uploads, or one synchronous
 * request. The transfer advances only while the calling thread pumps its
 * run loop; each polling function below pumps it once (like processRunLoop).
 *
 * Order of use: optional httpTransferRetrySettings; httpTransferInit or
 * httpTransferInitDownload; any number of httpTransferAddHeader; then either
 * httpSubmitRequest, or httpTransferStart and a polling loop over
 * httpTransferIsComplete / httpTransferProgress / httpTransferStatus
 * (optionally httpTransferCancel); then httpResponseCode, httpTransferResult,
 * httpTransferError; finally httpTransferRelease.
 *
 * Text arguments are UTF-8 and may be NULL where said; they are only read
 * during the call. Returned text belongs to the library (see basics.h).
 */
#ifndef VORKCORECOMMC_HTTPTRANSFER_H
#define VORKCORECOMMC_HTTPTRANSFER_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

/** The current transfer, an opaque object owned by the library; NULL when none. */
VORK_API void *g_HttpTransfer;
/** Retries allowed after the first attempt for transfers made later (initially 0). */
VORK_API int g_MaxRetries;
/** Delay in seconds before the first retry (initially 5.0). */
VORK_API double g_RetryDelayMinSeconds;
/** Delay in seconds before the last retry (initially 120.0). */
VORK_API double g_RetryDelayMaxSeconds;

/**
 * Stores the three retry settings for later transfers; a transfer that exists gets maxRetries, and minSeconds as both
 * of its delay bounds. A delay that is not finite or is negative is replaced by its default (5.0 for the minimum,
 * 120.0 for the maximum) and one above 86400 seconds is capped there; the values stored are the values used. Every
 * wait before a retry lies between 0.05 and 86400 seconds, also when the variables above are written directly.
 */
VORK_API void httpTransferRetrySettings(int maxRetries, double minSeconds, double maxSeconds);

/** Replaces the current transfer with a new one for url; username, password, postData (sent as XML), postFilePath (streamed body) and downloadFilePath may each be NULL. No result. */
VORK_API void httpTransferInitDownload(const char *url, bool allowInvalidCert, const char *username, const char *password, const char *postData, const char *postFilePath, const char *downloadFilePath);

/** httpTransferInitDownload without a download file. */
VORK_API void httpTransferInit(const char *url, bool allowInvalidCert, const char *username, const char *password, const char *postData, const char *postFilePath);

/**
 * Sets a request header of the current transfer (replacing one of the same name); true when set. False when there is
 * no transfer, when either text is NULL or not UTF-8, or when the header could split the request's header block: a CR
 * or LF anywhere in the name or value, or a name that is empty or holds ':', a space or a tab. A refused header is
 * never sent.
 */
VORK_API bool httpTransferAddHeader(const char *headerName, const char *headerValue);

/** Runs the current transfer synchronously once (no retries). Answers the response body, "" when there is none, the failure text when it failed, NULL when the body is not UTF-8. Returned text is library-owned (see basics.h). */
VORK_API const char *httpSubmitRequest(void);

/** Starts the current transfer and pumps the run loop once; "" on success, otherwise the failure text ("Transfer failed" when it has none). Returned text is library-owned. */
VORK_API const char *httpTransferStart(void);

/** Pumps the run loop once; percent done (0-100, one decimal), 100.0 once complete, -1.0 with no transfer or on failure. */
VORK_API double httpTransferProgress(void);

/** "" while running or with no transfer, "Retry #n..." while waiting to retry, "Canceled" after a cancel; NULL before the first start. Returned text is library-owned. */
VORK_API const char *httpTransferStatus(void);

/** Marks the current transfer cancelled (it ends when the request next reports its end, without retry); false when there is no transfer. */
VORK_API bool httpTransferCancel(void);

/** Pumps the run loop once; whether the transfer has finished; true when there is none. */
VORK_API bool httpTransferIsComplete(void);

/** Pumps the run loop once; the HTTP status of the last attempt (0 without an answer, 403 also for a refused certificate); -1 with no transfer. */
VORK_API int httpResponseCode(void);

/** The response body as text; "" with no transfer or no body, NULL when the body is not UTF-8. Returned text is library-owned. */
VORK_API const char *httpTransferResult(void);

/** The failure text of the last attempt; "" when it did not fail or there is no transfer. Returned text is library-owned. */
VORK_API const char *httpTransferError(void);

/** Frees the current transfer; g_HttpTransfer becomes NULL. */
VORK_API void httpTransferRelease(void);

#endif
