// Files: copying with a progress bar and hashing, both through the polling C
// functions the agent uses.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "Command.h"
#include "Output.h"

namespace vorkcomm {
namespace {

// The name the copy takes inside the destination folder.
std::string itemIn(const std::string &folder, std::string source) {
    while (source.size() > 1 && source.back() == '/') source.pop_back();
    const size_t slash = source.find_last_of('/');
    return folder + "/" + (slash == std::string::npos ? source : source.substr(slash + 1));
}

int copy(const Options &o) {
    if (o.positional.size() != 2) return usageError("copy SOURCE DESTINATION-FOLDER");
    const std::string &source = o.positional[0], &folder = o.positional[1];
    if (!hasEnoughSpaceForFileInDestination(source.c_str(), folder.c_str())) {
        std::fprintf(stderr, "vorkcomm: not enough free space in %s\n", folder.c_str());
        fileCopyRelease();
        return emit(o, "", {{"copy", nullptr}, {"error", std::string("not enough free space")}}, kExitFailure);
    }
    const std::string error = fileCopyStart(source.c_str(), folder.c_str());
    if (!error.empty()) {
        std::fprintf(stderr, "vorkcomm: the copy did not start: %s\n", error.c_str());
        fileCopyRelease();
        return emit(o, "", {{"copy", nullptr}, {"error", error}}, kExitFailure);
    }
    ProgressBar bar("copy", o);
    while (!fileCopyIsComplete()) bar.update(fileCopyProgress());
    fileCopyRelease();
    // A copy that fails on the way still completes; it leaves nothing behind.
    const std::string copied = itemIn(folder, source);
    struct stat st {};
    const bool ok = ::lstat(copied.c_str(), &st) == 0;
    bar.finish(ok);
    if (!ok) {
        std::fprintf(stderr, "vorkcomm: the copy failed on the way (no space, or an unreadable item?)\n");
        return emit(o, "", {{"copy", nullptr}, {"error", std::string("failed while copying")}}, kExitFailure);
    }
    return emit(o, "", {{"copy", copied}, {"error", nullptr}}, kExitOk);
}

int hash(const Options &o) {
    if (o.positional.size() != 2 || (o.positional[0] != "md5" && o.positional[0] != "sha512"))
        return usageError("hash md5|sha512 FILE [--background]");
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
        std::fprintf(stderr, "vorkcomm: cannot hash %s (missing or unreadable)\n", path.c_str());
        return emit(o, "", {{"algorithm", o.positional[0]}, {"path", path}, {"digest", nullptr}}, kExitFailure);
    }
    return emit(o, digest + "  " + path, {{"algorithm", o.positional[0]}, {"path", path}, {"digest", digest}},
                kExitOk);
}

CommandRegistrar r1({"copy", "SOURCE DESTINATION-FOLDER", "copy a file or folder into a folder, with a progress bar",
                     copy});
CommandRegistrar r2({"hash", "md5|sha512 FILE [--background]", "digest of a file as lower-case hex", hash,
                     "background"});

}  // namespace
}  // namespace vorkcomm
