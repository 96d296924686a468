#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vork::util {

// The first entry that splits on "." into exactly four parts, or "".
std::string firstFourPartAddress(const std::vector<std::string> &addresses);

// Part-by-part range test: every part of the address must lie within the
// same part of start and end (inclusive). Absent text has no parts.
bool ipAddressInRange(const std::optional<std::string> &address, const std::optional<std::string> &start,
                      const std::optional<std::string> &end);

// The lenient integer reading of text: leading white space, an optional
// sign, the leading digits; anything else gives 0. Clamped to 32 bits.
int lenientIntValue(const std::string &text);

}  // namespace vork::util
