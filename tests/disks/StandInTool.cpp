#include "StandInTool.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/Format.h"

namespace vork::test {

namespace fs = std::filesystem;

namespace {

// Records "$@" one argument a line, closes the run with "--end--", then
// prints the first unused answer for "$*" (or the last one).
constexpr const char *kScript = R"SH(#!/bin/sh
d="$0.d"
for a in "$@"; do printf '%s\n' "$a"; done >> "$d/calls"
printf '%s\n' '--end--' >> "$d/calls"
key="$*"; pick=""; last=""
for f in "$d"/*.key; do
  [ -e "$f" ] || continue
  [ "$(cat "$f")" = "$key" ] || continue
  last="${f%.key}"
  if [ -z "$pick" ] && [ ! -e "$last.used" ]; then pick="$last"; fi
done
[ -n "$pick" ] || pick="$last"
[ -n "$pick" ] || exit 0
: > "$pick.used"
cat "$pick.out"
)SH";

std::vector<std::string> fields(const std::string &entry) {
    std::vector<std::string> parts;
    std::stringstream in(entry);
    for (std::string part; std::getline(in, part, '|');) parts.push_back(part);
    parts.resize(5);
    return parts;
}

std::string dictionary(const std::string &entry, const std::string &children) {
    const auto f = fields(entry);
    std::string xml = "<dict><key>Content</key><string>" + f[1] + "</string><key>DeviceIdentifier</key><string>" + f[0] +
                      "</string><key>Size</key><integer>" + (f[2].empty() ? "0" : f[2]) + "</integer>";
    if (!f[3].empty()) xml += "<key>VolumeName</key><string>" + f[3] + "</string>";
    if (!f[4].empty()) xml += "<key>MountPoint</key><string>" + f[4] + "</string>";
    return xml + children + "</dict>";
}

}  // namespace

StandInTool::StandInTool(const SystemRootSandbox &sandbox, const std::string &absolutePath) {
    const fs::path script = sandbox.root().writeExecutable(absolutePath.substr(1), kScript);
    state_ = script.string() + ".d";
    fs::create_directories(state_);
}

StandInTool &StandInTool::answer(const std::vector<std::string> &args, const std::string &output, int times) {
    std::string key;
    for (const auto &arg : args) key += (key.empty() ? "" : " ") + arg;
    for (int i = 0; i < times; ++i) {
        const std::string base = (state_ / stringf("%04d", answers_++)).string();
        std::ofstream(base + ".key") << key;
        std::ofstream(base + ".out") << output;
    }
    return *this;
}

std::vector<std::vector<std::string>> StandInTool::calls() const {
    std::vector<std::vector<std::string>> runs(1);
    std::ifstream in(state_ / "calls");
    for (std::string line; std::getline(in, line);) {
        if (line == "--end--") runs.emplace_back();
        else runs.back().push_back(line);
    }
    runs.pop_back();
    return runs;
}

std::string fixture(const std::string &name) {
    return readFile(fs::path(VORK_SOURCE_DIR) / "tests/disks/fixtures" / name);
}

std::string listing(const std::vector<std::vector<std::string>> &disks) {
    std::string all, whole, entries;
    for (const auto &disk : disks) {
        std::string children;
        all += "<string>" + fields(disk[0])[0] + "</string>";
        whole += "<string>" + fields(disk[0])[0] + "</string>";
        for (size_t i = 1; i < disk.size(); ++i) {
            children += dictionary(disk[i], "");
            all += "<string>" + fields(disk[i])[0] + "</string>";
        }
        entries += dictionary(disk[0], "<key>Partitions</key><array>" + children + "</array>");
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>AllDisks</key><array>" + all +
           "</array><key>AllDisksAndPartitions</key><array>" + entries + "</array><key>WholeDisks</key><array>" + whole +
           "</array></dict></plist>\n";
}

}  // namespace vork::test
