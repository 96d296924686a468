// Run-loop and returned-text figures:
//  - an idle processRunLoop returns after 0.1 s (goal: within 10 ms);
//  - work posted from another thread while the loop waits runs within 1 ms;
//  - a million text-returning calls without a release scope hold memory flat.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "runloop/RunLoop.h"
#include "support/BenchSupport.h"

using Clock = std::chrono::steady_clock;

static double percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    return v[static_cast<size_t>(p * static_cast<double>(v.size() - 1))];
}

int main() {
    // Idle loop.
    std::vector<double> idle;
    for (int i = 0; i < 30; ++i) {
        auto start = Clock::now();
        processRunLoop();
        idle.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    double worstIdle = 0;
    for (double s : idle) worstIdle = std::max(worstIdle, std::abs(s - 0.1));
    std::printf("\n== run loop ==\n");
    std::printf("idle processRunLoop: median %.4f s, worst deviation from 0.1 s: %.2f ms (goal <= 10 ms) %s\n",
                percentile(idle, 0.5), worstIdle * 1000, worstIdle <= 0.010 ? "MET" : "MISSED");

    // Cross-thread post latency while the loop waits.
    auto loop = vork::RunLoop::current();
    std::vector<double> latency;
    std::atomic<bool> stop{false};
    std::atomic<long long> postedAt{0};
    std::atomic<int> outstanding{0};
    std::thread poster([&] {
        for (int i = 0; i < 200 && !stop; ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(2000 + (i * 137) % 3000));
            while (outstanding.load() != 0) std::this_thread::yield();
            outstanding = 1;
            postedAt = Clock::now().time_since_epoch().count();
            loop->post([&] {
                auto now = Clock::now().time_since_epoch().count();
                latency.push_back(static_cast<double>(now - postedAt.load()) / 1e6);
                outstanding = 0;
            });
        }
    });
    while (latency.size() < 200) processRunLoop();
    stop = true;
    poster.join();
    std::printf("posted work latency over %zu posts: median %.3f ms, p99 %.3f ms, max %.3f ms (goal < 1 ms) %s\n",
                latency.size(), percentile(latency, 0.5), percentile(latency, 0.99), percentile(latency, 1.0),
                percentile(latency, 0.99) < 1.0 ? "MET" : "MISSED");

    // Returned text without a release scope.
    const long before = vork::bench::currentRssKiB();
    long peakDuring = before;
    for (int i = 0; i < 1000000; ++i) {
        const char *text = NSStringToCharPtr(std::string(100, 'x'));
        if (!text) return 1;
        if (i % 100000 == 0) peakDuring = std::max(peakDuring, vork::bench::currentRssKiB());
    }
    const long after = vork::bench::currentRssKiB();
    std::printf("\n== returned text without a release scope ==\n");
    std::printf("1,000,000 text results: RSS before %ld KiB, highest sampled %ld KiB, after %ld KiB, held %lu "
                "results (goal: flat) %s\n",
                before, peakDuring, after, VORKReleaseScopeHeldCount(), after - before < 1024 ? "MET" : "MISSED");
    return 0;
}
