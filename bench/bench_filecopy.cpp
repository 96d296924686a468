// Copies through fileCopyStart and polling, side by side with cp: one large
// file against `cp`, and a folder of many small files in nested folders
// against `cp -r`.
//
// usage: bench_filecopy [SIZE] [FILES] [RUNS]
//   SIZE   the large file, in bytes or with K/M/G (default 1G)
//   FILES  small files in the folder (default 10000)
//   RUNS   interleaved runs per side, the best counts (default 5)
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "support/BenchSupport.h"

using namespace vork::bench;
namespace fs = std::filesystem;

namespace {

// A folder of `files` small files (100 B to 16 KiB) spread over three
// levels of folders, about 20 files per folder.
void makeTree(const fs::path &root, int files) {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> size(100, 16 * 1024);
    std::string bytes(16 * 1024, '\0');
    for (auto &c : bytes) c = static_cast<char>(rng());
    for (int i = 0; i < files; ++i) {
        fs::path folder = root / ("a" + std::to_string(i / 2000)) / ("b" + std::to_string(i / 200 % 10)) /
                          ("c" + std::to_string(i / 20 % 10));
        if (i % 20 == 0) fs::create_directories(folder);
        std::ofstream(folder / ("file" + std::to_string(i) + ".dat"), std::ios::binary)
            .write(bytes.data(), size(rng));
    }
}

// Copies through the C functions the way the agent does; answers seconds,
// or -1 when the copy did not start or left nothing.
double ourCopy(const fs::path &source, const fs::path &folder) {
    bool ok = true;
    double seconds = secondsOf([&] {
        VORKReleaseScopePush();
        ok = *fileCopyStart(source.c_str(), folder.c_str()) == '\0';
        while (ok && !fileCopyIsComplete()) {
        }
        fileCopyRelease();
        VORKReleaseScopePop();
    });
    return ok && fs::exists(folder / source.filename()) ? seconds : -1;
}

// Removes the copy and lets the disk settle so one run's write-back does not
// slow the next.
void clean(const fs::path &folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
    fs::create_directories(folder);
    timeCommand("sync");
}

// A new empty folder for one run. The folder phase never deletes between
// runs: ext4 without a journal skips inodes deleted in the last minutes when
// it allocates new ones, and a run that follows the deletion of thousands of
// files pays for that scan.
fs::path freshFolder(const fs::path &parent, const std::string &name) {
    fs::create_directories(parent / name);
    timeCommand("sync");
    return parent / name;
}

bool sameTree(const fs::path &a, const fs::path &b) {
    return timeCommand("diff -r -q '" + a.string() + "' '" + b.string() + "' > /dev/null") >= 0;
}

}  // namespace

int main(int argc, char **argv) {
    const unsigned long long size = argc > 1 ? parseSize(argv[1]) : (1ull << 30);
    const int files = argc > 2 ? std::atoi(argv[2]) : 10000;
    const int runs = argc > 3 ? std::max(1, std::atoi(argv[3])) : 5;
    char pattern[] = "/tmp/vork-bench-copy-XXXXXX";
    if (!mkdtemp(pattern)) {
        std::perror("mkdtemp");
        return 1;
    }
    const fs::path dir = pattern, big = dir / "big.bin", tree = dir / "tree", out = dir / "out";
    std::printf("making a %.1f MiB file and a folder of %d files in %s\n", size / 1048576.0, files, dir.c_str());
    makeFile(big.string(), size);
    makeTree(tree, files);
    timeCommand("cat '" + big.string() + "' > /dev/null");
    timeCommand("find '" + tree.string() + "' -type f -exec cat {} + > /dev/null");

    // Two phases, so deleting one phase's thousands of files does not weigh
    // on the other; within a phase ours and cp alternate, best of `runs`.
    double fileOurs = 1e300, fileCp = 1e300, treeOurs = 1e300, treeCp = 1e300;
    bool correct = true;
    for (int i = 0; i < runs; ++i) {
        clean(out);
        double t = ourCopy(big, out);
        correct = correct && t > 0 && sameTree(big, out / "big.bin");
        fileOurs = std::min(fileOurs, t > 0 ? t : 1e300);
        clean(out);
        fileCp = std::min(fileCp, timeCommand("cp '" + big.string() + "' '" + out.string() + "/'"));
    }
    clean(out);
    for (int i = 0; i < runs; ++i) {
        fs::path mine = freshFolder(out, "ours" + std::to_string(i));
        double t = ourCopy(tree, mine);
        correct = correct && t > 0 && sameTree(tree, mine / "tree");
        treeOurs = std::min(treeOurs, t > 0 ? t : 1e300);
        fs::path theirs = freshFolder(out, "cp" + std::to_string(i));
        treeCp = std::min(treeCp, timeCommand("cp -r '" + tree.string() + "' '" + theirs.string() + "/'"));
    }
    std::printf("copies identical to their sources: %s\n", correct ? "yes" : "NO");

    const double mib = size / 1048576.0;
    std::printf("best of %d runs; ours: %.0f MiB/s for the file, %.0f files/s for the folder\n", runs, mib / fileOurs,
                files / treeOurs);
    printTable("file copy (seconds, ratio = cp time / our time)",
               {
                   {"file " + std::to_string(static_cast<unsigned long long>(mib)) + " MiB fileCopyStart+poll",
                    fileOurs, fileCp, "cp", 0.9},
                   {"folder of " + std::to_string(files) + " small files", treeOurs, treeCp, "cp -r", 0.8},
               });

    std::error_code ignored;
    fs::remove_all(dir, ignored);
    return correct ? 0 : 1;
}
