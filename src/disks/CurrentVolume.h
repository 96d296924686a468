#pragma once
// What g_VolumeInfo points to: the library's own reference to the current
// CoreStorage volume, so the node stays valid after a reload of the layout.
#include "disks/VolumeInfo.h"

namespace vork {

class CurrentVolume {
public:
    explicit CurrentVolume(VolumeInfoPtr volume) : node(std::move(volume)) {}
    VolumeInfoPtr node;
};

}  // namespace vork
