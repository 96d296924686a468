#include "platform/linux/Utmp.h"

#include <utmp.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>

namespace vork::platform {

namespace {

bool allDigits(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
}

// utmp's fixed fields are NUL-padded, not always NUL-terminated.
std::string field(const char *bytes, size_t size) { return std::string(bytes, strnlen(bytes, size)); }

}  // namespace

int consoleLineRank(std::string_view line) {
    if (line.size() > 1 && line[0] == ':') {
        std::string_view display = line.substr(1);
        size_t dot = display.find('.');
        if (allDigits(display.substr(0, dot)) && (dot == std::string_view::npos || allDigits(display.substr(dot + 1))))
            return 2;
        return 0;
    }
    if (line == "console") return 1;
    if (line.starts_with("tty") && allDigits(line.substr(3))) return 1;
    return 0;
}

std::string consoleUserFromUtmp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::string best;
    int bestRank = 0;
    struct utmp record;
    while (in.read(reinterpret_cast<char *>(&record), sizeof record)) {
        if (record.ut_type != USER_PROCESS) continue;
        std::string user = field(record.ut_user, sizeof record.ut_user);
        int rank = consoleLineRank(field(record.ut_line, sizeof record.ut_line));
        if (user.empty() || rank <= bestRank) continue;
        best = user;
        bestRank = rank;
    }
    return best;
}

}  // namespace vork::platform
