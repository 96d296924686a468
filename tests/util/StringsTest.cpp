#include "util/Strings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <tuple>

#include "support/TempDir.h"

namespace vork::util {
namespace {

using std::nullopt;
using Pairs = std::vector<std::pair<std::string, std::string>>;

// Runs one text-to-text function over (input, expected) rows.
void expectTransform(const char *name, const std::function<std::string(std::string_view)> &fn, const Pairs &rows) {
    for (const auto &[input, expected] : rows) EXPECT_EQ(fn(input), expected) << name << "(\"" << input << "\")";
}

TEST(StringsBasics, OptionalTextHelpers) {
    EXPECT_TRUE(containsCaseInsensitive("Hello World", std::string("WORLD")));
    EXPECT_TRUE(containsCaseInsensitive("ÉCOLE normale", std::string("école")));
    EXPECT_FALSE(containsCaseInsensitive("Hello", nullopt));
    // Only the empty text is blank (spaces are a value); the second is taken even when empty.
    for (const auto &[first, second, expected] : std::vector<std::tuple<Text, Text, std::string>>{{"a", "b", "a"}, {"", "b", "b"}, {nullopt, "b", "b"}, {"", nullopt, ""},
                                           {nullopt, nullopt, ""}, {"  ", "b", "  "}, {nullopt, "", ""}})
        EXPECT_EQ(firstNonBlankOf(first, second), expected) << first.value_or("(none)");
    EXPECT_EQ(blankIfNil(nullopt), "");
}

TEST(StringsManipulation, TrimmingFunctions) {
    expectTransform("strip", strip, {{" \n a \t", "a"}, {"\u2028\u00A0in side\u0085\r\n", "in side"},
                                     {" \t\n ", ""}, {"", ""}});
    // trim keeps line breaks and invalid bytes.
    expectTransform("trim", trim, {{" \n a \t", "\n a"}, {"\u3000\u2003value\u00A0", "value"},
                                   {"\u2029x\u2029", "\u2029x\u2029"}, {"   ", ""}, {" \xFF" "a\xC3 ", "\xFF" "a\xC3"}});
    expectTransform("removeTrailingSlashes", removeTrailingSlashes, {{"///", ""}, {"/a/b//", "/a/b"}, {"a", "a"}});
    expectTransform("removeLeadingSlashes", removeLeadingSlashes, {{"//a/b/", "a/b/"}, {"/", ""}});
    expectTransform("removeLeadingWhitespace", removeLeadingWhitespace, {{" \n\t a b \n", "a b \n"}, {"\n\n", ""}});
}

TEST(StringsManipulation, TrimCharactersOfTextWorksOnCodePointsAndOfASet) {
    const std::vector<std::tuple<bool, std::string, Text, std::string>> rows = {
        {true, "xxyabcxy", "xy", "abcxy"}, {false, "xxyabcxy", "xy", "xxyabc"}, {true, "xyxy", "yx", ""},
        // None is the empty set: nothing is removed.
        {true, "  a", nullopt, "  a"}, {false, "a  ", nullopt, "a  "},
        // "é" and "è" share their first UTF-8 byte; only the listed one goes.
        {false, "caféè", "è", "café"}, {true, "ééx€", "é", "x€"}, {false, "x€€", "€", "x"}};
    for (const auto &[leading, text, characters, expected] : rows) {
        SCOPED_TRACE(text);
        EXPECT_EQ(leading ? trimLeadingCharacters(text, characters) : trimTrailingCharacters(text, characters), expected);
        EXPECT_EQ(trimLeadingOrTrailingCharacters(text, characters, leading), expected);
    }
    const CharacterSet digits = [](char32_t c) { return c >= U'0' && c <= U'9'; };
    EXPECT_EQ(trimLeadingCharactersInSet("123abc456", digits), "abc456");
    EXPECT_EQ(trimTrailingCharactersInSet("123abc456", digits), "123abc");
    EXPECT_EQ(trimLeadingOrTrailingCharactersInSet("999", digits, false), "");
    // A null set answers a copy.
    EXPECT_EQ(trimLeadingCharactersInSet(" a ", CharacterSet()), " a ");
}

TEST(StringsSearch, EmptinessTests) {
    for (const auto &[text, empty, afterTrim, afterStrip] : std::vector<std::tuple<Text, bool, bool, bool>>{{nullopt, true, true, true}, {"", true, true, true},
                                           {" ", false, true, true}, {" \t\u00A0", false, true, true},
                                           {" \n ", false, false, true}, {" \n\u2028 ", false, false, true},
                                           {" . ", false, false, false}}) {
        SCOPED_TRACE(text.value_or("(none)"));
        EXPECT_EQ(isEmpty(text), empty);
        EXPECT_EQ(isEmptyAfterTrim(text), afterTrim);
        EXPECT_EQ(isEmptyAfterStrip(text), afterStrip);
    }
}

TEST(StringsSearch, ContainsHasAnyPrefixAndFoundInArray) {
    EXPECT_FALSE(containsTheString("Disk0s2", std::string("S2")));
    EXPECT_TRUE(containsTheString("Disk0s2", std::string("S2"), true));
    EXPECT_FALSE(containsTheString("Disk0s2", nullopt));
    EXPECT_FALSE(containsTheString("abc", std::string()));  // an empty needle is never found
    EXPECT_TRUE(containsStrings("anything", {}));
    EXPECT_FALSE(containsStrings("Apple SSD Media", {"SSD", "media"}));
    EXPECT_TRUE(containsStrings("Apple SSD Media", {"ssd", "media"}, true));
    EXPECT_TRUE(hasAnyPrefix("disk0s1", {"cd", "disk"}));
    EXPECT_FALSE(hasAnyPrefix("ab", {"abc"}));
    EXPECT_TRUE(foundInArray("b", {"a", "b"}));
    EXPECT_FALSE(foundInArray("B", {"a", "b"}));
    EXPECT_TRUE(foundInArray("", {""}));
}

TEST(StringsSearch, MatchesIsCaseInsensitiveSearchAnywhere) {
    // An invalid pattern matches nothing, not even its own text.
    for (const auto &[text, pattern, found] : std::vector<std::tuple<std::string, Text, bool>>{{"Volume disk2s1 mounted", "DISK[0-9]+s[0-9]", true},
                                           {"abc", "^A", true}, {"abc", "^b", false}, {"abc", nullopt, false},
                                           {"abc", "", true}, {"a(b", "a(b", false}, {"x", "*x", false}})
        EXPECT_EQ(matches(text, pattern), found) << pattern.value_or("(none)");
}

TEST(StringsSearch, IsNumeric) {
    for (const char *text : {"-3", "4.25", ".5", "7.", "-", "-.5", "  42\t", "\u00A01.5"})
        EXPECT_TRUE(isNumeric(text)) << '"' << text << '"';
    for (const char *text : {"", "   ", ".", "1e5", "+2", "1.2.3", "--1", "1 2", "\n5", "-.", "١٢"})
        EXPECT_FALSE(isNumeric(text)) << '"' << text << '"';
    EXPECT_TRUE(isNumeric("-" + std::string(200000, '9') + "." + std::string(200000, '9')));
}

TEST(StringsFields, FindValueBetween) {
    const std::vector<std::tuple<std::string, Text, Text, long, std::string>> rows = {
        {"a[1]b[2]c", "[", "]", 0, "1"}, {"a[1]b[2]c", "[", "]", 1, "2"}, {"a[1]b[2]c", "[", "]", 2, ""},
        {"x[5", "[", "]", 1, ""},
        {"no markers", "<b>", "</b>", 0, ""}, {"<b>x</b>", "<b>", "</b>", -1, ""}, {"<b>x</b>", nullopt, "</b>", 0, ""},
        // The last opening without a closing marker runs to the end.
        {"<b>x</b><b>tail", "<b>", "</b>", 1, "tail"}, {"<b>x</b><b>tail", "<b>", "</b>", 2, ""},
        // Text between a closing and the next opening marker is skipped.
        {"<b>1</b>junk</b><b>2</b>", "<b>", "</b>", 1, "2"},
        // Same marker on both sides: values are taken pairwise.
        {"\"a\" and \"b\"", "\"", "\"", 1, "b"},
        // Without an end marker the whole rest is the first value.
        {"key=value", "=", nullopt, 0, "value"}};
    for (const auto &[text, open, close, index, expected] : rows)
        EXPECT_EQ(findValueBetween(text, open, close, index), expected) << text << " #" << index;
}

TEST(StringsFields, FindNthField) {
    // Text without the delimiter is every field.
    for (const auto &[text, n, delimiter, expected] : std::vector<std::tuple<std::string, long, Text, std::string>>{{"a,b,c", 0, ",", "a"}, {"a,b,c", 2, ",", "c"}, {"a,b", 2, ",", ""},
                                           {"a,,b", 1, ",", ""}, {"a::b", 1, "::", "b"},
                                           {"abc", 5, ",", "abc"}, {"abc", -3, ",", "abc"}, {"abc", 1, nullopt, "abc"}})
        EXPECT_EQ(findNthField(text, n, delimiter), expected) << text << " #" << n;
}

TEST(StringsAppendToFile, CreatesWithDefaultModeAppendsAndFailsWithoutFolder) {
    test::TempDir dir;
    const std::string path = (dir / "log.txt").string();
    const mode_t mask = ::umask(022);
    EXPECT_TRUE(appendToFile("first\n", path));
    ::umask(mask);
    EXPECT_TRUE(appendToFile("zweite Zeile ü\n", path));
    EXPECT_EQ(test::readFile(path), "first\nzweite Zeile ü\n");
    struct stat info;
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
    EXPECT_FALSE(appendToFile("x", (dir / "missing" / "file.txt").string()));
    EXPECT_FALSE(appendToFile("x", dir.str()));
}

}  // namespace
}  // namespace vork::util
