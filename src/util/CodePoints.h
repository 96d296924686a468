#pragma once
// Walking UTF-8 text by code points. A byte that does not start a complete,
// well-formed sequence counts as one code point of its own (U+FFFD), so
// every byte of any input belongs to exactly one step and slicing at step
// boundaries never loses bytes.
#include <cstddef>
#include <string>
#include <string_view>

namespace vork::util {

constexpr char32_t kReplacementCharacter = 0xFFFD;

struct CodePointStep {
    char32_t value;
    size_t length;  // bytes taken from the text, at least 1
};

// The code point starting at byte `offset` (which must be < text.size()).
CodePointStep codePointAt(std::string_view text, size_t offset);

// Appends the UTF-8 form of a code point (U+FFFD for values that have none).
void appendUtf8(std::string &out, char32_t value);

// Number of code points in the text.
size_t codePointCount(std::string_view text);

// The last `count` code points of the text (all of it when it has fewer).
std::string_view lastCodePoints(std::string_view text, size_t count);

// Simple (one-to-one) Unicode lower-casing of every code point.
std::string lowercased(std::string_view text);

}  // namespace vork::util
