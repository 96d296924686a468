#pragma once
// Text operations for building and taking apart URLs. None of them changes
// its argument; "none" results are std::nullopt.
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vork::util {

std::string urlEncodedString(std::string_view text);
std::optional<std::string> urlDecodeString(std::string_view text);
std::string percentEncodeFormData(std::string_view text);
std::string stringByAppendingUrlComponent(std::string_view base, std::string_view component);
std::string stringByAppendingUrlComponentNoUrlEncode(std::string_view base, std::string_view component);
// The server URL for what a user typed; none when it does not parse as a URL.
std::optional<std::string> zelURLFromUserInput(std::string_view input);
std::string encodeForURIParam(std::string_view text);
std::map<std::string, std::string> parseParamsFromUrl(std::string_view url);
std::string fileName(std::string_view url);

// Whether the text parses as an absolute URL (scheme and host, or a file URL).
bool isParsableUrl(std::string_view text);

}  // namespace vork::util
