#include "xml/TreeSink.h"

namespace vork::xml {

TreeSink::TreeSink(const XmlNode &parent) : open_{parent}, base_(1) {}

TreeSink::TreeSink(XmlDocument &document) : document_(&document) {}

void TreeSink::start(const std::string &name, const std::optional<std::string> &text) {
    XmlNode element = XmlNode::element(name, text);
    if (open_.empty()) {
        if (document_) document_->setRootElement(element);
    } else {
        open_.back().addChild(element);
    }
    open_.push_back(std::move(element));
}

void TreeSink::declareNamespace(const std::string &prefix, const std::string &uri) {
    if (!open_.empty()) open_.back().addNamespace(prefix, uri);
}

void TreeSink::attribute(const std::string &name, const std::string &value) {
    if (!open_.empty()) open_.back().addAttribute(name, value);
}

void TreeSink::end() {
    if (open_.size() > base_) open_.pop_back();
}

void TreeSink::copy(const XmlNode &element) {
    if (!open_.empty()) open_.back().addChild(element.deepCopy());
}

}  // namespace vork::xml
