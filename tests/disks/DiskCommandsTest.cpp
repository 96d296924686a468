// The disk C functions driven end to end: stand-in tools at the fixed paths
// record every command line and print saved outputs.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include "StandInTool.h"
#include "disks/DiskUtilInfo.h"
#include "support/RecordingLog.h"

namespace vork::test {
namespace {

using Calls = std::vector<std::vector<std::string>>;
const std::vector<std::string> kList = {"list", "-plist"}, kCsList = {"cs", "list"};
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
    d.tool.answer({"partitionDisk", "disk0", "3", "jhfs+", "Macintosh HD", "349418M", "jhfs+", "Work", "100000M", "MS-DOS", "DATA", "50000M"}, kDone);
    partitionInit();
    ASSERT_TRUE(addPartition("data", "NTFS", 50000));
    ASSERT_TRUE(addPartition("Work", "Apple_HFS", 100000));
    ASSERT_TRUE(partitionDisk("disk0s2"));
    EXPECT_EQ(d.tool.calls(), (Calls{kCsList, kList,
                                     {"partitionDisk", "disk0", "3", "jhfs+", "Macintosh HD", "349418M", "jhfs+", "Work", "100000M",
                                      "MS-DOS", "DATA", "50000M"},
                                     kList}));
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
    const struct {
        const char *name;
        std::vector<int32_t> sizes;
        bool toolInstalled;
        std::string listOutput, partitionOutput, logLine;
        Calls calls;
    } cases[] = {
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
        if (c.toolInstalled) tool.emplace(sandbox, "/usr/sbin/diskutil");
        if (tool) tool->answer(kList, c.listOutput).answer(kList, kAfter);
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

TEST(PartitionDiskC, NeutralAnswersWithoutAnInstance) {
    partitionInit();
    VORKPartitionDisk *const made = g_PartitionDisk;
    g_PartitionDisk = nullptr;  // as before the first partitionInit
    EXPECT_FALSE(addPartition("a", "jhfs+", 1));
    EXPECT_FALSE(partitionDisk("disk0s2"));
    EXPECT_STREQ(getPartitionMountPointByDiskId("disk0s2"), "");
    EXPECT_STREQ(getPartitionMountPointByName("a"), "");
    EXPECT_STREQ(getPartitionDiskId("a"), "");
    g_PartitionDisk = made;
}

}  // namespace
}  // namespace vork::test
