// The Fusion-drive side of PartitionDisk: the CoreStorage group is deleted,
// the last physical volume's disk is partitioned as a normal drive, and the
// group and its logical volume are built again over the physical volumes.
#include <climits>
#include <cstdlib>
#include <exception>

#include "base/CommCLog.h"
#include "base/Exception.h"
#include "base/Format.h"
#include "disks/PartitionDisk.h"
#include "util/Strings.h"

namespace vork {

namespace {

void logVolumes(const char *before, const VolumeList &volumes, const char *after) {
    logDebugf("%s", before);
    for (const auto &volume : volumes) logDebugf("Partition name=%s, diskId=%s", volume->name.c_str(), volume->diskId.c_str());
    logDebugf("%s", after);
}

void logRecords(const VolumeList &volumes) {
    for (const auto &volume : volumes)
        logDebugf("     Partition name=%s, diskId=%s", volume->name.c_str(), volume->diskId.c_str());
}

void replaceAll(std::string &text, const std::string &from, const std::string &to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

}  // namespace

void PartitionDisk::partitionFusionDrive(const std::string &diskId) {
    logDebugf("PartitionDisk.partitionFusionDrive: diskId=%s", diskId.c_str());
    const VolumeInfoPtr volume = coreStorageInfo_.volumeForDiskId(diskId);
    const VolumeList volumes = CoreStorageInfo::physicalVolumes(volume);
    if (volumes.size() < 2)
        throw Exception("Not a core storage drive",
                        stringf("There were only %lu physical volumes", static_cast<unsigned long>(volumes.size())));
    logVolumes("Physical Volumes before partition >>>>>", volumes, "<<<<< Physical Volumes before partition");

    diskUtilInfo_.reset();
    diskUtilInfo_.retrievePartitionsForDisk(diskId);
    const PartitionPtr listed = diskUtilInfo_.findPartitionByDiskId(diskId);
    const PartitionPtr logicalVolumeCopy = listed ? listed->clone() : nullptr;

    const std::string lastId = volumes.back()->diskId;
    const VolumeInfoPtr group = volumes.back()->parentVolumeGroup.lock();
    const std::string groupName = group ? group->name : "";
    const std::string groupId = group ? group->volumeId : "";

    deleteCoreStorage(groupId);
    const VolumeList renumbered = removeGapsFromPhysicalVolumes(volumes, lastId);

    // Once the group is gone it is built again whatever the partitioning
    // did; its failure is reported only after the rebuild.
    std::exception_ptr partitioningFailure;
    try {
        const std::string lastParent = Partition::parentDiskId(lastId);
        PartitionList keep;
        for (const auto &physical : volumes) {
            diskUtilInfo_.reset();
            diskUtilInfo_.retrievePartitionsForDisk(lastParent);
            if (Partition::parentDiskId(physical->diskId) != lastParent) continue;
            if (auto found = diskUtilInfo_.findPartitionByDiskId(physical->diskId)) keep.push_back(found->clone());
            else logDebugf("Partition name=%s, diskId=%s not found in disk info", physical->name.c_str(), physical->diskId.c_str());
        }
        partitionNormalDrive(lastId, keep);
    } catch (...) {
        partitioningFailure = std::current_exception();
    }

    logVolumes("Physical Volumes after partition >>>>>", renumbered, "<<<<< Physical Volumes after partition");
    const std::string newGroupId = createFusionDriveWithVolumeGroupName(groupName, renumbered);
    const std::optional<std::string> listedFormat = logicalVolumeCopy ? logicalVolumeCopy->format : std::nullopt;
    createLogicalVolume(newGroupId, "%" + std::string(shown(listedFormat)) + "%", volume->name);

    diskUtilInfo_.reset();
    logDebugf("Target diskId=%s", diskId.c_str());
    diskUtilInfo_.retrievePartitionsForDisk(diskId);
    // The remembered disk stays "", so a disk holding two physical volumes
    // is listed twice; kept as designed.
    const std::string lastParentDisk;
    for (const auto &physical : volumes) {
        logDebugf("lastParentDisk=%s, Partition name=%s, diskId=%s", lastParentDisk.c_str(), physical->name.c_str(),
                  physical->diskId.c_str());
        const std::string parent = Partition::parentDiskId(physical->diskId);
        logDebugf("parentDiskId=%s", parent.c_str());
        if (parent != lastParentDisk) diskUtilInfo_.retrievePartitionsForDisk(parent);
    }
    const PartitionPtr target = diskUtilInfo_.findPartitionByDiskId(diskId);
    targetPartition_ = target ? target->clone() : nullptr;
    updatePartitions(diskUtilInfo_.partitions());
    if (partitioningFailure) std::rethrow_exception(partitioningFailure);
}

void PartitionDisk::deleteCoreStorage(const std::string &volumeGroupId) {
    logDebugf("PartitionDisk.deleteCoreStorage: volumeGroupId=%s", volumeGroupId.c_str());
    validateCoreStorageOperationOutput(runDiskUtilWithArgs({"cs", "delete", volumeGroupId}), "Deleting the core storage failed");
}

std::string PartitionDisk::createFusionDriveWithVolumeGroupName(const std::string &name, const VolumeList &physicalVolumes) {
    std::string names = "(";
    for (size_t i = 0; i < physicalVolumes.size(); ++i) names += (i ? ", " : "") + physicalVolumes[i]->diskId;
    logDebugf("PartitionDisk.createFusionDriveWithVolumeGroupName: volumeGroupName=%s, physicalVolumes=%s", name.c_str(),
              (names + ")").c_str());
    std::vector<std::string> args{"cs", "create", name};
    for (size_t i = 0; i < physicalVolumes.size(); ++i)
        args.push_back(i == 0 ? Partition::parentDiskId(physicalVolumes[i]->diskId) : physicalVolumes[i]->diskId);
    const std::string output = runDiskUtilWithArgs(args);
    // The output is also the failure message, as designed.
    validateCoreStorageOperationOutput(output, output);
    return logicalVolumeGroupIdFromOutput(output);
}

std::string PartitionDisk::logicalVolumeGroupIdFromOutput(const std::string &output) {
    logDebugf("PartitionDisk.logicalVolumeGroupIdFromOutput: data=%s", output.c_str());
    return util::strip(util::findValueBetween(output, std::string("Core Storage LVG UUID:"), std::string("\n"), 0));
}

void PartitionDisk::createLogicalVolume(const std::string &groupId, const std::optional<std::string> &format,
                                        const std::string &name) {
    logDebugf("PartitionDisk.createLogicalVolume: logicalVolumeGroupId=%s, format=%s, name=%s", groupId.c_str(),
              shown(format), name.c_str());
    const std::string output =
        runDiskUtilWithArgs({"cs", "createVolume", groupId, convertFormat(format).value_or(""), name, "100%"});
    validateCoreStorageOperationOutput(output, "Creating the core storage logical volume failed");
}

void PartitionDisk::validateCoreStorageOperationOutput(const std::string &output, const std::string &failureMessage) {
    if (util::containsTheString(output, std::string("Finished CoreStorage operation"), true)) return;
    logDebugf("PartitionDisk.validateCoreStorageOperationOutput failed: output=%s, message=%s", output.c_str(),
              failureMessage.c_str());
    throw Exception(failureMessage, failureMessage + ": " + output);
}

VolumeList PartitionDisk::removeGapsFromPhysicalVolumes(const VolumeList &volumes, const std::string &diskId) {
    VolumeList copy;
    for (const auto &volume : volumes) copy.push_back(volume->clone());
    logDebugf("PartitionDisk.removeGapsFromPhysicalVolumes for diskId %s (Before):", diskId.c_str());
    logRecords(copy);

    diskUtilInfo_.retrievePartitionsForDisk(diskId);
    long long expected = 0, removed = 0;
    for (size_t i = 0; i < diskUtilInfo_.partitions().size(); ++i) {
        const int index = partitionIndex(diskUtilInfo_.partitions()[i]->diskId.value_or(""));
        const long long gap = index - expected;
        if (gap > 0) {
            logDebugf("PartitionDisk.removeGapsFromPhysicalVolumes: Removing gap at %d", index);
            removed += gap;
            decrementPartitionIndexPast(static_cast<int>(expected - removed), static_cast<int>(gap), copy);
        }
        expected = index < expected ? expected : index + 1LL;
    }

    logDebugf("PartitionDisk.removeGapsFromPhysicalVolumes for diskId %s (After):", diskId.c_str());
    logRecords(copy);
    return copy;
}

int PartitionDisk::partitionIndex(const std::string &diskId) {
    if (diskId.find("disk") == std::string::npos) return -1;
    const size_t s = diskId.find('s', 4);
    if (s == std::string::npos) return 0;
    const long value = std::strtol(diskId.c_str() + s + 1, nullptr, 10);
    return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

void PartitionDisk::decrementPartitionIndexPast(int past, int by, const VolumeList &volumes) {
    for (const auto &volume : volumes) {
        const int index = partitionIndex(volume->diskId);
        if (index > past)
            replaceAll(volume->diskId, stringf("s%d", index), stringf("s%d", static_cast<int>(static_cast<long long>(index) - by)));
    }
}

}  // namespace vork
