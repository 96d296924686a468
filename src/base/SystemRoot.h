#pragma once
// Every fixed absolute path of the library ("/Library/...", "/private/...",
// the tools under "/usr/sbin" and "/usr/bin") is resolved under one root.
// The root is "/" unless the environment variable VORKCOMMC_ROOT names
// another folder, or a program (a test, the demo) sets one explicitly.
#include <string>

namespace vork {

// The current root, without a trailing slash ("" for the real "/").
std::string systemRoot();
// Overrides the root for the whole process; "" or "/" restores the real root.
void setSystemRoot(const std::string &root);
// Drops an override so the environment decides again.
void clearSystemRootOverride();
// An absolute fixed path of the library as it lies under the root.
std::string systemPath(const std::string &absolutePath);

}  // namespace vork
