#include "util/UrlHelpers.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vork::util {
namespace {

using std::nullopt;
using Params = std::map<std::string, std::string>;
using Rows = std::vector<std::pair<std::string, std::optional<std::string>>>;

// Runs one text function over (input, expected) rows; nullopt expects no answer.
template <typename Fn>
void expectRows(const char *name, Fn fn, const Rows &rows) {
    for (const auto &[input, expected] : rows)
        EXPECT_EQ(std::optional<std::string>(fn(input)), expected) << name << "(\"" << input << "\")";
}

TEST(UrlEncodedString, EscapesOnlyWhatIsIllegalInAUrl) {
    const std::string legal = "AZaz09-_.!~*'();/:@=+$,#";
    expectRows("urlEncodedString", urlEncodedString, {
        {"a b&c?d", "a%20b%26c%3Fd"}, {legal, legal},
        {"\"%<>\\^`{|}[]", "%22%25%3C%3E%5C%5E%60%7B%7C%7D%5B%5D"}, {"\t\n\r\x7F", "%09%0A%0D%7F"},
        {"%20", "%2520"},  // existing escapes are escaped again
        {"Café", "Caf%C3%A9"}});
}

TEST(UrlDecodeString, DecodesEscapesAndRefusesInvalidUtf8) {
    expectRows("urlDecodeString", urlDecodeString, {
        {"a%20b%26c%3Fd", "a b&c?d"}, {"caf%c3%a9", "café"},
        {"plain+text", "plain+text"},  // "+" is not a space here
        {"", ""}, {"100%", "100%"}, {"%zz%4", "%zz%4"},  // incomplete escapes stay as typed
        {"a%00b", std::string("a\0b", 3)},
        {"%FF", nullopt}, {"%C0%AF", nullopt} /* overlong "/" */});
    const std::string text = "x y/z?&=ä€\"<>%";
    EXPECT_EQ(urlDecodeString(urlEncodedString(text)), text);
    EXPECT_EQ(urlDecodeString(percentEncodeFormData(text)), text);
    // An empty view without storage (data() is null) decodes like "".
    EXPECT_EQ(urlDecodeString(std::string_view()), "");
}

TEST(PercentEncodeFormData, EscapesItsTableAndPassesEverythingElse) {
    expectRows("percentEncodeFormData", percentEncodeFormData, {
        {"50% off", "50%25%20off"}, {"a.b", "a%2Eb"},
        {"!#$&'()*+,/:;=?@[]", "%21%23%24%26%27%28%29%2A%2B%2C%2F%3A%3B%3D%3F%40%5B%5D"},
        {" \"-.<>\\^_`{|}~\n\r", "%20%22%2D%2E%3C%3E%5C%5E%5F%60%7B%7C%7D%7E%0A%0D"},
        {"Grüße €", "Grüße%20€"}, {"\t", "\t"}});
}

TEST(EncodeForUriParam, EscapesReservedAndKeepsUnreserved) {
    expectRows("encodeForURIParam", encodeForURIParam, {
        {"!*'();:@&=+$,/?%#[]", "%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D"},
        {"a b\"<>ü", "a%20b%22%3C%3E%C3%BC"}, {"AZaz09-_.~", "AZaz09-_.~"}});
}

TEST(AppendUrlComponent, EncodedAndPlainVariants) {
    EXPECT_EQ(stringByAppendingUrlComponent("https://h/a/", "x y"), "https://h/a/x%20y");
    EXPECT_EQ(stringByAppendingUrlComponent("https://h", "a&b?c"), "https://h/a%26b%3Fc");
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("https://h/a", "x y"), "https://h/a/x y");
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("", "client"), "/client");
    EXPECT_EQ(stringByAppendingUrlComponentNoUrlEncode("https://h//", ""), "https://h//");
}

TEST(ZelUrlFromUserInput, Table) {
    expectRows("zelURLFromUserInput", zelURLFromUserInput, {
        // A bare host gets scheme, port and slash.
        {"server.example.com", "https://server.example.com:8443/"}, {"[::1]", "https://[::1]:8443/"},
        // A given port or path is kept; a typed slash is a path: no default port, no second slash.
        {"server:443", "https://server:443/"}, {"server/base", "https://server/base/"}, {"server/", "https://server/"},
        // Text mentioning "http" (lower case only) is taken as it stands, even inside a host name.
        {"http://server", "http://server/"}, {"https://server:8443/", "https://server:8443/"},
        {"myhttpserver", "myhttpserver/"},
        {"HTTPserver", "https://HTTPserver:8443/"},
        // A query counts as an empty path.
        {"server?x=1", "https://server?x=1:8443/"},
        // Text that is no URL gives none.
        {"my server", nullopt}, {"http://", nullopt}, {"serv\xC3\xA9r", nullopt}, {"", nullopt}});
}

TEST(IsParsableUrl, AbsoluteUrlsOnly) {
    for (const char *url : {"https://server:8443/", "https://server", "file:///tmp/x", "vork-custom://host/path"})
        EXPECT_TRUE(isParsableUrl(url)) << url;
    const std::vector<std::string> refused = {"server/", "https://bad host/", "", std::string("https://h\0x/", 12)};
    for (const std::string &url : refused)
        EXPECT_FALSE(isParsableUrl(url)) << url;
}

TEST(ParseParamsFromUrl, Table) {
    const std::vector<std::pair<std::string, Params>> rows = {
        {"x?a=1&b&c=d+e%21", {{"a", "1"}, {"b", ""}, {"c", "d e!"}}},
        // Without a question mark the whole text is the query; else all after the first.
        {"a=1&b=2", {{"a", "1"}, {"b", "2"}}}, {"https://h/p?a=x?y&b=1", {{"a", "x?y"}, {"b", "1"}}},
        // Keys are not decoded and a second "=" is dropped.
        {"?k%20y=v%20w&e=1=2", {{"k%20y", "v w"}, {"e", "1"}}},
        // A later duplicate wins and a bad value removes the key.
        {"?a=1&a=2", {{"a", "2"}}}, {"?a=1&b=2&a=%FF", {{"b", "2"}}},
        {"h?", {{"", ""}}}, {"?a=&=v", {{"a", ""}, {"", "v"}}}};
    for (const auto &[url, params] : rows) EXPECT_EQ(parseParamsFromUrl(url), params) << url;
}

TEST(FileName, LastPathPieceBeforeQueryOfAtMostTwoHundredCharacters) {
    expectRows("fileName", fileName, {
        {"https://h/dir/pkg.dmg?token=1", "pkg.dmg"}, {"pkg.dmg", "pkg.dmg"},
        {"https://h/dir/", ""}, {"https://h/a?next=/b/c.pkg", "a"},
        {"https://h/" + std::string(200, 'z'), std::string(200, 'z')}});
    // The length counts characters, not bytes.
    std::string name, expected;
    for (int i = 0; i < 210; ++i) name += "é";
    for (int i = 0; i < 200; ++i) expected += "é";
    EXPECT_EQ(fileName("https://h/" + name + "?x"), expected);
}

}  // namespace
}  // namespace vork::util
