#include "xml/VORKXMLNode.h"

#include "util/Strings.h"
#include "xml/TextScalars.h"

namespace vork {

VORKXMLNode::VORKXMLNode(xml::XmlNode node) : node_(std::move(node)), name_(node_.name()) {}

std::vector<VORKXMLNode> VORKXMLNode::nodesForXPath(const std::string &expression) {
    std::vector<VORKXMLNode> out;
    if (!node_) return out;
    std::optional<xml::XmlError> error;
    std::vector<xml::XmlNode> hits = node_.evaluate(expression, &error);
    if (error) lastError_ = std::move(error);
    out.reserve(hits.size());
    for (xml::XmlNode &hit : hits) out.emplace_back(std::move(hit));
    return out;
}

std::optional<VORKXMLNode> VORKXMLNode::firstNodeForXPath(const std::string &expression) {
    std::vector<VORKXMLNode> hits = nodesForXPath(expression);
    if (hits.empty()) return std::nullopt;
    return std::move(hits.front());
}

std::optional<std::string> VORKXMLNode::stringForXPath(const std::string &expression) {
    std::optional<VORKXMLNode> hit = firstNodeForXPath(expression);
    if (!hit) return std::nullopt;
    return hit->stringValue();
}

int64_t VORKXMLNode::integerForXPath(const std::string &expression) {
    std::optional<std::string> text = stringForXPath(expression);
    return text ? xml::leadingInteger(*text) : 0;
}

std::optional<std::string> VORKXMLNode::stringValue() const {
    switch (node_.kind()) {
        case xml::NodeKind::Element: return node_.localName();
        case xml::NodeKind::Attribute: return node_.stringValue();
        case xml::NodeKind::Text: {
            std::optional<std::string> text = node_.stringValue();
            if (!text) return std::nullopt;
            return util::strip(*text);
        }
        default: return std::nullopt;
    }
}

int64_t VORKXMLNode::integerValue() const {
    std::optional<std::string> text = stringValue();
    return text ? xml::leadingInteger(*text) : 0;
}

std::string VORKXMLNode::prettyXml() const { return node_.prettyXml(); }

}  // namespace vork
