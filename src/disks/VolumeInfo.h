#pragma once
// One node of the CoreStorage tree: a logical volume group, a physical
// volume, a logical volume family or a logical volume. A node owns its
// children; its parent references are weak, so a node kept on its own (the
// current volume of the C interface) outlives a reload safely and simply
// loses its parents.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vork {

class VolumeInfo;
using VolumeInfoPtr = std::shared_ptr<VolumeInfo>;
using VolumeList = std::vector<VolumeInfoPtr>;

// Nodes are always made with std::make_shared (searches hand out shared
// pointers to the node itself).
class VolumeInfo : public std::enable_shared_from_this<VolumeInfo> {
public:
    enum Type : int { LogicalVolumeGroup = 0, PhysicalVolume = 1, LogicalVolumeFamily = 2, LogicalVolume = 3 };

    std::string name;              // "Name:"
    std::string volumeId;          // the identifier on the node's label line
    std::string diskId;            // "Disk:", e.g. disk0s2, or "-none-"
    int type = LogicalVolumeGroup;
    int32_t size = 0;              // megabytes of 1,000,000 bytes
    std::string status;            // the first "Status:"
    std::string conversionStatus;  // "Conversion Status:"
    std::weak_ptr<VolumeInfo> parentVolume;
    std::weak_ptr<VolumeInfo> parentVolumeGroup;  // none for a group
    VolumeList childVolumes;

    // Depth-first, the node itself first, children in order; first hit wins.
    VolumeInfoPtr volumeForDiskId(const std::string &diskId);
    VolumeInfoPtr firstPhysicalVolumeInChildren();
    VolumeInfoPtr firstLogicalVolumeInChildren();
    VolumeInfoPtr logicalVolumeFamilyInChildren();
    VolumeInfoPtr logicalVolumeFamilyInAncestors();

    // Same fields and parents; the children are cloned too.
    VolumeInfoPtr clone() const;

private:
    VolumeInfoPtr self() { return shared_from_this(); }
    template <class Match>
    VolumeInfoPtr find(const Match &match);
};

}  // namespace vork
