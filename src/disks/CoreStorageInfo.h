#pragma once
// The machine's CoreStorage layout, from the report of "diskutil cs list":
// the logical volume groups with their physical volumes, families and
// logical volumes.
#include <string>

#include "disks/VolumeInfo.h"

namespace vork {

class CoreStorageInfo {
public:
    // Empties the list, runs "diskutil cs list" and parses its report.
    void loadCoreStorageInfo();
    // Appends the groups of the report; always reports success.
    bool parseCoreStorageInfo(const std::string &report);

    bool hasCoreStorage() const { return !logicalVolumeGroups_.empty(); }
    VolumeInfoPtr volumeForDiskId(const std::string &diskId) const;
    // The node's group, or the node itself when it has none.
    static VolumeInfoPtr logicalVolumeGroup(const VolumeInfoPtr &volume);
    // The physical volumes of the node's group, in order; empty for no node.
    static VolumeList physicalVolumes(const VolumeInfoPtr &volume);
    size_t physicalDriveQty(const std::string &diskId) const;
    bool isFusionDrive(const std::string &diskId) const { return physicalDriveQty(diskId) > 1; }
    static VolumeInfoPtr logicalVolumeFamily(const VolumeInfoPtr &volume);
    // Groups of one physical volume whose family is locked, converting or
    // converted, and whose logical volume has no device ("-none-").
    VolumeList unmountedEncryptedVolumeGroups() const;
    // A fresh name under "/private/tmp/"; the report itself is parsed in memory.
    static std::string tmpFileName();

    const VolumeList &logicalVolumeGroups() const { return logicalVolumeGroups_; }

private:
    VolumeList logicalVolumeGroups_;
};

}  // namespace vork
