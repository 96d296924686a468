#include "xml/XmlNodeExtension.h"

namespace vork::xml {

XmlNode firstNodeForXPath(const XmlNode &node, const std::string &expression) {
    std::vector<XmlNode> hits = node.evaluate(expression);
    return hits.empty() ? XmlNode() : hits.front();
}

std::optional<std::string> firstStringValueForXPath(const XmlNode &node, const std::string &expression) {
    XmlNode hit = firstNodeForXPath(node, expression);
    if (!hit) return std::nullopt;
    return hit.stringValue();
}

}  // namespace vork::xml
