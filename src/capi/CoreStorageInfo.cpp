// CoreStorage C functions over g_CoreStorageInfo and the current volume in
// g_VolumeInfo.
#include "VORKCoreCommC/disks.h"

#include "base/CommCLog.h"
#include "base/ProcessWide.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "disks/CoreStorageInfo.h"
#include "disks/CurrentVolume.h"
#include "disks/Partition.h"

using namespace vork;

VORKCoreStorageInfo *g_CoreStorageInfo = nullptr;
VORKVolumeInfo *g_VolumeInfo = nullptr;

namespace {

auto &layout() { return processWide<CoreStorageInfo, g_CoreStorageInfo>(); }
auto &current() { return processWide<CurrentVolume, g_VolumeInfo>(); }

void setCurrent(VolumeInfoPtr volume) {
    if (volume) current().make(std::move(volume));
    else current().release();
}

// The current volume's node; null without one.
VolumeInfo *currentNode() { return g_VolumeInfo ? g_VolumeInfo->node.get() : nullptr; }

bool notInitialized(const char *line) {
    if (g_CoreStorageInfo) return false;
    logDebugf("%s", line);
    return true;
}

// A text field of the current volume; "" (and the log line) without one.
template <class Field>
const char *volumeText(const char *notInitializedLine, Field field) {
    return capi::guarded<const char *>(capi::emptyText(), [&]() -> const char * {
        if (!currentNode()) {
            logDebugf("%s", notInitializedLine);
            return capi::emptyText();
        }
        return capi::returnText(std::string_view(field(*currentNode())));
    });
}

}  // namespace

void setGlobalVolumeInfo(VORKVolumeInfo *volume) {
    capi::guardedVoid([&] { setCurrent(volume ? volume->node : nullptr); });
}

void coreStorageInfoTerm(void) {
    capi::guardedVoid([] {
        logDebugf("coreStorageInfoTerm");
        if (g_VolumeInfo) {
            logDebugf("releasing g_VolumeInfo");
            current().release();
        }
        if (g_CoreStorageInfo) {
            logDebugf("releasing g_CoreStorageInfo");
            layout().release();
        }
        logDebugf("coreStorageInfoTerm finished");
    });
}

void coreStorageInfoInit(void) {
    capi::guardedVoid([] {
        logDebugf("coreStorageInfoInit");
        if (g_CoreStorageInfo) coreStorageInfoTerm();
        layout().make();
    });
}

bool loadCoreStorageInfo(void) {
    return capi::guarded<bool>(false, [] {
        if (notInitialized("loadCoreStorageInfo: Not initialized")) return false;
        logDebugf("loadCoreStorageInfo called");
        g_CoreStorageInfo->loadCoreStorageInfo();
        return true;
    });
}

bool hasCoreStorage(void) {
    return capi::guarded<bool>(false, [] {
        if (notInitialized("hasCoreStorage: Not initialized")) return false;
        logDebugf("hasCoreStorage called");
        return g_CoreStorageInfo->hasCoreStorage();
    });
}

bool isFusionDrive(const char *diskId) {
    return capi::guarded<bool>(false, [&] {
        if (notInitialized("isFusionDrive: Not initialized")) return false;
        const auto id = capi::argument(diskId);
        logDebugf("isFusionDrive: diskId=%s", shown(id));
        return id && g_CoreStorageInfo->isFusionDrive(*id);
    });
}

bool retrieveVolumeForDiskId(const char *diskId) {
    return capi::guarded<bool>(false, [&] {
        if (notInitialized("retrieveVolumeForDiskId: Not initialized")) return false;
        const auto id = capi::argument(diskId);
        logDebugf("volumeForDiskId: diskId=%s", shown(id));
        auto volume = id ? g_CoreStorageInfo->volumeForDiskId(*id) : nullptr;
        if (!volume) return false;
        setCurrent(std::move(volume));
        return true;
    });
}

bool retrieveLogicalVolumeGroupForDiskId(const char *diskId) {
    return capi::guarded<bool>(false, [&] {
        if (notInitialized("retrieveLogicalVolumeGroupForDiskId: Not initialized")) return false;
        const auto id = capi::argument(diskId);
        logDebugf("retrieveLogicalVolumeGroupForDiskId: diskId=%s", shown(id));
        auto volume = id ? g_CoreStorageInfo->volumeForDiskId(*id) : nullptr;
        if (!volume) {
            logDebugf("retrieveLogicalVolumeGroupForDiskId: volumeForDiskId failed for %s", shown(id));
            return false;
        }
        auto group = CoreStorageInfo::logicalVolumeGroup(volume);
        if (!group) {
            logDebugf("retrieveLogicalVolumeGroupForDiskId: logicalVolumeGroup failed for %s", shown(id));
            return false;
        }
        setCurrent(group);
        logDebugf("retrieveLogicalVolumeGroupForDiskId succeeed: Volume group name=%s", group->name.c_str());
        return true;
    });
}

long physicalVolumeQty(void) {
    return capi::guarded<long>(-1, [] {
        if (!g_CoreStorageInfo || !currentNode()) {
            logDebugf("physicalVolumeQty: Not initialized");
            return -1L;
        }
        logDebugf("physicalVolumeQty: diskId=%s", currentNode()->diskId.c_str());
        return static_cast<long>(CoreStorageInfo::physicalVolumes(g_VolumeInfo->node).size());
    });
}

bool retrievePhysicalVolume(int idx) {
    return capi::guarded<bool>(false, [&] {
        if (!g_CoreStorageInfo || !currentNode()) {
            logDebugf("retrievePhysicalVolume: Not initialized");
            return false;
        }
        logDebugf("retrievePhysicalVolume: diskId=%s, diskIdx=%d", currentNode()->diskId.c_str(), idx);
        const VolumeList volumes = CoreStorageInfo::physicalVolumes(g_VolumeInfo->node);
        // Unsigned, so a negative index is out of range.
        if (static_cast<unsigned long>(static_cast<unsigned>(idx)) >= volumes.size()) return false;
        setCurrent(volumes[static_cast<size_t>(idx)]);
        return true;
    });
}

long unmountedEncryptedVolumeQty(void) {
    return capi::guarded<long>(-1, [] {
        if (notInitialized("unmountedEncryptedVolumeQty: Not initialized")) return -1L;
        const size_t count = g_CoreStorageInfo->unmountedEncryptedVolumeGroups().size();
        logDebugf("unmountedEncryptedVolumeQty = %lu", static_cast<unsigned long>(count));
        return static_cast<long>(count);
    });
}

bool retrieveUnmountedEncryptedPhysicalVolume(int idx) {
    return capi::guarded<bool>(false, [&] {
        // The wording of retrievePhysicalVolume, as designed.
        if (notInitialized("retrievePhysicalVolume: Not initialized")) return false;
        logDebugf("retrieveUnmountedEncryptedPhysicalVolume: idx=%d", idx);
        const VolumeList groups = g_CoreStorageInfo->unmountedEncryptedVolumeGroups();
        if (static_cast<unsigned long>(static_cast<unsigned>(idx)) >= groups.size()) return false;
        const VolumeInfoPtr &group = groups[static_cast<size_t>(idx)];
        auto physical = group->firstPhysicalVolumeInChildren();
        if (!physical) return false;
        // Renamed in place so the caller sees the group's name.
        physical->name = group->name;
        logDebugf("retrieveUnmountedEncryptedPhysicalVolume: idx=%d, name=%s, diskId=%s", idx, physical->name.c_str(),
                  physical->diskId.c_str());
        setCurrent(physical);
        return true;
    });
}

const char *volumeInfoName(void) {
    return volumeText("volumeInfoName: Not initialized", [](const VolumeInfo &v) -> const std::string & { return v.name; });
}

const char *volumeInfoVolumeId(void) {
    return volumeText("volumeInfoVolumeId: Not initialized", [](const VolumeInfo &v) -> const std::string & { return v.volumeId; });
}

const char *volumeInfoDiskId(void) {
    return volumeText("volumeInfoDiskId: Not initialized", [](const VolumeInfo &v) -> const std::string & { return v.diskId; });
}

const char *volumeInfoStatus(void) {
    return volumeText("volumeInfoStatus: Not initialized", [](const VolumeInfo &v) -> const std::string & { return v.status; });
}

int volumeInfoType(void) {
    return capi::guarded<int>(-1, [] {
        if (!currentNode()) {
            logDebugf("volumeInfoType: Not initialized");
            return -1;
        }
        return currentNode()->type;
    });
}

int32_t volumeInfoSize(void) {
    return capi::guarded<int32_t>(-1, [] {
        if (!currentNode()) {
            logDebugf("volumeInfoSize: Not initialized");
            return int32_t{-1};
        }
        return currentNode()->size;
    });
}
