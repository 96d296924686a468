// SHA-512 and MD5 of a large file through the library's C functions, side by
// side with the tools a user would run instead (openssl dgst, sha512sum,
// md5sum), plus the peak memory the library needs for it.
//
// usage: bench_filehash [SIZE] [RUNS]
//   SIZE  in bytes, or with K/M/G (default 1G)
//   RUNS  interleaved runs per side, the best counts (default 5)
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include "support/BenchSupport.h"

using namespace vork::bench;

namespace {

// First word of a command's output (the digest both tools print first).
std::string firstWord(const std::string &command) {
    std::string out;
    if (FILE *p = popen(command.c_str(), "r")) {
        char buffer[512];
        if (std::fgets(buffer, sizeof buffer, p)) out = buffer;
        pclose(p);
    }
    // openssl prints "SHA2-512(path)= digest", the coreutils tools "digest  path".
    if (auto eq = out.find("= "); eq != std::string::npos) out = out.substr(eq + 2);
    return out.substr(0, out.find_first_of(" \n"));
}

}  // namespace

int main(int argc, char **argv) {
    const unsigned long long size = argc > 1 ? parseSize(argv[1]) : (1ull << 30);
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    char pattern[] = "/tmp/vork-bench-hash-XXXXXX";
    if (!mkdtemp(pattern)) {
        std::perror("mkdtemp");
        return 1;
    }
    const std::string dir = pattern, file = dir + "/data.bin";
    std::printf("making a %.1f MiB file in %s\n", size / 1048576.0, dir.c_str());
    makeFile(file, size);
    // Warm the page cache once so every timed run reads the same way.
    timeCommand("cat '" + file + "' > /dev/null");

    // Peak memory is measured from here, before the library has hashed
    // anything, so its buffers and digest state count in full.
    const long idle = currentRssKiB();
    resetPeakRss();
    VORKReleaseScopePush();
    const std::string ourSha = fileHashSHA512(file.c_str());
    const double shaPeakMiB = (peakRssKiB() - idle) / 1024.0;
    const std::string ourMd5 = fileHashMD5(file.c_str());
    VORKReleaseScopePop();
    const double md5PeakMiB = (peakRssKiB() - idle) / 1024.0;
    const bool shaAgrees = ourSha == firstWord("openssl dgst -sha512 '" + file + "'") &&
                           ourSha == firstWord("sha512sum '" + file + "'");
    const bool md5Agrees = ourMd5 == firstWord("openssl dgst -md5 '" + file + "'") &&
                           ourMd5 == firstWord("md5sum '" + file + "'");
    std::printf("digests agree with the tools: SHA-512 %s, MD5 %s\n", shaAgrees ? "yes" : "NO", md5Agrees ? "yes" : "NO");

    auto ours = [&](bool sha) {
        return [&, sha] {
            return secondsOf([&] {
                VORKReleaseScopePush();
                if (sha) fileHashSHA512(file.c_str());
                else fileHashMD5(file.c_str());
                VORKReleaseScopePop();
            });
        };
    };
    auto background = [&] {
        return secondsOf([&] {
            fileHashSHA512Start(file.c_str());
            while (!fileHashIsComplete()) std::this_thread::sleep_for(std::chrono::microseconds(200));
            fileHashRelease();
        });
    };
    auto tool = [&](const std::string &command) { return [&, command] { return timeCommand(command + " '" + file + "' > /dev/null"); }; };

    // Interleave ours and the tools so drift in the machine hits both.
    double sha = 1e300, shaOpenssl = 1e300, shaSum = 1e300, shaBackground = 1e300;
    double md5 = 1e300, md5Openssl = 1e300, md5Sum = 1e300;
    for (int i = 0; i < runs; ++i) {
        sha = std::min(sha, ours(true)());
        shaOpenssl = std::min(shaOpenssl, tool("openssl dgst -sha512")());
        shaSum = std::min(shaSum, tool("sha512sum")());
        shaBackground = std::min(shaBackground, background());
        md5 = std::min(md5, ours(false)());
        md5Openssl = std::min(md5Openssl, tool("openssl dgst -md5")());
        md5Sum = std::min(md5Sum, tool("md5sum")());
    }

    const double mib = size / 1048576.0;
    std::printf("\nbest of %d runs; throughput ours: SHA-512 %.0f MiB/s, MD5 %.0f MiB/s\n", runs, mib / sha, mib / md5);
    const std::string label = std::to_string(static_cast<unsigned long long>(mib)) + " MiB";
    // The goal applies to the faster of the two tools for each digest.
    printTable("file hashing (seconds, ratio = tool time / our time)",
               {
                   {"SHA-512 " + label + " fileHashSHA512", sha, shaOpenssl, "openssl dgst", shaOpenssl <= shaSum ? 0.95 : 0},
                   {"SHA-512 " + label + " fileHashSHA512", sha, shaSum, "sha512sum", shaSum < shaOpenssl ? 0.95 : 0},
                   {"SHA-512 " + label + " background + polling", shaBackground, std::min(shaOpenssl, shaSum),
                    "faster tool", 0},
                   {"MD5 " + label + " fileHashMD5", md5, md5Openssl, "openssl dgst", md5Openssl <= md5Sum ? 0.95 : 0},
                   {"MD5 " + label + " fileHashMD5", md5, md5Sum, "md5sum", md5Sum < md5Openssl ? 0.95 : 0},
               });
    // ratio = budget / ours, so 1.0 or more keeps within the 32 MiB budget.
    printTable("peak memory above idle while hashing (MiB, ratio = budget / ours)",
               {
                   {"first SHA-512 " + label, std::max(shaPeakMiB, 0.01), 32.0, "32 MiB budget", 1.0},
                   {"first SHA-512 + MD5 " + label, std::max(md5PeakMiB, 0.01), 32.0, "32 MiB budget", 1.0},
               },
               "MiB");

    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
    return shaAgrees && md5Agrees ? 0 : 1;
}
