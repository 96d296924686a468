#include "platform/linux/OsRelease.h"

#include <cctype>

namespace vork::platform {

namespace {

bool isKey(std::string_view key) {
    if (key.empty() || std::isdigit(static_cast<unsigned char>(key[0]))) return false;
    for (char c : key)
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_')) return false;
    return true;
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t' || text.front() == '\r')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
    return text;
}

// The value of an assignment; false when its quoting is broken.
bool unquote(std::string_view raw, std::string &value) {
    value.clear();
    if (raw.empty() || (raw[0] != '"' && raw[0] != '\'')) {
        value.assign(raw);
        return true;
    }
    const char quote = raw[0];
    if (raw.size() < 2 || raw.back() != quote) return false;
    std::string_view inner = raw.substr(1, raw.size() - 2);
    for (size_t i = 0; i < inner.size(); ++i) {
        char c = inner[i];
        if (quote == '"' && c == '\\' && i + 1 < inner.size()) {
            char next = inner[i + 1];
            if (next == '"' || next == '\\' || next == '$' || next == '`') {
                value += next;
                ++i;
                continue;
            }
        }
        value += c;
    }
    return true;
}

}  // namespace

std::map<std::string, std::string> parseOsRelease(std::string_view text) {
    std::map<std::string, std::string> values;
    while (!text.empty()) {
        size_t end = text.find('\n');
        std::string_view line = trimBlanks(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.empty() || line[0] == '#') continue;
        size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        std::string_view key = trimBlanks(line.substr(0, equals));
        std::string value;
        if (!isKey(key) || !unquote(trimBlanks(line.substr(equals + 1)), value)) continue;
        values[std::string(key)] = value;
    }
    return values;
}

std::string osReleaseAsVersionToolOutput(std::string_view text) {
    const std::map<std::string, std::string> values = parseOsRelease(text);
    auto get = [&](const char *key) {
        auto found = values.find(key);
        return found == values.end() ? std::string() : found->second;
    };
    std::string name = values.count("NAME") ? get("NAME") : "Linux";
    std::string build = get("BUILD_ID");
    if (build.empty()) build = get("VERSION_CODENAME");
    std::string output;
    auto line = [&](const char *key, const std::string &value) {
        if (!value.empty()) output += std::string(key) + ":\t" + value + "\n";
    };
    line("ProductName", name);
    line("ProductVersion", get("VERSION_ID"));
    line("BuildVersion", build);
    return output;
}

}  // namespace vork::platform
