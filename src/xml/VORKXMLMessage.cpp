#include "xml/VORKXMLMessage.h"

#include "base/Format.h"
#include "util/Base64.h"
#include "util/Strings.h"
#include "xml/TextScalars.h"

namespace vork {

VORKXMLMessage::VORKXMLMessage(std::shared_ptr<VORKXMLDocument> xml) : xml_(std::move(xml)) {}

VORKXMLMessage::VORKXMLMessage(std::string_view bytes) : xml_(std::make_shared<VORKXMLDocument>(bytes)) {}

VORKXMLMessage VORKXMLMessage::messageWithNode(VORKXMLNode node) {
    VORKXMLMessage message;
    message.contentsNode_ = std::move(node);
    return message;
}

std::string VORKXMLMessage::safeXPath(std::string_view property) {
    std::string out;
    bool first = true;
    for (const std::string &component : util::split(property, "/")) {
        if (!first) out += '/';
        first = false;
        size_t bracket = component.find('[');
        if (bracket == std::string::npos) {
            out += stringf("*[local-name() = '%s']", component.c_str());
        } else {
            out += stringf("*[local-name() = '%s']%s", component.substr(0, bracket).c_str(),
                           component.substr(bracket).c_str());
        }
    }
    return out;
}

VORKXMLNode &VORKXMLMessage::contentsNode() {
    if (!contentsNode_) {
        if (!xml_) {
            contentsNode_ = VORKXMLNode();
        } else {
            VORKXMLNode &root = xml_->rootNode();
            std::optional<VORKXMLNode> first = root.firstNodeForXPath("//commandData/*");
            contentsNode_ = first ? std::move(*first) : root;
        }
    }
    return *contentsNode_;
}

std::string VORKXMLMessage::valueForProperty(std::string_view property) {
    std::optional<std::string> value = contentsNode().stringForXPath(safeXPath(property) + "/text()");
    return value.value_or("");
}

bool VORKXMLMessage::boolForProperty(std::string_view property) {
    std::string value = valueForProperty(property);
    return value == "true" || value == "1";
}

int32_t VORKXMLMessage::integerForProperty(std::string_view property) {
    return xml::leadingInt32(valueForProperty(property));
}

int64_t VORKXMLMessage::longLongForProperty(std::string_view property) {
    return xml::leadingInteger(valueForProperty(property));
}

std::vector<VORKXMLNode> VORKXMLMessage::nodesForProperty(std::string_view property) {
    return contentsNode().nodesForXPath(safeXPath(property));
}

size_t VORKXMLMessage::nodeCountForProperty(std::string_view property) { return nodesForProperty(property).size(); }

std::optional<VORKXMLNode> VORKXMLMessage::firstNodeForProperty(std::string_view property) {
    return contentsNode().firstNodeForXPath(safeXPath(property));
}

std::vector<uint8_t> VORKXMLMessage::dataFromBase64StringForProperty(std::string_view property) {
    return util::dataFromBase64String(valueForProperty(property));
}

std::string VORKXMLMessage::prettyXml() const { return xml_ ? xml_->xml().prettyXml() : std::string(); }

}  // namespace vork
