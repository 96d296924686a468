#pragma once
// A parsed XML document with a wrapper around its document node and the
// last parse error. The wrapper exists also when parsing failed; it then
// wraps nothing and every query on it finds nothing.
#include <optional>
#include <string>
#include <string_view>

#include "base/Export.h"
#include "xml/VORKXMLNode.h"
#include "xml/XmlNode.h"

namespace vork {

class VORK_EXPORT VORKXMLDocument {
public:
    // initWithData: / initWithString: (bytes and text are both UTF-8 here).
    explicit VORKXMLDocument(std::string_view bytes);
    // initWithURL: a file path, a "file://" location, or an "http://" or
    // "https://" location read with the library's HTTP client. A location
    // that cannot be read leaves an empty document with lastError set.
    static VORKXMLDocument fromURL(const std::string &location);

    const xml::XmlDocument &xml() const { return xml_; }
    VORKXMLNode &rootNode() { return rootNode_; }
    const VORKXMLNode &rootNode() const { return rootNode_; }
    const std::optional<xml::XmlError> &lastError() const { return lastError_; }

private:
    VORKXMLDocument() = default;
    void adopt(xml::XmlDocument document, std::optional<xml::XmlError> error);

    xml::XmlDocument xml_;
    VORKXMLNode rootNode_;
    std::optional<xml::XmlError> lastError_;
};

}  // namespace vork
