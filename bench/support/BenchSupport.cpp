#include "support/BenchSupport.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

namespace vork::bench {

double secondsOf(const std::function<void()> &work) {
    auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double timeCommand(const std::string &command) {
    double seconds = 0;
    int rc = 0;
    seconds = secondsOf([&] { rc = std::system(command.c_str()); });
    return rc == 0 ? seconds : -1;
}

static long statusField(const char *key) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind(key, 0) == 0) return std::atol(line.c_str() + std::char_traits<char>::length(key));
    }
    return -1;
}

long peakRssKiB() { return statusField("VmHWM:"); }
long currentRssKiB() { return statusField("VmRSS:"); }

void resetPeakRss() {
    std::ofstream out("/proc/self/clear_refs");
    out << "5";
}

double median(std::vector<double> figures) {
    figures.erase(std::remove_if(figures.begin(), figures.end(), [](double f) { return f < 0; }), figures.end());
    if (figures.empty()) return -1;
    std::sort(figures.begin(), figures.end());
    const size_t n = figures.size();
    return n % 2 ? figures[n / 2] : (figures[n / 2 - 1] + figures[n / 2]) / 2;
}

std::pair<double, double> alternate(int runs, const std::function<double()> &ours,
                                    const std::function<double()> &reference) {
    std::vector<double> a, b;
    for (int i = 0; i < runs; ++i) {
        a.push_back(ours());
        b.push_back(reference());
    }
    return {median(a), median(b)};
}

void printTable(const std::string &title, const std::vector<Row> &rows, const std::string &unit) {
    std::printf("\n== %s ==\n", title.c_str());
    std::printf("%-44s %12s %12s %-14s %7s %6s  %s\n", "case", ("ours/" + unit).c_str(),
                ("ref/" + unit).c_str(), "reference", "ratio", "goal", "verdict");
    for (const Row &r : rows) {
        double ratio = r.ours > 0 ? r.reference / r.ours : 0;
        const char *verdict = r.goal <= 0 ? "-" : (ratio >= r.goal ? "MET" : "MISSED");
        std::printf("%-44s %12.4f %12.4f %-14s %7.3f %6.2f  %s\n", r.what.c_str(), r.ours, r.reference,
                    r.referenceName.c_str(), ratio, r.goal, verdict);
    }
    for (const Row &r : rows) {
        if (r.goal <= 0) continue;
        std::printf("RESULT\t%s\t%.6g\t%.6g\t%.4f\t%.4f\n", r.what.c_str(), r.ours, r.reference,
                    r.ours > 0 ? r.reference / r.ours : 0, r.goal);
    }
    std::fflush(stdout);
}

unsigned long long parseSize(const char *text) {
    char *end = nullptr;
    double value = std::strtod(text, &end);
    switch (end && *end ? *end : ' ') {
        case 'k': case 'K': value *= 1024; break;
        case 'm': case 'M': value *= 1024 * 1024; break;
        case 'g': case 'G': value *= 1024.0 * 1024 * 1024; break;
        default: break;
    }
    return static_cast<unsigned long long>(value);
}

void makeFile(const std::string &path, unsigned long long bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    std::mt19937_64 rng(42);
    std::vector<uint64_t> block(1 << 17);
    unsigned long long written = 0;
    while (written < bytes) {
        for (auto &w : block) w = rng();
        size_t chunk = static_cast<size_t>(std::min<unsigned long long>(block.size() * 8, bytes - written));
        out.write(reinterpret_cast<const char *>(block.data()), static_cast<std::streamsize>(chunk));
        written += chunk;
    }
}

}  // namespace vork::bench
