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

struct Encoded {
    std::string text;
    size_t reportedLength = 0;
};

Encoded encode(const std::string &bytes, bool separateLines) {
    Encoded result;
    std::unique_ptr<char, FreeDeleter> buffer(
        NewBase64Encode(bytes.data(), bytes.size(), separateLines, &result.reportedLength));
    EXPECT_NE(buffer, nullptr);
    if (buffer) result.text = buffer.get();
    return result;
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

// --- Encoding

TEST(Base64Encode, RfcVectors) {
    EXPECT_EQ(encode("", false).text, "");
    EXPECT_EQ(encode("f", false).text, "Zg==");
    EXPECT_EQ(encode("fo", false).text, "Zm8=");
    EXPECT_EQ(encode("foo", false).text, "Zm9v");
    EXPECT_EQ(encode("foob", false).text, "Zm9vYg==");
    EXPECT_EQ(encode("fooba", false).text, "Zm9vYmE=");
    EXPECT_EQ(encode("foobar", false).text, "Zm9vYmFy");
}

TEST(Base64Encode, OneTwoThreeBytesGiveFourCharactersWithPadding) {
    const Encoded one = encode("A", false), two = encode("AB", false), three = encode("ABC", false);
    EXPECT_EQ(one.text, "QQ==");
    EXPECT_EQ(two.text, "QUI=");
    EXPECT_EQ(three.text, "QUJD");
    EXPECT_EQ(one.reportedLength, 4u);
    EXPECT_EQ(two.reportedLength, 4u);
    EXPECT_EQ(three.reportedLength, 4u);
}

TEST(Base64Encode, AllByteValuesUseTheWholeAlphabet) {
    EXPECT_EQ(encode(std::string("\xFB\xEF\xBE", 3), false).text, "++++");
    EXPECT_EQ(encode(std::string("\xFF\xFF\xFF", 3), false).text, "////");
    EXPECT_EQ(encode(std::string("\0\0\0", 3), false).text, "AAAA");
    EXPECT_EQ(encode(std::string("\0", 1), false).text, "AA==");
}

TEST(Base64Encode, OutputLengthExcludesTerminator) {
    const std::string bytes = patternBytes(100);
    const Encoded single = encode(bytes, false);
    EXPECT_EQ(single.reportedLength, single.text.size());
    EXPECT_EQ(single.reportedLength, 136u);  // 4 * ceil(100 / 3)
}

TEST(Base64Encode, NullOutLengthIsAllowed) {
    std::unique_ptr<char, FreeDeleter> buffer(NewBase64Encode("ABC", 3, true, nullptr));
    ASSERT_NE(buffer, nullptr);
    EXPECT_STREQ(buffer.get(), "QUJD");
}

TEST(Base64Encode, LinesOfSixtyFourCharactersJoinedByCrLf) {
    const std::string bytes = patternBytes(100);
    const Encoded lines = encode(bytes, true);
    const std::string flat = encode(bytes, false).text;
    // 48 + 48 + 4 input bytes: two full lines and a short one, no break at the end.
    ASSERT_EQ(lines.text.size(), 136u + 4u);
    EXPECT_EQ(lines.reportedLength, lines.text.size());
    EXPECT_EQ(lines.text.substr(0, 64), flat.substr(0, 64));
    EXPECT_EQ(lines.text.substr(64, 2), "\r\n");
    EXPECT_EQ(lines.text.substr(66, 64), flat.substr(64, 64));
    EXPECT_EQ(lines.text.substr(130, 2), "\r\n");
    EXPECT_EQ(lines.text.substr(132), flat.substr(128));
}

TEST(Base64Encode, NoBreakAfterTheLastFullLine) {
    const Encoded exactlyOne = encode(patternBytes(48), true);
    EXPECT_EQ(exactlyOne.text.size(), 64u);
    EXPECT_EQ(exactlyOne.text.find('\r'), std::string::npos);

    const Encoded exactlyTwo = encode(patternBytes(96), true);
    EXPECT_EQ(exactlyTwo.text.size(), 64u + 2u + 64u);
    EXPECT_EQ(exactlyTwo.text.substr(64, 2), "\r\n");
    EXPECT_NE(exactlyTwo.text.back(), '\n');

    const Encoded oneMore = encode(patternBytes(49), true);
    EXPECT_EQ(oneMore.text.size(), 64u + 2u + 4u);
    EXPECT_EQ(oneMore.text.substr(66), encode(patternBytes(49), false).text.substr(64));
}

TEST(Base64Encode, EmptyInputGivesEmptyTerminatedText) {
    size_t length = 99;
    std::unique_ptr<char, FreeDeleter> buffer(NewBase64Encode("", 0, true, &length));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(buffer.get()[0], '\0');
}

// --- Decoding

TEST(Base64Decode, PaddedAndPartialGroups) {
    EXPECT_EQ(decode("QQ=="), "A");
    EXPECT_EQ(decode("QQ"), "A");
    EXPECT_EQ(decode("QUI="), "AB");
    EXPECT_EQ(decode("QUI"), "AB");
    EXPECT_EQ(decode("QUJD"), "ABC");
    EXPECT_EQ(decode("Q"), "");
    EXPECT_EQ(decode("QUJDQ"), "ABC");  // a single trailing character is dropped
    EXPECT_EQ(decode(""), "");
}

TEST(Base64Decode, SkipsEverythingOutsideTheAlphabet) {
    EXPECT_EQ(decode("QU\nJD"), "ABC");
    EXPECT_EQ(decode(" Q U J D "), "ABC");
    EXPECT_EQ(decode("QUJD\r\n"), "ABC");
    EXPECT_EQ(decode("=Q=U=J=D="), "ABC");
    EXPECT_EQ(decode("QU*J-D_!"), "ABC");
    EXPECT_EQ(decode("QU\xC3\xA9JD"), "ABC");  // bytes above 0x7F are skipped too
    EXPECT_EQ(decode(std::string("QU\0JD", 5)), "ABC");
    EXPECT_EQ(decode("\r\n\t ==="), "");
}

TEST(Base64Decode, PaddingInTheMiddleDoesNotEndTheInput) {
    // "=" is only skipped, so groups continue across it.
    EXPECT_EQ(decode("QQ==QUJD"), std::string("A\x04\x14\x24", 4));
}

TEST(Base64Decode, ReadsOwnLineSeparatedOutput) {
    const std::string bytes = patternBytes(1000);
    EXPECT_EQ(decode(encode(bytes, true).text), bytes);
    EXPECT_EQ(decode(encode(bytes, false).text), bytes);
}

TEST(Base64Decode, RoundTripOfEveryLengthUpToTwoLines) {
    for (size_t n = 0; n <= 100; ++n) {
        const std::string bytes = patternBytes(n);
        EXPECT_EQ(decode(encode(bytes, n % 2 == 0).text), bytes) << n;
    }
}

TEST(Base64Decode, MeasuresTerminatedInput) {
    size_t length = 0;
    std::unique_ptr<void, FreeDeleter> buffer(NewBase64Decode("Zm9vYmFy\0QUJD", kBase64MeasureInput, &length));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(std::string(static_cast<const char *>(buffer.get()), length), "foobar");
}

TEST(Base64Decode, BufferHasTheDocumentedSizeAndLengthIsOptional) {
    // 3 * ((length + 3) / 4) bytes: 6 input characters leave room for 6 bytes.
    std::unique_ptr<void, FreeDeleter> buffer(NewBase64Decode("QUJDQQ", 6, nullptr));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(std::memcmp(buffer.get(), "ABCA", 4), 0);
}

// --- Byte-data helpers

TEST(Base64Data, FromStringAndBack) {
    const std::vector<uint8_t> data = dataFromBase64String("AAEC/f7/");
    EXPECT_EQ(data, (std::vector<uint8_t>{0x00, 0x01, 0x02, 0xFD, 0xFE, 0xFF}));
    EXPECT_EQ(base64EncodedString(data.data(), data.size()), "AAEC/f7/");
    EXPECT_EQ(base64EncodedString(std::string_view("user:pass")), "dXNlcjpwYXNz");
}

TEST(Base64Data, NonAsciiTextDecodesToNothing) {
    EXPECT_TRUE(dataFromBase64String("QUJD\xC3\xA9").empty());
    EXPECT_TRUE(dataFromBase64String("").empty());
    EXPECT_EQ(dataFromBase64String("QU\r\nJD"), (std::vector<uint8_t>{'A', 'B', 'C'}));
}

TEST(Base64Data, EncodedStringHasNoLineBreaks) {
    const std::string bytes = patternBytes(200);
    const std::string text = base64EncodedString(bytes);
    EXPECT_EQ(text.size(), 268u);
    EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos);
    EXPECT_EQ(base64EncodedString(nullptr, 0), "");
}

}  // namespace
}  // namespace vork::util
