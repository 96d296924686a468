#pragma once
// One partition (or whole disk) as the disk tool lists it. Records are
// shared: lists hold std::shared_ptr<Partition>, and clone() copies the
// five fields into a new record.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vork {

struct Partition {
    std::optional<std::string> name;        // "VolumeName"
    std::optional<std::string> format;      // "Content", e.g. Apple_HFS
    int32_t size = 0;                       // megabytes of 1,000,000 bytes
    std::optional<std::string> mountPoint;  // "MountPoint"; none when not mounted
    std::optional<std::string> diskId;      // "DeviceIdentifier", e.g. disk0s2

    // "NTFS" exactly, or a format containing "FAT" or "DOS".
    bool isWindowsPartition() const;
    // The whole disk this partition lies on (none without a disk id).
    std::optional<std::string> parentDiskId() const;
    // disk0s2 -> disk0, disk10s1 -> disk10, disk0 -> disk0.
    static std::string parentDiskId(std::string_view diskId);
    std::shared_ptr<Partition> clone() const;
};

using PartitionPtr = std::shared_ptr<Partition>;
using PartitionList = std::vector<PartitionPtr>;

// Bytes to megabytes of 1,000,000 bytes, half up, stored in 32 bits.
int32_t megabytesFromBytes(int64_t bytes);

// "(name, name, ...)": how a list of partitions appears in log lines.
std::string describePartitions(const PartitionList &partitions);

// Equality of two texts that are both present (none equals nothing).
inline bool sameText(const std::optional<std::string> &a, const std::optional<std::string> &b) {
    return a && b && *a == *b;
}

// "(null)" for none, the way absent text appears in log lines.
inline const char *shown(const std::optional<std::string> &text) { return text ? text->c_str() : "(null)"; }

}  // namespace vork
