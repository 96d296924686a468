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

using PartitionText = std::optional<std::string> Partition::*;

// The first partition of g_PartitionDisk whose field is the wanted text;
// with a function name, each partition looked at is logged under it.
const Partition *partitionWhere(PartitionText field, const std::optional<std::string> &wanted, const char *loggedAs) {
    for (const auto &partition : g_PartitionDisk->partitions()) {
        if (loggedAs)
            logDebugf("%s - name=%s, diskId=%s, mountpoint=%s", loggedAs, shown(partition->name),
                      shown(partition->diskId), shown(partition->mountPoint));
        if (sameText((*partition).*field, wanted)) return partition.get();
    }
    return nullptr;
}

// The mount point of that partition, logged; "" when none matches.
const char *mountPointWhere(PartitionText field, const std::optional<std::string> &wanted, const char *loggedAs) {
    const Partition *found = partitionWhere(field, wanted, loggedAs);
    if (!found) return capi::emptyText();
    logDebugf("%s - mountPoint=%s", loggedAs, shown(found->mountPoint));
    return capi::returnText(found->mountPoint);
}

// A text look-up in g_PartitionDisk for the argument; "" without the object
// or on any failure.
template <class LookUp>
const char *partitionText(const char *argument, LookUp lookUp) {
    return capi::guarded<const char *>(capi::emptyText(), [&]() -> const char * {
        if (!g_PartitionDisk) return capi::emptyText();
        return lookUp(capi::argument(argument));
    });
}

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
    return partitionText(diskId, [](const std::optional<std::string> &id) -> const char * {
        logDebugf("getPartitionMountPointByDiskId:%s", shown(id));
        const auto &target = g_PartitionDisk->targetPartition();
        if (target && sameText(target->diskId, id)) {
            logDebugf("getPartitionMountPointByDiskId - targetPartition.mountPoint=%s", shown(target->mountPoint));
            return capi::returnText(target->mountPoint);
        }
        return mountPointWhere(&Partition::diskId, id, "getPartitionMountPointByDiskId");
    });
}

const char *getPartitionMountPointByName(const char *name) {
    return partitionText(name, [](const std::optional<std::string> &wanted) {
        logDebugf("getPartitionMountPointByName: %s", shown(wanted));
        return mountPointWhere(&Partition::name, wanted, "getPartitionMountPointByName");
    });
}

const char *getPartitionDiskId(const char *name) {
    return partitionText(name, [](const std::optional<std::string> &wanted) {
        const Partition *found = partitionWhere(&Partition::name, wanted, nullptr);
        return found ? capi::returnText(found->diskId) : capi::emptyText();
    });
}
