// Disks: partitioning with the mount points of the result, CoreStorage
// queries and the data partitions of a disk image, through the disk C
// functions (which run the system disk tools).
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <climits>
#include <cstdio>
#include <string>
#include <vector>

#include "Command.h"
#include "Output.h"

namespace vorkcomm {
namespace {

const char *const kVolumeTypes[] = {"group", "physical volume", "family", "logical volume"};

std::string text(const char *value) { return value ? value : ""; }

// The current volume (g_VolumeInfo) as fields and as one line for people.
std::vector<Field> currentVolume(std::string &line) {
    const int type = volumeInfoType();
    const std::string typeName = type >= 0 && type < 4 ? kVolumeTypes[type] : "unknown";
    line += "  " + text(volumeInfoDiskId()) + "  " + typeName + "  \"" + text(volumeInfoName()) + "\"  " +
            text(volumeInfoStatus()) + "  " + std::to_string(volumeInfoSize()) + " MB  " + text(volumeInfoVolumeId()) +
            "\n";
    return {{"diskId", text(volumeInfoDiskId())}, {"type", typeName}, {"name", text(volumeInfoName())},
            {"status", text(volumeInfoStatus())}, {"sizeMB", static_cast<long long>(volumeInfoSize())},
            {"volumeId", text(volumeInfoVolumeId())}};
}

int partition(const Options &o) {
    const auto &p = o.positional;
    if (p.size() < 4 || (p.size() - 1) % 3 != 0)
        return usageError("partition DISK-ID NAME FORMAT SIZE-MB [NAME FORMAT SIZE-MB ...] --yes");
    std::vector<long long> sizes;
    for (size_t i = 3; i < p.size(); i += 3) {
        long long size = 0;
        if (!parseNumber(p[i], 1, INT32_MAX, size)) {
            std::fprintf(stderr, "vorkcomm: the size %s is not a whole number of megabytes\n", p[i].c_str());
            return kExitUsage;
        }
        sizes.push_back(size);
    }
    if (!o.has("yes")) {
        std::fprintf(stderr, "vorkcomm: partitioning shrinks %s and changes its disk: give --yes\n", p[0].c_str());
        return kExitUsage;
    }
    partitionInit();
    for (size_t i = 1, n = 0; i < p.size(); i += 3, ++n)
        addPartition(p[i].c_str(), p[i + 1].c_str(), static_cast<int32_t>(sizes[n]));
    ProgressBar bar("partition", o);
    const size_t steps = 2 + sizes.size();
    const bool ok = partitionDisk(p[0].c_str());
    bar.update(100.0 / steps);
    if (!ok) {
        bar.finish(false);
        std::fprintf(stderr, "vorkcomm: partitioning %s failed (see the library's log)\n", p[0].c_str());
        return emit(o, "", {{"diskId", p[0]}, {"partitions", nullptr}}, kExitFailure);
    }
    std::string human = "partitioned " + p[0] + "\n";
    std::vector<std::vector<Field>> made;
    auto add = [&](const std::string &name, const std::string &diskId, const char *mountPoint) {
        human += "  " + diskId + "  \"" + name + "\"  " + (mountPoint ? mountPoint : "(not mounted)") + "\n";
        made.push_back({{"name", name}, {"diskId", diskId}, {"mountPoint", mountPoint ? JsonValue(std::string(mountPoint)) : nullptr}});
        bar.update(100.0 * (made.size() + 1) / steps);
    };
    add("", p[0], getPartitionMountPointByDiskId(p[0].c_str()));
    for (size_t i = 1; i < p.size(); i += 3)
        add(p[i], text(getPartitionDiskId(p[i].c_str())), getPartitionMountPointByName(p[i].c_str()));
    bar.finish(true);
    return emit(o, human, {{"diskId", p[0]}, {"partitions", jsonArray(made)}}, kExitOk);
}

int coreStorage(const Options &o) {
    if (o.positional.size() > 1) return usageError("corestorage [DISK-ID]");
    coreStorageInfoInit();
    ProgressBar bar("corestorage", o);
    if (!loadCoreStorageInfo()) {
        coreStorageInfoTerm();
        std::fprintf(stderr, "vorkcomm: the CoreStorage layout cannot be read\n");
        return emit(o, "", {{"coreStorage", nullptr}}, kExitFailure);
    }
    std::string human = std::string("CoreStorage: ") + (hasCoreStorage() ? "yes" : "no") + "\n";
    std::vector<Field> fields = {{"coreStorage", hasCoreStorage()}};
    std::vector<std::vector<Field>> volumes;
    if (o.positional.empty()) {
        const long locked = unmountedEncryptedVolumeQty();
        human += "locked encrypted volumes: " + std::to_string(locked) + "\n";
        for (long i = 0; i < locked && retrieveUnmountedEncryptedPhysicalVolume(static_cast<int>(i)); ++i) {
            volumes.push_back(currentVolume(human));
            bar.update(100.0 * (i + 1) / (locked + 1));
        }
        fields.push_back({"lockedEncryptedVolumes", jsonArray(volumes)});
    } else {
        const std::string &id = o.positional[0];
        if (!retrieveVolumeForDiskId(id.c_str())) {
            coreStorageInfoTerm();
            std::fprintf(stderr, "vorkcomm: no CoreStorage volume is %s\n", id.c_str());
            return emit(o, "", {{"coreStorage", hasCoreStorage()}, {"volume", nullptr}}, kExitFailure);
        }
        const bool fusion = isFusionDrive(id.c_str());
        std::string line;
        fields.push_back({"volume", JsonRaw{jsonObject(currentVolume(line))}});
        human += "volume:" + line.substr(1) + "Fusion drive: " + (fusion ? "yes" : "no") + "\nphysical volumes:\n";
        fields.push_back({"fusionDrive", fusion});
        const long count = physicalVolumeQty();
        for (long i = 0; i < count; ++i) {
            retrieveVolumeForDiskId(id.c_str());
            if (!retrievePhysicalVolume(static_cast<int>(i))) break;
            volumes.push_back(currentVolume(human));
            bar.update(100.0 * (i + 1) / (count + 1));
        }
        fields.push_back({"physicalVolumes", jsonArray(volumes)});
    }
    coreStorageInfoTerm();
    bar.finish(true);
    return emit(o, human, fields, kExitOk);
}

int dmgPartitions(const Options &o) {
    if (o.positional.size() != 1) return usageError("dmg-partitions IMAGE");
    const bool multiple = dmgHasMultiplePartitions(o.positional[0].c_str());
    return emit(o, multiple ? "more than one data partition" : "at most one data partition (or the image did not attach)",
                {{"image", o.positional[0]}, {"multiplePartitions", multiple}}, kExitOk);
}

CommandRegistrar r1({"partition", "DISK-ID NAME FORMAT SIZE-MB [NAME FORMAT SIZE-MB ...] --yes",
                     "shrink a partition, add new ones after it and show their disk ids and mount points", partition,
                     "yes"});
CommandRegistrar r2({"corestorage", "[DISK-ID]",
                     "CoreStorage layout: a volume with its physical volumes, or the locked encrypted volumes",
                     coreStorage});
CommandRegistrar r3({"dmg-partitions", "IMAGE", "whether a disk image holds more than one data partition",
                     dmgPartitions});

}  // namespace
}  // namespace vorkcomm
