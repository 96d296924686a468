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

}  // namespace vork::test
