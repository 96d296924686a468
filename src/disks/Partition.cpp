#include "disks/Partition.h"

#include "util/Strings.h"

namespace vork {

bool Partition::isWindowsPartition() const {
    if (!format) return false;
    return *format == "NTFS" || util::containsTheString(*format, std::string("FAT")) ||
           util::containsTheString(*format, std::string("DOS"));
}

std::optional<std::string> Partition::parentDiskId() const {
    if (!diskId) return std::nullopt;
    return parentDiskId(*diskId);
}

std::string Partition::parentDiskId(std::string_view diskId) {
    const size_t disk = diskId.find("disk");
    const size_t end = disk == std::string_view::npos ? 0 : disk + 4;
    const size_t lastS = diskId.rfind('s');
    if (lastS != std::string_view::npos && lastS > end) return std::string(diskId.substr(0, lastS));
    return std::string(diskId);
}

std::shared_ptr<Partition> Partition::clone() const { return std::make_shared<Partition>(*this); }

int32_t megabytesFromBytes(int64_t bytes) {
    // Wraps instead of overflowing for byte counts near the 64-bit limit.
    const auto rounded = static_cast<int64_t>(static_cast<uint64_t>(bytes) + 500000u);
    return static_cast<int32_t>(rounded / 1000000);
}

std::string describePartitions(const PartitionList &partitions) {
    std::string text = "(";
    for (size_t i = 0; i < partitions.size(); ++i) {
        if (i) text += ", ";
        text += partitions[i] ? shown(partitions[i]->name) : "(null)";
    }
    return text + ")";
}

}  // namespace vork
