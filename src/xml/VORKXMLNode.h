#pragma once
// A forgiving wrapper around one XML node: XPath queries never throw, an
// error is kept in lastError (and never cleared by a later success), and
// the string value of an element is its local name (query "text()" for the
// text). Wrappers are small values sharing the underlying tree.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Export.h"
#include "xml/XmlNode.h"

namespace vork {

class VORK_EXPORT VORKXMLNode {
public:
    VORKXMLNode() = default;
    // initWithNode: keeps the node and copies its name.
    explicit VORKXMLNode(xml::XmlNode node);

    const xml::XmlNode &node() const { return node_; }
    const std::optional<xml::XmlError> &lastError() const { return lastError_; }
    // The node's qualified name when the wrapper was made ("" for text and
    // document nodes).
    const std::string &name() const { return name_; }

    // One wrapper per hit in document order; empty when nothing matches or
    // the expression fails.
    std::vector<VORKXMLNode> nodesForXPath(const std::string &expression);
    std::optional<VORKXMLNode> firstNodeForXPath(const std::string &expression);
    std::optional<std::string> stringForXPath(const std::string &expression);
    // stringForXPath read as a decimal integer (0 without digits or hit).
    int64_t integerForXPath(const std::string &expression);

    // Element: its local name; attribute: its value; text: its content
    // stripped of white space and line breaks; any other kind: none.
    std::optional<std::string> stringValue() const;
    int64_t integerValue() const;
    std::string prettyXml() const;

private:
    xml::XmlNode node_;
    std::optional<xml::XmlError> lastError_;
    std::string name_;
};

}  // namespace vork
