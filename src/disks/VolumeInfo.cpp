#include "disks/VolumeInfo.h"

namespace vork {

namespace {

template <class Match>
VolumeInfoPtr search(const VolumeInfoPtr &node, const Match &match) {
    if (match(*node)) return node;
    for (const auto &child : node->childVolumes)
        if (auto hit = search(child, match)) return hit;
    return nullptr;
}

}  // namespace

template <class Match>
VolumeInfoPtr VolumeInfo::find(const Match &match) {
    if (match(*this)) return self();
    for (const auto &child : childVolumes)
        if (auto hit = search(child, match)) return hit;
    return nullptr;
}

VolumeInfoPtr VolumeInfo::volumeForDiskId(const std::string &diskId) {
    return find([&](const VolumeInfo &node) { return node.diskId == diskId; });
}

VolumeInfoPtr VolumeInfo::firstPhysicalVolumeInChildren() {
    return find([](const VolumeInfo &node) { return node.type == PhysicalVolume; });
}

VolumeInfoPtr VolumeInfo::firstLogicalVolumeInChildren() {
    return find([](const VolumeInfo &node) { return node.type == LogicalVolume; });
}

VolumeInfoPtr VolumeInfo::logicalVolumeFamilyInChildren() {
    return find([](const VolumeInfo &node) { return node.type == LogicalVolumeFamily; });
}

VolumeInfoPtr VolumeInfo::logicalVolumeFamilyInAncestors() {
    if (type == LogicalVolumeFamily) return self();
    auto parent = parentVolume.lock();
    return parent ? parent->logicalVolumeFamilyInAncestors() : nullptr;
}

VolumeInfoPtr VolumeInfo::clone() const {
    auto copy = std::make_shared<VolumeInfo>();
    copy->name = name;
    copy->volumeId = volumeId;
    copy->diskId = diskId;
    copy->type = type;
    copy->size = size;
    copy->status = status;
    copy->conversionStatus = conversionStatus;
    copy->parentVolume = parentVolume;
    copy->parentVolumeGroup = parentVolumeGroup;
    for (const auto &child : childVolumes) copy->childVolumes.push_back(child->clone());
    return copy;
}

}  // namespace vork
