#pragma once
// Two look-ups on the platform node used by the envelope classes: the first
// hit of an XPath expression (errors are dropped), and its string value.
#include <optional>
#include <string>

#include "xml/XmlNode.h"

namespace vork::xml {

// The first node the expression selects relative to the node, or a null
// handle when there is none or the expression fails.
XmlNode firstNodeForXPath(const XmlNode &node, const std::string &expression);
// The libxml2 string value of that node (an element's concatenated text),
// or none.
std::optional<std::string> firstStringValueForXPath(const XmlNode &node, const std::string &expression);

}  // namespace vork::xml
