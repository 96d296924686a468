// Keep-alive round trips against the reference server on 127.0.0.1:
//  - keepAlive() through the C interface (build the message, POST it, parse
//    and re-serialise the reply) versus the same request bytes posted with a
//    plain libcurl easy handle in the same process (goal: at most 1.1 times
//    the libcurl time per call), rounds of each in turns (A B A B), medians;
//  - keepAlive() calls per second over the reused connection.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/BenchSupport.h"
#include "support/RefServer.h"  // the reference server launcher the tests use
#include "support/TempDir.h"
#include "message/Constants.h"
#include "util/Base64.h"
#include "zel/ZelCalls.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char *kUser = "agent";
constexpr const char *kPassword = "bench-password";

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

size_t collect(char *data, size_t size, size_t count, void *out) {
    static_cast<std::string *>(out)->append(data, size * count);
    return size * count;
}

}  // namespace

int main() {
    std::unique_ptr<vork::test::RefServer> server;
    try {
        server = std::make_unique<vork::test::RefServer>(vork::test::RefServerOptions{false, kUser, kPassword, {}});
    } catch (const std::exception &e) {
        std::fprintf(stderr, "bench_keepalive: %s\n", e.what());
        return 1;
    }
    const std::string base = server->url();
    setZelUrl(base.c_str());
    setZelUsername(kUser);
    setZelPassword(kPassword);
    setAllowInvalidCertificate(0);

    // The bytes the library posts, for the plain libcurl side.
    vork::ZelCallKeepAlive call;
    auto message = call.createKeepAliveRequest();
    message->setApplication(std::string(vork::kApplicationIdentifier));
    std::string body = message->saveToXmlData().value_or("");
    std::string auth = "Authorization: Basic " + vork::util::base64EncodedString(std::string(kUser) + ":" + kPassword);

    CURL *easy = curl_easy_init();
    std::string reply;
    curl_slist *headers = nullptr;
    headers = curl_slist_append(headers, "Content-Type: application/xml; charset=utf-8");
    headers = curl_slist_append(headers, auth.c_str());
    std::string url = base + "/client";
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &reply);

    auto curlCall = [&] {
        reply.clear();
        return curl_easy_perform(easy) == CURLE_OK;
    };
    auto ourCall = [&] {
        VORKReleaseScopePush();
        const char *xml = keepAlive(0);
        bool ok = xml && std::string(xml).find("<code>0</code>") != std::string::npos;
        VORKReleaseScopePop();
        return ok;
    };

    // Warm up both connections, then alternate rounds so drift hits both.
    for (int i = 0; i < 20; ++i) {
        curlCall();
        ourCall();
    }
    constexpr int kRounds = 41, kPerRound = 40;
    int failures = 0;
    // Wall time per call, and this process's processor time per call: the
    // server runs in its own process, so the second is the client's work
    // alone, without the server's scheduling noise.
    std::vector<double> ourCpu, curlCpu, ourWall, curlWall;
    auto round = [&](const std::function<bool()> &call, std::vector<double> &cpu, std::vector<double> &walls) {
        return [&, call] {
            const double c0 = processorSeconds();
            auto t0 = Clock::now();
            for (int i = 0; i < kPerRound; ++i) failures += call() ? 0 : 1;
            const double wall = std::chrono::duration<double>(Clock::now() - t0).count() / kPerRound;
            cpu.push_back((processorSeconds() - c0) / kPerRound);
            walls.push_back(wall);
            return wall;
        };
    };
    vork::bench::alternate(kRounds, round(ourCall, ourCpu, ourWall), round(curlCall, curlCpu, curlWall));
    // The machine's speed drifts over seconds: each round of ours is set
    // against the libcurl round next to it, and the medians are taken of
    // those pairs.
    std::vector<double> wallRatio, ownCpuShare;
    for (size_t i = 0; i < ourWall.size() && i < curlWall.size(); ++i) {
        wallRatio.push_back(ourWall[i] / curlWall[i]);
        ownCpuShare.push_back((ourCpu[i] - curlCpu[i]) / curlWall[i]);
    }
    const double curlMedian = vork::bench::median(curlWall);
    const double ourMedian = curlMedian * vork::bench::median(wallRatio);
    const double curlCpuMedian = vork::bench::median(curlCpu);
    const double ourCpuMedian = curlCpuMedian + curlMedian * vork::bench::median(ownCpuShare);
    curl_slist_free_all(headers);
    curl_easy_cleanup(easy);

    // Calls per second over the reused connection.
    constexpr int kBurst = 300;
    double seconds = vork::bench::secondsOf([&] {
        for (int i = 0; i < kBurst; ++i) failures += ourCall() ? 0 : 1;
    });

    vork::bench::printTable("keepAlive round trip (HTTP, 127.0.0.1, reference server)",
                            {{"keepAlive() vs libcurl POST of the same bytes", ourMedian, curlMedian,
                              "libcurl easy handle", 1.0 / 1.1}});
    std::printf("per call: keepAlive %.3f ms, libcurl %.3f ms (x%.2f of libcurl; goal <= 1.10 %s)\n",
                ourMedian * 1000, curlMedian * 1000, ourMedian / curlMedian,
                ourMedian / curlMedian <= 1.1 ? "MET" : "MISSED");
    // What the library adds to an exchange: building, serialising, parsing
    // and logging, and its own HTTP handling.
    const double own = ourMedian - curlMedian;
    std::printf("library's own cost per call: %.1f us = %.3f of a libcurl exchange (goal <= 0.10)\n", own * 1e6,
                own / curlMedian);
    std::printf("INFO\tkeepAlive: library's own cost per call (us)\t%.1f\n", own * 1e6);
    const double ownCpu = ourCpuMedian - curlCpuMedian;
    std::printf("client processor time per call: keepAlive %.1f us, libcurl %.1f us; library's own %.1f us = %.3f "
                "of a libcurl exchange (goal <= 0.10 %s)\n",
                ourCpuMedian * 1e6, curlCpuMedian * 1e6, ownCpu * 1e6, ownCpu / curlMedian,
                ownCpu / curlMedian <= 0.1 ? "MET" : "MISSED");
    std::printf("INFO\tkeepAlive: library's own processor time per call (us)\t%.1f\n", ownCpu * 1e6);
    std::printf("keepAlive calls per second over a reused connection: %.0f (%d calls in %.2f s)\n",
                kBurst / seconds, kBurst, seconds);
    std::printf("INFO\tkeepAlive calls per second over a reused connection\t%.0f\n", kBurst / seconds);
    if (failures) std::printf("failed calls: %d\n", failures);
    return failures ? 1 : 0;
}
