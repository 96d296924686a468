#pragma once
// Base64 (standard alphabet, "=" padding). The two C-style functions keep
// the allocation contract of the C interface: the buffer comes from malloc
// and the caller frees it with free.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vork::util {

// Length argument of NewBase64Decode meaning "zero-terminated, measure it".
constexpr size_t kBase64MeasureInput = 0xFFFFFFFF;

// Encodes `length` bytes; with separateLines, 64-character lines joined by
// CR LF. Returns a zero-terminated malloc'd buffer (NULL when allocation
// fails); *outputLength (when given) excludes the terminator.
char *NewBase64Encode(const void *buffer, size_t length, bool separateLines, size_t *outputLength);

// Decodes, skipping every character outside the alphabet. Returns a
// malloc'd buffer of 3 * ((length + 3) / 4) bytes; *outputLength is the
// number of bytes decoded.
void *NewBase64Decode(const char *input, size_t length, size_t *outputLength);

// Byte-data helpers built on the two functions above.
std::vector<uint8_t> dataFromBase64String(std::string_view text);
std::string base64EncodedString(const void *data, size_t length);
inline std::string base64EncodedString(std::string_view bytes) {
    return base64EncodedString(bytes.data(), bytes.size());
}

}  // namespace vork::util
