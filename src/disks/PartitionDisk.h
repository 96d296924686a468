#pragma once
// Splits new partitions off an existing partition with "diskutil
// partitionDisk"; a partition of a Fusion drive is handled by tearing its
// CoreStorage group down and building it again around the partitioning.
// Failures leave as vork::Exception.
#include <optional>
#include <string>
#include <vector>

#include "disks/CoreStorageInfo.h"
#include "disks/DiskUtilInfo.h"
#include "disks/Partition.h"

namespace vork {

class PartitionDisk {
public:
    void addPartition(const std::optional<std::string> &name, const std::optional<std::string> &format, long sizeMB);
    // Loads the CoreStorage layout and partitions a Fusion drive or a normal one.
    void partition(const std::string &diskId);
    void partitionNormalDrive(const std::string &diskId) { partitionNormalDrive(diskId, std::nullopt); }
    // keep: partitions already on the disk that appear again in the new layout.
    void partitionNormalDrive(const std::string &diskId, const std::optional<PartitionList> &keep);

    long calculatePartitionSizes() const;
    // Requested partitions: the others first, then the Windows ones, each in order.
    PartitionList orderedPartitions() const;
    void addPartitionDiskId(const std::optional<std::string> &diskId, const std::optional<std::string> &name,
                            const std::optional<std::string> &format, long size, std::vector<std::string> &args) const;
    static std::optional<std::string> convertFormat(const std::optional<std::string> &format);
    std::string runDiskUtilWithArgs(const std::vector<std::string> &args) const;
    void validatePartitionDiskResultsForError(const std::string &output) const;
    void updatePartitions(const PartitionList &retrieved);
    PartitionPtr findPartitionByName(const std::optional<std::string> &name) const;

    // Fusion drive and CoreStorage operations.
    void partitionFusionDrive(const std::string &diskId);
    void deleteCoreStorage(const std::string &volumeGroupId);
    std::string createFusionDriveWithVolumeGroupName(const std::string &name, const VolumeList &physicalVolumes);
    static std::string logicalVolumeGroupIdFromOutput(const std::string &output);
    void createLogicalVolume(const std::string &groupId, const std::optional<std::string> &format, const std::string &name);
    static void validateCoreStorageOperationOutput(const std::string &output, const std::string &failureMessage);
    VolumeList removeGapsFromPhysicalVolumes(const VolumeList &volumes, const std::string &diskId);
    static int partitionIndex(const std::string &diskId);
    static void decrementPartitionIndexPast(int past, int by, const VolumeList &volumes);

    const PartitionPtr &targetPartition() const { return targetPartition_; }
    void setTargetPartition(PartitionPtr partition) { targetPartition_ = std::move(partition); }
    const PartitionList &partitions() const { return partitions_; }
    void setPartitions(PartitionList partitions) { partitions_ = std::move(partitions); }
    CoreStorageInfo &coreStorageInfo() { return coreStorageInfo_; }
    DiskUtilInfo &diskUtilInfo() { return diskUtilInfo_; }

private:
    PartitionPtr targetPartition_;
    PartitionList partitions_;
    CoreStorageInfo coreStorageInfo_;
    DiskUtilInfo diskUtilInfo_;
};

}  // namespace vork
