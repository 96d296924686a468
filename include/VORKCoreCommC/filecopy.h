/** \file
 * File copy: copies a file or a whole folder into a destination folder in the
 * background and reports progress as a percentage of the source's size.
 *
 * Calling order: optionally hasEnoughSpaceForFileInDestination; fileCopyStart;
 * poll fileCopyIsComplete and fileCopyProgress (each poll pumps the calling
 * thread's run loop once: progress and completion change only then);
 * fileCopyRelease. Call them all from the thread that started the copy.
 */
#ifndef VORKCORECOMMC_FILECOPY_H
#define VORKCORECOMMC_FILECOPY_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
namespace vork {
class FileCopy;
}
/** The library's copy object (a C++ class; opaque to C callers). */
typedef vork::FileCopy VORKFileCopy;
#else
/** The library's copy object; opaque to C callers. */
typedef struct VORKFileCopy VORKFileCopy;
#endif

/**
 * The one copy object of the process, NULL until hasEnoughSpaceForFileInDestination
 * or fileCopyStart makes it. Owned by the library; freed by fileCopyRelease.
 */
VORK_API VORKFileCopy *g_FileCopy;

/**
 * Whether the size of the source (a file, or a folder with everything in it)
 * is strictly below the free space of the file system holding the
 * destination. A destination whose free space cannot be read counts as
 * having room. Makes g_FileCopy when there is none and keeps it.
 */
VORK_API bool hasEnoughSpaceForFileInDestination(const char *sourcePath, const char *destinationPath);

/**
 * Starts copying the source (file or folder) into the destination folder,
 * where it keeps its name; an existing item of that name is not replaced.
 * Releases any previous copy object first (stopping its copy). Answers "" when
 * the copy started, otherwise the failure text. Returned text follows the
 * release-scope rule of basics.h.
 *
 * The status in "Failed to begin asynchronous object copy: N": -43 the
 * source or the destination folder does not exist, -48 the destination
 * already holds an item of that name, -50 a folder into itself (or a source
 * that cannot be copied), -54 no permission, -61 read-only destination,
 * -120 the destination is not a folder, -34 no space, -36 other failures.
 * A failure during the copy is not reported: the copy completes and leaves
 * no partial item behind.
 */
VORK_API const char *fileCopyStart(const char *sourcePath, const char *destinationFolder);

/**
 * Percentage of the source copied so far: -1.0 when there is no copy object,
 * 100.0 once the copy has completed. Pumps the run loop once while running.
 */
VORK_API double fileCopyProgress(void);

/**
 * Whether the copy has completed (also after a failure during the copy); true
 * when there is no copy object. Pumps the run loop once while running.
 */
VORK_API bool fileCopyIsComplete(void);

/** Frees the copy object (stopping a running copy); g_FileCopy becomes NULL. */
VORK_API void fileCopyRelease(void);

#endif
