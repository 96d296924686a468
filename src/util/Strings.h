#pragma once
// Text helpers used across the library instead of inline trimming and
// searching. Text is UTF-8 in std::string; "none" (absent text, distinct
// from "") is std::nullopt. Character classes work on code points:
//  - white space: the Unicode space separators (Zs) and the tab;
//  - white space and line breaks: the above plus line feed, carriage return,
//    vertical tab, form feed, U+0085, U+2028 and U+2029.
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vork::util {

using Text = std::optional<std::string>;
// A set of code points.
using CharacterSet = std::function<bool(char32_t)>;

bool isWhitespace(char32_t c);
bool isWhitespaceOrNewline(char32_t c);

// Splits at every occurrence of the separator; "" gives one empty part, as
// does a text without the separator give itself.
std::vector<std::string> split(std::string_view text, std::string_view separator);

// --- Basics
bool containsCaseInsensitive(std::string_view text, const Text &needle);
std::string firstNonBlankOf(const Text &first, const Text &second);
std::string blankIfNil(const Text &text);

// --- Manipulation (each answers a new text)
std::string strip(std::string_view text);
std::string trim(std::string_view text);
std::string removeTrailingSlashes(std::string_view text);
std::string removeLeadingSlashes(std::string_view text);
std::string removeLeadingWhitespace(std::string_view text);
std::string trimLeadingCharacters(std::string_view text, const Text &characters);
std::string trimTrailingCharacters(std::string_view text, const Text &characters);
// A null set answers a copy of the text.
std::string trimLeadingCharactersInSet(std::string_view text, const CharacterSet &set);
std::string trimTrailingCharactersInSet(std::string_view text, const CharacterSet &set);
std::string trimLeadingOrTrailingCharacters(std::string_view text, const Text &characters, bool leading);
std::string trimLeadingOrTrailingCharactersInSet(std::string_view text, const CharacterSet &set, bool leading);

// --- Search
bool isEmpty(const Text &text);
bool isEmptyAfterTrim(const Text &text);
bool isEmptyAfterStrip(const Text &text);
bool containsTheString(std::string_view text, const Text &needle, bool ignoreCase = false);
bool containsStrings(std::string_view text, const std::vector<std::string> &needles, bool ignoreCase = false);
// Case-insensitive regular-expression search; a none or invalid pattern matches nothing.
bool matches(std::string_view text, const Text &pattern);
bool isNumeric(std::string_view text);
bool hasAnyPrefix(std::string_view text, const std::vector<std::string> &prefixes);
bool foundInArray(std::string_view text, const std::vector<std::string> &list);
std::string findValueBetween(std::string_view text, const Text &startMarker, const Text &endMarker, long index);
std::string findNthField(std::string_view text, long n, const Text &delimiter);

// --- File helpers
// Appends the text's bytes to the file at path, creating the file if needed.
bool appendToFile(std::string_view text, const std::string &path);

}  // namespace vork::util
