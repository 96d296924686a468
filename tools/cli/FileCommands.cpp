// Files: copying with a progress bar and hashing, both through the polling C
// functions the agent uses.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>

#include "Command.h"

namespace vorkcomm {
namespace {

void drawBar(double percent) {
    constexpr int kWidth = 40;
    if (!std::isfinite(percent)) percent = 0;
    percent = std::fmin(std::fmax(percent, 0.0), 100.0);
    const int filled = static_cast<int>(percent * kWidth / 100.0);
    std::string bar(static_cast<size_t>(filled), '#');
    bar.append(static_cast<size_t>(kWidth - filled), '.');
    std::fprintf(stderr, "\r[%s] %5.1f%%", bar.c_str(), percent);
    std::fflush(stderr);
}

// The name the copy takes inside the destination folder.
std::string itemIn(const std::string &folder, std::string source) {
    while (source.size() > 1 && source.back() == '/') source.pop_back();
    const size_t slash = source.find_last_of('/');
    return folder + "/" + (slash == std::string::npos ? source : source.substr(slash + 1));
}

int copy(const Options &o) {
    if (o.positional.size() != 2) {
        std::fprintf(stderr, "usage: vorkcomm copy SOURCE DESTINATION-FOLDER\n");
        return kExitUsage;
    }
    const std::string &source = o.positional[0], &folder = o.positional[1];
    if (!hasEnoughSpaceForFileInDestination(source.c_str(), folder.c_str())) {
        std::fprintf(stderr, "not enough free space in %s\n", folder.c_str());
        fileCopyRelease();
        return kExitFailure;
    }
    const std::string error = fileCopyStart(source.c_str(), folder.c_str());
    if (!error.empty()) {
        std::fprintf(stderr, "copy failed: %s\n", error.c_str());
        fileCopyRelease();
        return kExitFailure;
    }
    const bool showBar = !o.has("quiet");
    while (!fileCopyIsComplete()) {
        const double percent = fileCopyProgress();
        if (showBar) drawBar(percent);
    }
    if (showBar) {
        drawBar(fileCopyProgress());
        std::fputc('\n', stderr);
    }
    fileCopyRelease();
    // A copy that fails on the way still completes; it leaves nothing behind.
    struct stat st {};
    if (::lstat(itemIn(folder, source).c_str(), &st) != 0) {
        std::fprintf(stderr, "copy failed while copying (no space, or an unreadable item?)\n");
        return kExitFailure;
    }
    return kExitOk;
}

int hash(const Options &o) {
    if (o.positional.size() != 2 || (o.positional[0] != "md5" && o.positional[0] != "sha512")) {
        std::fprintf(stderr, "usage: vorkcomm hash md5|sha512 FILE [--background]\n");
        return kExitUsage;
    }
    const bool md5 = o.positional[0] == "md5";
    const std::string &path = o.positional[1];
    std::string digest;
    if (o.has("background")) {
        if (md5) fileHashMD5Start(path.c_str());
        else fileHashSHA512Start(path.c_str());
        while (!fileHashIsComplete()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const char *result = fileHashResult();
        digest = result ? result : "";
        fileHashRelease();
    } else {
        digest = md5 ? fileHashMD5(path.c_str()) : fileHashSHA512(path.c_str());
    }
    if (digest.empty()) {
        std::fprintf(stderr, "cannot hash %s (missing or unreadable)\n", path.c_str());
        return kExitFailure;
    }
    std::printf("%s  %s\n", digest.c_str(), path.c_str());
    return kExitOk;
}

struct Switches {
    Switches() {
        addSwitch("background");
        addSwitch("quiet");
    }
} switches;

CommandRegistrar r1({"copy", "SOURCE DESTINATION-FOLDER [--quiet]",
                     "copy a file or folder into a folder, with a progress bar", copy});
CommandRegistrar r2({"hash", "md5|sha512 FILE [--background]", "digest of a file as lower-case hex", hash});

}  // namespace
}  // namespace vorkcomm
