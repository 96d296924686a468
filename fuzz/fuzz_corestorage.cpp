// Arbitrary bytes as the report of "diskutil cs list": the tree is built,
// searched for every disk id it holds, cloned, and its locked groups listed.
#include <cstdint>
#include <string>

#include "disks/CoreStorageInfo.h"

namespace {

void visit(const vork::CoreStorageInfo &info, const vork::VolumeInfoPtr &node, int depth) {
    if (depth > 4) return;
    (void)info.isFusionDrive(node->diskId);
    (void)vork::CoreStorageInfo::logicalVolumeFamily(node);
    (void)node->firstLogicalVolumeInChildren();
    for (const auto &child : node->childVolumes) visit(info, child, depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    vork::CoreStorageInfo info;
    info.parseCoreStorageInfo(std::string(reinterpret_cast<const char *>(data), size));
    for (const auto &group : info.logicalVolumeGroups()) {
        visit(info, group, 0);
        (void)group->clone();
    }
    (void)info.unmountedEncryptedVolumeGroups();
    return 0;
}
