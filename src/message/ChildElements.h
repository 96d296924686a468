#pragma once
// Child look-ups by plain element name for reading envelopes. They select
// exactly what the XPath step `name` selects relative to the node (element
// children with that name and no namespace, in document order), without
// setting up an XPath evaluation for every field: a reply is read with a
// dozen such look-ups, and each XPath evaluation builds and frees a whole
// XPath context.
#include <optional>
#include <string_view>
#include <vector>

#include "xml/XmlNode.h"

namespace vork {

// Element children of `node` named `name` (no prefix, no namespace).
std::vector<xml::XmlNode> childElementsNamed(const xml::XmlNode &node, std::string_view name);
// The first of them, or a null handle.
xml::XmlNode firstChildElementNamed(const xml::XmlNode &node, std::string_view name);
// The string value of the first of them (its concatenated text), or none.
std::optional<std::string> firstChildElementText(const xml::XmlNode &node, std::string_view name);

}  // namespace vork
