#pragma once
// The partition layout of one physical disk, read from the property list
// that "diskutil list -plist" prints. Entries accumulate until reset().
#include <optional>
#include <string>

#include "disks/Partition.h"
#include "disks/PropertyList.h"

namespace vork {

class DiskUtilInfo {
public:
    void reset() { partitions_.clear(); }

    // Runs "diskutil list -plist", adds the disk's entries and logs them all.
    // Does not reset first.
    void retrievePartitionsForDisk(const std::string &diskId);
    // The first entry with exactly this disk id, or null.
    PartitionPtr findPartitionByDiskId(const std::optional<std::string> &diskId) const;

    const PartitionList &partitions() const { return partitions_; }
    void setPartitions(PartitionList partitions) { partitions_ = std::move(partitions); }

    // Adds the whole disk of diskId and each of its partitions, in the order
    // of "AllDisks"; a disk not listed in "WholeDisks" is asked for one by one.
    void parseDiskUtilInfoFromOutput(const std::string &output, const std::string &diskId);
    // False when the whole disk is not listed (then nothing was added).
    bool processAllDisksAndPartitionsFromPlist(PlistView plist, const std::string &diskId);
    void processDiskUtilInfoFromPlist(PlistView plist, const std::string &diskId);
    void addPartitionFromDictionary(PlistView dictionary, const std::string &diskId);

    // A record for the dictionary when its "DeviceIdentifier" is diskId, else null.
    static PartitionPtr createPartitionFromDictionary(PlistView dictionary, const std::string &diskId);
    static PartitionPtr createPartitionFromDictionary(PlistView dictionary);
    // As above, with the size from "TotalSize" (the single-disk report).
    static PartitionPtr createPartitionFromInfoDictionary(PlistView dictionary);
    // The tool's output as a dictionary; none (and a log line) otherwise.
    static std::optional<PropertyList> readDiskUtilInfo(const std::string &output);
    static std::string uuid();

private:
    PartitionList partitions_;
};

}  // namespace vork
