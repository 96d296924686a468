#include "message/VCCNode.h"

namespace vork {

xml::XmlNode VCCNode::elementWithName(const std::string &name) { return xml::XmlNode::element(name); }

xml::XmlNode VCCNode::elementWithName(const std::string &name, const std::optional<std::string> &stringValue) {
    return xml::XmlNode::element(name, stringValue);
}

}  // namespace vork
