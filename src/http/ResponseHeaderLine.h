#pragma once
// One line of an HTTP response head as the library reads it: the status
// line that begins each answer (an interim or a final one) and the
// authentication challenge of "WWW-Authenticate". Pure text in, parts out;
// the view members point into the given line.
#include <string_view>

namespace vork::http {

struct ResponseHeaderLine {
    enum class Kind { StatusLine, Challenge, Other };
    enum class Scheme { None, Basic, Digest, OtherScheme };

    Kind kind = Kind::Other;
    int status = 0;              // status line: the three-digit code, 0 when absent
    std::string_view challenge;  // challenge: the value, trimmed
    Scheme scheme = Scheme::None;
};

ResponseHeaderLine parseResponseHeaderLine(std::string_view line);

}  // namespace vork::http
