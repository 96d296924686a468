#pragma once
// Whether a disk image holds more than one data partition: the image is
// attached with "hdiutil attach <path> -plist", the "system-entities" of
// its report are counted (partition maps and EFI partitions left out), and
// the image is detached again through its whole-disk device.
#include <optional>
#include <string>
#include <vector>

#include "disks/PropertyList.h"

namespace vork {

class DmgPartitionInfo {
public:
    explicit DmgPartitionInfo(std::optional<std::string> dmgFilePath) : dmgFilePath_(std::move(dmgFilePath)) {}

    std::string attachDmg() const { return attachDmg(dmgFilePath_.value_or("")); }
    std::string attachDmg(const std::string &path) const;
    // Reads the attach report; false (and a log line) when it is not a property list.
    bool parseOutput(const std::string &output);
    // More than one counted entry; also picks the device to detach.
    bool hasMultiplePartitions();
    // The first device path by case-insensitive order; none for an empty list.
    static std::optional<std::string> findRootDisk(std::vector<std::string> devices);
    // "hdiutil detach <root> -force" when a root device is known; none otherwise.
    std::optional<std::string> detachDmg() const;

    const std::optional<std::string> &rootDevDisk() const { return rootDevDisk_; }

private:
    std::optional<std::string> dmgFilePath_;
    std::optional<PropertyList> report_;  // keeps partitions_ alive
    std::optional<PlistView> partitions_; // "system-entities"; none until parsed
    std::optional<std::string> rootDevDisk_;
};

}  // namespace vork
