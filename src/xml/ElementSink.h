#pragma once
// Where the message classes write their elements: a tree of XmlNode
// (TreeSink) or, for a document that is only sent, bytes straight away
// (ByteSink). Calls nest as the elements do: start, the element's namespace
// declarations, its attributes, its children, end.
#include <optional>
#include <string>

#include "xml/XmlNode.h"

namespace vork::xml {

class ElementSink {
public:
    virtual ~ElementSink() = default;
    // Starts an element (a possibly prefixed name) inside the one started
    // last, with a text child when the text is given, even an empty one.
    virtual void start(const std::string &name, const std::optional<std::string> &text = std::nullopt) = 0;
    virtual void declareNamespace(const std::string &prefix, const std::string &uri) = 0;
    virtual void attribute(const std::string &name, const std::string &value) = 0;
    // Ends the element started last.
    virtual void end() = 0;
    // A copy of an element of another tree, with all it holds.
    virtual void copy(const XmlNode &element) = 0;

    // An element holding only the text, or nothing.
    void leaf(const std::string &name, const std::optional<std::string> &text = std::nullopt) {
        start(name, text);
        end();
    }
};

}  // namespace vork::xml
