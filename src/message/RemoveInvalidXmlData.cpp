#include "message/RemoveInvalidXmlData.h"

#include <cstdint>

#include "util/Strings.h"
#include "xml/TextScalars.h"

namespace vork {

namespace {

// Whether the text between "&#" and ";" names a character to drop.
bool isDroppedReference(std::string_view candidate) {
    // Plain digits, the usual case, are numeric without asking the general
    // test (which runs a regular expression).
    bool plainDigits = !candidate.empty() && candidate.find_first_not_of("0123456789") == std::string_view::npos;
    if (!plainDigits && !util::isNumeric(candidate)) return false;
    // The integer part of a numeric text; "-" alone and ".5" give 0.
    int64_t n = xml::leadingInteger(candidate);
    auto asUnsigned = static_cast<uint32_t>(static_cast<uint64_t>(n));
    // A value outside 32 bits never counts as small.
    if (n < 0 || n > UINT32_MAX) return false;
    return asUnsigned <= 28 && asUnsigned != 9 && asUnsigned != 10 && asUnsigned != 13;
}

}  // namespace

std::string RemoveInvalidXmlData::removeInvalidEncodedChars(std::string_view text) {
    size_t start = text.find("&#");
    if (start == std::string_view::npos) return std::string(text);

    std::string out;
    out.reserve(text.size());
    out.append(text.substr(0, start));
    while (start != std::string_view::npos) {
        size_t semicolon = text.find(';', start + 2);
        if (semicolon == std::string_view::npos) {
            out.append(text.substr(start));
            break;
        }
        std::string_view candidate = text.substr(start + 2, semicolon - start - 2);
        size_t resume = isDroppedReference(candidate) ? semicolon + 1 : start;
        size_t next = text.find("&#", semicolon + 1);
        size_t end = next == std::string_view::npos ? text.size() : next;
        out.append(text.substr(resume, end - resume));
        start = next;
    }
    return out;
}

}  // namespace vork
