#pragma once
// Numbers and flags read from XML text the forgiving way the protocol
// expects: leading white space is skipped, the number is taken from the
// leading digits, and text without digits reads as 0. Values beyond the
// type's range saturate.
#include <cstdint>
#include <string_view>

namespace vork::xml {

// Optional sign and decimal digits after leading white space.
int64_t leadingInteger(std::string_view text);
// The same, saturated to 32 bits.
int32_t leadingInt32(std::string_view text);
// Sign, digits, an optional fraction and exponent after leading white space.
double leadingDouble(std::string_view text);
// True when the first character after white space, an optional sign and
// leading zeros is 'Y', 'y', 'T', 't' or a digit 1 to 9.
bool leadingFlag(std::string_view text);

}  // namespace vork::xml
