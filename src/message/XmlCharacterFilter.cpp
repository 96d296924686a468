#include "message/XmlCharacterFilter.h"

#include <cstdint>

#include "util/Utf8.h"

namespace vork {

namespace {

bool isAllowed(uint32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FE) || (c >= 0xE000 && c <= 0xFFFC) ||
           (c >= 0x10000 && c <= 0x10FFFE);
}

// Length of the (valid) UTF-8 sequence starting with this byte.
size_t sequenceLength(uint8_t lead) {
    if (lead < 0x80) return 1;
    if ((lead & 0xE0) == 0xC0) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    return 4;
}

uint32_t decode(const uint8_t *p, size_t length) {
    switch (length) {
        case 1: return p[0];
        case 2: return (uint32_t(p[0] & 0x1F) << 6) | (p[1] & 0x3F);
        case 3: return (uint32_t(p[0] & 0x0F) << 12) | (uint32_t(p[1] & 0x3F) << 6) | (p[2] & 0x3F);
        default:
            return (uint32_t(p[0] & 0x07) << 18) | (uint32_t(p[1] & 0x3F) << 12) | (uint32_t(p[2] & 0x3F) << 6) |
                   (p[3] & 0x3F);
    }
}

}  // namespace

std::optional<std::string> removeInvalidXmlCharacters(std::string_view utf8) {
    if (!util::isValidUtf8(utf8)) return std::nullopt;
    const auto *bytes = reinterpret_cast<const uint8_t *>(utf8.data());
    const size_t size = utf8.size();

    std::string out;
    size_t copiedUpTo = 0;  // bytes before this index are settled
    size_t i = 0;
    while (i < size) {
        uint8_t lead = bytes[i];
        if (lead >= 0x20 && lead < 0x80) {
            ++i;
            continue;
        }
        size_t length = sequenceLength(lead);
        if (isAllowed(decode(bytes + i, length))) {
            i += length;
            continue;
        }
        if (out.empty()) out.reserve(size);
        out.append(utf8.substr(copiedUpTo, i - copiedUpTo));
        i += length;
        copiedUpTo = i;
    }
    if (copiedUpTo == 0) return std::string(utf8);
    out.append(utf8.substr(copiedUpTo));
    return out;
}

}  // namespace vork
