#pragma once
#include <string_view>

namespace vork::util {

// Strict UTF-8 check: no overlong forms, no surrogates, nothing past U+10FFFF.
bool isValidUtf8(std::string_view bytes);

}  // namespace vork::util
