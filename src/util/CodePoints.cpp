#include "util/CodePoints.h"

#include <locale.h>
#include <wctype.h>

#include <cstdint>
#include <vector>

namespace vork::util {

CodePointStep codePointAt(std::string_view text, size_t offset) {
    const auto *p = reinterpret_cast<const uint8_t *>(text.data()) + offset;
    const size_t available = text.size() - offset;
    const uint8_t lead = p[0];
    if (lead < 0x80) return {lead, 1};

    size_t length;
    char32_t value;
    char32_t minimum;
    if ((lead & 0xE0) == 0xC0) { length = 2; value = lead & 0x1F; minimum = 0x80; }
    else if ((lead & 0xF0) == 0xE0) { length = 3; value = lead & 0x0F; minimum = 0x800; }
    else if ((lead & 0xF8) == 0xF0) { length = 4; value = lead & 0x07; minimum = 0x10000; }
    else return {kReplacementCharacter, 1};

    if (available < length) return {kReplacementCharacter, 1};
    for (size_t i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) return {kReplacementCharacter, 1};
        value = (value << 6) | (p[i] & 0x3F);
    }
    if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return {kReplacementCharacter, 1};
    return {value, length};
}

void appendUtf8(std::string &out, char32_t value) {
    if (value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) value = kReplacementCharacter;
    if (value < 0x80) {
        out.push_back(static_cast<char>(value));
    } else if (value < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (value >> 6)));
        out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    } else if (value < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (value >> 12)));
        out.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (value >> 18)));
        out.push_back(static_cast<char>(0x80 | ((value >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (value & 0x3F)));
    }
}

size_t codePointCount(std::string_view text) {
    size_t count = 0;
    for (size_t at = 0; at < text.size(); at += codePointAt(text, at).length) ++count;
    return count;
}

std::string_view lastCodePoints(std::string_view text, size_t count) {
    std::vector<size_t> starts;
    for (size_t at = 0; at < text.size(); at += codePointAt(text, at).length) starts.push_back(at);
    if (starts.size() <= count) return text;
    return text.substr(starts[starts.size() - count]);
}

namespace {

// The C.UTF-8 locale gives the full simple case mapping of the C library;
// without it only ASCII letters change.
locale_t caseLocale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    return locale;
}

char32_t lowerCodePoint(char32_t c) {
    if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c;
    locale_t locale = caseLocale();
    if (!locale) return c;
    return static_cast<char32_t>(towlower_l(static_cast<wint_t>(c), locale));
}

}  // namespace

std::string lowercased(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const CodePointStep step = codePointAt(text, at);
        if (step.value == kReplacementCharacter && step.length == 1 &&
            static_cast<uint8_t>(text[at]) >= 0x80) {
            // Keep stray bytes as they are rather than inventing U+FFFD.
            out.push_back(text[at]);
        } else {
            appendUtf8(out, lowerCodePoint(step.value));
        }
        at += step.length;
    }
    return out;
}

}  // namespace vork::util
