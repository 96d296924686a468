#include "disks/CoreStorageReport.h"

#include <cstdlib>

#include "disks/Partition.h"
#include "util/Strings.h"

namespace vork::disks {

namespace {

constexpr std::string_view kGroupLabel = "Logical Volume Group ";
constexpr std::string_view kPhysicalLabel = "Physical Volume ";
constexpr std::string_view kFamilyLabel = "Logical Volume Family ";
constexpr std::string_view kLogicalLabel = "Logical Volume ";

// Every chunk of the data for the label, each made into a node of the type
// under parent and handed to added.
template <class Added>
void forEachChunk(std::string_view label, std::string_view data, int type, const VolumeInfoPtr &parent, Added &&added) {
    size_t position = data.find(label);
    while (position != std::string_view::npos) {
        const std::string_view chunk = nextChunkWithLabel(label, data, position);
        auto node = std::make_shared<VolumeInfo>();
        node->type = type;
        parseVolumeInfo(*node, chunk, parent);
        added(node, chunk);
    }
}

int64_t leadingInteger(const std::string &text) { return std::strtoll(text.c_str(), nullptr, 10); }

}  // namespace

std::string_view nextChunkWithLabel(std::string_view label, std::string_view data, size_t &position) {
    const size_t start = position + label.size();
    const size_t next = start <= data.size() ? data.find(label, start) : std::string_view::npos;
    const std::string_view chunk =
        start <= data.size() ? data.substr(start, next == std::string_view::npos ? std::string_view::npos : next - start)
                             : std::string_view();
    position = next;
    return chunk;
}

std::string fieldFromData(std::string_view data, size_t start, const char *startDelimiter,
                          std::string_view endDelimiter, size_t *nextLocation) {
    if (start > data.size()) start = data.size();
    if (startDelimiter) {
        const size_t found = data.find(startDelimiter, start);
        if (found == std::string_view::npos) {
            if (nextLocation) *nextLocation = data.size();
            return "";
        }
        start = found + std::string_view(startDelimiter).size();
    }
    const size_t end = data.find(endDelimiter, start);
    if (nextLocation) *nextLocation = end == std::string_view::npos ? data.size() : end + endDelimiter.size();
    return util::strip(data.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
}

void parseVolumeInfo(VolumeInfo &node, std::string_view chunk, const VolumeInfoPtr &parent) {
    node.parentVolume = parent;
    if (parent) node.parentVolumeGroup = parent->type == VolumeInfo::LogicalVolumeGroup ? parent : parent->parentVolumeGroup.lock();
    const std::string_view head = chunk.substr(0, chunk.find("+-"));
    node.volumeId = fieldFromData(head, 0, nullptr, "\n");
    node.name = fieldFromData(head, 0, "Name:", "\n");
    node.status = fieldFromData(head, 0, "Status:", "\n");
    node.conversionStatus = fieldFromData(head, 0, "Conversion Status:", "\n");
    node.diskId = fieldFromData(head, 0, "Disk:", "\n");
    std::string size = fieldFromData(head, 0, "Size:", "\n");
    if (size.empty()) size = fieldFromData(head, 0, "Size (Total):", "\n");
    node.size = megabytesFromBytes(leadingInteger(size.substr(0, size.find(' '))));
}

VolumeList parseCoreStorageReport(std::string_view report) {
    VolumeList groups;
    forEachChunk(kGroupLabel, report, VolumeInfo::LogicalVolumeGroup, nullptr, [&](const VolumeInfoPtr &group, std::string_view groupChunk) {
        forEachChunk(kPhysicalLabel, groupChunk, VolumeInfo::PhysicalVolume, group,
                     [&](const VolumeInfoPtr &volume, std::string_view) { group->childVolumes.push_back(volume); });
        forEachChunk(kFamilyLabel, groupChunk, VolumeInfo::LogicalVolumeFamily, group,
                     [&](const VolumeInfoPtr &family, std::string_view familyChunk) {
                         group->childVolumes.push_back(family);
                         forEachChunk(kLogicalLabel, familyChunk, VolumeInfo::LogicalVolume, family,
                                      [&](const VolumeInfoPtr &volume, std::string_view) {
                                          family->childVolumes.push_back(volume);
                                      });
                     });
        groups.push_back(group);
    });
    return groups;
}

}  // namespace vork::disks
