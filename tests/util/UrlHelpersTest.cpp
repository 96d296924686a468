#include "util/UrlHelpers.h"

#include <gtest/gtest.h>

#include <string>

namespace vork::util {
namespace {

// --- urlEncodedString

TEST(UrlEncodedString, EscapesComponentSeparators) {
    EXPECT_EQ(urlEncodedString("a b&c?d"), "a%20b%26c%3Fd");
}

TEST(UrlEncodedString, LeavesUrlLegalCharactersAlone) {
    const std::string legal = "AZaz09-_.!~*'();/:@=+$,#";
    EXPECT_EQ(urlEncodedString(legal), legal);
    EXPECT_EQ(urlEncodedString("https://h/p/x.dmg#frag"), "https://h/p/x.dmg#frag");
}

TEST(UrlEncodedString, EscapesIllegalCharactersUpperCase) {
    EXPECT_EQ(urlEncodedString("\"%<>\\^`{|}[]"), "%22%25%3C%3E%5C%5E%60%7B%7C%7D%5B%5D");
    EXPECT_EQ(urlEncodedString("\t\n\r\x7F"), "%09%0A%0D%7F");
    EXPECT_EQ(urlEncodedString("50%"), "50%25");
    EXPECT_EQ(urlEncodedString("%20"), "%2520");  // existing escapes are escaped again
}

TEST(UrlEncodedString, NonAsciiAsUtf8Bytes) {
    EXPECT_EQ(urlEncodedString("Café"), "Caf%C3%A9");
    EXPECT_EQ(urlEncodedString("€"), "%E2%82%AC");
    EXPECT_EQ(urlEncodedString(""), "");
}

// --- urlDecodeString

TEST(UrlDecodeString, DecodesEscapes) {
    EXPECT_EQ(urlDecodeString("a%20b%26c%3Fd"), "a b&c?d");
    EXPECT_EQ(urlDecodeString("Caf%C3%A9"), "Café");
    EXPECT_EQ(urlDecodeString("caf%c3%a9"), "café");
    EXPECT_EQ(urlDecodeString("plain+text"), "plain+text");  // "+" is not a space here
    EXPECT_EQ(urlDecodeString(""), "");
}

TEST(UrlDecodeString, InvalidUtf8GivesNone) {
    EXPECT_EQ(urlDecodeString("%FF"), std::nullopt);
    EXPECT_EQ(urlDecodeString("%C3"), std::nullopt);
    EXPECT_EQ(urlDecodeString("%C0%AF"), std::nullopt);  // overlong "/"
    EXPECT_EQ(urlDecodeString("%ED%A0%80"), std::nullopt);  // surrogate
}

TEST(UrlDecodeString, IncompleteEscapesStayAsTyped) {
    EXPECT_EQ(urlDecodeString("100%"), "100%");
    EXPECT_EQ(urlDecodeString("%zz%4"), "%zz%4");
}

TEST(UrlDecodeString, KeepsEmbeddedNul) {
    const auto decoded = urlDecodeString("a%00b");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded, std::string("a\0b", 3));
}

TEST(UrlDecodeString, RoundTripsEncodedText) {
    const std::string text = "x y/z?&=ä€\"<>%";
    EXPECT_EQ(urlDecodeString(urlEncodedString(text)), text);
    EXPECT_EQ(urlDecodeString(encodeForURIParam(text)), text);
    EXPECT_EQ(urlDecodeString(percentEncodeFormData(text)), text);
}

// --- percentEncodeFormData

TEST(PercentEncodeFormData, Examples) {
    EXPECT_EQ(percentEncodeFormData("50% off"), "50%25%20off");
    EXPECT_EQ(percentEncodeFormData("a.b"), "a%2Eb");
}

TEST(PercentEncodeFormData, WholeTable) {
    EXPECT_EQ(percentEncodeFormData("!#$&'()*+,/:;=?@[]"),
              "%21%23%24%26%27%28%29%2A%2B%2C%2F%3A%3B%3D%3F%40%5B%5D");
    EXPECT_EQ(percentEncodeFormData(" \"-.<>\\^_`{|}~\n\r"),
              "%20%22%2D%2E%3C%3E%5C%5E%5F%60%7B%7C%7D%7E%0A%0D");
}

TEST(PercentEncodeFormData, LettersDigitsAndOtherCharactersPass) {
    EXPECT_EQ(percentEncodeFormData("AZaz09"), "AZaz09");
    EXPECT_EQ(percentEncodeFormData("Grüße €"), "Grüße%20€");
    EXPECT_EQ(percentEncodeFormData("\t"), "\t");
    EXPECT_EQ(percentEncodeFormData("%2E"), "%252E");
}

// --- Appending components

TEST(AppendUrlComponent, EncodesTheComponent) {
    EXPECT_EQ(stringByAppendingUrlComponent("https://h/a/", "x y"), "https://h/a/x%20y");
    EXPECT_EQ(stringByAppendingUrlComponent("https://h/a", "x y"), "https://h/a/x%20y");
    EXPECT_EQ(stringByAppendingUrlComponent("https://h", "a&b?c"), "https://h/a%26b%3Fc");
}

TEST(AppendUrlComponent, NoEncodeVariant) {
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("https://h/a/", "x y"), "https://h/a/x y");
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("https://h/a", "client"), "https://h/a/client");
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("", "client"), "/client");
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("https://h//", ""), "https://h//");
}

// --- zelURLFromUserInput

TEST(ZelUrlFromUserInput, BareHostGetsSchemePortAndSlash) {
    EXPECT_EQ(zelURLFromUserInput("server"), "https://server:8443/");
    EXPECT_EQ(zelURLFromUserInput("server.example.com"), "https://server.example.com:8443/");
    EXPECT_EQ(zelURLFromUserInput("10.0.0.5"), "https://10.0.0.5:8443/");
}

TEST(ZelUrlFromUserInput, GivenPortOrPathIsKept) {
    EXPECT_EQ(zelURLFromUserInput("server:443"), "https://server:443/");
    EXPECT_EQ(zelURLFromUserInput("server/base"), "https://server/base/");
    EXPECT_EQ(zelURLFromUserInput("server:8443/base/"), "https://server:8443/base/");
    // A typed slash is a path: no default port, no second slash.
    EXPECT_EQ(zelURLFromUserInput("server/"), "https://server/");
}

TEST(ZelUrlFromUserInput, TextMentioningHttpIsTakenAsItStands) {
    EXPECT_EQ(zelURLFromUserInput("http://server"), "http://server/");
    EXPECT_EQ(zelURLFromUserInput("https://server:8443/"), "https://server:8443/");
    EXPECT_EQ(zelURLFromUserInput("https://server/vork"), "https://server/vork/");
    // Even inside a host name: no scheme is added.
    EXPECT_EQ(zelURLFromUserInput("myhttpserver"), "myhttpserver/");
    // Only the lower-case word counts.
    EXPECT_EQ(zelURLFromUserInput("HTTPserver"), "https://HTTPserver:8443/");
}

TEST(ZelUrlFromUserInput, QueryCountsAsEmptyPath) {
    EXPECT_EQ(zelURLFromUserInput("server?x=1"), "https://server?x=1:8443/");
}

TEST(ZelUrlFromUserInput, TextThatIsNoUrlGivesNone) {
    EXPECT_EQ(zelURLFromUserInput("my server"), std::nullopt);
    EXPECT_EQ(zelURLFromUserInput("http://bad host"), std::nullopt);
    EXPECT_EQ(zelURLFromUserInput("http://"), std::nullopt);
    EXPECT_EQ(zelURLFromUserInput("serv\xC3\xA9r"), std::nullopt);
    EXPECT_EQ(zelURLFromUserInput("server%zz"), std::nullopt);
    EXPECT_EQ(zelURLFromUserInput(""), std::nullopt);
}

TEST(ZelUrlFromUserInput, Ipv6Literal) {
    EXPECT_EQ(zelURLFromUserInput("[::1]"), "https://[::1]:8443/");
    EXPECT_EQ(zelURLFromUserInput("[::1]:9000"), "https://[::1]:9000/");
}

TEST(IsParsableUrl, AbsoluteUrlsOnly) {
    EXPECT_TRUE(isParsableUrl("https://server:8443/"));
    EXPECT_TRUE(isParsableUrl("https://server"));
    EXPECT_TRUE(isParsableUrl("file:///tmp/x"));
    EXPECT_TRUE(isParsableUrl("vork-custom://host/path"));
    EXPECT_FALSE(isParsableUrl("server/"));
    EXPECT_FALSE(isParsableUrl("https://bad host/"));
    EXPECT_FALSE(isParsableUrl(""));
    EXPECT_FALSE(isParsableUrl(std::string("https://h\0x/", 12)));
}

// --- encodeForURIParam

TEST(EncodeForUriParam, EscapesReservedAndIllegalCharacters) {
    EXPECT_EQ(encodeForURIParam("!*'();:@&=+$,/?%#[]"),
              "%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D");
    EXPECT_EQ(encodeForURIParam("a b\"<>"), "a%20b%22%3C%3E");
    EXPECT_EQ(encodeForURIParam("ü"), "%C3%BC");
}

TEST(EncodeForUriParam, KeepsUnreservedCharacters) {
    EXPECT_EQ(encodeForURIParam("AZaz09-_.~"), "AZaz09-_.~");
    EXPECT_EQ(encodeForURIParam("https://h/?a=b"), "https%3A%2F%2Fh%2F%3Fa%3Db");
}

// --- parseParamsFromUrl

TEST(ParseParamsFromUrl, Example) {
    const auto params = parseParamsFromUrl("x?a=1&b&c=d+e%21");
    EXPECT_EQ(params, (std::map<std::string, std::string>{{"a", "1"}, {"b", ""}, {"c", "d e!"}}));
}

TEST(ParseParamsFromUrl, WholeTextIsQueryWithoutQuestionMark) {
    EXPECT_EQ(parseParamsFromUrl("a=1&b=2"), (std::map<std::string, std::string>{{"a", "1"}, {"b", "2"}}));
}

TEST(ParseParamsFromUrl, EverythingAfterTheFirstQuestionMark) {
    EXPECT_EQ(parseParamsFromUrl("https://h/p?a=x?y&b=1"),
              (std::map<std::string, std::string>{{"a", "x?y"}, {"b", "1"}}));
}

TEST(ParseParamsFromUrl, KeysAreNotDecodedAndSecondEqualsIsDropped) {
    EXPECT_EQ(parseParamsFromUrl("?k%20y=v%20w&e=1=2"),
              (std::map<std::string, std::string>{{"k%20y", "v w"}, {"e", "1"}}));
}

TEST(ParseParamsFromUrl, LaterDuplicateWinsAndBadValueRemovesKey) {
    EXPECT_EQ(parseParamsFromUrl("?a=1&a=2"), (std::map<std::string, std::string>{{"a", "2"}}));
    EXPECT_EQ(parseParamsFromUrl("?a=1&b=2&a=%FF"), (std::map<std::string, std::string>{{"b", "2"}}));
    EXPECT_EQ(parseParamsFromUrl("?a=%FF"), (std::map<std::string, std::string>{}));
}

TEST(ParseParamsFromUrl, EmptyPieces) {
    EXPECT_EQ(parseParamsFromUrl("h?"), (std::map<std::string, std::string>{{"", ""}}));
    EXPECT_EQ(parseParamsFromUrl("?a=&=v"), (std::map<std::string, std::string>{{"a", ""}, {"", "v"}}));
}

// --- fileName

TEST(FileName, LastPathPieceBeforeQuery) {
    EXPECT_EQ(fileName("https://h/dir/pkg.dmg?token=1"), "pkg.dmg");
    EXPECT_EQ(fileName("https://h/dir/pkg.dmg"), "pkg.dmg");
    EXPECT_EQ(fileName("pkg.dmg"), "pkg.dmg");
    EXPECT_EQ(fileName("https://h/dir/"), "");
    EXPECT_EQ(fileName("https://h/a?next=/b/c.pkg"), "a");
}

TEST(FileName, LongNamesKeepTheirLastTwoHundredCharacters) {
    const std::string name = std::string(50, 'x') + std::string(196, 'y') + ".pkg";
    EXPECT_EQ(fileName("https://h/" + name), std::string(196, 'y') + ".pkg");
    const std::string exactly(200, 'z');
    EXPECT_EQ(fileName("https://h/" + exactly), exactly);
}

TEST(FileName, LengthCountsCharactersNotBytes) {
    std::string name;
    for (int i = 0; i < 210; ++i) name += "é";
    std::string expected;
    for (int i = 0; i < 200; ++i) expected += "é";
    EXPECT_EQ(fileName("https://h/" + name + "?x"), expected);
}

}  // namespace
}  // namespace vork::util
