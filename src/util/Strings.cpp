#include "util/Strings.h"

namespace vork::util {

std::vector<std::string> split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    if (separator.empty()) {
        parts.emplace_back(text);
        return parts;
    }
    size_t from = 0;
    for (;;) {
        size_t at = text.find(separator, from);
        if (at == std::string_view::npos) {
            parts.emplace_back(text.substr(from));
            return parts;
        }
        parts.emplace_back(text.substr(from, at - from));
        from = at + separator.size();
    }
}

}  // namespace vork::util
