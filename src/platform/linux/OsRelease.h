#pragma once
// The system's identification file, os-release(5), read in place of the
// version tool on systems that do not have the tool.
#include <map>
#include <string>
#include <string_view>

namespace vork::platform {

// The assignments of an os-release file: KEY=value lines, values optionally
// in double quotes (with \" \\ \$ \` escapes) or single quotes; comments,
// blank lines and malformed lines are skipped; a later key overrides.
std::map<std::string, std::string> parseOsRelease(std::string_view text);

// The version tool's output built from an os-release file:
//   ProductName    <- NAME (os-release's default "Linux" when unset)
//   ProductVersion <- VERSION_ID
//   BuildVersion   <- BUILD_ID, else VERSION_CODENAME
// A line whose source is unset or empty is left out, so a parser that
// needs it reports the field as missing.
std::string osReleaseAsVersionToolOutput(std::string_view text);

}  // namespace vork::platform
