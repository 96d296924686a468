#pragma once
#include <string>

namespace vork {

// A random (version 4) UUID in upper-case 8-4-4-4-12 hexadecimal form.
std::string newUuidString();

}  // namespace vork
