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

// What read answers for the current volume; the neutral result (and the
// log line) without one.
// With needsLayout, also before coreStorageInfoInit.
template <class R, class Read>
R currentVolume(R neutral, const char *notInitializedLine, Read read, bool needsLayout = false) {
    return capi::guarded<R>(neutral, [&]() -> R {
        if (!currentNode() || (needsLayout && !g_CoreStorageInfo)) {
            logDebugf("%s", notInitializedLine);
            return neutral;
        }
        return read(*currentNode());
    });
}

// A text field of the current volume; "" (and the log line) without one.
template <class Field>
const char *volumeText(const char *notInitializedLine, Field field) {
    return currentVolume<const char *>(capi::emptyText(), notInitializedLine, [&](const VolumeInfo &volume) {
        return capi::returnText(std::string_view(field(volume)));
    });
}

// The volume of a disk id handed to use, which answers the retrieve
// function's result; false before coreStorageInfoInit.
template <class Use>
bool withVolumeForDiskId(const char *notInitializedLine, const char *loggedAs, const char *diskId, Use use) {
    return capi::guarded<bool>(false, [&] {
        if (notInitialized(notInitializedLine)) return false;
        const auto id = capi::argument(diskId);
        logDebugf("%s: diskId=%s", loggedAs, shown(id));
        return use(id, id ? g_CoreStorageInfo->volumeForDiskId(*id) : nullptr);
    });
}

// Entry idx of a list; none when out of range (a negative idx, read as
// unsigned, is out of range too).
VolumeInfoPtr entryAt(const VolumeList &volumes, int idx) {
    const auto index = static_cast<unsigned long>(static_cast<unsigned>(idx));
    return index < volumes.size() ? volumes[index] : nullptr;
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
    return withVolumeForDiskId("retrieveVolumeForDiskId: Not initialized", "volumeForDiskId", diskId,
                               [](const std::optional<std::string> &, VolumeInfoPtr volume) {
                                   if (!volume) return false;
                                   setCurrent(std::move(volume));
                                   return true;
                               });
}

bool retrieveLogicalVolumeGroupForDiskId(const char *diskId) {
    return withVolumeForDiskId(
        "retrieveLogicalVolumeGroupForDiskId: Not initialized", "retrieveLogicalVolumeGroupForDiskId", diskId,
        [](const std::optional<std::string> &id, const VolumeInfoPtr &volume) {
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
    return currentVolume<long>(
        -1, "physicalVolumeQty: Not initialized",
        [](const VolumeInfo &volume) {
            logDebugf("physicalVolumeQty: diskId=%s", volume.diskId.c_str());
            return static_cast<long>(CoreStorageInfo::physicalVolumes(g_VolumeInfo->node).size());
        },
        true);
}

bool retrievePhysicalVolume(int idx) {
    return currentVolume<bool>(
        false, "retrievePhysicalVolume: Not initialized",
        [&](const VolumeInfo &volume) {
            logDebugf("retrievePhysicalVolume: diskId=%s, diskIdx=%d", volume.diskId.c_str(), idx);
            auto physical = entryAt(CoreStorageInfo::physicalVolumes(g_VolumeInfo->node), idx);
            if (!physical) return false;
            setCurrent(std::move(physical));
            return true;
        },
        true);
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
        const VolumeInfoPtr group = entryAt(g_CoreStorageInfo->unmountedEncryptedVolumeGroups(), idx);
        if (!group) return false;
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
    return currentVolume<int>(-1, "volumeInfoType: Not initialized", [](const VolumeInfo &v) { return v.type; });
}

int32_t volumeInfoSize(void) {
    return currentVolume<int32_t>(-1, "volumeInfoSize: Not initialized", [](const VolumeInfo &v) { return v.size; });
}
