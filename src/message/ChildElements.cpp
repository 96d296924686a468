#include "message/ChildElements.h"

#include <libxml/tree.h>

namespace vork {

namespace {

bool isUnqualifiedElementNamed(const xml::XmlNode &child, std::string_view name) {
    const xmlNode *raw = child.raw();
    if (!raw || raw->type != XML_ELEMENT_NODE || raw->ns || !raw->name) return false;
    return std::string_view(reinterpret_cast<const char *>(raw->name)) == name;
}

}  // namespace

std::vector<xml::XmlNode> childElementsNamed(const xml::XmlNode &node, std::string_view name) {
    std::vector<xml::XmlNode> hits;
    for (xml::XmlNode &child : node.children())
        if (isUnqualifiedElementNamed(child, name)) hits.push_back(std::move(child));
    return hits;
}

xml::XmlNode firstChildElementNamed(const xml::XmlNode &node, std::string_view name) {
    for (xml::XmlNode &child : node.children())
        if (isUnqualifiedElementNamed(child, name)) return std::move(child);
    return {};
}

std::optional<std::string> firstChildElementText(const xml::XmlNode &node, std::string_view name) {
    xml::XmlNode hit = firstChildElementNamed(node, name);
    if (!hit) return std::nullopt;
    return hit.stringValue();
}

}  // namespace vork
