// Partitioning C functions over the one PartitionDisk in g_PartitionDisk.
#include "VORKCoreCommC/disks.h"

#include "base/CommCLog.h"
#include "base/ProcessWide.h"
#include "capi/Guard.h"
#include "capi/ReturnedText.h"
#include "disks/PartitionDisk.h"

using namespace vork;

VORKPartitionDisk *g_PartitionDisk = nullptr;

namespace {

auto &partitioning() { return processWide<PartitionDisk, g_PartitionDisk>(); }

}  // namespace

void partitionInit(void) {
    capi::guardedVoid([] {
        logDebugf("partitionInit");
        partitioning().make();
    });
}

bool addPartition(const char *name, const char *format, int32_t size) {
    return capi::guarded<bool>(false, [&] {
        if (!g_PartitionDisk) return false;
        const auto shownName = capi::argument(name);
        const auto shownFormat = capi::argument(format);
        logDebugf("addPartition: name=%s, format=%s, size=%ld", shown(shownName), shown(shownFormat), static_cast<long>(size));
        g_PartitionDisk->addPartition(shownName, shownFormat, size);
        return true;
    });
}

bool partitionDisk(const char *diskId) {
    return capi::guardedOr<bool>(
        [&] {
            if (!g_PartitionDisk) return false;
            const auto id = capi::argument(diskId);
            logDebugf("partitionDisk: diskId=%s", shown(id));
            g_PartitionDisk->partition(id.value_or(""));
            return true;
        },
        [](const std::string &description) {
            logDebugf("partitionDisk: exception=%s", description.c_str());
            return false;
        });
}

const char *getPartitionMountPointByDiskId(const char *diskId) {
    return capi::guarded<const char *>(capi::emptyText(), [&]() -> const char * {
        if (!g_PartitionDisk) return capi::emptyText();
        const auto id = capi::argument(diskId);
        logDebugf("getPartitionMountPointByDiskId:%s", shown(id));
        const auto &target = g_PartitionDisk->targetPartition();
        if (target && sameText(target->diskId, id)) {
            logDebugf("getPartitionMountPointByDiskId - targetPartition.mountPoint=%s", shown(target->mountPoint));
            return capi::returnText(target->mountPoint);
        }
        for (const auto &partition : g_PartitionDisk->partitions()) {
            logDebugf("getPartitionMountPointByDiskId - name=%s, diskId=%s, mountpoint=%s", shown(partition->name),
                      shown(partition->diskId), shown(partition->mountPoint));
            if (sameText(partition->diskId, id)) {
                logDebugf("getPartitionMountPointByDiskId - mountPoint=%s", shown(partition->mountPoint));
                return capi::returnText(partition->mountPoint);
            }
        }
        return capi::emptyText();
    });
}

const char *getPartitionMountPointByName(const char *name) {
    return capi::guarded<const char *>(capi::emptyText(), [&]() -> const char * {
        if (!g_PartitionDisk) return capi::emptyText();
        const auto wanted = capi::argument(name);
        logDebugf("getPartitionMountPointByName: %s", shown(wanted));
        for (const auto &partition : g_PartitionDisk->partitions()) {
            logDebugf("getPartitionMountPointByName - name=%s, diskId=%s, mountpoint=%s", shown(partition->name),
                      shown(partition->diskId), shown(partition->mountPoint));
            if (sameText(partition->name, wanted)) {
                logDebugf("getPartitionMountPointByName - mountPoint=%s", shown(partition->mountPoint));
                return capi::returnText(partition->mountPoint);
            }
        }
        return capi::emptyText();
    });
}

const char *getPartitionDiskId(const char *name) {
    return capi::guarded<const char *>(capi::emptyText(), [&]() -> const char * {
        if (!g_PartitionDisk) return capi::emptyText();
        const auto wanted = capi::argument(name);
        for (const auto &partition : g_PartitionDisk->partitions())
            if (sameText(partition->name, wanted)) return capi::returnText(partition->diskId);
        return capi::emptyText();
    });
}
