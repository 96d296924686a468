// The disk C functions driven end to end: stand-in tools at the fixed paths
// record every command line and print saved outputs. Partitioning, CoreStorage,
// Fusion-drive and disk-image work: the command sequences and the answers.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include "StandInTool.h"
#include "base/Exception.h"
#include "disks/DiskUtilInfo.h"
#include "disks/PartitionDisk.h"
#include "support/RecordingLog.h"

namespace vork::test {
namespace {

using Args = std::vector<std::string>;
using Calls = std::vector<Args>;
const Args kList = {"list", "-plist"}, kCsList = {"cs", "list"};
const char *kDone = "Started partitioning on disk0\nFinished partitioning on disk0\n";
const char *kCsDone = "Started CoreStorage operation\nFinished CoreStorage operation\n";

std::string text(const char *value) { return value ? value : "(NULL)"; }

struct DiskUtil {
    SystemRootSandbox sandbox;
    RecordingLog log;
    StandInTool tool{sandbox, "/usr/sbin/diskutil"};
};

// disk0s2 (499,418 MB) before and after a run that created Work and DATA.
const std::string kAfter = fixture("list-single-disk-after.plist");

TEST(PartitionDiskC, PartitionsWithWindowsPartitionsLastAndReportsWhatTheToolMade) {
    DiskUtil d;
    d.tool.answer(kList, fixture("list-single-disk.plist")).answer(kList, kAfter);
    const Args command = {"partitionDisk", "disk0", "3", "jhfs+", "Macintosh HD", "349418M", "jhfs+", "Work", "100000M",
                          "MS-DOS", "DATA", "50000M"};
    d.tool.answer(command, kDone);
    partitionInit();
    ASSERT_TRUE(addPartition("data", "NTFS", 50000));
    ASSERT_TRUE(addPartition("Work", "Apple_HFS", 100000));
    ASSERT_TRUE(partitionDisk("disk0s2"));
    EXPECT_EQ(d.tool.calls(), (Calls{kCsList, kList, command, kList}));
    EXPECT_EQ(text(getPartitionMountPointByDiskId("disk0s2")), "/");
    EXPECT_EQ(text(getPartitionMountPointByDiskId("disk0s3")), "/Volumes/Work");
    EXPECT_EQ(text(getPartitionMountPointByName("Work")), "/Volumes/Work");
    EXPECT_EQ(text(getPartitionDiskId("Work")), "disk0s3");
    // The tool made DATA from "data": exact names do not match, as designed.
    EXPECT_EQ(text(getPartitionDiskId("data")), "(NULL)");
    EXPECT_EQ(text(getPartitionMountPointByName("nothing")), "");
    EXPECT_TRUE(d.log.contains("PartitionDisk.updatePartitions: Couldn't find DATA"));
    EXPECT_TRUE(d.log.contains("PartitionDisk.orderedPartitions=(Work, data)"));
    partitionInit();  // a new instance forgets every result
    EXPECT_EQ(text(getPartitionDiskId("Work")), "");
}

TEST(PartitionDiskC, FailuresAnswerFalseAndLogTheException) {
    struct Case { const char *name; std::vector<int32_t> sizes; bool toolInstalled;
                  std::string listOutput, partitionOutput, logLine; Calls calls; };
    const Case cases[] = {
        {"exact size", {499418}, true, fixture("list-single-disk.plist"), kDone,
         "partitionDisk: exception=The target disk id disk0s2 did not have enough space", {kCsList, kList}},
        {"lower-case success text", {1000}, true, fixture("list-single-disk.plist"), "finished partitioning",
         "partitionDisk: exception=Partitioning disk failed: finished partitioning",
         {kCsList, kList, {"partitionDisk", "disk0", "2", "jhfs+", "Macintosh HD", "498418M", "jhfs+", "untitled", "1000M"}}},
        {"broken property list", {1000}, true, "<plist><dict><key>AllDisks</key>", kDone,
         "partitionDisk: exception=The target disk id disk0s2 was not found", {kCsList, kList}},
        {"tool prints nothing", {1000}, true, "", kDone, "Unable to read output from", {kCsList, kList}},
        {"tool missing", {1000}, false, "", kDone, "/usr/sbin/diskutil could not be started", {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        SystemRootSandbox sandbox;
        RecordingLog log;
        std::optional<StandInTool> tool;
        if (c.toolInstalled) tool.emplace(sandbox, "/usr/sbin/diskutil").answer(kList, c.listOutput).answer(kList, kAfter);
        if (tool && c.calls.size() > 2) tool->answer(c.calls[2], c.partitionOutput);
        partitionInit();
        for (int32_t size : c.sizes) addPartition("", "jhfs+", size);
        EXPECT_FALSE(partitionDisk("disk0s2"));
        EXPECT_TRUE(log.anyContains(c.logLine));
        if (tool) EXPECT_EQ(tool->calls(), c.calls);
        EXPECT_EQ(text(getPartitionDiskId("")), "(NULL)");
    }
}

TEST(PartitionDiskC, OneMegabyteLeftAndNoPartitionsStillRun) {
    const std::pair<std::vector<int32_t>, std::vector<std::string>> cases[] = {
        {{499417}, {"partitionDisk", "disk0", "2", "jhfs+", "Macintosh HD", "1M", "ExFAT", "Extra", "499417M"}},
        {{}, {"partitionDisk", "disk0", "1", "jhfs+", "Macintosh HD", "499418M"}},
    };
    for (const auto &[sizes, command] : cases) {
        DiskUtil d;
        d.tool.answer(kList, fixture("list-single-disk.plist")).answer(command, kDone);
        partitionInit();
        for (int32_t size : sizes) addPartition("Extra", "ExFAT", size);
        EXPECT_TRUE(partitionDisk("disk0s2"));
        EXPECT_EQ(d.tool.calls(), (Calls{kCsList, kList, command, kList}));
    }
}

TEST(DiskUtilInfoTool, ADiskMissingFromWholeDisksIsAskedForEntryByEntry) {
    DiskUtil d;
    d.tool.answer(kList, "<plist version=\"1.0\"><dict><key>AllDisks</key><array><string>disk5</string><string>disk5s1</string>"
                         "<string>disk6s1</string></array><key>WholeDisks</key><array/></dict></plist>");
    d.tool.answer({"list", "-plist", "disk5"}, "broken");
    d.tool.answer({"list", "-plist", "disk5s1"}, "<plist version=\"1.0\"><dict><key>DeviceIdentifier</key><string>disk5s1</string>"
                                                 "<key>Size</key><integer>7</integer><key>TotalSize</key><integer>1500000</integer></dict></plist>");
    DiskUtilInfo info;
    info.retrievePartitionsForDisk("disk5s1");
    ASSERT_EQ(info.partitions().size(), 1u);
    EXPECT_EQ(info.partitions()[0]->size, 2);
    EXPECT_EQ(d.tool.calls(), (Calls{kList, {"list", "-plist", "disk5"}, {"list", "-plist", "disk5s1"}}));
    EXPECT_TRUE(d.log.contains("     Partition name=(null), diskId=disk5s1"));
}

const Args kDelete = {"cs", "delete", "7F2C9A41-0B6E-4D3A-9E25-6C1F8B4D2A90"};
const Args kPartition = {"partitionDisk", "disk1", "2", "jhfs+", "untitled", "899345M", "jhfs+", "Work", "100000M"};
const Args kCreate = {"cs", "create", "Macintosh HD", "disk0", "disk1s2"};
const Args kCreateVolume = {"cs", "createVolume", "0123-NEW", "jhfs+", "Macintosh HD", "100%"};
const std::string kAfterFusion = fixture("list-fusion-after.plist");

TEST(FusionDriveC, DeletesPartitionsAndRebuildsTheGroupEvenWhenAStepFails) {
    // tail: the calls after "cs list", "list -plist"
    struct Case { const char *name; std::string deleted, partitioned, created; bool ok; Calls tail; std::string logLine; };
    const Case cases[] = {
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
        DiskUtil d;
        d.tool.answer(kCsList, fixture("cs-fusion.txt")).answer(kList, fixture("list-fusion.plist"), 5).answer(kList, kAfterFusion);
        d.tool.answer(kDelete, c.deleted).answer(kPartition, c.partitioned).answer(kCreate, c.created).answer(kCreateVolume, kCsDone);
        partitionInit();
        addPartition("Work", "Apple_HFS", 100000);
        EXPECT_EQ(partitionDisk("disk2"), c.ok);
        Calls expected{kCsList, kList};
        expected.insert(expected.end(), c.tail.begin(), c.tail.end());
        EXPECT_EQ(d.tool.calls(), expected);
        EXPECT_TRUE(d.log.contains(c.logLine));
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
    DiskUtil d;
    d.tool.answer(kCsList, fixture("cs-fusion.txt")).answer(kCsList, fixture("cs-filevault-locked.txt"));
    coreStorageInfoInit();
    EXPECT_EQ(volumeInfoName(), std::string());
    EXPECT_TRUE(loadCoreStorageInfo());
    EXPECT_TRUE(hasCoreStorage());
    for (const char *id : {"disk2", "disk0s2", "disk1s2"}) EXPECT_TRUE(isFusionDrive(id)) << id;
    EXPECT_FALSE(isFusionDrive("disk9"));
    EXPECT_TRUE(d.log.contains("physicalDriveQty: volumeInfo=Not found"));
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
    EXPECT_TRUE(d.log.contains("retrieveLogicalVolumeGroupForDiskId succeeed: Volume group name=Macintosh HD"));
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
    EXPECT_TRUE(d.log.contains("releasing g_VolumeInfo") && d.log.contains("coreStorageInfoTerm finished"));
    EXPECT_EQ(g_VolumeInfo, nullptr);
    EXPECT_FALSE(loadCoreStorageInfo());
    EXPECT_EQ(physicalVolumeQty(), -1);
    EXPECT_FALSE(retrievePhysicalVolume(0));
    EXPECT_EQ(volumeInfoSize(), -1);
    EXPECT_STREQ(volumeInfoStatus(), "");
    for (const char *line : {"loadCoreStorageInfo: Not initialized", "physicalVolumeQty: Not initialized",
                             "retrievePhysicalVolume: Not initialized", "volumeInfoStatus: Not initialized"})
        EXPECT_TRUE(d.log.contains(line)) << line;
    EXPECT_EQ(d.tool.calls(), (Calls{kCsList, kCsList}));
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
    const struct { const char *name; bool installed; std::string output; bool multiple; Calls calls; } cases[] = {
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
}

}  // namespace
}  // namespace vork::test
