#include "util/IpAddress.h"

#include <cctype>
#include <climits>

#include "util/Strings.h"

namespace vork::util {

std::string firstFourPartAddress(const std::vector<std::string> &addresses) {
    for (const std::string &entry : addresses)
        if (split(entry, ".").size() == 4) return entry;
    return {};
}

int lenientIntValue(const std::string &text) {
    size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    long long value = 0;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > static_cast<long long>(INT_MAX) + 1) break;
    }
    if (negative) value = -value;
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

bool ipAddressInRange(const std::optional<std::string> &address, const std::optional<std::string> &start,
                      const std::optional<std::string> &end) {
    auto parts = [](const std::optional<std::string> &text) {
        return text ? split(*text, ".") : std::vector<std::string>{};
    };
    const auto a = parts(address), s = parts(start), e = parts(end);
    if (a.size() != s.size() || a.empty() || a.size() != e.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const int value = lenientIntValue(a[i]);
        if (value < lenientIntValue(s[i]) || value > lenientIntValue(e[i])) return false;
    }
    return true;
}

}  // namespace vork::util
