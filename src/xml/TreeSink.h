#pragma once
// Elements written as a tree: under a given element (whose own namespaces
// and attributes the calls before the first start add to), or as the root
// of a document.
#include <vector>

#include "xml/ElementSink.h"

namespace vork::xml {

class TreeSink final : public ElementSink {
public:
    explicit TreeSink(const XmlNode &parent);
    explicit TreeSink(XmlDocument &document);

    void start(const std::string &name, const std::optional<std::string> &text = std::nullopt) override;
    void declareNamespace(const std::string &prefix, const std::string &uri) override;
    void attribute(const std::string &name, const std::string &value) override;
    void end() override;
    void copy(const XmlNode &element) override;

private:
    XmlDocument *document_ = nullptr;
    // The given parent (if any), then the elements started and not ended.
    std::vector<XmlNode> open_;
    size_t base_ = 0;
};

}  // namespace vork::xml
