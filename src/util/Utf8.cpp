#include "util/Utf8.h"

#include <cstdint>

namespace vork::util {

bool isValidUtf8(std::string_view bytes) {
    const auto *p = reinterpret_cast<const uint8_t *>(bytes.data());
    const uint8_t *end = p + bytes.size();
    while (p < end) {
        uint8_t c = *p;
        if (c < 0x80) { ++p; continue; }
        size_t len;
        uint32_t cp;
        if ((c & 0xE0) == 0xC0) { len = 2; cp = c & 0x1F; }
        else if ((c & 0xF0) == 0xE0) { len = 3; cp = c & 0x0F; }
        else if ((c & 0xF8) == 0xF0) { len = 4; cp = c & 0x07; }
        else return false;
        if (static_cast<size_t>(end - p) < len) return false;
        for (size_t i = 1; i < len; ++i) {
            if ((p[i] & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (p[i] & 0x3F);
        }
        if ((len == 2 && cp < 0x80) || (len == 3 && cp < 0x800) || (len == 4 && cp < 0x10000)) return false;
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        p += len;
    }
    return true;
}

}  // namespace vork::util
