/** \file
 * File hashing: MD5 and SHA-512 digests of a file as lower-case hexadecimal
 * text, computed on the calling thread or on a background thread.
 *
 * Background calling order: fileHashMD5Start or fileHashSHA512Start; poll
 * fileHashIsComplete; fileHashResult; fileHashRelease.
 */
#ifndef VORKCORECOMMC_FILEHASH_H
#define VORKCORECOMMC_FILEHASH_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
namespace vork {
class FileHashInBackground;
}
/** The library's background hasher (a C++ class; opaque to C callers). */
typedef vork::FileHashInBackground VORKFileHashInBackground;
#else
/** The library's background hasher; opaque to C callers. */
typedef struct VORKFileHashInBackground VORKFileHashInBackground;
#endif

/**
 * The one background hasher of the process, NULL until a start function or
 * fileHashInBackgroundInitialize makes it. Owned by the library; freed by
 * fileHashRelease.
 */
VORK_API VORKFileHashInBackground *g_FileHashInBackground;

/**
 * MD5 of the file at the path, computed on the calling thread: 32 lower-case
 * hexadecimal digits, or "" when the file is missing or cannot be read.
 * Returned text follows the release-scope rule of basics.h.
 */
VORK_API const char *fileHashMD5(const char *filePath);

/** SHA-512 of the file as 128 lower-case hexadecimal digits; otherwise as fileHashMD5. */
VORK_API const char *fileHashSHA512(const char *filePath);

/**
 * Starts computing the MD5 of the file on a background thread of its own,
 * making the background hasher when there is none. Clears the previous result.
 */
VORK_API void fileHashMD5Start(const char *filePath);

/** As fileHashMD5Start, with SHA-512. */
VORK_API void fileHashSHA512Start(const char *filePath);

/** Whether the background computation has finished; false when there is no hasher. */
VORK_API bool fileHashIsComplete(void);

/**
 * The digest of the finished background computation; NULL when there is no
 * hasher, the computation has not finished, or it failed. Returned text
 * follows the release-scope rule of basics.h.
 */
VORK_API const char *fileHashResult(void);

/** Frees the background hasher; g_FileHashInBackground becomes NULL. */
VORK_API void fileHashRelease(void);

/** Makes the background hasher when there is none. */
VORK_API void fileHashInBackgroundInitialize(void);

#endif
