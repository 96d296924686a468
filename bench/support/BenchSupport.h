#pragma once
// Small timing harness shared by the benchmarks: wall-clock timing, peak
// resident memory, running a reference tool, and a table of ratios.
#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vork::bench {

double secondsOf(const std::function<void()> &work);
// Runs a shell command, answers its wall-clock seconds (-1 when it failed).
double timeCommand(const std::string &command);
// Peak resident set of this process in KiB (VmHWM), and the current (VmRSS).
long peakRssKiB();
long currentRssKiB();
// Resets the peak so a later peakRssKiB measures one phase (Linux 4.0+).
void resetPeakRss();

struct Row {
    std::string what;
    double ours;       // seconds, or another unit
    double reference;  // the reference tool's figure in the same unit
    std::string referenceName;
    double goal;       // minimum wanted ratio reference/ours (or 0 for none)
};

// The median of some figures (figures below 0, failed runs, left out; -1
// when none is left).
double median(std::vector<double> figures);

// Runs `ours` and `reference` in turns, A B A B, `runs` times each, so that
// load from elsewhere on the machine falls on both alike; answers the two
// medians (first ours). Each function answers its figure, below 0 when the
// run failed.
std::pair<double, double> alternate(int runs, const std::function<double()> &ours,
                                    const std::function<double()> &reference);

// Prints rows as "what | ours | reference | ratio | goal | verdict" where
// the ratio is reference time over our time (above 1 means we are faster).
// Each row with a goal is also printed as one tab-separated line for
// scripts/bench.sh: "RESULT", case, ours, reference, ratio, goal.
void printTable(const std::string &title, const std::vector<Row> &rows, const std::string &unit = "s");

// A size from the command line: a number with an optional k, m or g
// (binary multiples), "1.5g" for example.
unsigned long long parseSize(const char *text);

// Makes a file of the given size filled with pseudo-random bytes.
void makeFile(const std::string &path, unsigned long long bytes);

}  // namespace vork::bench
