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

// The text and the length the encoder reported for it.
std::pair<std::string, size_t> encodeWithLength(const std::string &bytes, bool separateLines) {
    size_t length = 99;
    std::unique_ptr<char, FreeDeleter> buffer(NewBase64Encode(bytes.data(), bytes.size(), separateLines, &length));
    EXPECT_NE(buffer, nullptr);
    return {buffer ? std::string(buffer.get()) : std::string(), length};
}

std::string encode(const std::string &bytes, bool separateLines = false) {
    auto [text, length] = encodeWithLength(bytes, separateLines);
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

TEST(Base64Encode, KnownVectorsWithPaddingAndTheWholeAlphabet) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"}, {"A", "QQ=="}, {"AB", "QUI="}, {"ABC", "QUJD"}, {"\xFB\xEF\xBE", "++++"},
        {"\xFF\xFF\xFF", "////"}, {std::string("\0\0\0", 3), "AAAA"}, {std::string("\0", 1), "AA=="}};
    for (const auto &[bytes, expected] : rows) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(encode(bytes), expected);
        EXPECT_EQ(encode(bytes, true), expected);  // short input has no line break
    }
    EXPECT_EQ(encode(patternBytes(100)).size(), 136u);  // 4 * ceil(100 / 3)
    EXPECT_EQ(encodeWithLength("", true).second, 0u);
    // The out length may be null.
    std::unique_ptr<char, FreeDeleter> buffer(NewBase64Encode("ABC", 3, true, nullptr));
    EXPECT_STREQ(buffer.get(), "QUJD");
}

TEST(Base64Encode, LinesOfSixtyFourCharactersJoinedByCrLfWithoutATrailingBreak) {
    // Input bytes -> the line lengths of the text.
    const std::vector<std::pair<size_t, std::vector<size_t>>> rows = {
        {48, {64}}, {49, {64, 4}}, {96, {64, 64}}, {100, {64, 64, 8}}};
    for (const auto &[count, lines] : rows) {
        SCOPED_TRACE(count);
        const std::string flat = encode(patternBytes(count)), text = encode(patternBytes(count), true);
        std::string expected;
        for (size_t i = 0, at = 0; i < lines.size(); at += lines[i++])
            expected += (i ? "\r\n" : "") + flat.substr(at, lines[i]);
        EXPECT_EQ(text, expected);
    }
}

TEST(Base64Decode, PartialGroupsAndSkippedCharacters) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"QQ==", "A"}, {"QQ", "A"}, {"QUI=", "AB"}, {"QUI", "AB"}, {"QUJD", "ABC"}, {"Q", ""}, {"", ""},
        {"QUJDQ", "ABC"},  // a single trailing character is dropped
        // Everything outside the alphabet is skipped, bytes above 0x7F and "=" included.
        {"QU\nJD", "ABC"}, {" Q U J D ", "ABC"}, {"QUJD\r\n", "ABC"}, {"=Q=U=J=D=", "ABC"}, {"QU*J-D_!", "ABC"},
        {"QU\xC3\xA9JD", "ABC"}, {std::string("QU\0JD", 5), "ABC"}, {"\r\n\t ===", ""},
        // so padding in the middle does not end the input: groups continue across it.
        {"QQ==QUJD", std::string("A\x04\x14\x24", 4)}};
    for (const auto &[text, expected] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(decode(text), expected);
    }
}

TEST(Base64Decode, RoundTripOfEveryLengthInBothLayouts) {
    for (size_t n = 0; n <= 1000; n += n < 100 ? 1 : 900) {
        const std::string bytes = patternBytes(n);
        EXPECT_EQ(decode(encode(bytes, n % 2 == 0)), bytes) << n;
        EXPECT_EQ(decode(encode(bytes, n % 2 != 0)), bytes) << n;
    }
}

TEST(Base64Decode, MeasuresTerminatedInputAndLengthIsOptional) {
    size_t length = 0;
    std::unique_ptr<void, FreeDeleter> measured(NewBase64Decode("Zm9vYmFy\0QUJD", kBase64MeasureInput, &length));
    ASSERT_NE(measured, nullptr);
    EXPECT_EQ(std::string(static_cast<const char *>(measured.get()), length), "foobar");
    // 3 * ((length + 3) / 4) bytes: 6 input characters leave room for 6 bytes.
    std::unique_ptr<void, FreeDeleter> buffer(NewBase64Decode("QUJDQQ", 6, nullptr));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(std::memcmp(buffer.get(), "ABCA", 4), 0);
}

TEST(Base64Data, ByteHelpers) {
    const std::vector<uint8_t> data = dataFromBase64String("AAEC/f7/");
    EXPECT_EQ(data, (std::vector<uint8_t>{0x00, 0x01, 0x02, 0xFD, 0xFE, 0xFF}));
    EXPECT_EQ(base64EncodedString(data.data(), data.size()), "AAEC/f7/");
    EXPECT_EQ(base64EncodedString(std::string_view("user:pass")), "dXNlcjpwYXNz");
    EXPECT_EQ(base64EncodedString(nullptr, 0), "");
    // Non-ASCII text decodes to nothing; line breaks are skipped.
    EXPECT_TRUE(dataFromBase64String("QUJD\xC3\xA9").empty());
    EXPECT_TRUE(dataFromBase64String("").empty());
    EXPECT_EQ(dataFromBase64String("QU\r\nJD"), (std::vector<uint8_t>{'A', 'B', 'C'}));
    // The encoded string has no line breaks.
    const std::string text = base64EncodedString(patternBytes(200));
    EXPECT_EQ(text.size(), 268u);
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
}

}  // namespace
}  // namespace vork::util
