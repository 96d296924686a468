#include "disks/DiskUtilInfo.h"

#include "base/CommCLog.h"
#include "base/SystemRoot.h"
#include "disks/DiskTools.h"
#include "message/Uuid.h"

namespace vork {

void DiskUtilInfo::retrievePartitionsForDisk(const std::string &diskId) {
    parseDiskUtilInfoFromOutput(disks::runTool(disks::kDiskUtilPath, {"list", "-plist"}), diskId);
    logDebugf("DiskUtilInfo.retrievePartitionsForDisk %s:", diskId.c_str());
    for (const auto &partition : partitions_)
        logDebugf("     Partition name=%s, diskId=%s", shown(partition->name), shown(partition->diskId));
}

PartitionPtr DiskUtilInfo::findPartitionByDiskId(const std::optional<std::string> &diskId) const {
    for (const auto &partition : partitions_)
        if (sameText(partition->diskId, diskId)) return partition;
    return nullptr;
}

void DiskUtilInfo::parseDiskUtilInfoFromOutput(const std::string &output, const std::string &diskId) {
    auto plist = readDiskUtilInfo(output);
    if (!plist) return;
    if (!processAllDisksAndPartitionsFromPlist(plist->root(), diskId)) processDiskUtilInfoFromPlist(plist->root(), diskId);
}

bool DiskUtilInfo::processAllDisksAndPartitionsFromPlist(PlistView plist, const std::string &diskId) {
    const std::string parent = Partition::parentDiskId(diskId);
    const PlistView wholeDisks = plist["WholeDisks"];
    uint32_t index = 0;
    while (index < wholeDisks.size() && wholeDisks.at(index).text() != parent) ++index;
    if (index == wholeDisks.size()) return false;
    const PlistView all = plist["AllDisksAndPartitions"];
    // Strictly greater, as the two arrays are parallel; an index equal to
    // the count finds no entry and adds only nothing.
    if (index > all.size()) return false;
    const PlistView whole = all.at(index);
    const PlistView allDisks = plist["AllDisks"];
    for (uint32_t i = 0; i < allDisks.size(); ++i) {
        auto id = allDisks.at(i).text();
        if (!id || Partition::parentDiskId(*id) != parent) continue;
        addPartitionFromDictionary(whole, *id);
        const PlistView children = whole["Partitions"];
        for (uint32_t k = 0; k < children.size(); ++k) addPartitionFromDictionary(children.at(k), *id);
    }
    return true;
}

void DiskUtilInfo::processDiskUtilInfoFromPlist(PlistView plist, const std::string &diskId) {
    const std::string parent = Partition::parentDiskId(diskId);
    const PlistView allDisks = plist["AllDisks"];
    for (uint32_t i = 0; i < allDisks.size(); ++i) {
        auto id = allDisks.at(i).text();
        if (!id || Partition::parentDiskId(*id) != parent) continue;
        auto info = readDiskUtilInfo(disks::runTool(disks::kDiskUtilPath, {"list", "-plist", *id}));
        if (!info) continue;
        if (auto partition = createPartitionFromInfoDictionary(info->root())) partitions_.push_back(partition);
    }
}

void DiskUtilInfo::addPartitionFromDictionary(PlistView dictionary, const std::string &diskId) {
    auto partition = createPartitionFromDictionary(dictionary, diskId);
    if (!partition) return;
    logDebugf("DiskUtilInfo addPartitionFromDictionary: diskId=%s, partition.name=%s, partition.diskId=%s",
              diskId.c_str(), shown(partition->name), shown(partition->diskId));
    partitions_.push_back(partition);
}

PartitionPtr DiskUtilInfo::createPartitionFromDictionary(PlistView dictionary, const std::string &diskId) {
    if (dictionary["DeviceIdentifier"].text() != diskId) return nullptr;
    return createPartitionFromDictionary(dictionary);
}

PartitionPtr DiskUtilInfo::createPartitionFromDictionary(PlistView dictionary) {
    if (!dictionary.isDictionary()) return nullptr;
    auto partition = std::make_shared<Partition>();
    partition->name = dictionary["VolumeName"].text();
    partition->format = dictionary["Content"].text();
    partition->size = megabytesFromBytes(dictionary["Size"].integer());
    partition->mountPoint = dictionary["MountPoint"].text();
    partition->diskId = dictionary["DeviceIdentifier"].text();
    return partition;
}

PartitionPtr DiskUtilInfo::createPartitionFromInfoDictionary(PlistView dictionary) {
    auto partition = createPartitionFromDictionary(dictionary);
    if (partition) partition->size = megabytesFromBytes(dictionary["TotalSize"].integer());
    return partition;
}

std::optional<PropertyList> DiskUtilInfo::readDiskUtilInfo(const std::string &output) {
    // The text is parsed in memory; the temporary path only names the
    // output in the log line, as a file round trip would have.
    auto plist = PropertyList::parseDictionary(output);
    if (!plist) logDebugf("Unable to read output from %s", systemPath("/private/tmp/" + uuid()).c_str());
    return plist;
}

std::string DiskUtilInfo::uuid() { return newUuidString(); }

}  // namespace vork
