/*
 * Disks: partitioning a disk (also a Fusion drive), the CoreStorage layout
 * and its volumes, and the data partitions of a disk image. The functions
 * run the system disk tools "/usr/sbin/diskutil" and "/usr/bin/hdiutil"; on a
 * host without them nothing is run and each function answers its neutral
 * result (false, -1, "" or NULL) with a debug log line saying why.
 *
 * Partitioning order: partitionInit; addPartition once per new partition;
 * partitionDisk; then the lookups.
 * CoreStorage order: coreStorageInfoInit; loadCoreStorageInfo; one of the
 * retrieve functions to select the current volume; the volumeInfo
 * accessors; coreStorageInfoTerm.
 *
 * Returned text is owned by the library and follows the release-scope rule
 * of basics.h: the caller never frees it and copies it before its scope
 * drains. Sizes are megabytes of 1,000,000 bytes. One caller at a time: the
 * globals below are not guarded.
 */
#ifndef VORKCORECOMMC_DISKS_H
#define VORKCORECOMMC_DISKS_H

#include "export.h"

#ifndef __cplusplus
#include <stdbool.h>
#include <stdint.h>
#else
#include <cstdint>
#endif

#ifdef __cplusplus
namespace vork {
class PartitionDisk;
class CoreStorageInfo;
class CurrentVolume;
}
typedef vork::PartitionDisk VORKPartitionDisk;
typedef vork::CoreStorageInfo VORKCoreStorageInfo;
typedef vork::CurrentVolume VORKVolumeInfo;
#else
/* The library's partitioning object; opaque to C callers. */
typedef struct VORKPartitionDisk VORKPartitionDisk;
/* The library's CoreStorage layout; opaque to C callers. */
typedef struct VORKCoreStorageInfo VORKCoreStorageInfo;
/* The current CoreStorage volume; opaque to C callers. */
typedef struct VORKVolumeInfo VORKVolumeInfo;
#endif

/* The partitioning object, NULL until partitionInit. Owned by the library. */
VORK_API VORKPartitionDisk *g_PartitionDisk;

/* The CoreStorage layout, NULL until coreStorageInfoInit. Owned by the library. */
VORK_API VORKCoreStorageInfo *g_CoreStorageInfo;

/* The current volume chosen by a retrieve function, NULL until then. Owned by the library. */
VORK_API VORKVolumeInfo *g_VolumeInfo;

/* Frees any previous partitioning object with all its results and makes a new, empty one. */
VORK_API void partitionInit(void);

/* Registers a partition to create (name and format as the tool takes them, size in MB); false before partitionInit. */
VORK_API bool addPartition(const char *name, const char *format, int32_t size);

/* Shrinks the partition diskId and creates the registered ones after it; false before partitionInit or on any failure (logged). */
VORK_API bool partitionDisk(const char *diskId);

/* Mount point of the shrunk partition or of a created one with this disk id; "" when none matches, NULL when it is not mounted; library-owned text. */
VORK_API const char *getPartitionMountPointByDiskId(const char *diskId);

/* Mount point of the first created partition with this name; "" when none matches, NULL when it is not mounted; library-owned text. */
VORK_API const char *getPartitionMountPointByName(const char *name);

/* Disk id of the first created partition with this name; "" when none matches, NULL before partitioning; library-owned text. */
VORK_API const char *getPartitionDiskId(const char *name);

/* Frees any previous CoreStorage state (coreStorageInfoTerm) and makes a new, unloaded layout. */
VORK_API void coreStorageInfoInit(void);

/* Frees the current volume and the CoreStorage layout; harmless when there are none. */
VORK_API void coreStorageInfoTerm(void);

/* Reads the CoreStorage layout with "diskutil cs list"; true, or false before coreStorageInfoInit. */
VORK_API bool loadCoreStorageInfo(void);

/* Whether the loaded layout has any logical volume group; false before coreStorageInfoInit. */
VORK_API bool hasCoreStorage(void);

/* Whether the volume with this disk id lies in a group of two or more physical volumes; false before coreStorageInfoInit. */
VORK_API bool isFusionDrive(const char *diskId);

/* Makes the volume with this disk id the current volume; false when none has it (current volume unchanged) or before coreStorageInfoInit. */
VORK_API bool retrieveVolumeForDiskId(const char *diskId);

/* Makes the logical volume group of the volume with this disk id the current volume; false when there is none. */
VORK_API bool retrieveLogicalVolumeGroupForDiskId(const char *diskId);

/* Number of physical volumes in the current volume's group; -1 before coreStorageInfoInit or without a current volume. */
VORK_API long physicalVolumeQty(void);

/* Makes physical volume idx of the current volume's group the current volume; false when idx is out of range (negative included). */
VORK_API bool retrievePhysicalVolume(int idx);

/* Number of locked, unmounted encrypted volume groups; -1 before coreStorageInfoInit. */
VORK_API long unmountedEncryptedVolumeQty(void);

/* Makes the physical volume of locked group idx the current volume, renamed to the group's name; false when idx is out of range. */
VORK_API bool retrieveUnmountedEncryptedPhysicalVolume(int idx);

/* Name of the current volume; "" without one; library-owned text. */
VORK_API const char *volumeInfoName(void);

/* Identifier (UUID) of the current volume; "" without one; library-owned text. */
VORK_API const char *volumeInfoVolumeId(void);

/* Disk id of the current volume ("-none-" for a locked logical volume); "" without one; library-owned text. */
VORK_API const char *volumeInfoDiskId(void);

/* Status of the current volume; "" without one; library-owned text. */
VORK_API const char *volumeInfoStatus(void);

/* Type of the current volume: 0 group, 1 physical volume, 2 family, 3 logical volume; -1 without one. */
VORK_API int volumeInfoType(void);

/* Size of the current volume in MB; -1 without one. */
VORK_API int32_t volumeInfoSize(void);

/* Makes volume (a value g_VolumeInfo had) the current volume, NULL for none; the library keeps its own reference. */
VORK_API void setGlobalVolumeInfo(VORKVolumeInfo *volume);

/* Attaches the disk image at dmgFilePath, answers whether it holds more than one data partition, and detaches it; false on any failure. */
VORK_API bool dmgHasMultiplePartitions(const char *dmgFilePath);

#endif
