#include "message/XmlCharacterFilter.h"

#include <cstdint>
#include <cstring>

namespace vork {

namespace {

bool isAllowed(uint32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FE) || (c >= 0xE000 && c <= 0xFFFC) ||
           (c >= 0x10000 && c <= 0x10FFFE);
}

bool isContinuation(uint8_t byte) { return (byte & 0xC0) == 0x80; }

// Decodes the strict UTF-8 sequence at p (no overlong forms, surrogates or
// values past U+10FFFF); answers its length, or 0 when it is not valid.
size_t decode(const uint8_t *p, const uint8_t *end, uint32_t &c) {
    uint8_t lead = p[0];
    size_t available = static_cast<size_t>(end - p);
    if (lead < 0x80) {
        c = lead;
        return 1;
    }
    if ((lead & 0xE0) == 0xC0) {
        if (available < 2 || !isContinuation(p[1])) return 0;
        c = (uint32_t(lead & 0x1F) << 6) | (p[1] & 0x3F);
        return c >= 0x80 ? 2 : 0;
    }
    if ((lead & 0xF0) == 0xE0) {
        if (available < 3 || !isContinuation(p[1]) || !isContinuation(p[2])) return 0;
        c = (uint32_t(lead & 0x0F) << 12) | (uint32_t(p[1] & 0x3F) << 6) | (p[2] & 0x3F);
        return (c >= 0x800 && (c < 0xD800 || c > 0xDFFF)) ? 3 : 0;
    }
    if ((lead & 0xF8) == 0xF0) {
        if (available < 4 || !isContinuation(p[1]) || !isContinuation(p[2]) || !isContinuation(p[3])) return 0;
        c = (uint32_t(lead & 0x07) << 18) | (uint32_t(p[1] & 0x3F) << 12) | (uint32_t(p[2] & 0x3F) << 6) |
            (p[3] & 0x3F);
        return (c >= 0x10000 && c <= 0x10FFFF) ? 4 : 0;
    }
    return 0;
}

}  // namespace

std::optional<std::string> removeInvalidXmlCharacters(std::string_view utf8) {
    const auto *begin = reinterpret_cast<const uint8_t *>(utf8.data());
    const uint8_t *end = begin + utf8.size();

    // Validation and filtering in one pass: runs of kept bytes are copied
    // once, when the next removed character (or the end) is reached.
    std::string out;
    const uint8_t *settled = begin;  // bytes before this are in `out`
    bool removed = false;
    const uint8_t *p = begin;
    while (p < end) {
        // Eight printable ASCII bytes at a time: no byte below 0x20 and none
        // with the high bit set.
        while (end - p >= 8) {
            uint64_t word;
            std::memcpy(&word, p, sizeof word);
            constexpr uint64_t kHigh = 0x8080808080808080ULL, kSpace = 0x2020202020202020ULL;
            if ((((word - kSpace) & ~word) | word) & kHigh) break;
            p += 8;
        }
        if (p == end) break;
        uint8_t byte = *p;
        if ((byte >= 0x20 && byte < 0x80) || byte == '\n' || byte == '\t' || byte == '\r') {
            ++p;
            continue;
        }
        uint32_t c = 0;
        size_t length = decode(p, end, c);
        if (length == 0) return std::nullopt;
        if (isAllowed(c)) {
            p += length;
            continue;
        }
        if (!removed) out.reserve(utf8.size());
        removed = true;
        out.append(reinterpret_cast<const char *>(settled), static_cast<size_t>(p - settled));
        p += length;
        settled = p;
    }
    if (!removed) return std::string(utf8);
    out.append(reinterpret_cast<const char *>(settled), static_cast<size_t>(end - settled));
    return out;
}

}  // namespace vork
