#include "util/FileManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "support/ScopedEnv.h"
#include "platform/EffectiveUser.h"
#include "support/TempDir.h"

namespace vork::util {
namespace {

namespace fs = std::filesystem;

const std::string kRun = "/Library/Application Support/VORK/run";
const std::string kLegacyRun = "/private/var/run/vork";
const std::string kRootTmp = "/Library/Application Support/VORK/tmp";
const std::string kAppSupport = "/Library/Application Support/VORK";

struct FixedEffectiveUser : platform::EffectiveUser {
    explicit FixedEffectiveUser(uid_t uid) : uid(uid) {}
    uid_t effectiveUserId() override { return uid; }
    uid_t uid;
};

auto actAs(uid_t uid) { return platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(uid)); }

struct stat statOf(const fs::path &path) {
    struct stat info {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return info;
}

bool runningAsRoot() { return ::geteuid() == 0; }

#define SKIP_UNLESS_ROOT() \
    if (!runningAsRoot()) GTEST_SKIP() << "changing owners needs root"

// Owners can only be given away by root; other users keep their own.
void makeFolder(const fs::path &path, mode_t mode, uid_t owner, gid_t group) {
    fs::create_directories(path);
    if (runningAsRoot()) ASSERT_EQ(::chown(path.c_str(), owner, group), 0);
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

void expectFolder(const fs::path &path, mode_t mode, gid_t group) {
    const struct stat info = statOf(path);
    EXPECT_TRUE(S_ISDIR(info.st_mode)) << path;
    EXPECT_EQ(info.st_mode & 07777, mode) << path;
    if (runningAsRoot()) {
        EXPECT_EQ(info.st_uid, 0u) << path;
        EXPECT_EQ(info.st_gid, group) << path;
    }
}

void expectPrivateFolder(const fs::path &path) { expectFolder(path, 0700, adminGroupId()); }

// Each test runs against a system root of its own.
class FileManagerRun : public ::testing::Test {
protected:
    // A folder at `where` in the given state with a marker file in it; asking
    // for the folder must make it private again and empty.
    void expectReplaced(const std::string &where, mode_t mode, uid_t owner, gid_t group) {
        SCOPED_TRACE(where);
        const fs::path folder = sandbox.at(where);
        makeFolder(folder, mode, owner, group);
        sandbox.root().write(where.substr(1) + "/marker", "x");
        sandbox.root().write(where.substr(1) + "/nested/deeper/file", "x");
        EXPECT_EQ(where == kRun ? FileManager::vorkRunDir() : FileManager::legacyVorkRunDir(), folder.string());
        expectPrivateFolder(folder);
        EXPECT_TRUE(fs::is_empty(folder));
    }

    test::SystemRootSandbox sandbox;
};

TEST_F(FileManagerRun, WrongModeIncludingSetIdBitsOrWrongOwnerReplacesTheFolder) {
    expectReplaced(kRun, 0755, 0, adminGroupId());
    expectReplaced(kLegacyRun, 01700, 0, adminGroupId());
    SKIP_UNLESS_ROOT();
    expectReplaced(kRun, 0700, 0, adminGroupId() == 0 ? 1 : 0);
    expectReplaced(kLegacyRun, 0700, 1, adminGroupId());
}

TEST_F(FileManagerRun, CorrectFolderIsLeftUntouched) {
    SKIP_UNLESS_ROOT();
    const fs::path run = sandbox.at(kRun);
    makeFolder(run, 0700, 0, adminGroupId());
    const fs::path marker = sandbox.root().write(kRun.substr(1) + "/vorkUpdateAlreadyInProgress", "pid 42");
    const ino_t before = statOf(run).st_ino;
    EXPECT_EQ(FileManager::updateAlreadyInProgressLockFile(), marker.string());
    EXPECT_EQ(test::readFile(marker), "pid 42");
    EXPECT_EQ(statOf(run).st_ino, before);
}

TEST_F(FileManagerRun, PlainFileOrLinkAtRunPathBecomesFolder) {
    sandbox.root().write(kRun.substr(1), "not a folder");
    FileManager::vorkRunDir();
    expectPrivateFolder(sandbox.at(kRun));

    const fs::path legacy = sandbox.at(kLegacyRun), elsewhere = sandbox.root() / "elsewhere";
    fs::create_directories(legacy.parent_path());
    fs::create_directory(elsewhere);
    fs::create_directory_symlink(elsewhere, legacy);
    FileManager::legacyVorkRunDir();
    expectPrivateFolder(legacy);
    EXPECT_TRUE(fs::exists(elsewhere));  // the link went, not its target
}

TEST_F(FileManagerRun, MarkerPathsAreSplitBetweenLegacyAndNewFolder) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {FileManager::enrollLockFile(), kLegacyRun + "/vorkEnroll"},
        {FileManager::checkForTasksFile(), kLegacyRun + "/checkForTasks"},
        {FileManager::reEnrollLockFile(), kRun + "/vorkReEnroll"},
        {FileManager::updateAlreadyInProgressLockFile(), kRun + "/vorkUpdateAlreadyInProgress"},
        {FileManager::vorkRunFile("/x"), kRun + "/x"},  // joined with one slash
        {FileManager::legacyVorkRunFile("y"), kLegacyRun + "/y"}};
    for (const auto &[path, expected] : rows) {
        EXPECT_EQ(path, sandbox.at(expected).string());
        // Asking for a marker path readies its folder but creates no marker.
        EXPECT_FALSE(fs::exists(path)) << path;
    }
    // Missing run folders are made private with their parents.
    for (const std::string folder : {kRun, kLegacyRun, std::string("/private/var/run"), std::string("/private")})
        expectPrivateFolder(sandbox.at(folder));
}

TEST_F(FileManagerRun, AsRootTheRootTempFolderIsUsedAndRepairedOnEveryCall) {
    auto guard = actAs(0);
    const fs::path tmp = sandbox.at(kRootTmp), support = sandbox.at(kAppSupport);
    EXPECT_EQ(FileManager::vorkTmpDir(), tmp.string());
    EXPECT_EQ(FileManager::vorkTmpFile("x"), tmp.string() + "/x");
    expectPrivateFolder(tmp);
    expectFolder(support, 0755, 0);
    SKIP_UNLESS_ROOT();  // the repairs below need foreign owners

    makeFolder(tmp, 0777, 1, 1);
    const fs::path kept = sandbox.root().write(kRootTmp.substr(1) + "/download.part", "data");
    makeFolder(support, 0700, 1, 1);
    FileManager::vorkTmpDir();
    expectPrivateFolder(tmp);
    EXPECT_EQ(test::readFile(kept), "data");  // the temporary folder is repaired, not replaced
    expectFolder(support, 0755, 0);
}

TEST_F(FileManagerRun, NonRootUsesTmpDirFromEnvironment) {
    test::TempDir userTmp;
    test::ScopedEnv env("TMPDIR", userTmp.str());
    auto guard = actAs(501);
    EXPECT_EQ(FileManager::nsTempDir(), userTmp.str());
    EXPECT_EQ(FileManager::vorkTmpFile("x"), userTmp.str() + "/VORK/x");
    EXPECT_TRUE(fs::is_directory(userTmp / "VORK"));
    EXPECT_FALSE(fs::exists(sandbox.at(kAppSupport)));
    // A plain file in the way is replaced by the folder.
    fs::remove_all(userTmp / "VORK");
    userTmp.write("VORK", "in the way");
    EXPECT_EQ(FileManager::vorkTmpDir(), userTmp.str() + "/VORK");
    EXPECT_TRUE(fs::is_directory(userTmp / "VORK"));
}

TEST_F(FileManagerRun, WithoutTmpDirTheSystemTmpUnderTheRootElsePrivateTmpIsUsed) {
    test::ScopedEnv env("TMPDIR", std::string());  // set but empty counts as unset
    EXPECT_EQ(FileManager::nsTempDir(), "");
    EXPECT_EQ(FileManager::nonRootTempDir(), sandbox.at("/private/tmp/VORK").string());
    EXPECT_TRUE(fs::is_directory(sandbox.at("/private/tmp/VORK")));
    fs::create_directories(sandbox.at("/tmp"));
    EXPECT_EQ(FileManager::nsTempDir(), sandbox.at("/tmp").string());
    test::ScopedEnv unset("TMPDIR", std::nullopt);
    EXPECT_EQ(FileManager::nonRootTempDir(), sandbox.at("/tmp/VORK").string());
    EXPECT_TRUE(fs::is_directory(sandbox.at("/tmp/VORK")));
}

TEST(FileManagerBasics, IsDirectoryFollowsLinksAndARunFolderPathIsAnsweredEvenWhenItCannotBeMade) {
    test::TempDir dir;
    const std::string blocked = (dir.write("blocker", "file") / "run").string();
    EXPECT_EQ(FileManager::manageRunFolder(blocked), blocked);
    EXPECT_FALSE(fs::exists(blocked));
    const fs::path file = dir.write("f", "x");
    fs::create_directory(dir / "d");
    fs::create_directory_symlink(dir / "d", dir / "link");
    EXPECT_TRUE(FileManager::isDirectory((dir / "link").string()));
    EXPECT_FALSE(FileManager::isDirectory(file.string()));
}

}  // namespace
}  // namespace vork::util
