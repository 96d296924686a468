#pragma once
// A read-only view of a server reply that answers "property" queries: paths
// of element names ("status/code", "sites/site[2]") written without
// prefixes and matched by local name, so the reply's namespaces do not
// matter. Queries run relative to the contents node: the first element
// inside the first "commandData" of the document, or the document node when
// there is none. Reads never fail: missing values read as "", false, 0 or
// nothing.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "xml/VORKXMLDocument.h"
#include "xml/VORKXMLNode.h"

namespace vork {

class VORK_EXPORT VORKXMLMessage {
public:
    // initWithXml: keeps a parsed document.
    explicit VORKXMLMessage(std::shared_ptr<VORKXMLDocument> xml);
    // initWithData: / initWithString:.
    explicit VORKXMLMessage(std::string_view bytes);

    static VORKXMLMessage messageWithData(std::string_view bytes) { return VORKXMLMessage(bytes); }
    static VORKXMLMessage messageWithString(std::string_view text) { return VORKXMLMessage(text); }
    // A message without a document whose contents node is the given node.
    static VORKXMLMessage messageWithNode(VORKXMLNode node);

    // "a/b[2]" -> "*[local-name() = 'a']/*[local-name() = 'b'][2]". An empty
    // component matches nothing.
    static std::string safeXPath(std::string_view property);

    const std::shared_ptr<VORKXMLDocument> &xml() const { return xml_; }
    // Found on first use and kept.
    VORKXMLNode &contentsNode();

    // The stripped text of the property's first text node, or "".
    std::string valueForProperty(std::string_view property);
    // True exactly for "true" and "1".
    bool boolForProperty(std::string_view property);
    int32_t integerForProperty(std::string_view property);
    int32_t intForProperty(std::string_view property) { return integerForProperty(property); }
    int64_t longLongForProperty(std::string_view property);
    std::vector<VORKXMLNode> nodesForProperty(std::string_view property);
    size_t nodeCountForProperty(std::string_view property);
    std::optional<VORKXMLNode> firstNodeForProperty(std::string_view property);
    std::vector<uint8_t> dataFromBase64StringForProperty(std::string_view property);
    // The whole document, indented ("" without a document).
    std::string prettyXml() const;

private:
    VORKXMLMessage() = default;

    std::shared_ptr<VORKXMLDocument> xml_;
    std::optional<VORKXMLNode> contentsNode_;
};

}  // namespace vork
