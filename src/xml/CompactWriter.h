#pragma once
// A writer for documents as libxml2 saves them with UTF-8 output and no
// formatting, byte for byte, that skips libxml2's output buffers and
// encoder: a message's document costs a fraction of xmlSaveDoc this way.
// It covers the trees the library builds (elements, attributes, namespace
// declarations, text); for anything else it answers nothing (or false) and
// the caller saves through libxml2.
#include <libxml/tree.h>

#include <optional>
#include <string>

namespace vork::xml::detail {

std::optional<std::string> writeCompactDocument(xmlDocPtr doc);

// Appends the element as it is written once a copy of it, made with
// xmlDocCopyNode(element, nullptr, 1), is placed in a document: the copy's
// top element declares the namespaces it uses from outside itself.
bool writeCompactCopy(xmlNodePtr element, std::string &out);

// Appends text (up to its first NUL) escaped as libxml2 escapes text or
// attribute values; false for text that is not UTF-8.
bool appendEscaped(std::string &out, const char *text, bool attributeValue);

}  // namespace vork::xml::detail
