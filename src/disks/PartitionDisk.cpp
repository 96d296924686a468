#include "disks/PartitionDisk.h"

#include <algorithm>
#include <cctype>

#include "base/CommCLog.h"
#include "base/Exception.h"
#include "base/Format.h"
#include "disks/DiskTools.h"
#include "util/Strings.h"

namespace vork {

void PartitionDisk::addPartition(const std::optional<std::string> &name, const std::optional<std::string> &format,
                                 long sizeMB) {
    logDebugf("PartitionDisk.addPartition: name=%s, format=%s, size=%ld", shown(name), shown(format), sizeMB);
    auto partition = std::make_shared<Partition>();
    partition->name = name;
    partition->format = format;
    partition->size = static_cast<int32_t>(sizeMB);
    partitions_.push_back(partition);
}

void PartitionDisk::partition(const std::string &diskId) {
    logDebugf("PartitionDisk.partition: diskId=%s", diskId.c_str());
    coreStorageInfo_.loadCoreStorageInfo();
    if (coreStorageInfo_.isFusionDrive(diskId)) partitionFusionDrive(diskId);
    else partitionNormalDrive(diskId);
}

void PartitionDisk::partitionNormalDrive(const std::string &diskId, const std::optional<PartitionList> &keep) {
    logDebugf("PartitionDisk.partitionNormalDrive %s:", diskId.c_str());
    if (keep)
        for (const auto &partition : *keep)
            logDebugf("Partition name=%s, diskId=%s", shown(partition->name), shown(partition->diskId));

    diskUtilInfo_.reset();
    diskUtilInfo_.retrievePartitionsForDisk(diskId);
    auto found = diskUtilInfo_.findPartitionByDiskId(diskId);
    if (!found) throw Exception("No target drive", stringf("The target disk id %s was not found", diskId.c_str()));
    targetPartition_ = found->clone();

    const long total = calculatePartitionSizes();
    if (total >= targetPartition_->size)
        throw Exception("Not enough space on target drive",
                        stringf("The target disk id %s did not have enough space", diskId.c_str()));
    targetPartition_->size = static_cast<int32_t>(targetPartition_->size - total);

    const size_t kept = keep ? keep->size() : 1;
    const PartitionList ordered = orderedPartitions();
    const std::string parent = targetPartition_->parentDiskId().value_or("");
    std::vector<std::string> args{"partitionDisk", parent, stringf("%lu", static_cast<unsigned long>(ordered.size() + kept))};
    const Partition &target = *targetPartition_;
    if (!keep) {
        addPartitionDiskId(target.diskId, target.name, target.format, target.size, args);
    } else {
        for (const auto &partition : *keep) {
            const Partition &source = sameText(partition->diskId, target.diskId) ? target : *partition;
            addPartitionDiskId(target.diskId, source.name, source.format, source.size, args);
        }
    }
    for (const auto &partition : ordered)
        addPartitionDiskId(partition->diskId, partition->name, partition->format, partition->size, args);

    const std::string output = runDiskUtilWithArgs(args);
    logDebugf("Output for diskutil %s: %s", disks::describeArguments(args).c_str(), output.c_str());
    validatePartitionDiskResultsForError(output);

    diskUtilInfo_.reset();
    diskUtilInfo_.retrievePartitionsForDisk(parent);
    updatePartitions(diskUtilInfo_.partitions());
}

long PartitionDisk::calculatePartitionSizes() const {
    long total = 0;
    for (const auto &partition : partitions_) total += partition->size;
    logDebugf("PartitionDisk.calculatePartitionSizes: totalSize=%ld", total);
    return total;
}

PartitionList PartitionDisk::orderedPartitions() const {
    PartitionList ordered;
    for (const auto &partition : partitions_)
        if (!partition->isWindowsPartition()) ordered.push_back(partition);
    for (const auto &partition : partitions_)
        if (partition->isWindowsPartition()) ordered.push_back(partition);
    logDebugf("PartitionDisk.orderedPartitions=%s", describePartitions(ordered).c_str());
    return ordered;
}

void PartitionDisk::addPartitionDiskId(const std::optional<std::string> &diskId, const std::optional<std::string> &name,
                                       const std::optional<std::string> &format, long size,
                                       std::vector<std::string> &args) const {
    logDebugf("PartitionDisk.addPartition_toArgs: diskId=%s, name=%s, format=%s, size=%ld", shown(diskId), shown(name),
              shown(format), size);
    const auto converted = convertFormat(format);
    std::optional<std::string> shownName = name;
    if (converted == "MS-DOS" && shownName)
        std::transform(shownName->begin(), shownName->end(), shownName->begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    if (!shownName || shownName->empty()) shownName = "untitled";
    args.push_back(converted.value_or(""));
    args.push_back(*shownName);
    args.push_back(stringf("%ldM", size));
}

std::optional<std::string> PartitionDisk::convertFormat(const std::optional<std::string> &format) {
    if (!format) return format;
    if (*format == "NTFS") return std::string("MS-DOS");
    if (util::containsTheString(*format, std::string("Apple_HFS")) ||
        util::containsTheString(*format, std::string("Apple_CoreStorage")))
        return std::string("jhfs+");
    if (util::containsTheString(*format, std::string("Apple_"))) return "%" + *format + "%";
    return format;
}

std::string PartitionDisk::runDiskUtilWithArgs(const std::vector<std::string> &args) const {
    logDebugf("PartitionDisk.runDiskUtilWithArgs: args=%s", disks::describeArguments(args).c_str());
    return disks::runTool(disks::kDiskUtilPath, args);
}

void PartitionDisk::validatePartitionDiskResultsForError(const std::string &output) const {
    if (output.find("Finished partitioning") != std::string::npos) return;
    logDebugf("PartitionDisk.validatePartitionDiskResultsForError failed: output=%s", output.c_str());
    throw Exception("Partitioning disk failed", "Partitioning disk failed: " + output);
}

void PartitionDisk::updatePartitions(const PartitionList &retrieved) {
    logDebugf("PartitionDisk.updatePartitions: partitions=%s", describePartitions(retrieved).c_str());
    for (const auto &partition : retrieved) {
        logDebugf("PartitionDisk.updatePartitions: partition.name=%s, diskId=%s, mountPoint=%s", shown(partition->name),
                  shown(partition->diskId), shown(partition->mountPoint));
        if (targetPartition_ && sameText(partition->diskId, targetPartition_->diskId)) {
            logDebugf("PartitionDisk.updatePartitions: targetPartition.mountpoint=%s, diskId=%s",
                      shown(partition->mountPoint), shown(partition->diskId));
            targetPartition_->mountPoint = partition->mountPoint;
            continue;
        }
        auto local = findPartitionByName(partition->name);
        if (!local) {
            logDebugf("PartitionDisk.updatePartitions: Couldn't find %s", shown(partition->name));
            continue;
        }
        logDebugf("PartitionDisk.updatePartitions: localPartition.mountpoint=%s, diskId=%s", shown(partition->mountPoint),
                  shown(partition->diskId));
        local->mountPoint = partition->mountPoint;
        local->diskId = partition->diskId;
    }
}

PartitionPtr PartitionDisk::findPartitionByName(const std::optional<std::string> &name) const {
    for (const auto &partition : partitions_) {
        if (sameText(partition->name, name)) {
            logDebugf("PartitionDisk.findPartitionByName: FOUND name=%s, diskId=%s", shown(partition->name),
                      shown(partition->diskId));
            return partition;
        }
    }
    logDebugf("PartitionDisk.findPartitionByName: COULD NOT FIND %s", shown(name));
    return nullptr;
}

}  // namespace vork
