#include "disks/DmgPartitionInfo.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "base/CommCLog.h"
#include "disks/DiskTools.h"

namespace vork {

namespace {

// Entries that are not data partitions: EFI by name and by GPT type, and
// the partition schemes and maps.
constexpr std::array<std::string_view, 5> kNotData = {"EFI", "C12A7328-F81F-11D2-BA4B-00A0C93EC93B",
                                                      "Apple_partition_scheme", "Apple_partition_map",
                                                      "GUID_partition_scheme"};

std::string folded(const std::string &text) {
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

}  // namespace

std::string DmgPartitionInfo::attachDmg(const std::string &path) const {
    return disks::runTool(disks::kHdiUtilPath, {"attach", path, "-plist"});
}

bool DmgPartitionInfo::parseOutput(const std::string &output) {
    if (output.empty()) return false;
    auto report = PropertyList::parse(output);
    if (!report) {
        // libplist gives no description of its own; the size stands in for it.
        logDebugf("There was an unexpected error parsing the output of hdiutil '%s'",
                  ("not a property list (" + std::to_string(output.size()) + " bytes)").c_str());
        return false;
    }
    report_ = std::move(report);
    partitions_ = report_->root()["system-entities"];
    if (!*partitions_) partitions_.reset();
    return true;
}

bool DmgPartitionInfo::hasMultiplePartitions() {
    if (!partitions_) return false;
    std::vector<std::string> devices;
    int counted = 0;
    for (uint32_t i = 0; i < partitions_->size(); ++i) {
        const PlistView entry = partitions_->at(i);
        if (auto device = entry["dev-entry"].text()) devices.push_back(*device);
        const auto hint = entry["content-hint"].text();
        if (!hint || std::find(kNotData.begin(), kNotData.end(), *hint) == kNotData.end()) ++counted;
    }
    rootDevDisk_ = findRootDisk(std::move(devices));
    return counted > 1;
}

std::optional<std::string> DmgPartitionInfo::findRootDisk(std::vector<std::string> devices) {
    if (devices.empty()) return std::nullopt;
    std::stable_sort(devices.begin(), devices.end(),
                     [](const std::string &a, const std::string &b) { return folded(a) < folded(b); });
    return devices.front();
}

std::optional<std::string> DmgPartitionInfo::detachDmg() const {
    if (!rootDevDisk_) return std::nullopt;
    return disks::runTool(disks::kHdiUtilPath, {"detach", *rootDevDisk_, "-force"});
}

}  // namespace vork
