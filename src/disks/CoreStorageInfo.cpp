#include "disks/CoreStorageInfo.h"

#include "base/CommCLog.h"
#include "base/SystemRoot.h"
#include "disks/CoreStorageReport.h"
#include "disks/DiskTools.h"
#include "message/Uuid.h"

namespace vork {

void CoreStorageInfo::loadCoreStorageInfo() {
    logicalVolumeGroups_.clear();
    parseCoreStorageInfo(disks::runTool(disks::kDiskUtilPath, {"cs", "list"}));
}

bool CoreStorageInfo::parseCoreStorageInfo(const std::string &report) {
    for (auto &group : disks::parseCoreStorageReport(report)) logicalVolumeGroups_.push_back(std::move(group));
    return true;
}

VolumeInfoPtr CoreStorageInfo::volumeForDiskId(const std::string &diskId) const {
    for (const auto &group : logicalVolumeGroups_)
        if (auto hit = group->volumeForDiskId(diskId)) return hit;
    return nullptr;
}

VolumeInfoPtr CoreStorageInfo::logicalVolumeGroup(const VolumeInfoPtr &volume) {
    if (!volume) return nullptr;
    auto group = volume->parentVolumeGroup.lock();
    return group ? group : volume;
}

VolumeList CoreStorageInfo::physicalVolumes(const VolumeInfoPtr &volume) {
    VolumeList list;
    if (auto group = logicalVolumeGroup(volume))
        for (const auto &child : group->childVolumes)
            if (child->type == VolumeInfo::PhysicalVolume) list.push_back(child);
    return list;
}

size_t CoreStorageInfo::physicalDriveQty(const std::string &diskId) const {
    auto volume = volumeForDiskId(diskId);
    logDebugf("physicalDriveQty: volumeInfo=%s", volume ? volume->name.c_str() : "Not found");
    return physicalVolumes(volume).size();
}

VolumeInfoPtr CoreStorageInfo::logicalVolumeFamily(const VolumeInfoPtr &volume) {
    if (!volume) return nullptr;
    auto family = volume->logicalVolumeFamilyInChildren();
    return family ? family : volume->logicalVolumeFamilyInAncestors();
}

VolumeList CoreStorageInfo::unmountedEncryptedVolumeGroups() const {
    VolumeList groups;
    for (const auto &group : logicalVolumeGroups_) {
        if (physicalVolumes(group).size() != 1) continue;
        auto family = logicalVolumeFamily(group);
        if (!family || family->status != "Locked") continue;
        if (family->conversionStatus != "Converting" && family->conversionStatus != "Complete") continue;
        auto logical = family->firstLogicalVolumeInChildren();
        if (logical && logical->diskId == "-none-") groups.push_back(group);
    }
    return groups;
}

std::string CoreStorageInfo::tmpFileName() { return systemPath("/private/tmp/" + newUuidString()); }

}  // namespace vork
