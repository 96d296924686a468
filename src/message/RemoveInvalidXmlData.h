#pragma once
// Removes numeric character references to control characters that XML 1.0
// forbids ("&#1;", "&#8;", ...) from text, so that the text can be placed
// in or read from an XML document.
#include <string>
#include <string_view>

#include "base/Export.h"

namespace vork {

class VORK_EXPORT RemoveInvalidXmlData {
public:
    // Drops every "&#n;" whose n is numeric and, read as an unsigned 32-bit
    // number, is at most 28 and not 9, 10 or 13. References to 29, 30 and
    // 31 are kept on purpose, as are hexadecimal and negative ones. Runs in
    // one pass over the text.
    static std::string removeInvalidEncodedChars(std::string_view text);
};

}  // namespace vork
