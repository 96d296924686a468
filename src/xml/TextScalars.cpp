#include "xml/TextScalars.h"

#include <charconv>
#include <limits>
#include <string>

namespace vork::xml {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

size_t skipSpace(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && isSpace(text[i])) ++i;
    return i;
}

}  // namespace

int64_t leadingInteger(std::string_view text) {
    size_t i = skipSpace(text);
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    // Accumulate towards the sign so that the most negative value fits.
    int64_t value = 0;
    const int64_t lowest = std::numeric_limits<int64_t>::min();
    const int64_t highest = std::numeric_limits<int64_t>::max();
    for (; i < text.size() && isDigit(text[i]); ++i) {
        int digit = text[i] - '0';
        if (negative) {
            if (value < (lowest + digit) / 10) return lowest;
            value = value * 10 - digit;
        } else {
            if (value > (highest - digit) / 10) return highest;
            value = value * 10 + digit;
        }
    }
    return value;
}

int32_t leadingInt32(std::string_view text) {
    int64_t value = leadingInteger(text);
    if (value > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (value < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

double leadingDouble(std::string_view text) {
    size_t start = skipSpace(text);
    size_t i = start;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    size_t digits = 0;
    while (i < text.size() && isDigit(text[i])) ++i, ++digits;
    if (i < text.size() && text[i] == '.') {
        ++i;
        while (i < text.size() && isDigit(text[i])) ++i, ++digits;
    }
    if (digits == 0) return 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        size_t e = i + 1;
        if (e < text.size() && (text[e] == '+' || text[e] == '-')) ++e;
        if (e < text.size() && isDigit(text[e])) {
            while (e < text.size() && isDigit(text[e])) ++e;
            i = e;
        }
    }
    // from_chars takes no leading '+'.
    std::string number(text.substr(start, i - start));
    if (!number.empty() && number[0] == '+') number.erase(0, 1);
    double value = 0;
    auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        bool negative = !number.empty() && number[0] == '-';
        // Tiny values underflow to zero, huge ones to infinity.
        size_t ePos = number.find_first_of("eE");
        bool tiny = ePos != std::string::npos && ePos + 1 < number.size() && number[ePos + 1] == '-';
        if (tiny) return negative ? -0.0 : 0.0;
        return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    }
    return value;
}

bool leadingFlag(std::string_view text) {
    size_t i = skipSpace(text);
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    while (i < text.size() && text[i] == '0') ++i;
    if (i >= text.size()) return false;
    char c = text[i];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

}  // namespace vork::xml
