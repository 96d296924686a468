#include "util/Strings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>

#include "support/TempDir.h"

namespace vork::util {
namespace {

using std::nullopt;

// --- Character classes

TEST(StringsCharacterClasses, WhiteSpaceIsSpaceSeparatorsAndTab) {
    for (char32_t c : {U'\t', U' ', U'\u00A0', U'\u1680', U'\u2000', U'\u200A', U'\u202F', U'\u205F', U'\u3000'})
        EXPECT_TRUE(isWhitespace(c)) << std::hex << static_cast<uint32_t>(c);
    for (char32_t c : {U'\n', U'\r', U'\u0085', U'\u2028', U'\u2029', U'\u200B', U'a', U'\0'})
        EXPECT_FALSE(isWhitespace(c)) << std::hex << static_cast<uint32_t>(c);
}

TEST(StringsCharacterClasses, LineBreaksJoinWhiteSpace) {
    for (char32_t c : {U'\t', U' ', U'\u3000', U'\n', U'\r', U'\v', U'\f', U'\u0085', U'\u2028', U'\u2029'})
        EXPECT_TRUE(isWhitespaceOrNewline(c)) << std::hex << static_cast<uint32_t>(c);
    EXPECT_FALSE(isWhitespaceOrNewline(U'x'));
    EXPECT_FALSE(isWhitespaceOrNewline(U'\u200B'));  // zero-width space is a format character
}

// --- Basics

TEST(StringsBasics, ContainsCaseInsensitive) {
    EXPECT_TRUE(containsCaseInsensitive("Hello World", std::string("WORLD")));
    EXPECT_TRUE(containsCaseInsensitive("ÉCOLE normale", std::string("école")));
    EXPECT_FALSE(containsCaseInsensitive("Hello", std::string("bye")));
    EXPECT_FALSE(containsCaseInsensitive("Hello", nullopt));
}

TEST(StringsBasics, FirstNonBlankOf) {
    EXPECT_EQ(firstNonBlankOf(std::string("a"), std::string("b")), "a");
    EXPECT_EQ(firstNonBlankOf(std::string(""), std::string("b")), "b");
    EXPECT_EQ(firstNonBlankOf(nullopt, std::string("b")), "b");
    EXPECT_EQ(firstNonBlankOf(std::string(""), nullopt), "");
    EXPECT_EQ(firstNonBlankOf(nullopt, nullopt), "");
    // Only the empty text is blank; spaces are a value.
    EXPECT_EQ(firstNonBlankOf(std::string("  "), std::string("b")), "  ");
    // The second is taken even when empty.
    EXPECT_EQ(firstNonBlankOf(nullopt, std::string("")), "");
}

TEST(StringsBasics, BlankIfNil) {
    EXPECT_EQ(blankIfNil(nullopt), "");
    EXPECT_EQ(blankIfNil(std::string(" x ")), " x ");
}

// --- Manipulation

TEST(StringsManipulation, StripRemovesSpacesAndLineBreaks) {
    EXPECT_EQ(strip(" \n a \t"), "a");
    EXPECT_EQ(strip("\u2028\u00A0in side\u0085\r\n"), "in side");
    EXPECT_EQ(strip(" \t\n "), "");
    EXPECT_EQ(strip(""), "");
}

TEST(StringsManipulation, TrimKeepsLineBreaks) {
    EXPECT_EQ(trim(" \n a \t"), "\n a");
    EXPECT_EQ(trim("\u3000\u2003value\u00A0"), "value");
    EXPECT_EQ(trim("\u2029x\u2029"), "\u2029x\u2029");
    EXPECT_EQ(trim("   "), "");
}

TEST(StringsManipulation, Slashes) {
    EXPECT_EQ(removeTrailingSlashes("///"), "");
    EXPECT_EQ(removeTrailingSlashes("/a/b//"), "/a/b");
    EXPECT_EQ(removeTrailingSlashes("a"), "a");
    EXPECT_EQ(removeLeadingSlashes("//a/b/"), "a/b/");
    EXPECT_EQ(removeLeadingSlashes("/"), "");
    EXPECT_EQ(removeLeadingSlashes(""), "");
}

TEST(StringsManipulation, RemoveLeadingWhitespaceOnlyAtStart) {
    EXPECT_EQ(removeLeadingWhitespace(" \n\t a b \n"), "a b \n");
    EXPECT_EQ(removeLeadingWhitespace("\n\n"), "");
}

TEST(StringsManipulation, TrimCharactersOfText) {
    EXPECT_EQ(trimLeadingCharacters("xxyabcxy", std::string("xy")), "abcxy");
    EXPECT_EQ(trimTrailingCharacters("xxyabcxy", std::string("xy")), "xxyabc");
    EXPECT_EQ(trimLeadingCharacters("xyxy", std::string("yx")), "");
    EXPECT_EQ(trimTrailingCharacters("", std::string("a")), "");
    // None is the empty set: nothing is removed.
    EXPECT_EQ(trimLeadingCharacters("  a", nullopt), "  a");
    EXPECT_EQ(trimTrailingCharacters("a  ", nullopt), "a  ");
}

TEST(StringsManipulation, TrimCharactersWorksOnCodePoints) {
    // "é" and "è" share their first UTF-8 byte; only the listed one goes.
    EXPECT_EQ(trimTrailingCharacters("caféè", std::string("è")), "café");
    EXPECT_EQ(trimLeadingCharacters("ééx€", std::string("é")), "x€");
    EXPECT_EQ(trimTrailingCharacters("x€€", std::string("€")), "x");
}

TEST(StringsManipulation, TrimCharactersInSet) {
    const CharacterSet digits = [](char32_t c) { return c >= U'0' && c <= U'9'; };
    EXPECT_EQ(trimLeadingCharactersInSet("123abc456", digits), "abc456");
    EXPECT_EQ(trimTrailingCharactersInSet("123abc456", digits), "123abc");
    EXPECT_EQ(trimLeadingOrTrailingCharactersInSet("999", digits, true), "");
    EXPECT_EQ(trimLeadingOrTrailingCharactersInSet("999", digits, false), "");
    // A null set answers a copy.
    EXPECT_EQ(trimLeadingCharactersInSet(" a ", CharacterSet()), " a ");
    EXPECT_EQ(trimLeadingOrTrailingCharactersInSet(" a ", CharacterSet(), false), " a ");
    EXPECT_EQ(trimLeadingOrTrailingCharacters("--a--", std::string("-"), false), "--a");
}

TEST(StringsManipulation, InvalidBytesSurviveTrimming) {
    const std::string text = " \xFF" "a\xC3 ";
    EXPECT_EQ(trim(text), "\xFF" "a\xC3");
}

// --- Emptiness

TEST(StringsSearch, EmptinessTests) {
    EXPECT_TRUE(isEmpty(nullopt));
    EXPECT_TRUE(isEmpty(std::string()));
    EXPECT_FALSE(isEmpty(std::string(" ")));

    EXPECT_TRUE(isEmptyAfterTrim(nullopt));
    EXPECT_TRUE(isEmptyAfterTrim(std::string(" \t\u00A0")));
    EXPECT_FALSE(isEmptyAfterTrim(std::string(" \n ")));

    EXPECT_TRUE(isEmptyAfterStrip(nullopt));
    EXPECT_TRUE(isEmptyAfterStrip(std::string(" \n\u2028 ")));
    EXPECT_FALSE(isEmptyAfterStrip(std::string(" . ")));
}

// --- Substrings

TEST(StringsSearch, ContainsTheString) {
    EXPECT_TRUE(containsTheString("Disk0s2", std::string("s2")));
    EXPECT_FALSE(containsTheString("Disk0s2", std::string("S2")));
    EXPECT_TRUE(containsTheString("Disk0s2", std::string("S2"), true));
    EXPECT_FALSE(containsTheString("Disk0s2", nullopt));
    EXPECT_FALSE(containsTheString("Disk0s2", nullopt, true));
    // An empty needle is never found.
    EXPECT_FALSE(containsTheString("abc", std::string()));
}

TEST(StringsSearch, ContainsStrings) {
    EXPECT_TRUE(containsStrings("anything", {}));
    EXPECT_TRUE(containsStrings("", {}, true));
    EXPECT_TRUE(containsStrings("Apple SSD Media", {"SSD", "Media"}));
    EXPECT_FALSE(containsStrings("Apple SSD Media", {"SSD", "media"}));
    EXPECT_TRUE(containsStrings("Apple SSD Media", {"ssd", "media"}, true));
    EXPECT_FALSE(containsStrings("Apple SSD Media", {"ssd", "HDD"}, true));
}

TEST(StringsSearch, MatchesIsCaseInsensitiveSearchAnywhere) {
    EXPECT_TRUE(matches("Volume disk2s1 mounted", std::string("DISK[0-9]+s[0-9]")));
    EXPECT_TRUE(matches("abc", std::string("^A")));
    EXPECT_FALSE(matches("abc", std::string("^b")));
    EXPECT_FALSE(matches("abc", nullopt));
    EXPECT_TRUE(matches("abc", std::string("")));
}

TEST(StringsSearch, InvalidPatternMatchesNothing) {
    EXPECT_FALSE(matches("a(b", std::string("a(b")));
    EXPECT_FALSE(matches("[", std::string("[")));
    EXPECT_FALSE(matches("x", std::string("*x")));
}

TEST(StringsSearch, IsNumericAccepts) {
    for (const char *text : {"12", "-3", "4.25", ".5", "7.", "-", "0", "-0.5", "-.5", "-7.", "  42\t", "\u00A01.5"})
        EXPECT_TRUE(isNumeric(text)) << '"' << text << '"';
}

TEST(StringsSearch, IsNumericRejects) {
    for (const char *text : {"", "   ", ".", "1e5", "+2", "1,000", "1.2.3", "--1", "12a", "0x1F", "1 2", "\n5",
                             "5\n", "-.", "١٢"})
        EXPECT_FALSE(isNumeric(text)) << '"' << text << '"';
}

TEST(StringsSearch, IsNumericOnVeryLongNumbers) {
    const std::string digits(200000, '9');
    EXPECT_TRUE(isNumeric(digits));
    EXPECT_TRUE(isNumeric("-" + digits + "." + digits));
    EXPECT_TRUE(isNumeric(digits + "."));
    EXPECT_FALSE(isNumeric(digits + "." + digits + "."));
    EXPECT_FALSE(isNumeric(digits + "x"));
}

TEST(StringsSearch, HasAnyPrefix) {
    EXPECT_TRUE(hasAnyPrefix("disk0s1", {"cd", "disk"}));
    EXPECT_FALSE(hasAnyPrefix("disk0s1", {"Disk", "s1"}));
    EXPECT_FALSE(hasAnyPrefix("disk0s1", {}));
    EXPECT_FALSE(hasAnyPrefix("ab", {"abc"}));
}

TEST(StringsSearch, FoundInArrayIsExact) {
    EXPECT_TRUE(foundInArray("b", {"a", "b"}));
    EXPECT_FALSE(foundInArray("B", {"a", "b"}));
    EXPECT_FALSE(foundInArray("b ", {"a", "b"}));
    EXPECT_FALSE(foundInArray("", {}));
    EXPECT_TRUE(foundInArray("", {""}));
}

// --- Field extraction

TEST(StringsFields, FindValueBetweenByIndex) {
    const Text open = std::string("["), close = std::string("]");
    EXPECT_EQ(findValueBetween("a[1]b[2]c", open, close, 0), "1");
    EXPECT_EQ(findValueBetween("a[1]b[2]c", open, close, 1), "2");
    EXPECT_EQ(findValueBetween("a[1]b[2]c", open, close, 2), "");
    EXPECT_EQ(findValueBetween("x[5", open, close, 0), "5");
    EXPECT_EQ(findValueBetween("x[5", open, close, 1), "");
}

TEST(StringsFields, FindValueBetweenEdges) {
    const Text open = std::string("<b>"), close = std::string("</b>");
    EXPECT_EQ(findValueBetween("no markers", open, close, 0), "");
    EXPECT_EQ(findValueBetween("<b>x</b>", open, close, -1), "");
    EXPECT_EQ(findValueBetween("<b>x</b>", nullopt, close, 0), "");
    // The last opening without a closing marker runs to the end.
    EXPECT_EQ(findValueBetween("<b>x</b><b>tail", open, close, 1), "tail");
    EXPECT_EQ(findValueBetween("<b>x</b><b>tail", open, close, 2), "");
    // An empty value.
    EXPECT_EQ(findValueBetween("<b></b>", open, close, 0), "");
    // Text between a closing and the next opening marker is skipped.
    EXPECT_EQ(findValueBetween("<b>1</b>junk</b><b>2</b>", open, close, 1), "2");
    // Same marker on both sides: values are taken pairwise.
    EXPECT_EQ(findValueBetween("\"a\" and \"b\"", std::string("\""), std::string("\""), 1), "b");
    // Without an end marker the whole rest is the first value.
    EXPECT_EQ(findValueBetween("key=value", std::string("="), nullopt, 0), "value");
}

TEST(StringsFields, FindNthField) {
    const Text comma = std::string(",");
    EXPECT_EQ(findNthField("a,b,c", 0, comma), "a");
    EXPECT_EQ(findNthField("a,b,c", 2, comma), "c");
    EXPECT_EQ(findNthField("a,b", 2, comma), "");
    EXPECT_EQ(findNthField("a,,b", 1, comma), "");
    EXPECT_EQ(findNthField("a,b", -1, comma), "");
    EXPECT_EQ(findNthField("a::b", 1, std::string("::")), "b");
}

TEST(StringsFields, TextWithoutDelimiterIsEveryField) {
    EXPECT_EQ(findNthField("abc", 5, std::string(",")), "abc");
    EXPECT_EQ(findNthField("abc", -3, std::string(",")), "abc");
    EXPECT_EQ(findNthField("abc", 1, nullopt), "abc");
    EXPECT_EQ(findNthField("", 0, std::string(",")), "");
}

// --- Appending to files

TEST(StringsAppendToFile, CreatesThenAppends) {
    test::TempDir dir;
    const std::string path = (dir / "log.txt").string();
    EXPECT_TRUE(appendToFile("first\n", path));
    EXPECT_TRUE(appendToFile("zweite Zeile ü\n", path));
    EXPECT_EQ(test::readFile(path), "first\nzweite Zeile ü\n");
}

TEST(StringsAppendToFile, AppendsToExistingContentWithoutTruncating) {
    test::TempDir dir;
    const auto path = dir.write("existing.txt", "0123456789");
    EXPECT_TRUE(appendToFile("", path.string()));
    EXPECT_TRUE(appendToFile("AB", path.string()));
    EXPECT_EQ(test::readFile(path), "0123456789AB");
}

TEST(StringsAppendToFile, MissingFolderFails) {
    test::TempDir dir;
    const auto path = dir / "missing" / "file.txt";
    EXPECT_FALSE(appendToFile("x", path.string()));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(StringsAppendToFile, FolderInTheWayFails) {
    test::TempDir dir;
    std::filesystem::create_directory(dir / "folder");
    EXPECT_FALSE(appendToFile("x", (dir / "folder").string()));
}

TEST(StringsAppendToFile, NewFileGetsDefaultModeWithinUmask) {
    test::TempDir dir;
    const std::string path = (dir / "fresh").string();
    const mode_t mask = ::umask(022);
    const bool ok = appendToFile("x", path);
    ::umask(mask);
    ASSERT_TRUE(ok);
    struct stat info;
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}

}  // namespace
}  // namespace vork::util
