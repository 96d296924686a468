#pragma once
// The last step before request bytes go on the wire: characters that the
// server's XML parser refuses are deleted.
#include <optional>
#include <string>
#include <string_view>

namespace vork {

// Keeps U+0009, U+000A, U+000D, U+0020..U+D7FE, U+E000..U+FFFC and
// U+10000..U+10FFFE and deletes every other character. Each range ends one
// code point short of what XML 1.0 allows, so U+D7FF, U+FFFD and U+10FFFF
// go as well: the server expects exactly this. Answers none when the bytes
// are not valid UTF-8. One pass over the bytes.
std::optional<std::string> removeInvalidXmlCharacters(std::string_view utf8);

}  // namespace vork
