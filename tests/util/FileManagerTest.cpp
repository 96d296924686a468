#include "util/FileManager.h"

#include <gtest/gtest.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/EffectiveUser.h"
#include "support/TempDir.h"

namespace vork::util {
namespace {

namespace fs = std::filesystem;

const std::string kRun = "/Library/Application Support/VORK/run";
const std::string kLegacyRun = "/private/var/run/vork";
const std::string kRootTmp = "/Library/Application Support/VORK/tmp";
const std::string kAppSupport = "/Library/Application Support/VORK";

class FixedEffectiveUser : public platform::EffectiveUser {
public:
    explicit FixedEffectiveUser(uid_t uid) : uid_(uid) {}
    uid_t effectiveUserId() override { return uid_; }

private:
    uid_t uid_;
};

// Sets or clears TMPDIR for one test and puts the old value back.
class ScopedTmpDir {
public:
    explicit ScopedTmpDir(const std::optional<std::string> &value) {
        if (const char *old = std::getenv("TMPDIR")) previous_ = old;
        if (value) ::setenv("TMPDIR", value->c_str(), 1);
        else ::unsetenv("TMPDIR");
    }
    ~ScopedTmpDir() {
        if (previous_) ::setenv("TMPDIR", previous_->c_str(), 1);
        else ::unsetenv("TMPDIR");
    }

private:
    std::optional<std::string> previous_;
};

struct Attributes {
    bool exists = false;
    bool directory = false;
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
};

Attributes attributesOf(const fs::path &path) {
    Attributes a;
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0) return a;
    a.exists = true;
    a.directory = S_ISDIR(info.st_mode);
    a.mode = info.st_mode & 07777;
    a.owner = info.st_uid;
    a.group = info.st_gid;
    return a;
}

bool runningAsRoot() { return ::geteuid() == 0; }

#define SKIP_UNLESS_ROOT() \
    if (!runningAsRoot()) GTEST_SKIP() << "changing owners needs root"

// Owners can only be given away by root; other users keep their own.
void makeFolder(const fs::path &path, mode_t mode, uid_t owner, gid_t group) {
    fs::create_directories(path);
    if (runningAsRoot()) {
        ASSERT_EQ(::chown(path.c_str(), owner, group), 0);
    }
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

void expectPrivateFolder(const fs::path &path) {
    const Attributes a = attributesOf(path);
    ASSERT_TRUE(a.exists) << path;
    EXPECT_TRUE(a.directory) << path;
    EXPECT_EQ(a.mode, 0700u) << path;
    if (runningAsRoot()) {
        EXPECT_EQ(a.owner, 0u) << path;
        EXPECT_EQ(a.group, adminGroupId()) << path;
    }
}

// --- Attribute sets and the group

TEST(FileManagerPermissions, AttributeSets) {
    const Permissions full = permissionsWithOwner(0, 80, 0700);
    EXPECT_EQ(full.owner, 0u);
    EXPECT_EQ(full.group, 80u);
    EXPECT_EQ(full.mode, 0700u);
    const Permissions modeOnly = permissionsWithMode(0755);
    EXPECT_FALSE(modeOnly.owner);
    EXPECT_FALSE(modeOnly.group);
    EXPECT_EQ(modeOnly.mode, 0755u);
}

TEST(FileManagerPermissions, AdminGroupIsSudo) {
    const struct group *sudo = ::getgrnam("sudo");
    EXPECT_EQ(adminGroupId(), sudo ? sudo->gr_gid : 27u);
}

// --- Run folders

TEST(FileManagerRun, MissingRunFolderIsCreatedPrivate) {
    test::SystemRootSandbox sandbox;
    EXPECT_EQ(FileManager::vorkRunDir(), sandbox.at(kRun).string());
    expectPrivateFolder(sandbox.at(kRun));
    EXPECT_EQ(FileManager::legacyVorkRunDir(), sandbox.at(kLegacyRun).string());
    expectPrivateFolder(sandbox.at(kLegacyRun));
}

TEST(FileManagerRun, IntermediateFoldersGetTheSameAttributes) {
    test::SystemRootSandbox sandbox;
    FileManager::legacyVorkRunDir();
    expectPrivateFolder(sandbox.at("/private/var/run"));
    expectPrivateFolder(sandbox.at("/private"));
    // The sandbox root itself existed and is left alone.
    EXPECT_NE(attributesOf(sandbox.root().path()).mode, 0u);
}

TEST(FileManagerRun, WrongModeFolderIsReplacedAndLosesMarkers) {
    test::SystemRootSandbox sandbox;
    const fs::path run = sandbox.at(kRun);
    makeFolder(run, 0755, 0, adminGroupId());
    sandbox.root().write(kRun.substr(1) + "/vorkReEnroll", "marker");
    sandbox.root().write(kRun.substr(1) + "/nested/deeper/file", "x");

    EXPECT_EQ(FileManager::vorkRunDir(), run.string());
    expectPrivateFolder(run);
    EXPECT_TRUE(fs::is_empty(run));
}

TEST(FileManagerRun, WrongGroupOrOwnerIsReplaced) {
    SKIP_UNLESS_ROOT();
    const gid_t otherGroup = adminGroupId() == 0 ? 1 : 0;
    {
        test::SystemRootSandbox sandbox;
        const fs::path run = sandbox.at(kRun);
        makeFolder(run, 0700, 0, otherGroup);
        sandbox.root().write(kRun.substr(1) + "/marker", "x");
        FileManager::vorkRunDir();
        expectPrivateFolder(run);
        EXPECT_FALSE(fs::exists(run / "marker"));
    }
    {
        test::SystemRootSandbox sandbox;
        const fs::path run = sandbox.at(kLegacyRun);
        makeFolder(run, 0700, 1, adminGroupId());
        sandbox.root().write(kLegacyRun.substr(1) + "/checkForTasks", "x");
        FileManager::legacyVorkRunDir();
        expectPrivateFolder(run);
        EXPECT_FALSE(fs::exists(run / "checkForTasks"));
    }
}

TEST(FileManagerRun, CorrectFolderIsLeftUntouched) {
    SKIP_UNLESS_ROOT();
    test::SystemRootSandbox sandbox;
    const fs::path run = sandbox.at(kRun);
    makeFolder(run, 0700, 0, adminGroupId());
    const fs::path marker = sandbox.root().write(kRun.substr(1) + "/vorkUpdateAlreadyInProgress", "pid 42");
    struct stat before;
    ASSERT_EQ(::stat(run.c_str(), &before), 0);

    EXPECT_EQ(FileManager::updateAlreadyInProgressLockFile(), marker.string());
    EXPECT_EQ(test::readFile(marker), "pid 42");
    struct stat after;
    ASSERT_EQ(::stat(run.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST(FileManagerRun, SetIdBitsCountAsWrongMode) {
    test::SystemRootSandbox sandbox;
    const fs::path run = sandbox.at(kRun);
    makeFolder(run, 01700, 0, adminGroupId());
    sandbox.root().write(kRun.substr(1) + "/marker", "x");
    FileManager::vorkRunDir();
    expectPrivateFolder(run);
    EXPECT_FALSE(fs::exists(run / "marker"));
}

TEST(FileManagerRun, PlainFileOrLinkAtRunPathBecomesFolder) {
    test::SystemRootSandbox sandbox;
    const fs::path run = sandbox.at(kRun);
    sandbox.root().write(kRun.substr(1), "not a folder");
    FileManager::vorkRunDir();
    expectPrivateFolder(run);

    const fs::path legacy = sandbox.at(kLegacyRun);
    fs::create_directories(legacy.parent_path());
    const fs::path elsewhere = sandbox.root() / "elsewhere";
    fs::create_directory(elsewhere);
    fs::create_directory_symlink(elsewhere, legacy);
    FileManager::legacyVorkRunDir();
    expectPrivateFolder(legacy);
    EXPECT_TRUE(fs::exists(elsewhere));  // the link went, not its target
}

TEST(FileManagerRun, LockFilesAreSplitBetweenLegacyAndNewFolder) {
    test::SystemRootSandbox sandbox;
    EXPECT_EQ(FileManager::enrollLockFile(), sandbox.at(kLegacyRun + "/vorkEnroll").string());
    EXPECT_EQ(FileManager::checkForTasksFile(), sandbox.at(kLegacyRun + "/checkForTasks").string());
    EXPECT_EQ(FileManager::reEnrollLockFile(), sandbox.at(kRun + "/vorkReEnroll").string());
    EXPECT_EQ(FileManager::updateAlreadyInProgressLockFile(),
              sandbox.at(kRun + "/vorkUpdateAlreadyInProgress").string());
    // Asking for a marker path readies its folder but creates no marker.
    expectPrivateFolder(sandbox.at(kRun));
    expectPrivateFolder(sandbox.at(kLegacyRun));
    EXPECT_FALSE(fs::exists(sandbox.at(kRun + "/vorkReEnroll")));
    EXPECT_FALSE(fs::exists(sandbox.at(kLegacyRun + "/vorkEnroll")));
}

TEST(FileManagerRun, RunFileJoinsOneSlash) {
    test::SystemRootSandbox sandbox;
    EXPECT_EQ(FileManager::vorkRunFile("/x"), sandbox.at(kRun + "/x").string());
    EXPECT_EQ(FileManager::legacyVorkRunFile("y"), sandbox.at(kLegacyRun + "/y").string());
}

TEST(FileManagerRun, ManageRunFolderAnswersThePathEvenWhenItCannotCreate) {
    test::TempDir dir;
    const fs::path blocker = dir.write("blocker", "file");
    const std::string path = (blocker / "run").string();
    EXPECT_EQ(FileManager::manageRunFolder(path), path);
    EXPECT_FALSE(fs::exists(path));
}

// --- Temporary folders

TEST(FileManagerTmp, RunningAsRootFollowsTheEffectiveUser) {
    {
        auto guard = platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(0));
        EXPECT_TRUE(FileManager::isRunningAsRoot());
    }
    {
        auto guard = platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(501));
        EXPECT_FALSE(FileManager::isRunningAsRoot());
    }
    EXPECT_EQ(FileManager::isRunningAsRoot(), ::geteuid() == 0);
}

TEST(FileManagerTmp, AsRootUsesTheRootTempFolder) {
    test::SystemRootSandbox sandbox;
    auto guard = platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(0));
    EXPECT_EQ(FileManager::vorkTmpDir(), sandbox.at(kRootTmp).string());
    EXPECT_EQ(FileManager::vorkTmpFile("x"), sandbox.at(kRootTmp).string() + "/x");
    expectPrivateFolder(sandbox.at(kRootTmp));
    const Attributes support = attributesOf(sandbox.at(kAppSupport));
    EXPECT_EQ(support.mode, 0755u);
    if (runningAsRoot()) {
        EXPECT_EQ(support.owner, 0u);
        EXPECT_EQ(support.group, 0u);
    }
}

TEST(FileManagerTmp, AsRootEveryCallResetsPermissions) {
    SKIP_UNLESS_ROOT();
    test::SystemRootSandbox sandbox;
    auto guard = platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(0));
    const fs::path tmp = sandbox.at(kRootTmp), support = sandbox.at(kAppSupport);
    makeFolder(tmp, 0777, 1, 1);
    const fs::path kept = sandbox.root().write(kRootTmp.substr(1) + "/download.part", "data");
    ASSERT_EQ(::chown(support.c_str(), 1, 1), 0);
    ASSERT_EQ(::chmod(support.c_str(), 0700), 0);

    FileManager::vorkTmpDir();
    expectPrivateFolder(tmp);
    EXPECT_EQ(test::readFile(kept), "data");  // the temporary folder is repaired, not replaced
    Attributes a = attributesOf(support);
    EXPECT_EQ(a.mode, 0755u);
    EXPECT_EQ(a.owner, 0u);
    EXPECT_EQ(a.group, 0u);

    ASSERT_EQ(::chmod(support.c_str(), 0777), 0);
    FileManager::vorkTmpFile("again");
    EXPECT_EQ(attributesOf(support).mode, 0755u);
}

TEST(FileManagerTmp, NonRootUsesTmpDirFromEnvironment) {
    test::SystemRootSandbox sandbox;
    test::TempDir userTmp;
    ScopedTmpDir env(userTmp.str());
    auto guard = platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(501));

    EXPECT_EQ(FileManager::nsTempDir(), userTmp.str());
    EXPECT_EQ(FileManager::vorkTmpFile("x"), userTmp.str() + "/VORK/x");
    EXPECT_TRUE(fs::is_directory(userTmp / "VORK"));
    EXPECT_FALSE(fs::exists(sandbox.at(kRootTmp)));
    EXPECT_FALSE(fs::exists(sandbox.at(kAppSupport)));
}

TEST(FileManagerTmp, NonRootTrailingSlashInTmpDir) {
    test::TempDir userTmp;
    ScopedTmpDir env(userTmp.str() + "/");
    EXPECT_EQ(FileManager::nonRootTempDir(), userTmp.str() + "/VORK");
}

TEST(FileManagerTmp, PlainFileAtVorkIsReplacedByFolder) {
    test::TempDir userTmp;
    ScopedTmpDir env(userTmp.str());
    auto guard = platform::effectiveUser().install(std::make_shared<FixedEffectiveUser>(501));
    userTmp.write("VORK", "in the way");

    EXPECT_EQ(FileManager::vorkTmpDir(), userTmp.str() + "/VORK");
    EXPECT_TRUE(fs::is_directory(userTmp / "VORK"));
}

TEST(FileManagerTmp, ExistingNonRootFolderIsKeptAsItIs) {
    test::TempDir userTmp;
    ScopedTmpDir env(userTmp.str());
    const fs::path file = userTmp.write("VORK/keep.me", "content");
    ASSERT_EQ(::chmod((userTmp / "VORK").c_str(), 0751), 0);

    EXPECT_EQ(FileManager::nonRootTempDir(), userTmp.str() + "/VORK");
    EXPECT_EQ(test::readFile(file), "content");
    EXPECT_EQ(attributesOf(userTmp / "VORK").mode, 0751u);
}

TEST(FileManagerTmp, WithoutTmpDirTheSystemTmpUnderTheRootIsUsed) {
    test::SystemRootSandbox sandbox;
    ScopedTmpDir env(std::nullopt);
    fs::create_directories(sandbox.at("/tmp"));
    EXPECT_EQ(FileManager::nsTempDir(), sandbox.at("/tmp").string());
    EXPECT_EQ(FileManager::nonRootTempDir(), sandbox.at("/tmp/VORK").string());
    EXPECT_TRUE(fs::is_directory(sandbox.at("/tmp/VORK")));
}

TEST(FileManagerTmp, WithoutAnyTempFolderPrivateTmpIsTheFallback) {
    test::SystemRootSandbox sandbox;
    ScopedTmpDir env{std::string()};  // set but empty counts as unset
    EXPECT_EQ(FileManager::nsTempDir(), "");
    EXPECT_EQ(FileManager::nonRootTempDir(), sandbox.at("/private/tmp/VORK").string());
    EXPECT_TRUE(fs::is_directory(sandbox.at("/private/tmp/VORK")));
}

// --- Basics

TEST(FileManagerBasics, IsDirectory) {
    test::TempDir dir;
    const fs::path file = dir.write("f", "x");
    fs::create_directory(dir / "d");
    fs::create_directory_symlink(dir / "d", dir / "link");
    EXPECT_TRUE(FileManager::isDirectory((dir / "d").string()));
    EXPECT_TRUE(FileManager::isDirectory((dir / "link").string()));
    EXPECT_FALSE(FileManager::isDirectory(file.string()));
    EXPECT_FALSE(FileManager::isDirectory((dir / "missing").string()));
    EXPECT_FALSE(FileManager::isDirectory(""));
}

}  // namespace
}  // namespace vork::util
