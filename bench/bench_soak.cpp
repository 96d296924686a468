// Soak: many keepAlive calls against the reference server and many
// download/upload transfers against nginx, in one process, watching resident
// memory (VmRSS) and open descriptors (/proc/self/fd) every 10%. Verdict:
// flat within 1 MiB after warm-up (the first 10%) and no descriptor growth.
//
//   bench_soak [keepAlive calls] [transfers]     (default 100000 1000)
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "support/BenchSupport.h"
#include "support/Nginx.h"
#include "support/RefServer.h"

namespace fs = std::filesystem;

namespace {

long openDescriptors() {
    long count = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

struct Sample {
    long rssKiB, fds;
};

// Runs `step` n times, sampling every 10%; answers whether the figures after
// the first sample stayed within 1 MiB and the descriptors did not grow.
bool soak(const char *name, long n, const std::function<bool(long)> &step) {
    std::vector<Sample> samples;
    long failures = 0;
    for (long i = 0; i < n; ++i) {
        if (!step(i)) ++failures;
        if ((i + 1) % std::max(1L, n / 10) == 0) {
            samples.push_back({vork::bench::currentRssKiB(), openDescriptors()});
            std::printf("%s %3ld%%: VmRSS %ld KiB, open fds %ld\n", name, (i + 1) * 100 / n, samples.back().rssKiB,
                        samples.back().fds);
            std::fflush(stdout);
        }
    }
    long lo = samples.front().rssKiB, hi = lo, fdMax = 0;
    for (const Sample &s : samples) {
        lo = std::min(lo, s.rssKiB);
        hi = std::max(hi, s.rssKiB);
        fdMax = std::max(fdMax, s.fds);
    }
    const bool flat = hi - lo <= 1024 && fdMax <= samples.front().fds && failures == 0;
    std::printf("%s: %ld steps, %ld failed, VmRSS after warm-up %ld..%ld KiB (spread %ld KiB), fds %ld..%ld: %s\n",
                name, n, failures, lo, hi, hi - lo, samples.front().fds, fdMax, flat ? "FLAT" : "GROWS");
    return flat;
}

bool pollTransfer() {
    while (!httpTransferIsComplete()) httpTransferProgress();
    const bool ok = httpResponseCode() == 200;
    httpTransferRelease();
    return ok;
}

}  // namespace

int main(int argc, char **argv) {
    const long calls = argc > 1 ? std::atol(argv[1]) : 100000;
    const long transfers = argc > 2 ? std::atol(argv[2]) : 1000;
    char pattern[] = "/tmp/bench_soak.XXXXXX";
    const std::string work = ::mkdtemp(pattern);
    std::printf("bench_soak: %ld keepAlive calls, %ld transfers, work folder %s\n", calls, transfers, work.c_str());
    bool flat = true;
    {
        vork::test::RefServer server;
        setZelUrl(server.url().c_str());
        setZelUsername(server.user().c_str());
        setZelPassword(server.password().c_str());
        flat &= soak("keepAlive", calls, [](long) {
            VORKReleaseScopePush();
            const char *xml = keepAlive(0);
            const bool ok = xml && std::string(xml).find("<code>0</code>") != std::string::npos;
            VORKReleaseScopePop();
            return ok;
        });
    }
    {
        vork::test::NginxOptions options;
        options.accessLog = false;
        vork::test::Nginx nginx(work + "/nginx", options);
        vork::bench::makeFile(nginx.wwwFolder() + "/soak.bin", 256 * 1024);
        const std::string out = work + "/out.bin", upload = nginx.wwwFolder() + "/soak.bin";
        const std::string down = nginx.httpUrl("/soak.bin"), up = nginx.httpUrl("/upload");
        flat &= soak("transfers", transfers, [&](long i) {
            if (i % 2 == 0)
                httpTransferInitDownload(down.c_str(), false, nullptr, nullptr, nullptr, nullptr, out.c_str());
            else
                httpTransferInit(up.c_str(), false, nullptr, nullptr, nullptr, upload.c_str());
            httpTransferStart();
            return pollTransfer();
        });
    }
    fs::remove_all(work);
    std::printf("verdict: %s\n", flat ? "flat (memory within 1 MiB after warm-up, no descriptor growth)" : "GROWS");
    return flat ? 0 : 1;
}
