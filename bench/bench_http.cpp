// HTTP transfers against curl, in one run, on loopback nginx (started and
// stopped here): downloads through the transfer C functions polled as fast
// as they allow and with 250 ms sleeps, uploads from a file, over HTTP and
// HTTPS; a 2 MiB upload to a server that never answers "100 Continue";
// peak memory above idle; and the latency of a synchronous 1 KiB XML
// POST against a plain libcurl request in this process.
//
//   bench_http [bytes]      (default 1 GiB)
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "http/VORKHTTPRequest.h"
#include "support/BenchSupport.h"
#include "support/Nginx.h"  // the nginx launcher the tests use

namespace fs = std::filesystem;
using namespace vork::bench;

namespace {

struct Measured {
    double seconds = -1;
    double peakAboveIdleMiB = 0;
};

// Runs one transfer through the C functions; sleepMs 0 polls as fast as the
// functions allow.
Measured runTransfer(const std::function<void()> &init, int sleepMs) {
    Measured m;
    const long idle = currentRssKiB();
    resetPeakRss();
    m.seconds = secondsOf([&] {
        init();
        const char *failure = httpTransferStart();
        if (failure && *failure) std::fprintf(stderr, "start failed: %s\n", failure);
        for (;;) {
            if (sleepMs) std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs));
            if (httpTransferIsComplete()) break;
            httpTransferProgress();
        }
    });
    const int code = httpResponseCode();
    if (code != 200) {
        std::fprintf(stderr, "transfer answered %d: %s\n", code, httpTransferError());
        m.seconds = -1;
    }
    httpTransferRelease();
    m.peakAboveIdleMiB = (peakRssKiB() - idle) / 1024.0;
    return m;
}

// A loopback server that, like many, never answers "100 Continue": it reads
// each request's headers and body and answers 200. Serves until stopped.
class NoContinueServer {
public:
    NoContinueServer() {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        ::bind(fd_, reinterpret_cast<sockaddr *>(&a), sizeof a);
        ::listen(fd_, 8);
        ::getsockname(fd_, reinterpret_cast<sockaddr *>(&a), &len);
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~NoContinueServer() {
        ::shutdown(fd_, SHUT_RDWR);
        ::close(fd_);
        thread_.join();
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/upload"; }

private:
    void serve() {
        for (int c; (c = ::accept(fd_, nullptr, nullptr)) >= 0; ::close(c)) {
            std::string head;
            char buffer[65536];
            for (;;) {
                while (head.find("\r\n\r\n") == std::string::npos) {
                    ssize_t n = ::read(c, buffer, sizeof buffer);
                    if (n <= 0) goto next;
                    head.append(buffer, n);
                }
                const size_t end = head.find("\r\n\r\n") + 4;
                const size_t at = head.find("ontent-Length: ");
                long long left = (at == std::string::npos ? 0 : std::atoll(head.c_str() + at + 15)) -
                                 static_cast<long long>(head.size() - end);
                while (left > 0) {
                    ssize_t n = ::read(c, buffer, std::min<long long>(left, sizeof buffer));
                    if (n <= 0) goto next;
                    left -= n;
                }
                // One request per connection, so a client that keeps its
                // connection open never holds the server.
                const char reply[] = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nConnection: close\r\n\r\n<ok/>";
                if (::write(c, reply, sizeof reply - 1) < 0) break;
                break;
            }
        next:;
        }
    }
    int fd_ = -1;
    int port_ = 0;
    std::thread thread_;
};

double best(double a, double b) {
    if (a < 0) return b;
    if (b < 0) return a;
    return std::min(a, b);
}

}  // namespace

int main(int argc, char **argv) {
    const unsigned long long size = argc > 1 ? parseSize(argv[1]) : (1ULL << 30);
    char pattern[] = "/tmp/bench_http.XXXXXX";
    const std::string work = ::mkdtemp(pattern);
    std::printf("bench_http: %llu bytes, work folder %s\n", size, work.c_str());
    double latencyOurs = 0, latencyCurl = 0, latencyCApi = 0;
    std::vector<Row> rows, memory;
    {
        vork::test::NginxOptions options;
        options.accessLog = false;
        vork::test::Nginx nginx(work + "/nginx", options);
        makeFile(nginx.wwwFolder() + "/big.bin", size);
        const std::string upload = work + "/upload.bin";
        fs::copy_file(nginx.wwwFolder() + "/big.bin", upload);
        const std::string out = work + "/out.bin";

        for (const bool tls : {false, true}) {
            const std::string scheme = tls ? "HTTPS" : "HTTP";
            const std::string url = tls ? nginx.httpsUrl("/big.bin") : nginx.httpUrl("/big.bin");
            const std::string uploadUrl = tls ? nginx.httpsUrl("/upload") : nginx.httpUrl("/upload");
            const std::string k = tls ? " -k" : "";
            auto curlDownload = [&] {
                fs::remove(out);
                return timeCommand("curl -s -f" + k + " -o '" + out + "' '" + url + "'");
            };
            auto curlUpload = [&] {
                return timeCommand("curl -s -f" + k + " -o /dev/null -X POST -T '" + upload + "' '" + uploadUrl + "'");
            };
            auto download = [&](int sleepMs) {
                fs::remove(out);
                return runTransfer(
                    [&] { httpTransferInitDownload(url.c_str(), tls, nullptr, nullptr, nullptr, nullptr, out.c_str()); },
                    sleepMs);
            };
            auto uploadRun = [&] {
                return runTransfer(
                    [&] { httpTransferInit(uploadUrl.c_str(), tls, nullptr, nullptr, nullptr, upload.c_str()); }, 0);
            };

            double curlDown = best(curlDownload(), curlDownload());
            Measured fast1 = download(0), fast2 = download(0);
            Measured slow1 = download(250), slow2 = download(250);
            double curlUp = best(curlUpload(), curlUpload());
            Measured up1 = uploadRun(), up2 = uploadRun();

            rows.push_back({scheme + " download, fast polling", best(fast1.seconds, fast2.seconds), curlDown, "curl", 0.9});
            rows.push_back({scheme + " download, 250 ms polling", best(slow1.seconds, slow2.seconds), curlDown, "curl", 0.9});
            rows.push_back({scheme + " upload from file", best(up1.seconds, up2.seconds), curlUp, "curl", 0.9});
            // (a floor of 0.01 MiB keeps the ratio printable when nothing grew)
            auto mib = [](const Measured &a, const Measured &b) {
                return std::max(0.01, std::max(a.peakAboveIdleMiB, b.peakAboveIdleMiB));
            };
            memory.push_back({scheme + " download fast, MiB above idle", mib(fast1, fast2), 64, "64 MiB", 1.0});
            memory.push_back({scheme + " download 250 ms, MiB above idle", mib(slow1, slow2), 64, "64 MiB", 1.0});
            memory.push_back({scheme + " upload, MiB above idle", mib(up1, up2), 64, "64 MiB", 1.0});
        }
        fs::remove(out);

        // A 2 MiB upload to a server that never answers "100 Continue": a
        // client that sends "Expect: 100-continue" waits a second first.
        {
            NoContinueServer server;
            const std::string small = work + "/upload-2m.bin";
            makeFile(small, 2u << 20);
            const std::string target = server.url();
            auto curlRun = [&] { return timeCommand("curl -s -f -o /dev/null -X POST -T '" + small + "' '" + target + "'"); };
            auto oursRun = [&] {
                return runTransfer([&] { httpTransferInit(target.c_str(), false, nullptr, nullptr, nullptr, small.c_str()); }, 0);
            };
            const double curlUp = best(curlRun(), curlRun());
            const Measured a = oursRun(), b = oursRun();
            rows.push_back({"2 MiB upload, server without 100 Continue", best(a.seconds, b.seconds), curlUp, "curl", 1.0});
        }

        // Latency of one synchronous 1 KiB XML POST. The three ways take
        // turns in short rounds, so load from other processes on the machine
        // falls on all of them alike; each figure is the median round.
        const std::string body = "<request>" + std::string(1024 - 19, 'x') + "</request>";
        const std::string postUrl = nginx.httpUrl("/upload");
        constexpr int kRounds = 20, kPerRound = 100;
        CURL *easy = curl_easy_init();
        curl_slist *headers = curl_slist_append(nullptr, "Content-Type: application/xml; charset=utf-8");
        std::string sink;
        curl_easy_setopt(easy, CURLOPT_URL, postUrl.c_str());
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, +[](char *p, size_t s, size_t n, void *u) {
            static_cast<std::string *>(u)->append(p, s * n);
            return s * n;
        });
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, &sink);
        auto ours = [&] {
            for (int i = 0; i < kPerRound; ++i) {
                vork::VORKHTTPRequest request(postUrl, body);
                request.submitRequest();
            }
        };
        auto cApi = [&] {
            for (int i = 0; i < kPerRound; ++i) {
                httpTransferInit(postUrl.c_str(), false, nullptr, nullptr, body.c_str(), nullptr);
                httpSubmitRequest();
            }
        };
        auto plain = [&] {
            for (int i = 0; i < kPerRound; ++i) {
                sink.clear();
                curl_easy_perform(easy);
            }
        };
        // Warm-up: each way has its connection open before timing starts.
        {
            vork::VORKHTTPRequest warm(postUrl, body);
            warm.submitRequest();
        }
        cApi();
        plain();
        std::vector<double> oursRounds, cApiRounds, curlRounds;
        for (int r = 0; r < kRounds; ++r) {
            oursRounds.push_back(secondsOf(ours) / kPerRound);
            cApiRounds.push_back(secondsOf(cApi) / kPerRound);
            curlRounds.push_back(secondsOf(plain) / kPerRound);
        }
        httpTransferRelease();
        curl_slist_free_all(headers);
        curl_easy_cleanup(easy);
        auto median = [](std::vector<double> v) {
            std::sort(v.begin(), v.end());
            return v[v.size() / 2];
        };
        latencyOurs = median(oursRounds);
        latencyCApi = median(cApiRounds);
        latencyCurl = median(curlRounds);
    }
    fs::remove_all(work);

    printTable("HTTP transfers vs curl (" + std::to_string(size) + " bytes, loopback nginx)", rows);
    printTable("Peak memory of the transfer above idle (goal: under 64 MiB)", memory, "MiB");
    printTable("Synchronous 1 KiB XML POST latency vs plain libcurl (goal: at most 1.2 times)",
               {{"VORKHTTPRequest submitRequest", latencyOurs * 1e6, latencyCurl * 1e6, "libcurl easy", 1 / 1.2},
                {"httpTransferInit + httpSubmitRequest", latencyCApi * 1e6, latencyCurl * 1e6, "libcurl easy", 1 / 1.2}},
               "us");
    return 0;
}
