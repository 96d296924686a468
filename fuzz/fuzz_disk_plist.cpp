// Arbitrary bytes as the property list of "diskutil list -plist" (for every
// disk id it names and one it does not) and of "hdiutil attach -plist".
#include <cstdint>
#include <string>

#include "base/SystemRoot.h"
#include "disks/DiskUtilInfo.h"
#include "disks/DmgPartitionInfo.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // The fallback path runs the tool once per disk: let it find none.
    vork::setSystemRoot("/nonexistent/vork-fuzz-root");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string bytes(reinterpret_cast<const char *>(data), size);

    std::vector<std::string> ids{"disk0s2"};
    if (auto plist = vork::PropertyList::parse(bytes))
        for (uint32_t i = 0; i < plist->root()["AllDisks"].size() && i < 8; ++i)
            if (auto id = plist->root()["AllDisks"].at(i).text()) ids.push_back(*id);
    for (const auto &id : ids) {
        vork::DiskUtilInfo info;
        info.parseDiskUtilInfoFromOutput(bytes, id);
        for (const auto &partition : info.partitions()) {
            (void)partition->isWindowsPartition();
            (void)partition->parentDiskId();
        }
        (void)info.findPartitionByDiskId(id);
    }

    vork::DmgPartitionInfo image(std::string("/fuzz.dmg"));
    if (image.parseOutput(bytes)) (void)image.hasMultiplePartitions();
    return 0;
}
