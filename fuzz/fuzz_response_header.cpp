// Arbitrary bytes as one line of an HTTP response head, split into lines the
// way the header callback receives them. The parse must not crash, must keep
// its views inside the line, and must agree with the line's prefix.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "http/ResponseHeaderLine.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using vork::http::ResponseHeaderLine;
    std::string_view input(reinterpret_cast<const char *>(data), size);
    while (!input.empty()) {
        const size_t end = input.find('\n');
        const std::string_view line = input.substr(0, end == std::string_view::npos ? input.size() : end + 1);
        input.remove_prefix(line.size());
        const ResponseHeaderLine parsed = vork::http::parseResponseHeaderLine(line);
        if (parsed.status < 0 || parsed.status > 999) std::abort();
        if (parsed.kind != ResponseHeaderLine::Kind::StatusLine && parsed.status != 0) std::abort();
        if (parsed.kind == ResponseHeaderLine::Kind::Challenge) {
            const char *begin = parsed.challenge.data();
            if (!parsed.challenge.empty() &&
                (begin < line.data() || begin + parsed.challenge.size() > line.data() + line.size()))
                std::abort();
            if ((parsed.scheme == ResponseHeaderLine::Scheme::None) != parsed.challenge.empty()) std::abort();
        } else if (parsed.scheme != ResponseHeaderLine::Scheme::None || !parsed.challenge.empty()) {
            std::abort();
        }
    }
    return 0;
}
