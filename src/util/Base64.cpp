#include "util/Base64.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace vork::util {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Value of every byte in the alphabet; everything else (white space, line
// breaks, "=", stray bytes) maps to the skip marker and is ignored.
constexpr uint8_t kSkip = 65;

constexpr std::array<uint8_t, 256> makeDecodeTable() {
    std::array<uint8_t, 256> table{};
    for (auto &entry : table) entry = kSkip;
    for (uint8_t i = 0; i < 64; ++i) table[static_cast<uint8_t>(kAlphabet[i])] = i;
    return table;
}

constexpr std::array<uint8_t, 256> kDecodeTable = makeDecodeTable();

constexpr size_t kBinaryUnit = 3;
constexpr size_t kBase64Unit = 4;
constexpr size_t kOutputLineLength = 64;
constexpr size_t kInputLineLength = kOutputLineLength / kBase64Unit * kBinaryUnit;  // 48 bytes

// Encodes one run of input without line breaks; answers the characters written.
size_t encodeRun(const uint8_t *in, size_t length, char *out) {
    char *const begin = out;
    size_t i = 0;
    for (; i + kBinaryUnit <= length; i += kBinaryUnit) {
        *out++ = kAlphabet[in[i] >> 2];
        *out++ = kAlphabet[((in[i] & 0x03) << 4) | (in[i + 1] >> 4)];
        *out++ = kAlphabet[((in[i + 1] & 0x0F) << 2) | (in[i + 2] >> 6)];
        *out++ = kAlphabet[in[i + 2] & 0x3F];
    }
    const size_t rest = length - i;
    if (rest == 1) {
        *out++ = kAlphabet[in[i] >> 2];
        *out++ = kAlphabet[(in[i] & 0x03) << 4];
        *out++ = '=';
        *out++ = '=';
    } else if (rest == 2) {
        *out++ = kAlphabet[in[i] >> 2];
        *out++ = kAlphabet[((in[i] & 0x03) << 4) | (in[i + 1] >> 4)];
        *out++ = kAlphabet[(in[i + 1] & 0x0F) << 2];
        *out++ = '=';
    }
    return static_cast<size_t>(out - begin);
}

// Decodes into `out`, which holds at least 3 * ((length + 3) / 4) bytes.
size_t decodeInto(const uint8_t *in, size_t length, uint8_t *out) {
    size_t written = 0;
    uint8_t group[kBase64Unit];
    size_t collected = 0;
    for (size_t i = 0; i < length; ++i) {
        const uint8_t value = kDecodeTable[in[i]];
        if (value == kSkip) continue;
        group[collected++] = value;
        if (collected == kBase64Unit) {
            out[written++] = static_cast<uint8_t>((group[0] << 2) | (group[1] >> 4));
            out[written++] = static_cast<uint8_t>((group[1] << 4) | (group[2] >> 2));
            out[written++] = static_cast<uint8_t>((group[2] << 6) | group[3]);
            collected = 0;
        }
    }
    // A final partial group: 3 characters give 2 bytes, 2 give 1, 1 gives none.
    if (collected >= 2) out[written++] = static_cast<uint8_t>((group[0] << 2) | (group[1] >> 4));
    if (collected >= 3) out[written++] = static_cast<uint8_t>((group[1] << 4) | (group[2] >> 2));
    return written;
}

size_t decodedCapacity(size_t length) { return length / kBase64Unit * kBinaryUnit + (length % kBase64Unit ? kBinaryUnit : 0); }

}  // namespace

char *NewBase64Encode(const void *buffer, size_t length, bool separateLines, size_t *outputLength) {
    if (outputLength) *outputLength = 0;
    if (!buffer) length = 0;
    const size_t groups = length / kBinaryUnit + (length % kBinaryUnit ? 1 : 0);
    if (groups > (std::numeric_limits<size_t>::max() - 1) / (kBase64Unit + 1)) return nullptr;
    size_t size = groups * kBase64Unit;
    if (separateLines) size += size / kOutputLineLength * 2;  // CR LF between lines
    char *out = static_cast<char *>(std::malloc(size + 1));
    if (!out) return nullptr;

    const auto *in = static_cast<const uint8_t *>(buffer);
    const size_t run = separateLines ? kInputLineLength : length;
    size_t used = 0;
    for (size_t offset = 0; offset < length; offset += run) {
        const size_t take = length - offset < run ? length - offset : run;
        used += encodeRun(in + offset, take, out + used);
        if (offset + take < length) {
            out[used++] = '\r';
            out[used++] = '\n';
        }
    }
    out[used] = '\0';
    if (outputLength) *outputLength = used;
    return out;
}

void *NewBase64Decode(const char *input, size_t length, size_t *outputLength) {
    if (outputLength) *outputLength = 0;
    if (!input) length = 0;
    else if (length == kBase64MeasureInput) length = std::strlen(input);
    // 3 * ((length + 3) / 4) bytes, written so it cannot overflow. An empty
    // input still gets a (one-byte) buffer so that NULL only means failure.
    const size_t capacity = decodedCapacity(length);
    auto *out = static_cast<uint8_t *>(std::malloc(capacity ? capacity : 1));
    if (!out) return nullptr;
    const size_t written = decodeInto(reinterpret_cast<const uint8_t *>(input), length, out);
    if (outputLength) *outputLength = written;
    return out;
}

// Same decoding as NewBase64Decode, straight into the vector (and without
// the "measure it" length that a 4 GiB text would collide with).
std::vector<uint8_t> dataFromBase64String(std::string_view text) {
    // Only ASCII text converts; anything else decodes to empty data.
    for (const char c : text)
        if (static_cast<uint8_t>(c) >= 0x80) return {};
    std::vector<uint8_t> data(decodedCapacity(text.size()));
    data.resize(decodeInto(reinterpret_cast<const uint8_t *>(text.data()), text.size(), data.data()));
    return data;
}

std::string base64EncodedString(const void *data, size_t length) {
    size_t outLength = 0;
    char *encoded = NewBase64Encode(data, length, false, &outLength);
    if (!encoded) return {};
    std::string text(encoded, outLength);
    std::free(encoded);
    return text;
}

}  // namespace vork::util
