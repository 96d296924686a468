// File copies through the C functions and the FileCopy class, on real files
// in a per-test folder. Full and read-only destinations are small tmpfs
// mounts inside that folder when the test may mount; the space check's exact
// comparisons use a free-space double.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "base/Exception.h"
#include "http/HttpFixture.h"
#include "platform/FileSystemSpace.h"
#include "support/RecordingLog.h"
#include "support/TempDir.h"
#include "transfers/FileCopy.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using vork::CopyStage;
using vork::CopyStatus;
using vork::FileCopy;
using vork::test::patternBytes;
using vork::test::readFile;
using vork::test::RecordingLog;
using vork::test::TempDir;
using Attributes = vork::Result<vork::platform::FileSystemAttributes>;

namespace {

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

// Asserts that `copy` holds the same tree as `original`: kinds, contents,
// link targets, permission bits and modification times.
void expectSameTree(const fs::path &original, const fs::path &copy) {
    struct stat a {}, b {};
    ASSERT_EQ(::lstat(original.c_str(), &a), 0) << original;
    ASSERT_EQ(::lstat(copy.c_str(), &b), 0) << copy;
    ASSERT_EQ(a.st_mode & S_IFMT, b.st_mode & S_IFMT) << copy;
    if (!S_ISLNK(a.st_mode)) { EXPECT_EQ(a.st_mode & 0777, b.st_mode & 0777) << copy; }
    if (S_ISREG(a.st_mode) || S_ISDIR(a.st_mode)) { EXPECT_EQ(a.st_mtim.tv_sec, b.st_mtim.tv_sec) << copy; }
    if (S_ISREG(a.st_mode)) {
        EXPECT_EQ(readFile(original), readFile(copy)) << copy;
        EXPECT_EQ(a.st_mtim.tv_nsec, b.st_mtim.tv_nsec) << copy;
    } else if (S_ISLNK(a.st_mode)) {
        EXPECT_EQ(fs::read_symlink(original), fs::read_symlink(copy));
    } else if (S_ISDIR(a.st_mode)) {
        size_t entries = 0;
        for (const auto &entry : fs::directory_iterator(original)) {
            ++entries;
            expectSameTree(entry.path(), copy / entry.path().filename());
        }
        EXPECT_EQ(entries, size_t(std::distance(fs::directory_iterator(copy), fs::directory_iterator()))) << copy;
    }
}

// A tree with nested folders, an empty folder, links, a read-only file, a
// read-only folder and a FIFO.
fs::path makeTree(const TempDir &dir, const std::string &name) {
    fs::path root = dir / name;
    dir.write(name + "/top.bin", patternBytes(70000, 1));
    dir.write(name + "/sub/deeper/bottom.bin", patternBytes(3 << 20, 2));
    dir.write(name + "/sub/deeper/empty.txt", "");
    fs::create_directories(root / "empty-folder");
    fs::create_symlink("sub/deeper/empty.txt", root / "link");
    fs::create_symlink("/nowhere/at/all", root / "dangling");
    ::chmod(dir.write(name + "/readonly.txt", "do not touch\n").c_str(), 0444);
    dir.write(name + "/locked/inside.txt", "inside\n");
    ::chmod((root / "locked").c_str(), 0555);
    ::mkfifo((root / "pipe").c_str(), 0640);
    ::chmod((root / "sub").c_str(), 0750);
    return root;
}

// Enough files that they queue up for the helper threads and overflow the
// queue, in folders of different depths and modes.
fs::path makeWideTree(const TempDir &dir, const std::string &name, int files, size_t fileSize) {
    for (int i = 0; i < files; ++i) {
        std::string folder = name + "/d" + std::to_string(i % 7) + (i % 3 ? "/e" + std::to_string(i % 5) : "");
        dir.write(folder + "/f" + std::to_string(i) + ".dat", patternBytes(fileSize + i, static_cast<unsigned>(i)));
    }
    ::chmod((dir / name / "d3").c_str(), 0555);
    return dir / name;
}

class FileCopyC : public ::testing::Test {
protected:
    void TearDown() override { fileCopyRelease(); }
    // Starts a copy into `folder` (made when missing) and polls it to its end.
    void copyInto(const std::string &source, const fs::path &folder, std::vector<double> *progress = nullptr) {
        fs::create_directories(folder);
        ASSERT_STREQ(fileCopyStart(source.c_str(), folder.c_str()), "");
        ASSERT_TRUE(pollUntilComplete(progress));
    }
    TempDir dir;
    RecordingLog log;
};

TEST_F(FileCopyC, FileKeepsItsNameProgressRisesAndEachStepIsLogged) {
    // The copy's contents are checked with the other kinds below.
    const std::string src = dir.write("in/package.pkg", patternBytes(5 << 20)).string(), dst = (dir / "out").string();
    std::vector<double> progress;
    copyInto(src, dst, &progress);
    EXPECT_TRUE(fs::exists(dir / "out/package.pkg"));
    for (size_t i = 0; i < progress.size(); ++i) {
        EXPECT_GE(progress[i], i ? progress[i - 1] : 0.0);
        EXPECT_LE(progress[i], 100.0);
    }
    for (const std::string &line : {"fileCopyStart " + src + " to " + dst, "About to copy " + src + " to " + dst,
                                    "fileCopyStart (src=" + src + ", dst=" + dst + ") succeeded: ",
                                    std::string("Status: 0"), std::string("isCompleted=YES")})
        EXPECT_TRUE(log.contains(line)) << line;
    auto lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Finished!"), 1);
    // Every report is announced, and the completed one comes last.
    auto lastReport = std::find(lines.rbegin(), lines.rend(), "statusCallBack was received.");
    ASSERT_NE(lastReport, lines.rend());
    EXPECT_EQ(*(lastReport.base()), "Finished!");
}

TEST_F(FileCopyC, CopiesKeepKindsContentsModesTimesAndLinks) {
    struct Row {
        std::string name;  // of the copy inside out/
        std::function<fs::path()> make;
        std::string suffix;  // added to the source path given
        double percent;      // percentCompleted() at the end, NaN: 0/0; no check when negative
    };
    const std::vector<Row> rows = {
        {"script.sh", [&] {
             auto source = dir.write("script.sh", "#!/bin/sh\necho hi\n");
             ::chmod(source.c_str(), 0751);
             struct timespec times[2] = {{1000000000, 0}, {1234567890, 123456789}};
             EXPECT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
             return source;
         }, "", 100.0},
        {"sparse.img", [&] {
             std::ofstream out(dir / "sparse.img", std::ios::binary);
             out.seekp(8 << 20);
             out << "middle";
             out.seekp(32 << 20);
             out << "end";
             return dir / "sparse.img";
         }, "", -1},
        {"empty.txt", [&] { return dir.write("empty.txt", ""); }, "", std::nan("")},
        {"tree", [&] { return makeTree(dir, "tree"); }, "", 100.0},
        {"wide", [&] { return makeWideTree(dir, "wide", 600, 500); }, "", 100.0},
        {"docs", [&] { return dir.write("docs/readme.txt", "hello\n").parent_path(); }, "/", -1},
        {"alias", [&] {
             fs::create_symlink("script.sh", dir / "alias");
             return dir / "alias";
         }, "", -1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const fs::path source = row.make();
        copyInto(source.string() + row.suffix, dir / "out");
        expectSameTree(source, dir / "out" / row.name);
        EXPECT_EQ(fileCopyProgress(), 100.0);
        if (std::isnan(row.percent)) { EXPECT_TRUE(std::isnan(g_FileCopy->percentCompleted())); }
        else if (row.percent >= 0) { EXPECT_NEAR(g_FileCopy->percentCompleted(), row.percent, 1e-3); }
    }
}

TEST_F(FileCopyC, StartingAgainOrReleasingDuringACopyStopsItSafely) {
    auto first = dir.write("first.bin", patternBytes(4 << 20, 1));
    auto second = dir.write("second.bin", patternBytes(1000, 2));
    fs::create_directories(dir / "out");
    ASSERT_STREQ(fileCopyStart(first.c_str(), (dir / "out").c_str()), "");
    copyInto(second, dir / "out");
    EXPECT_EQ(g_FileCopy->fileSize(), 1000u);
    // The first copy was stopped or had finished: never left half-written.
    if (fs::exists(dir / "out/first.bin")) { EXPECT_EQ(readFile(dir / "out/first.bin"), readFile(first)); }

    for (const fs::path &source : {dir.write("big.bin", patternBytes(64 << 20)), makeWideTree(dir, "wide", 400, 20000)}) {
        SCOPED_TRACE(source);
        ASSERT_STREQ(fileCopyStart(source.c_str(), (dir / "out").c_str()), "");
        fileCopyRelease();
        // Reports that were already queued find no object and change nothing.
        for (int i = 0; i < 5; ++i) processRunLoop();
        EXPECT_EQ(fileCopyProgress(), -1.0);
        // Either the copy was stopped and removed, or it had already finished.
        const fs::path copy = dir / "out" / source.filename();
        if (fs::is_directory(copy)) expectSameTree(source, copy);
        else if (fs::exists(copy)) { EXPECT_EQ(fs::file_size(copy), fs::file_size(source)); }
    }
}

TEST_F(FileCopyC, RefusedStartsAnswerWhyAndChangeNothing) {
    auto source = dir.write("a.txt", "a");
    auto plain = dir.write("plain.txt", "p");
    dir.write("in/report.txt", "new contents");
    dir.write("out/report.txt", "old contents");
    dir.write("in/folder/a.txt", "new");
    dir.write("out/folder/b.txt", "old");
    fs::create_directories(dir / "self/inner");
    fs::create_directories(dir / "empty-out");
    const std::string d = dir.str(), missing = d + "/nothing-here", in = d + "/in/report.txt", emptyOut = d + "/empty-out",
                      folder = d + "/in/folder", out = d + "/out", noFolder = d + "/no/such/folder", self = d + "/self",
                      inner = d + "/self/inner", begin = "Failed to begin asynchronous object copy: ";
    const std::string absent = "The source file (null) does not exist or cannot be read";
    struct Row {
        const char *src, *dst;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {missing.c_str(), emptyOut.c_str(), "The source file " + missing + " does not exist or cannot be read"},
        {source.c_str(), noFolder.c_str(), begin + "-43"},
        {source.c_str(), plain.c_str(), begin + "-120"},
        {in.c_str(), out.c_str(), begin + "-48"},  // an existing item is not replaced
        {folder.c_str(), out.c_str(), begin + "-48"},
        {self.c_str(), inner.c_str(), begin + "-50"},
        {nullptr, d.c_str(), absent},
        {"\xff\xfe/bad", d.c_str(), absent},
        {source.c_str(), nullptr, begin + "-43"},
    };
    // Absent and non-UTF-8 paths are logged as absent text.
    auto shown = [](const char *path) -> std::string {
        return !path || std::any_of(path, path + strlen(path), [](char c) { return c & 0x80; }) ? "(null)" : path;
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(shown(row.src) + " -> " + shown(row.dst));
        EXPECT_EQ(std::string(fileCopyStart(row.src, row.dst)), row.expected);
        EXPECT_TRUE(log.contains("fileCopyStart " + shown(row.src) + " to " + shown(row.dst)));
        EXPECT_TRUE(log.contains("fileCopyStart (src=" + shown(row.src) + ", dst=" + shown(row.dst) +
                                 ") failed: " + row.expected));
        EXPECT_EQ(g_FileCopy->errorMessage(), row.expected);
        EXPECT_FALSE(fileCopyIsComplete());  // never started, so never completes
    }
    EXPECT_TRUE(fs::is_empty(dir / "empty-out"));
    EXPECT_FALSE(fs::exists(dir / "no"));
    EXPECT_EQ(readFile(plain), "p");
    EXPECT_EQ(readFile(dir / "out/report.txt"), "old contents");
    EXPECT_FALSE(fs::exists(dir / "out/folder/a.txt"));
    EXPECT_FALSE(fs::exists(dir / "self/inner/self"));
}

// An engine whose start throws.
struct ThrowingEngine : vork::CopyEngine {
    explicit ThrowingEngine(std::string reason) : reason(std::move(reason)) {}
    Started startCopy(const std::string &, const std::string &, std::shared_ptr<vork::RunLoop>, vork::RunLoop::Seconds,
                      StatusCallback) override {
        throw vork::Exception("Copy Error", reason);
    }
    std::string reason;
};

TEST_F(FileCopyC, EngineExceptionsAreAnsweredAndLogged) {
    auto source = dir.write("a.txt", "a");
    for (auto [reason, expected] : std::vector<std::pair<std::string, std::string>>{
             {"the engine broke", "the engine broke"}, {"", "Transfer failed"}}) {
        auto engine = vork::copyEngine().install(std::make_shared<ThrowingEngine>(reason));
        EXPECT_EQ(fileCopyStart(source.c_str(), dir.str().c_str()), expected);
        EXPECT_TRUE(log.contains("fileCopyStart (src=" + source.string() + ", dst=" + dir.str() + ") failed: " + reason));
    }
}

TEST_F(FileCopyC, TinyAndReadOnlyDestinations) {
    const fs::path small = dir / "small", frozen = dir / "frozen";
    fs::create_directories(small);
    fs::create_directories(frozen);
    if (::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=1m") != 0) GTEST_SKIP() << "cannot mount a tmpfs here";
    ASSERT_EQ(::mount("tmpfs", frozen.c_str(), "tmpfs", MS_RDONLY, "size=1m"), 0);
    auto fits = dir.write("fits.bin", patternBytes(100000));
    auto tooBig = dir.write("toobig.bin", patternBytes(2 << 20));
    EXPECT_TRUE(hasEnoughSpaceForFileInDestination(fits.c_str(), small.c_str()));
    EXPECT_FALSE(hasEnoughSpaceForFileInDestination(tooBig.c_str(), small.c_str()));
    EXPECT_TRUE(log.contains("Size of " + tooBig.string() + ": 2097152  Available space at " + small.string() +
                             ": 1048576"));
    EXPECT_STREQ(fileCopyStart(fits.c_str(), frozen.c_str()), "Failed to begin asynchronous object copy: -61");

    // What does not fit starts, then completes without an error and leaves
    // nothing behind: no partial file, no partial folder.
    dir.write("bundle/a.txt", "small file");
    dir.write("bundle/z/huge.bin", patternBytes(3 << 20));
    for (const fs::path &source : {tooBig, dir / "bundle", makeWideTree(dir, "wide", 300, 8000)}) {
        SCOPED_TRACE(source);
        copyInto(source, small);
        EXPECT_EQ(fileCopyProgress(), 100.0);
        EXPECT_EQ(g_FileCopy->errorMessage(), "");
        EXPECT_TRUE(fs::is_empty(small));
    }
    fileCopyRelease();
    ::umount2(small.c_str(), MNT_DETACH);
    ::umount2(frozen.c_str(), MNT_DETACH);
}

struct FreeSpaceDouble : vork::platform::FileSystemSpace {
    explicit FreeSpaceDouble(Attributes answer) : answer(std::move(answer)) {}
    Attributes attributesOfFileSystem(const std::string &path) override {
        askedFor = path;
        return answer;
    }
    Attributes answer;
    std::string askedFor;
};

TEST_F(FileCopyC, SpaceCheckIsStrictAndUnreadableSpaceCountsAsRoom) {
    const std::string source = dir.write("a.bin", patternBytes(5000)).string(), absent = (dir / "absent").string();
    const std::string unknown = "  Available space at /dest: 18446744073709551615";
    struct Row {
        const char *src, *dst;
        std::optional<Attributes> free;  // none: the real file system
        bool enough;
        std::vector<std::string> lines;
    };
    const std::vector<Row> rows = {
        {source.c_str(), "/dest", vork::platform::FileSystemAttributes{5000}, false,
         {"Size of " + source + ": 5000  Available space at /dest: 5000"}},
        {source.c_str(), "/dest", vork::platform::FileSystemAttributes{5001}, true,
         {"Size of " + source + ": 5000  Available space at /dest: 5001"}},
        {source.c_str(), "/dest", vork::Error{"Permission denied"}, true,
         {"Unable to get file attributes for path /dest: Permission denied", "Size of " + source + ": 5000" + unknown}},
        {source.c_str(), "/dest", vork::platform::FileSystemAttributes{}, true,
         {"Unable to get free size for path /dest: (null)"}},
        // No source counts 0 bytes; no destination has no readable free space.
        {nullptr, nullptr, std::nullopt, true, {"Size of (null): 0  Available space at (null): 18446744073709551615"}},
        {source.c_str(), absent.c_str(), std::nullopt, true,
         {"Unable to get file attributes for path " + absent + ": No such file or directory"}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.lines.front());
        std::shared_ptr<FreeSpaceDouble> fake;
        std::optional<vork::platform::ServiceSlot<vork::platform::FileSystemSpace>::Override> installed;
        if (row.free) installed.emplace(vork::platform::fileSystemSpace().install(fake = std::make_shared<FreeSpaceDouble>(*row.free)));
        EXPECT_EQ(hasEnoughSpaceForFileInDestination(row.src, row.dst), row.enough);
        if (row.free) { EXPECT_EQ(fake->askedFor, row.dst); }
        for (const std::string &line : row.lines) EXPECT_TRUE(log.contains(line)) << line;
    }
}

TEST_F(FileCopyC, ProgressFollowsTheReportsTheirErrorIsIgnoredAndOneWithoutObjectRaises) {
    auto source = dir.write("a.bin", "abc");
    // The space check makes the copy object and keeps it.
    ASSERT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), dir.str().c_str()));
    VORKFileCopy *made = g_FileCopy;
    ASSERT_TRUE(hasEnoughSpaceForFileInDestination(source.c_str(), dir.str().c_str()));
    ASSERT_EQ(g_FileCopy, made);
    const uint64_t odd = (1u << 24) + 1;
    struct Row {
        uint64_t size;
        CopyStatus status;
        double percent, progress;  // percentCompleted(), fileCopyProgress()
        std::string line;
    };
    for (const Row &row : std::vector<Row>{
             {1000, {CopyStage::Running, 250.0f}, 25.0, 25.0, "fileCopyProgress=25.000000"},
             // 2^24 + 1 is not a float: the report says 2^24.
             {odd, {CopyStage::Running, float(odd)}, 1677721600.0 / odd, 1677721600.0 / odd, "isCompleted=NO"},
             {1000, {CopyStage::Complete, 900.0f, vork::copystatus::kDiskFull}, 90.0, 100.0, "isCompleted=YES"}}) {
        SCOPED_TRACE(row.line);
        g_FileCopy->setFileSize(row.size);
        FileCopy::statusCallback(row.status, g_FileCopy);
        EXPECT_DOUBLE_EQ(g_FileCopy->percentCompleted(), row.percent);
        EXPECT_DOUBLE_EQ(fileCopyProgress(), row.progress);
        EXPECT_EQ(fileCopyIsComplete(), row.status.stage == CopyStage::Complete);
        EXPECT_TRUE(log.contains(row.line));
        EXPECT_EQ(g_FileCopy->errorMessage(), "");
    }
    try {
        FileCopy::statusCallback(CopyStatus{CopyStage::Running, 1.0f}, nullptr);
        FAIL() << "no exception";
    } catch (const vork::Exception &e) {
        EXPECT_EQ(e.name() + " " + e.reason(), "The info parameter was nil. Info 0");
    }
}

TEST(FileCopyStatus, ReportsArriveOnlyWhileTheStartingThreadPumps) {
    TempDir dir;
    auto source = dir.write("a.bin", patternBytes(8 << 20));
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
    ASSERT_TRUE(vork::test::pumpUntil([&] { return copy.isCompleted(); }, 120));
    EXPECT_DOUBLE_EQ(copy.percentCompleted(), 100.0);
    // Another thread's copy reports to that thread, never to this one.
    bool completedThere = false;
    fs::create_directories(dir / "other");
    std::thread starter([&] {
        FileCopy other;
        if (other.startCopyFrom(source.string(), (dir / "other").string()))
            completedThere = vork::test::pumpUntil([&] { return other.isCompleted(); }, 120);
    });
    for (int i = 0; i < 3; ++i) vork::RunLoop::current()->runOnce(vork::RunLoop::Seconds(0.01));
    starter.join();
    EXPECT_TRUE(completedThere);
}

}  // namespace
