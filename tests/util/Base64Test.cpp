#include "util/Base64.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace vork::util {
namespace {

struct FreeDeleter {
    void operator()(void *p) const { std::free(p); }
};

std::string encode(const std::string &bytes, bool separateLines = false) {
    size_t length = 99;
    std::unique_ptr<char, FreeDeleter> buffer(NewBase64Encode(bytes.data(), bytes.size(), separateLines, &length));
    EXPECT_NE(buffer, nullptr);
    const std::string text = buffer ? std::string(buffer.get()) : std::string();
    EXPECT_EQ(length, text.size()) << "the length excludes the terminator";
    return text;
}

std::string decode(const std::string &text) {
    size_t length = 0;
    std::unique_ptr<void, FreeDeleter> buffer(NewBase64Decode(text.data(), text.size(), &length));
    EXPECT_NE(buffer, nullptr);
    return buffer ? std::string(static_cast<const char *>(buffer.get()), length) : std::string();
}

std::string patternBytes(size_t count) {
    std::string bytes(count, '\0');
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<char>((i * 7 + 3) & 0xFF);
    return bytes;
}

TEST(Base64Encode, KnownVectorsLinesOfSixtyFourAndRoundTrips) {
    for (const auto &[bytes, expected] : std::vector<std::pair<std::string, std::string>>{
             {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xFB\xEF\xBE", "++++"},
             {"\xFF\xFF\xFF", "////"}, {std::string("\0", 1), "AA=="}}) {
        EXPECT_EQ(encode(bytes), expected);
        EXPECT_EQ(encode(bytes, true), expected);  // short input has no line break
    }
    // Input bytes -> the line lengths of the text, joined by CR LF without a trailing break.
    for (const auto &[count, lines] : std::vector<std::pair<size_t, std::vector<size_t>>>{
             {48, {64}}, {49, {64, 4}}, {96, {64, 64}}, {100, {64, 64, 8}}}) {
        const std::string flat = encode(patternBytes(count));
        std::string expected;
        for (size_t i = 0, at = 0; i < lines.size(); at += lines[i++]) expected += (i ? "\r\n" : "") + flat.substr(at, lines[i]);
        EXPECT_EQ(encode(patternBytes(count), true), expected) << count;
    }
    for (size_t n = 0; n <= 1000; n += n < 100 ? 1 : 900) EXPECT_EQ(decode(encode(patternBytes(n), n % 2 == 1)), patternBytes(n)) << n;
    std::unique_ptr<char, FreeDeleter> buffer(NewBase64Encode("ABC", 3, true, nullptr));  // the length may be null
    EXPECT_STREQ(buffer.get(), "QUJD");
}

TEST(Base64Decode, PartialGroupsAndSkippedCharacters) {
    for (const auto &[text, expected] : std::vector<std::pair<std::string, std::string>>{
             {"QQ==", "A"}, {"QQ", "A"}, {"QUI", "AB"}, {"Q", ""}, {"", ""},
             {"QUJDQ", "ABC"},  // a single trailing character is dropped
             // Everything outside the alphabet is skipped, bytes above 0x7F and "=" included.
             {"QU\nJD", "ABC"}, {"=Q=U=J=D=", "ABC"}, {"QU\xC3\xA9JD", "ABC"}, {std::string("QU\0JD", 5), "ABC"},
             // so padding in the middle does not end the input: groups continue across it.
             {"QQ==QUJD", std::string("A\x04\x14\x24", 4)}})
        EXPECT_EQ(decode(text), expected) << text;
    size_t length = 0;
    std::unique_ptr<void, FreeDeleter> measured(NewBase64Decode("Zm9vYmFy\0QUJD", kBase64MeasureInput, &length));
    ASSERT_NE(measured, nullptr);
    EXPECT_EQ(std::string(static_cast<const char *>(measured.get()), length), "foobar");
}

TEST(Base64Data, ByteHelpers) {
    const std::vector<uint8_t> data = dataFromBase64String("AAEC/f7/");
    EXPECT_EQ(data, (std::vector<uint8_t>{0x00, 0x01, 0x02, 0xFD, 0xFE, 0xFF}));
    EXPECT_EQ(base64EncodedString(data.data(), data.size()), "AAEC/f7/");
    EXPECT_EQ(base64EncodedString(std::string_view("user:pass")), "dXNlcjpwYXNz");
    // Non-ASCII text decodes to nothing; line breaks are skipped.
    EXPECT_TRUE(dataFromBase64String("QUJD\xC3\xA9").empty());
    EXPECT_EQ(dataFromBase64String("QU\r\nJD"), (std::vector<uint8_t>{'A', 'B', 'C'}));
    // The encoded string has no line breaks.
    EXPECT_EQ(base64EncodedString(patternBytes(200)).find_first_of("\r\n"), std::string::npos);
}

}  // namespace
}  // namespace vork::util
