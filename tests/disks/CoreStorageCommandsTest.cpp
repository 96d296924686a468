// CoreStorage, Fusion-drive and disk-image work driven through stand-in
// tools: the command sequences and what the C functions answer.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include "StandInTool.h"
#include "base/Exception.h"
#include "disks/PartitionDisk.h"
#include "support/RecordingLog.h"

namespace vork::test {
namespace {

using Args = std::vector<std::string>;
using Calls = std::vector<Args>;
const Args kList = {"list", "-plist"}, kCsList = {"cs", "list"};
const Args kDelete = {"cs", "delete", "7F2C9A41-0B6E-4D3A-9E25-6C1F8B4D2A90"};
const Args kPartition = {"partitionDisk", "disk1", "2", "jhfs+", "untitled", "899345M", "jhfs+", "Work", "100000M"};
const Args kCreate = {"cs", "create", "Macintosh HD", "disk0", "disk1s2"};
const Args kCreateVolume = {"cs", "createVolume", "0123-NEW", "jhfs+", "Macintosh HD", "100%"};
const char *kCsDone = "Started CoreStorage operation\nFinished CoreStorage operation\n";

std::string text(const char *value) { return value ? value : "(NULL)"; }

const std::string kAfterFusion = fixture("list-fusion-after.plist");

TEST(FusionDriveC, DeletesPartitionsAndRebuildsTheGroupEvenWhenAStepFails) {
    const struct {
        const char *name;
        std::string deleted, partitioned, created;
        bool ok;
        Calls tail;  // the calls after "cs list", "list -plist"
        std::string logLine;
    } cases[] = {
        {"success", kCsDone, "Finished partitioning on disk1", "Core Storage LVG UUID: 0123-NEW\nFinished CoreStorage operation", true,
         {kDelete, kList, kList, kList, kList, kPartition, kList, kCreate, kCreateVolume, kList, kList, kList}, "Target diskId=disk2"},
        {"partitioning fails", kCsDone, "Error: resize failed", "Core Storage LVG UUID: 0123-NEW\nfinished corestorage operation", false,
         {kDelete, kList, kList, kList, kList, kPartition, kCreate, kCreateVolume, kList, kList, kList},
         "partitionDisk: exception=Partitioning disk failed: Error: resize failed"},
        {"delete fails", "Error: busy", "", "", false, {kDelete}, "partitionDisk: exception=Deleting the core storage failed: Error: busy"},
        {"create fails", kCsDone, "Finished partitioning on disk1", "Error: -69623", false,
         {kDelete, kList, kList, kList, kList, kPartition, kList, kCreate}, "partitionDisk: exception=Error: -69623: Error: -69623"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SystemRootSandbox sandbox;
        RecordingLog log;
        StandInTool tool(sandbox, "/usr/sbin/diskutil");
        tool.answer(kCsList, fixture("cs-fusion.txt")).answer(kList, fixture("list-fusion.plist"), 5).answer(kList, kAfterFusion);
        tool.answer(kDelete, c.deleted).answer(kPartition, c.partitioned).answer(kCreate, c.created).answer(kCreateVolume, kCsDone);
        partitionInit();
        addPartition("Work", "Apple_HFS", 100000);
        EXPECT_EQ(partitionDisk("disk2"), c.ok);
        Calls expected{kCsList, kList};
        expected.insert(expected.end(), c.tail.begin(), c.tail.end());
        EXPECT_EQ(tool.calls(), expected);
        EXPECT_TRUE(log.contains(c.logLine));
        if (c.ok) {
            EXPECT_EQ(text(getPartitionMountPointByName("Work")), "/Volumes/Work");
            EXPECT_EQ(text(getPartitionMountPointByDiskId("disk2")), "/");
        }
    }
}

TEST(FusionDrive, OnePhysicalVolumeIsNotAFusionDriveAndGapsAreClosed) {
    SystemRootSandbox sandbox;
    StandInTool tool(sandbox, "/usr/sbin/diskutil");
    tool.answer(kList, fixture("list-gap.plist"));
    PartitionDisk disk;
    disk.coreStorageInfo().parseCoreStorageInfo(fixture("cs-filevault-locked.txt"));
    try {
        disk.partitionFusionDrive("disk0s2");
        ADD_FAILURE() << "no exception";
    } catch (const Exception &e) {
        EXPECT_EQ(e.name(), "Not a core storage drive");
        EXPECT_EQ(e.reason(), "There were only 1 physical volumes");
    }
    EXPECT_TRUE(tool.calls().empty());

    VolumeList volumes;
    for (const char *id : {"disk0s3", "disk1s5", "disk0s1"}) {
        volumes.push_back(std::make_shared<VolumeInfo>());
        volumes.back()->diskId = id;
    }
    const VolumeList renumbered = disk.removeGapsFromPhysicalVolumes(volumes, "disk0s3");
    // Past index 1 everything moves down by the gap, whatever its disk.
    EXPECT_EQ(renumbered[0]->diskId + renumbered[1]->diskId + renumbered[2]->diskId, "disk0s2disk1s4disk0s1");
    EXPECT_EQ(volumes[0]->diskId, "disk0s3");
}

TEST(CoreStorageC, AnswersAboutVolumesOfTheLoadedReport) {
    SystemRootSandbox sandbox;
    RecordingLog log;
    StandInTool tool(sandbox, "/usr/sbin/diskutil");
    tool.answer(kCsList, fixture("cs-fusion.txt")).answer(kCsList, fixture("cs-filevault-locked.txt"));
    coreStorageInfoInit();
    EXPECT_EQ(volumeInfoName(), std::string());
    EXPECT_TRUE(loadCoreStorageInfo());
    EXPECT_TRUE(hasCoreStorage());
    for (const char *id : {"disk2", "disk0s2", "disk1s2"}) EXPECT_TRUE(isFusionDrive(id)) << id;
    EXPECT_FALSE(isFusionDrive("disk9"));
    EXPECT_TRUE(log.contains("physicalDriveQty: volumeInfo=Not found"));
    ASSERT_TRUE(retrieveVolumeForDiskId("disk2"));
    EXPECT_EQ(text(volumeInfoName()) + "|" + text(volumeInfoDiskId()) + "|" + text(volumeInfoStatus()), "Macintosh HD|disk2|Online");
    EXPECT_EQ(volumeInfoType(), 3);
    EXPECT_EQ(volumeInfoSize(), 1111826);
    EXPECT_EQ(physicalVolumeQty(), 2);
    EXPECT_FALSE(retrievePhysicalVolume(-1));
    ASSERT_TRUE(retrievePhysicalVolume(1));
    EXPECT_EQ(text(volumeInfoVolumeId()), "4C3D5E6F-7081-4293-A4B5-C6D7E8F90A1B");
    ASSERT_TRUE(retrieveLogicalVolumeGroupForDiskId("disk1s2"));
    EXPECT_EQ(volumeInfoType(), 0);
    EXPECT_TRUE(log.contains("retrieveLogicalVolumeGroupForDiskId succeeed: Volume group name=Macintosh HD"));
    EXPECT_EQ(unmountedEncryptedVolumeQty(), 0);

    // A reload keeps the current volume alive on its own reference.
    EXPECT_TRUE(loadCoreStorageInfo());
    EXPECT_EQ(text(volumeInfoName()), "Macintosh HD");
    EXPECT_EQ(unmountedEncryptedVolumeQty(), 1);
    ASSERT_TRUE(retrieveUnmountedEncryptedPhysicalVolume(0));
    EXPECT_EQ(text(volumeInfoName()) + "|" + text(volumeInfoDiskId()), "Macintosh HD|disk0s2");
    setGlobalVolumeInfo(g_VolumeInfo);
    EXPECT_EQ(volumeInfoType(), 1);

    coreStorageInfoTerm();
    EXPECT_TRUE(log.contains("releasing g_VolumeInfo") && log.contains("coreStorageInfoTerm finished"));
    EXPECT_EQ(g_VolumeInfo, nullptr);
    EXPECT_FALSE(loadCoreStorageInfo());
    EXPECT_EQ(physicalVolumeQty(), -1);
    EXPECT_FALSE(retrievePhysicalVolume(0));
    EXPECT_EQ(volumeInfoSize(), -1);
    EXPECT_STREQ(volumeInfoStatus(), "");
    for (const char *line : {"loadCoreStorageInfo: Not initialized", "physicalVolumeQty: Not initialized",
                             "retrievePhysicalVolume: Not initialized", "volumeInfoStatus: Not initialized"})
        EXPECT_TRUE(log.contains(line)) << line;
    EXPECT_EQ(tool.calls(), (Calls{kCsList, kCsList}));
    coreStorageInfoTerm();  // harmless twice
}

// Entries without a content hint count as data partitions; the detach names
// the alphabetically first device, ignoring case.
TEST(DmgPartitionInfoC, AttachesCountsAndDetachesTheWholeDisk) {
    const Args attach = {"attach", "/images/Tools.dmg", "-plist"};
    auto report = [](const std::vector<std::pair<const char *, const char *>> &entries) {
        std::string xml = "<plist version=\"1.0\"><dict><key>system-entities</key><array>";
        for (const auto &[hint, dev] : entries)
            xml += std::string("<dict><key>dev-entry</key><string>") + dev + "</string>" +
                   (hint ? std::string("<key>content-hint</key><string>") + hint + "</string>" : "") + "</dict>";
        return xml + "</array></dict></plist>";
    };
    const struct {
        const char *name;
        bool installed;
        std::string output;
        bool multiple;
        Calls calls;
    } cases[] = {
        {"GPT image", true, fixture("attach-gpt.plist"), false, {attach, {"detach", "/dev/disk3", "-force"}}},
        {"partition map image", true, fixture("attach-apm.plist"), true, {attach, {"detach", "/dev/disk4", "-force"}}},
        {"two HFS partitions", true,
         report({{"GUID_partition_scheme", "/dev/disk5"}, {"EFI", "/dev/disk5s1"}, {"Apple_HFS", "/dev/disk5s2"},
                 {"Apple_HFS", "/dev/disk5s3"}}),
         true, {attach, {"detach", "/dev/disk5", "-force"}}},
        {"no hints", true, report({{nullptr, "/dev/Disk6s1"}, {nullptr, "/dev/disk6"}}), true,
         {attach, {"detach", "/dev/disk6", "-force"}}},
        {"attach fails", true, "hdiutil: attach failed - not recognized\n", false, {attach}},
        {"tool missing", false, "", false, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SystemRootSandbox sandbox;
        std::optional<StandInTool> tool;
        if (c.installed) tool.emplace(sandbox, "/usr/bin/hdiutil").answer(attach, c.output);
        EXPECT_EQ(dmgHasMultiplePartitions("/images/Tools.dmg"), c.multiple);
        if (tool) EXPECT_EQ(tool->calls(), c.calls);
    }
    EXPECT_FALSE(dmgHasMultiplePartitions(nullptr));
}

}  // namespace
}  // namespace vork::test
