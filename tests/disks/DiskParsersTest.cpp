// The parsers and the small rules of the disk classes, table-driven over
// saved tool outputs (fixtures/README.md says where each comes from).
#include <gtest/gtest.h>

#include "StandInTool.h"
#include "base/Format.h"
#include "disks/CoreStorageInfo.h"
#include "disks/DiskUtilInfo.h"
#include "disks/PartitionDisk.h"

namespace vork {
namespace {

std::string describe(const PartitionList &list) {
    std::string text;
    for (const auto &p : list)
        text += stringf("%s %s %d %s%s;", shown(p->diskId), shown(p->name), p->size, shown(p->mountPoint),
                        p->isWindowsPartition() ? " win" : "");
    return text;
}

TEST(PartitionRules, IdentifiersFormatsAndSizes) {
    const std::pair<const char *, const char *> parents[] = {{"disk0s2", "disk0"}, {"disk10s1", "disk10"}, {"disk3s10", "disk3"},
                                                             {"abcs", "abc"}, {"s1", "s1"}};
    for (auto [id, parent] : parents) EXPECT_EQ(Partition::parentDiskId(id), parent) << id;

    const std::pair<std::optional<std::string>, bool> windows[] = {{"DOS_FAT_32", true}, {"NTFS", true}, {"Windows_NTFS", false},
                                                                   {std::nullopt, false}};
    for (const auto &[format, expected] : windows) EXPECT_EQ(Partition{.format = format}.isWindowsPartition(), expected);

    const std::pair<int64_t, int32_t> sizes[] = {{499999, 0}, {500000, 1}, {1500000, 2}, {250059350016, 250059}, {-1, 0}};
    for (auto [bytes, mb] : sizes) EXPECT_EQ(megabytesFromBytes(bytes), mb) << bytes;

    const std::pair<const char *, const char *> formats[] = {{"NTFS", "MS-DOS"}, {"%Apple_HFS%", "jhfs+"},
                                                             {"Apple_Boot", "%Apple_Boot%"}, {"ExFAT", "ExFAT"}};
    for (auto [in, out] : formats) EXPECT_EQ(PartitionDisk::convertFormat(std::string(in)), out) << in;

    const std::pair<const char *, int> indices[] = {{"disk0s3", 3}, {"disk0", 0}, {"disk12s11", 11}, {"volume", -1}};
    for (auto [id, index] : indices) EXPECT_EQ(PartitionDisk::partitionIndex(id), index) << id;

    EXPECT_EQ(PartitionDisk::logicalVolumeGroupIdFromOutput("Started\nCore Storage LVG UUID: 1B2C-3D\nFinished"), "1B2C-3D");
    EXPECT_EQ(PartitionDisk::logicalVolumeGroupIdFromOutput("Finished CoreStorage operation"), "");
}

TEST(DiskUtilInfoParsing, ListsTheWholeDiskAndItsPartitionsInOrder) {
    test::SystemRootSandbox sandbox;  // the fallback finds no tool and runs nothing
    const struct { const char *fixture, *diskId, *expected; } cases[] = {
        {"list-single-disk.plist", "disk0", "disk0 (null) 500278 (null);disk0s1 EFI 210 (null);disk0s2 Macintosh HD 499418 /;disk0s3 Recovery HD 650 (null);"},
        {"list-two-disks.plist", "disk1s2", "disk1 (null) 2000399 (null);disk1s1 EFI 210 (null);disk1s2 Backup 1999539 /Volumes/Backup;"},
        {"list-bootcamp.plist", "disk0s4",
         "disk0 (null) 1000205 (null);disk0s1 EFI 210 (null);disk0s2 Macintosh HD 799527 /;disk0s3 Recovery HD 650 (null);"
         "disk0s4 BOOTCAMP 169818 /Volumes/BOOTCAMP;disk0s5 SHARED 30000 /Volumes/SHARED win;"},
        {"list-fusion.plist", "disk2", "disk2 Macintosh HD 1120334 /;"},
        {"cs-fusion.txt", "disk0", ""},
    };
    for (const auto &c : cases) {
        DiskUtilInfo info;
        info.parseDiskUtilInfoFromOutput(test::fixture(c.fixture), c.diskId);
        EXPECT_EQ(describe(info.partitions()), c.expected) << c.fixture << " " << c.diskId;
    }

    DiskUtilInfo twice;
    for (int i = 0; i < 2; ++i) twice.parseDiskUtilInfoFromOutput(test::fixture("list-two-disks.plist"), "disk1");
    ASSERT_EQ(twice.partitions().size(), 6u);
    EXPECT_EQ(twice.findPartitionByDiskId(std::string("disk1s2")), twice.partitions()[2]);
    EXPECT_EQ(twice.findPartitionByDiskId(std::nullopt), nullptr);
}

TEST(CoreStorageParsing, BuildsTheVolumeTreeFromTheReport) {
    struct Case { const char *fixture; size_t groups; const char *diskId; size_t physical; const char *name, *status;
                  int32_t size; size_t unmountedEncrypted; };
    const Case cases[] = {
        {"cs-fusion.txt", 1, "disk2", 2, "Macintosh HD", "Online", 1111826, 0},
        {"cs-filevault-locked.txt", 1, "-none-", 1, "Macintosh HD", "Locked", 499036, 1},
        {"cs-converting.txt", 2, "disk1s2", 1, "", "Online", 999345, 1},
        {"cs-converting.txt", 2, "-none-", 1, "Data", "Locked", 1000, 1},
        {"list-single-disk.plist", 0, "disk0s2", 0, nullptr, nullptr, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.fixture) + " " + c.diskId);
        CoreStorageInfo info;
        info.parseCoreStorageInfo(test::fixture(c.fixture));
        EXPECT_EQ(info.logicalVolumeGroups().size(), c.groups);
        EXPECT_EQ(info.physicalDriveQty(c.diskId), c.physical);
        EXPECT_EQ(info.isFusionDrive(c.diskId), c.physical > 1);
        EXPECT_EQ(info.unmountedEncryptedVolumeGroups().size(), c.unmountedEncrypted);
        auto volume = info.volumeForDiskId(c.diskId);
        ASSERT_EQ(volume != nullptr, c.name != nullptr);
        if (!volume) continue;
        EXPECT_EQ(volume->name, c.name);
        EXPECT_EQ(volume->status, c.status);
        EXPECT_EQ(volume->size, c.size);
    }

    CoreStorageInfo fusion;
    fusion.parseCoreStorageInfo(test::fixture("cs-fusion.txt"));
    auto volumes = CoreStorageInfo::physicalVolumes(fusion.volumeForDiskId("disk2"));
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(volumes[0]->diskId + volumes[1]->diskId, "disk0s2disk1s2");
    auto family = CoreStorageInfo::logicalVolumeFamily(fusion.volumeForDiskId("disk2"));
    ASSERT_TRUE(family);
    EXPECT_EQ(family->status, "");  // "Encryption Type:" is not a status line
}

}  // namespace
}  // namespace vork
