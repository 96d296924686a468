#include "message/RemoveInvalidXmlData.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "util/Strings.h"
#include "xml/TextScalars.h"

namespace vork {

namespace {

// Whether the text between "&#" and ";" names a character to drop.
bool isDroppedReference(std::string_view candidate) {
    // Plain digits, the usual case, are read here without asking the
    // general test (which runs a regular expression).
    if (!candidate.empty() && candidate.size() <= 18) {
        uint64_t value = 0;
        size_t i = 0;
        for (; i < candidate.size(); ++i) {
            const unsigned digit = static_cast<unsigned char>(candidate[i]) - '0';
            if (digit > 9) break;
            value = value * 10 + digit;
        }
        if (i == candidate.size()) return value <= 28 && value != 9 && value != 10 && value != 13;
    }
    if (!util::isNumeric(candidate)) return false;
    // The integer part of a numeric text; "-" alone and ".5" give 0.
    int64_t n = xml::leadingInteger(candidate);
    auto asUnsigned = static_cast<uint32_t>(static_cast<uint64_t>(n));
    // A value outside 32 bits never counts as small.
    if (n < 0 || n > UINT32_MAX) return false;
    return asUnsigned <= 28 && asUnsigned != 9 && asUnsigned != 10 && asUnsigned != 13;
}

// The next "&#" at or after `from`, or npos. memchr finds the '&'
// candidates at memory speed.
size_t findReference(std::string_view text, size_t from) {
    const char *const begin = text.data();
    const char *const end = begin + text.size();
    for (const char *p = begin + std::min(from, text.size()); p < end;) {
        p = static_cast<const char *>(std::memchr(p, '&', static_cast<size_t>(end - p)));
        if (!p || p + 1 >= end) return std::string_view::npos;
        if (p[1] == '#') return static_cast<size_t>(p - begin);
        ++p;
    }
    return std::string_view::npos;
}

size_t findSemicolon(std::string_view text, size_t from) {
    if (from >= text.size()) return std::string_view::npos;
    const void *p = std::memchr(text.data() + from, ';', text.size() - from);
    return p ? static_cast<size_t>(static_cast<const char *>(p) - text.data()) : std::string_view::npos;
}

}  // namespace

std::string RemoveInvalidXmlData::removeInvalidEncodedChars(std::string_view text) {
    size_t start = findReference(text, 0);
    if (start == std::string_view::npos) return std::string(text);

    std::string out;
    out.reserve(text.size());
    out.append(text.substr(0, start));
    while (start != std::string_view::npos) {
        size_t semicolon = findSemicolon(text, start + 2);
        if (semicolon == std::string_view::npos) {
            out.append(text.substr(start));
            break;
        }
        std::string_view candidate = text.substr(start + 2, semicolon - start - 2);
        size_t resume = isDroppedReference(candidate) ? semicolon + 1 : start;
        size_t next = findReference(text, semicolon + 1);
        size_t end = next == std::string_view::npos ? text.size() : next;
        out.append(text.substr(resume, end - resume));
        start = next;
    }
    return out;
}

}  // namespace vork
