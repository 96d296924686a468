#pragma once
// Elements written straight to the bytes of a document (declaration, one
// root, a final new line), exactly as libxml2 saves the same tree with
// UTF-8 output and no formatting: the tree is never built. Anything that
// only libxml2 writes exactly (text that is not UTF-8, a copied element
// whose namespaces need new prefixes, calls out of order) fails the whole
// document, and the caller builds the tree instead.
#include <string>
#include <vector>

#include "xml/ElementSink.h"

namespace vork::xml {

class ByteSink final : public ElementSink {
public:
    ByteSink();

    void start(const std::string &name, const std::optional<std::string> &text = std::nullopt) override;
    void declareNamespace(const std::string &prefix, const std::string &uri) override;
    void attribute(const std::string &name, const std::string &value) override;
    void end() override;
    void copy(const XmlNode &element) override;

    // The document, or none when it failed or is not complete.
    std::optional<std::string> take();

private:
    // Ends the start tag of the innermost element, with its text.
    void closeStartTag();
    bool fits(const std::string &name, bool isNamespace);

    std::string out_;
    std::vector<std::string> open_;  // names of the elements not ended
    size_t depth_ = 0;
    bool tagOpen_ = false;
    bool rootDone_ = false;
    bool failed_ = false;
    // The text of the element whose start tag is open (kept in one buffer
    // whose room is reused).
    std::string pendingText_;
    bool hasText_ = false;
    // Names given to that start tag so far (libxml2 keeps one of each).
    std::vector<std::string> tagNames_;
    bool tagHasAttributes_ = false;
};

}  // namespace vork::xml
