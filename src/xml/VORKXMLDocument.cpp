#include "xml/VORKXMLDocument.h"

namespace vork {

VORKXMLDocument::VORKXMLDocument(std::string_view bytes) {
    std::optional<xml::XmlError> error;
    xml::XmlDocument document = xml::XmlDocument::parse(bytes, &error);
    adopt(std::move(document), std::move(error));
}

VORKXMLDocument VORKXMLDocument::fromURL(const std::string &location) {
    VORKXMLDocument out;
    std::optional<xml::XmlError> error;
    xml::XmlDocument document = xml::XmlDocument::parseFile(location, &error);
    out.adopt(std::move(document), std::move(error));
    return out;
}

void VORKXMLDocument::adopt(xml::XmlDocument document, std::optional<xml::XmlError> error) {
    xml_ = std::move(document);
    lastError_ = std::move(error);
    rootNode_ = VORKXMLNode(xml_.documentNode());
}

}  // namespace vork
