// File copies through the C functions and the FileCopy class, on real files
// in a per-test folder. Full and read-only destinations are small tmpfs
// mounts inside that folder when the test may mount; the space check's exact
// comparisons use a free-space double.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "base/Exception.h"
#include "platform/FileSystemSpace.h"
#include "runloop/RunLoop.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/FileCopy.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using vork::CopyStage;
using vork::CopyStatus;
using vork::FileCopy;
using vork::test::readFile;
using vork::test::RecordingLog;
using vork::test::TempDir;

namespace {

// Content that differs at every offset, so a misplaced chunk shows.
std::string pattern(size_t size, unsigned seed = 1) {
    std::string out(size, '\0');
    uint32_t x = seed * 2654435761u + 1;
    for (size_t i = 0; i < size; ++i) {
        x = x * 1664525u + 1013904223u;
        out[i] = static_cast<char>(x >> 24);
    }
    return out;
}

// Polls the way the agent does until the copy completes (or a generous
// deadline passes, so a broken copy fails instead of hanging).
bool pollUntilComplete(std::vector<double> *progress = nullptr) {
    const auto deadline = std::chrono::steady_clock::now() + 120s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (progress) progress->push_back(fileCopyProgress());
        if (fileCopyIsComplete()) return true;
    }
    return false;
}

bool pumpUntil(FileCopy &copy) {
    const auto deadline = std::chrono::steady_clock::now() + 120s;
    while (!copy.isCompleted() && std::chrono::steady_clock::now() < deadline)
        vork::RunLoop::current()->runOnce(vork::RunLoop::Seconds(0.1));
    return copy.isCompleted();
}

struct stat lstatOf(const fs::path &path) {
    struct stat st {};
    EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
    return st;
}

// Asserts that `copy` holds the same tree as `original`: kinds, contents,
// link targets, permission bits and modification times.
void expectSameTree(const fs::path &original, const fs::path &copy) {
    struct stat a = lstatOf(original), b = lstatOf(copy);
    ASSERT_EQ(a.st_mode & S_IFMT, b.st_mode & S_IFMT) << copy;
    if (!S_ISLNK(a.st_mode)) {
        EXPECT_EQ(a.st_mode & 0777, b.st_mode & 0777) << copy;
    }
    if (S_ISREG(a.st_mode)) {
        EXPECT_EQ(readFile(original), readFile(copy)) << copy;
        EXPECT_EQ(a.st_mtim.tv_sec, b.st_mtim.tv_sec) << copy;
        EXPECT_EQ(a.st_mtim.tv_nsec, b.st_mtim.tv_nsec) << copy;
    } else if (S_ISLNK(a.st_mode)) {
        EXPECT_EQ(fs::read_symlink(original), fs::read_symlink(copy));
    } else if (S_ISDIR(a.st_mode)) {
        size_t entries = 0;
        for (const auto &entry : fs::directory_iterator(original)) {
            ++entries;
            expectSameTree(entry.path(), copy / entry.path().filename());
        }
        EXPECT_EQ(entries, static_cast<size_t>(std::distance(fs::directory_iterator(copy), fs::directory_iterator())))
            << copy;
        EXPECT_EQ(a.st_mtim.tv_sec, b.st_mtim.tv_sec) << copy;
    }
}

// A tree with nested folders, an empty folder, a link, a read-only file, a
// read-only folder and a FIFO.
fs::path makeTree(const TempDir &dir, const std::string &name) {
    fs::path root = dir / name;
    dir.write(name + "/top.bin", pattern(70000, 1));
    dir.write(name + "/sub/middle.txt", "middle\n");
    dir.write(name + "/sub/deeper/bottom.bin", pattern(3 << 20, 2));
    dir.write(name + "/sub/deeper/empty.txt", "");
    fs::create_directories(root / "empty-folder");
    fs::create_symlink("sub/middle.txt", root / "link-to-middle");
    fs::create_symlink("/nowhere/at/all", root / "dangling");
    dir.write(name + "/readonly.txt", "do not touch\n");
    ::chmod((root / "readonly.txt").c_str(), 0444);
    dir.write(name + "/locked/inside.txt", "inside\n");
    ::chmod((root / "locked").c_str(), 0555);
    ::mkfifo((root / "pipe").c_str(), 0640);
    ::chmod((root / "sub").c_str(), 0750);
    return root;
}

// Sum of lstat sizes of everything below a folder, found independently.
uint64_t sizeBelow(const fs::path &folder) {
    uint64_t total = 0;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) total += lstatOf(entry.path()).st_size;
    return total;
}

// A small tmpfs mounted inside the test's folder, unmounted before the
// folder is removed. Not every test machine lets a test mount.
class TinyFileSystem {
public:
    TinyFileSystem(const fs::path &where, const std::string &options, unsigned long flags = 0) : path_(where) {
        fs::create_directories(where);
        mounted_ = ::mount("tmpfs", where.c_str(), "tmpfs", flags, options.c_str()) == 0;
    }
    ~TinyFileSystem() {
        if (mounted_) ::umount2(path_.c_str(), MNT_DETACH);
    }
    bool mounted() const { return mounted_; }

private:
    fs::path path_;
    bool mounted_ = false;
};

class FreeSpaceDouble : public vork::platform::FileSystemSpace {
public:
    explicit FreeSpaceDouble(vork::Result<vork::platform::FileSystemAttributes> answer) : answer_(std::move(answer)) {}
    vork::Result<vork::platform::FileSystemAttributes> attributesOfFileSystem(const std::string &path) override {
        askedFor = path;
        return answer_;
    }
    std::string askedFor;

private:
    vork::Result<vork::platform::FileSystemAttributes> answer_;
};

auto useFreeSpace(vork::Result<vork::platform::FileSystemAttributes> answer) {
    return vork::platform::fileSystemSpace().install(std::make_shared<FreeSpaceDouble>(std::move(answer)));
}

vork::platform::FileSystemAttributes freeBytes(uint64_t bytes) { return {bytes}; }

// Runs `body` in a child process under the unprivileged "nobody" ids, so
// permission checks apply even when the tests run as root. Answers the
// child's verdict, or none when the ids cannot be changed.
std::optional<bool> asUnprivilegedUser(const std::function<bool()> &body) {
    if (::geteuid() != 0) return body();
    pid_t child = ::fork();
    if (child < 0) return std::nullopt;
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(3);
        ::_exit(body() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 3) return std::nullopt;
    return WEXITSTATUS(status) == 0;
}

class FileCopyC : public ::testing::Test {
protected:
    void TearDown() override { fileCopyRelease(); }
    TempDir dir;
    RecordingLog log;
};

// ---- without a copy object -------------------------------------------------

TEST_F(FileCopyC, NoCopyObjectGivesNeutralAnswers) {
    fileCopyRelease();
    EXPECT_EQ(g_FileCopy, nullptr);
    EXPECT_EQ(fileCopyProgress(), -1.0);
    EXPECT_TRUE(fileCopyIsComplete());
    fileCopyRelease();  // twice is harmless
    EXPECT_EQ(g_FileCopy, nullptr);
}

// ---- copying a file ------------------------------------------------------

TEST_F(FileCopyC, FileKeepsItsNameInsideTheDestinationFolder) {
    auto source = dir.write("in/package.pkg", pattern(5 << 20));
    fs::create_directories(dir / "out");
    const std::string before = readFile(source);
    const auto sourceTimes = lstatOf(source).st_mtim;

    EXPECT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "");
    ASSERT_NE(g_FileCopy, nullptr);
    std::vector<double> progress;
    ASSERT_TRUE(pollUntilComplete(&progress));

    EXPECT_EQ(readFile(dir / "out/package.pkg"), before);
    EXPECT_EQ(readFile(source), before);
    EXPECT_EQ(lstatOf(source).st_mtim.tv_nsec, sourceTimes.tv_nsec);
    EXPECT_EQ(fileCopyProgress(), 100.0);
    EXPECT_DOUBLE_EQ(g_FileCopy->percentCompleted(), 100.0);
    for (size_t i = 0; i < progress.size(); ++i) {
        EXPECT_GE(progress[i], 0.0);
        EXPECT_LE(progress[i], 100.0);
        if (i) {
            EXPECT_GE(progress[i], progress[i - 1]);
        }
    }
}

TEST_F(FileCopyC, SuccessfulStartLogsEachStep) {
    auto source = dir.write("a.bin", pattern(1000));
    const std::string src = source.string(), dst = dir.str();
    fs::create_directories(dir / "to");
    EXPECT_STREQ(fileCopyStart(src.c_str(), (dst + "/to").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());

    EXPECT_TRUE(log.contains("fileCopyStart " + src + " to " + dst + "/to"));
    EXPECT_TRUE(log.contains("About to copy " + src + " to " + dst + "/to"));
    EXPECT_TRUE(log.contains("Status: 0"));
    EXPECT_TRUE(log.contains("fileCopyStart (src=" + src + ", dst=" + dst + "/to) succeeded: "));
    EXPECT_TRUE(log.contains("statusCallBack was received."));
    EXPECT_TRUE(log.contains("Finished!"));
    EXPECT_TRUE(log.contains("isCompleted=YES"));
    auto lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Finished!"), 1);
    // Every report is announced, and the completed one comes last.
    auto lastReport = std::find(lines.rbegin(), lines.rend(), "statusCallBack was received.");
    ASSERT_NE(lastReport, lines.rend());
    EXPECT_EQ(*(lastReport.base()), "Finished!");
}

TEST_F(FileCopyC, CopyPreservesPermissionBitsAndModificationTime) {
    auto source = dir.write("script.sh", "#!/bin/sh\necho hi\n");
    ::chmod(source.c_str(), 0751);
    struct timespec times[2] = {{1000000000, 0}, {1234567890, 123456789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    expectSameTree(source, dir / "out/script.sh");
}

TEST_F(FileCopyC, SparseFileKeepsItsContentsAndSize) {
    auto source = dir / "sparse.img";
    {
        std::ofstream out(source, std::ios::binary);
        out.seekp(8 << 20);
        out << "middle";
        out.seekp(32 << 20);
        out << "end";
    }
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    EXPECT_EQ(fs::file_size(dir / "out/sparse.img"), fs::file_size(source));
    EXPECT_EQ(readFile(dir / "out/sparse.img"), readFile(source));
}

TEST_F(FileCopyC, EmptyFileCompletesNormally) {
    auto source = dir.write("empty.txt", "");
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    EXPECT_EQ(fileCopyProgress(), 100.0);
    ASSERT_TRUE(fs::exists(dir / "out/empty.txt"));
    EXPECT_EQ(fs::file_size(dir / "out/empty.txt"), 0u);
    // 0 bytes of 0: the percentage is the floating-point quotient 0/0.
    EXPECT_TRUE(std::isnan(g_FileCopy->percentCompleted()));
}

TEST_F(FileCopyC, StartingAgainReleasesThePreviousCopy) {
    auto first = dir.write("first.bin", pattern(4 << 20, 1));
    auto second = dir.write("second.bin", pattern(1000, 2));
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(first.c_str(), (dir / "out").c_str()), "");
    ASSERT_STREQ(fileCopyStart(second.c_str(), (dir / "out").c_str()), "");
    ASSERT_NE(g_FileCopy, nullptr);
    EXPECT_EQ(g_FileCopy->fileSize(), 1000u);
    ASSERT_TRUE(pollUntilComplete());
    EXPECT_EQ(readFile(dir / "out/second.bin"), readFile(second));
    // The first copy was stopped or had finished: never left half-written.
    if (fs::exists(dir / "out/first.bin")) {
        EXPECT_EQ(readFile(dir / "out/first.bin"), readFile(first));
    }
}

TEST_F(FileCopyC, ReleaseDuringTheCopyIsSafe) {
    auto source = dir.write("big.bin", pattern(64 << 20));
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "");
    fileCopyRelease();
    EXPECT_EQ(g_FileCopy, nullptr);
    // Reports that were already queued find no object and change nothing.
    for (int i = 0; i < 5; ++i) processRunLoop();
    EXPECT_EQ(fileCopyProgress(), -1.0);
    if (fs::exists(dir / "out/big.bin")) {
        EXPECT_EQ(fs::file_size(dir / "out/big.bin"), fs::file_size(source));
    }
    EXPECT_EQ(fs::file_size(source), 64u << 20);
}

// ---- copying a folder ----------------------------------------------------

TEST_F(FileCopyC, FolderIsCopiedWithItsWholeStructure) {
    fs::path tree = makeTree(dir, "tree");
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(tree.c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    expectSameTree(tree, dir / "out/tree");
    EXPECT_EQ(fileCopyProgress(), 100.0);
    // Everything the size counts was copied, so the last report says 100%.
    EXPECT_NEAR(g_FileCopy->percentCompleted(), 100.0, 1e-3);
}

// Enough files that they queue up for the helper threads and overflow the
// queue, in folders of different depths and modes.
fs::path makeWideTree(const TempDir &dir, const std::string &name, int files, size_t fileSize) {
    for (int i = 0; i < files; ++i) {
        std::string folder = name + "/d" + std::to_string(i % 7) + (i % 3 ? "/e" + std::to_string(i % 5) : "");
        dir.write(folder + "/f" + std::to_string(i) + ".dat", pattern(fileSize + i, static_cast<unsigned>(i)));
    }
    ::chmod((dir / name / "d3").c_str(), 0555);
    ::chmod((dir / name / "d4/e1").c_str(), 0711);
    return dir / name;
}

TEST_F(FileCopyC, ManySmallFilesAreAllCopied) {
    fs::path tree = makeWideTree(dir, "wide", 600, 500);
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(tree.c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    expectSameTree(tree, dir / "out/wide");
    EXPECT_NEAR(g_FileCopy->percentCompleted(), 100.0, 1e-3);
}

TEST_F(FileCopyC, ReleaseDuringAFolderCopyRemovesThePartialFolder) {
    fs::path tree = makeWideTree(dir, "wide", 400, 20000);
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(tree.c_str(), (dir / "out").c_str()), "");
    fileCopyRelease();
    // Either the copy was stopped and removed, or it had already finished.
    if (fs::exists(dir / "out/wide")) {
        expectSameTree(tree, dir / "out/wide");
    }
    EXPECT_EQ(fileCopyProgress(), -1.0);
}

TEST_F(FileCopyC, FolderPathWithTrailingSlashKeepsItsName) {
    dir.write("docs/readme.txt", "hello\n");
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart((dir.str() + "/docs/").c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    EXPECT_EQ(readFile(dir / "out/docs/readme.txt"), "hello\n");
}

TEST_F(FileCopyC, FolderCannotBeCopiedIntoItself) {
    dir.write("self/file.txt", "x");
    fs::create_directories(dir / "self/inner");
    EXPECT_STREQ(fileCopyStart((dir / "self").c_str(), (dir / "self/inner").c_str()),
                 "Failed to begin asynchronous object copy: -50");
    EXPECT_FALSE(fs::exists(dir / "self/inner/self"));
}

TEST_F(FileCopyC, SymbolicLinkIsCopiedAsALink) {
    dir.write("target.txt", "t");
    fs::create_symlink("target.txt", dir / "alias");
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart((dir / "alias").c_str(), (dir / "out").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    ASSERT_TRUE(fs::is_symlink(dir / "out/alias"));
    EXPECT_EQ(fs::read_symlink(dir / "out/alias"), "target.txt");
}

// ---- refusals ------------------------------------------------------------

TEST_F(FileCopyC, MissingSourceIsRefusedWithItsPath) {
    const std::string missing = (dir / "nothing-here").string();
    fs::create_directories(dir / "out");
    std::string expected = "The source file " + missing + " does not exist or cannot be read";
    EXPECT_EQ(std::string(fileCopyStart(missing.c_str(), (dir / "out").c_str())), expected);
    EXPECT_TRUE(log.contains("fileCopyStart (src=" + missing + ", dst=" + (dir / "out").string() + ") failed: " +
                             expected));
    ASSERT_NE(g_FileCopy, nullptr);
    EXPECT_EQ(g_FileCopy->errorMessage(), expected);
    EXPECT_FALSE(fileCopyIsComplete());  // never started, so never completes
    EXPECT_TRUE(fs::is_empty(dir / "out"));
}

TEST_F(FileCopyC, MissingDestinationFolderIsRefused) {
    auto source = dir.write("a.txt", "a");
    EXPECT_STREQ(fileCopyStart(source.c_str(), (dir / "no/such/folder").c_str()),
                 "Failed to begin asynchronous object copy: -43");
    EXPECT_TRUE(log.contains("Status: -43"));
    EXPECT_FALSE(fs::exists(dir / "no"));
    EXPECT_EQ(readFile(source), "a");
}

TEST_F(FileCopyC, DestinationThatIsAFileIsRefused) {
    auto source = dir.write("a.txt", "a");
    auto notAFolder = dir.write("plain.txt", "p");
    EXPECT_STREQ(fileCopyStart(source.c_str(), notAFolder.c_str()), "Failed to begin asynchronous object copy: -120");
    EXPECT_EQ(readFile(notAFolder), "p");
}

TEST_F(FileCopyC, ExistingItemIsNotReplaced) {
    auto source = dir.write("in/report.txt", "new contents");
    auto existing = dir.write("out/report.txt", "old contents");
    EXPECT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "Failed to begin asynchronous object copy: -48");
    EXPECT_EQ(readFile(existing), "old contents");

    dir.write("in/folder/a.txt", "new");
    dir.write("out/folder/b.txt", "old");
    EXPECT_STREQ(fileCopyStart((dir / "in/folder").c_str(), (dir / "out").c_str()),
                 "Failed to begin asynchronous object copy: -48");
    EXPECT_FALSE(fs::exists(dir / "out/folder/a.txt"));
    EXPECT_EQ(readFile(dir / "out/folder/b.txt"), "old");
}

TEST_F(FileCopyC, NullAndNonUtf8PathsAreAbsentText) {
    auto source = dir.write("a.txt", "a");
    EXPECT_STREQ(fileCopyStart(nullptr, dir.str().c_str()),
                 "The source file (null) does not exist or cannot be read");
    EXPECT_TRUE(log.contains("fileCopyStart (null) to " + dir.str()));
    EXPECT_STREQ(fileCopyStart("\xff\xfe/bad", dir.str().c_str()),
                 "The source file (null) does not exist or cannot be read");
    EXPECT_STREQ(fileCopyStart(source.c_str(), nullptr), "Failed to begin asynchronous object copy: -43");
    EXPECT_STREQ(fileCopyStart(source.c_str(), "/tmp/\xc3\x28"), "Failed to begin asynchronous object copy: -43");
    EXPECT_EQ(readFile(source), "a");
}

TEST_F(FileCopyC, UnreadableSourceIsRefused) {
    auto source = dir.write("secret.bin", "secret");
    ::chmod(source.c_str(), 0000);
    ::chmod(dir.path().c_str(), 0777);
    fs::create_directories(dir / "out");
    ::chmod((dir / "out").c_str(), 0777);
    const std::string expected = "The source file " + source.string() + " does not exist or cannot be read";
    auto verdict = asUnprivilegedUser([&] {
        return std::string(fileCopyStart(source.c_str(), (dir / "out").c_str())) == expected &&
               fs::is_empty(dir / "out");
    });
    if (!verdict) GTEST_SKIP() << "cannot switch to an unprivileged user";
    EXPECT_TRUE(*verdict);
}

// An engine that fails its start in a chosen way.
class FailingEngine : public vork::CopyEngine {
public:
    FailingEngine(long status, std::optional<std::string> throwReason)
        : status_(status), throwReason_(std::move(throwReason)) {}
    Started startCopy(const std::string &, const std::string &, std::shared_ptr<vork::RunLoop>,
                      vork::RunLoop::Seconds, StatusCallback) override {
        if (throwReason_) throw vork::Exception("Copy Error", *throwReason_);
        return {status_, nullptr};
    }

private:
    long status_;
    std::optional<std::string> throwReason_;
};

TEST_F(FileCopyC, RefusalOfTheEngineIsReportedWithItsStatus) {
    auto source = dir.write("a.txt", "a");
    auto engine = vork::copyEngine().install(std::make_shared<FailingEngine>(-36, std::nullopt));
    EXPECT_STREQ(fileCopyStart(source.c_str(), dir.str().c_str()), "Failed to begin asynchronous object copy: -36");
    EXPECT_TRUE(log.contains("fileCopyStart (src=" + source.string() + ", dst=" + dir.str() +
                             ") failed: Failed to begin asynchronous object copy: -36"));
}

TEST_F(FileCopyC, ExceptionDuringStartAnswersItsDescription) {
    auto source = dir.write("a.txt", "a");
    {
        auto engine = vork::copyEngine().install(std::make_shared<FailingEngine>(0, "the engine broke"));
        EXPECT_STREQ(fileCopyStart(source.c_str(), dir.str().c_str()), "the engine broke");
        EXPECT_TRUE(log.contains("fileCopyStart (src=" + source.string() + ", dst=" + dir.str() +
                                 ") failed: the engine broke"));
    }
    {
        auto engine = vork::copyEngine().install(std::make_shared<FailingEngine>(0, ""));
        EXPECT_STREQ(fileCopyStart(source.c_str(), dir.str().c_str()), "Transfer failed");
    }
}

// ---- full and read-only destinations -------------------------------------

TEST_F(FileCopyC, FullDestinationCompletesWithoutLeavingAPartialFile) {
    TinyFileSystem small(dir / "small", "size=1m");
    if (!small.mounted()) GTEST_SKIP() << "cannot mount a tmpfs here";
    auto source = dir.write("big.bin", pattern(4 << 20));
    const std::string before = readFile(source);

    EXPECT_FALSE(hasEnoughSpaceForFileInDestination(source.c_str(), (dir / "small").c_str()));
    EXPECT_STREQ(fileCopyStart(source.c_str(), (dir / "small").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    // The error during the copy is not reported: the copy just completes.
    EXPECT_EQ(fileCopyProgress(), 100.0);
    EXPECT_EQ(g_FileCopy->errorMessage(), "");
    EXPECT_FALSE(fs::exists(dir / "small/big.bin"));
    EXPECT_EQ(readFile(source), before);
}

TEST_F(FileCopyC, FolderThatDoesNotFitIsRemovedEntirely) {
    TinyFileSystem small(dir / "small", "size=1m");
    if (!small.mounted()) GTEST_SKIP() << "cannot mount a tmpfs here";
    dir.write("bundle/a.txt", "small file");
    dir.write("bundle/z/huge.bin", pattern(3 << 20));
    EXPECT_STREQ(fileCopyStart((dir / "bundle").c_str(), (dir / "small").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    EXPECT_FALSE(fs::exists(dir / "small/bundle"));
    EXPECT_EQ(fs::file_size(dir / "bundle/z/huge.bin"), 3u << 20);
}

TEST_F(FileCopyC, ManyFilesThatDoNotFitAreRemovedEntirely) {
    TinyFileSystem small(dir / "small", "size=1m");
    if (!small.mounted()) GTEST_SKIP() << "cannot mount a tmpfs here";
    fs::path tree = makeWideTree(dir, "wide", 300, 8000);
    EXPECT_STREQ(fileCopyStart(tree.c_str(), (dir / "small").c_str()), "");
    ASSERT_TRUE(pollUntilComplete());
    EXPECT_FALSE(fs::exists(dir / "small/wide"));
    EXPECT_TRUE(fs::is_empty(dir / "small"));
}

TEST_F(FileCopyC, ReadOnlyDestinationIsRefusedAtStart) {
    TinyFileSystem frozen(dir / "frozen", "size=1m", MS_RDONLY);
    if (!frozen.mounted()) GTEST_SKIP() << "cannot mount a tmpfs here";
    auto source = dir.write("a.txt", "a");
    EXPECT_STREQ(fileCopyStart(source.c_str(), (dir / "frozen").c_str()),
                 "Failed to begin asynchronous object copy: -61");
}

TEST_F(FileCopyC, RealFreeSpaceComesFromTheDestinationFileSystem) {
    TinyFileSystem small(dir / "small", "size=1m");
    if (!small.mounted()) GTEST_SKIP() << "cannot mount a tmpfs here";
    auto fits = dir.write("fits.bin", pattern(100000));
    auto tooBig = dir.write("toobig.bin", pattern(2 << 20));
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(fits.c_str(), (dir / "small").c_str()));
    EXPECT_FALSE(hasEnoughSpaceForFileInDestination(tooBig.c_str(), (dir / "small").c_str()));
    EXPECT_TRUE(log.contains("Size of " + tooBig.string() + ": 2097152  Available space at " +
                             (dir / "small").string() + ": 1048576"));
}

// ---- the space check -----------------------------------------------------

TEST_F(FileCopyC, SpaceCheckIsStrict) {
    auto source = dir.write("a.bin", pattern(5000));
    auto exact = useFreeSpace(freeBytes(5000));
    EXPECT_FALSE(hasEnoughSpaceForFileInDestination(source.c_str(), "/dest"));
    EXPECT_TRUE(log.contains("Size of " + source.string() + ": 5000  Available space at /dest: 5000"));
    auto more = useFreeSpace(freeBytes(5001));
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), "/dest"));
}

TEST_F(FileCopyC, SpaceCheckKeepsTheCopyObject) {
    auto source = dir.write("a.bin", "abc");
    auto space = useFreeSpace(freeBytes(1 << 20));
    EXPECT_EQ(g_FileCopy, nullptr);
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), dir.str().c_str()));
    VORKFileCopy *made = g_FileCopy;
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), dir.str().c_str()));
    EXPECT_EQ(g_FileCopy, made);
}

TEST_F(FileCopyC, UnreadableFreeSpaceCountsAsRoom) {
    auto source = dir.write("a.bin", pattern(100));
    auto broken = useFreeSpace(vork::Error{"Permission denied"});
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), "/dest"));
    EXPECT_TRUE(log.contains("Unable to get file attributes for path /dest: Permission denied"));
    EXPECT_TRUE(log.contains("Size of " + source.string() + ": 100  Available space at /dest: 18446744073709551615"));

    auto silent = useFreeSpace(vork::platform::FileSystemAttributes{});
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), "/dest"));
    EXPECT_TRUE(log.contains("Unable to get free size for path /dest: (null)"));
}

TEST_F(FileCopyC, SpaceCheckOfNullPaths) {
    // No source counts 0 bytes; no destination has no readable free space.
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(nullptr, nullptr));
    EXPECT_TRUE(log.anyContains("Unable to get file attributes for path (null): "));
    EXPECT_TRUE(log.contains("Size of (null): 0  Available space at (null): 18446744073709551615"));
}

TEST_F(FileCopyC, MissingDestinationHasUnreadableFreeSpace) {
    auto source = dir.write("a.bin", pattern(100));
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), (dir / "absent").c_str()));
    EXPECT_TRUE(log.contains("Unable to get file attributes for path " + (dir / "absent").string() +
                             ": No such file or directory"));
}

// ---- progress as the status reports set it --------------------------------

TEST_F(FileCopyC, ProgressFollowsTheReportsAndIsHundredOnceComplete) {
    auto source = dir.write("a.bin", "abc");
    ASSERT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), dir.str().c_str()));
    g_FileCopy->setFileSize(1000);
    FileCopy::statusCallback(CopyStatus{CopyStage::Running, 250.0f}, g_FileCopy);
    EXPECT_EQ(fileCopyProgress(), 25.0);
    EXPECT_TRUE(log.contains("fileCopyProgress=25.000000"));
    EXPECT_FALSE(fileCopyIsComplete());
    EXPECT_TRUE(log.contains("isCompleted=NO"));

    FileCopy::statusCallback(CopyStatus{CopyStage::Complete, 900.0f}, g_FileCopy);
    EXPECT_TRUE(log.contains("Finished!"));
    EXPECT_DOUBLE_EQ(g_FileCopy->percentCompleted(), 90.0);
    EXPECT_EQ(fileCopyProgress(), 100.0);
    EXPECT_TRUE(fileCopyIsComplete());
}

TEST(FileCopyStatus, BytesAreReadWithThirtyTwoBitPrecision) {
    FileCopy copy;
    copy.setFileSize((1u << 24) + 1);
    FileCopy::statusCallback(CopyStatus{CopyStage::Running, static_cast<float>((1u << 24) + 1)}, &copy);
    // 2^24 + 1 is not a float: the report says 2^24.
    EXPECT_DOUBLE_EQ(copy.percentCompleted(), 16777216.0 * 100.0 / 16777217.0);
    EXPECT_FALSE(copy.isCompleted());
}

TEST(FileCopyStatus, ErrorOfTheCopyIsIgnored) {
    FileCopy copy;
    copy.setFileSize(10);
    FileCopy::statusCallback(CopyStatus{CopyStage::Complete, 4.0f, vork::copystatus::kDiskFull}, &copy);
    EXPECT_TRUE(copy.isCompleted());
    EXPECT_EQ(copy.errorMessage(), "");
    EXPECT_DOUBLE_EQ(copy.percentCompleted(), 40.0);
}

TEST(FileCopyStatus, ReportWithoutObjectRaises) {
    RecordingLog log;
    try {
        FileCopy::statusCallback(CopyStatus{CopyStage::Running, 1.0f}, nullptr);
        FAIL() << "no exception";
    } catch (const vork::Exception &e) {
        EXPECT_EQ(e.name(), "The info parameter was nil.");
        EXPECT_EQ(e.reason(), "Info 0");
    }
    EXPECT_TRUE(log.contains("statusCallBack was received."));
}

TEST(FileCopyStatus, ReportsArriveOnlyWhileTheStartingThreadPumps) {
    TempDir dir;
    auto source = dir.write("a.bin", pattern(8 << 20));
    fs::create_directories(dir / "out");
    FileCopy copy;
    ASSERT_TRUE(copy.startCopyFrom(source.string(), (dir / "out").string()));
    // Let the worker finish without running this thread's loop.
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (std::chrono::steady_clock::now() < deadline &&
           !(fs::exists(dir / "out/a.bin") && fs::file_size(dir / "out/a.bin") == (8u << 20)))
        std::this_thread::sleep_for(10ms);
    std::this_thread::sleep_for(200ms);
    EXPECT_FALSE(copy.isCompleted());
    EXPECT_EQ(copy.percentCompleted(), 0.0);

    ASSERT_TRUE(pumpUntil(copy));
    EXPECT_DOUBLE_EQ(copy.percentCompleted(), 100.0);
    EXPECT_EQ(readFile(dir / "out/a.bin"), readFile(source));
}

TEST(FileCopyStatus, ReportsFromAnotherThreadsCopyStayOnThatThread) {
    TempDir dir;
    auto source = dir.write("a.bin", pattern(1 << 20));
    fs::create_directories(dir / "out");
    bool completedThere = false;
    std::thread starter([&] {
        FileCopy copy;
        if (copy.startCopyFrom(source.string(), (dir / "out").string())) completedThere = pumpUntil(copy);
    });
    // This thread's loop never sees the other thread's reports.
    for (int i = 0; i < 3; ++i) vork::RunLoop::current()->runOnce(vork::RunLoop::Seconds(0.01));
    starter.join();
    EXPECT_TRUE(completedThere);
}

// ---- sizes ---------------------------------------------------------------

TEST(FileCopySize, FileFolderAndNothing) {
    TempDir dir;
    auto file = dir.write("f.bin", pattern(12345));
    makeTree(dir, "tree");
    FileCopy copy;
    EXPECT_EQ(copy.calculateFileSize(file.string()), 12345u);
    EXPECT_EQ(copy.calculateFileSize((dir / "absent").string()), 0u);
    EXPECT_EQ(copy.calculateFileSize(std::nullopt), 0u);
    // Sub-folders' own sizes count too.
    const uint64_t expected = sizeBelow(dir / "tree");
    EXPECT_EQ(copy.calculateFileSize((dir / "tree").string()), expected);
    EXPECT_GT(expected, 70000u + (3u << 20) + 7 + lstatOf(dir / "tree/sub").st_size);
}

TEST(FileCopySize, AvailableSpaceAsksForTheGivenPath) {
    auto fake = std::make_shared<FreeSpaceDouble>(freeBytes(777));
    auto installed = vork::platform::fileSystemSpace().install(fake);
    FileCopy copy;
    EXPECT_EQ(copy.calculateAvailableSpace(std::string("/some/where")), 777u);
    EXPECT_EQ(fake->askedFor, "/some/where");
}

}  // namespace
