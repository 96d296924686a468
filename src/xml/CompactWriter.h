#pragma once
// A writer for documents as libxml2 saves them with UTF-8 output and no
// formatting, byte for byte, that skips libxml2's output buffers and
// encoder: a message's document costs a fraction of xmlSaveDoc this way.
// It covers the trees the library builds (elements, attributes, namespace
// declarations, text); for anything else it answers nothing and the caller
// saves through libxml2.
#include <libxml/tree.h>

#include <optional>
#include <string>

namespace vork::xml::detail {

std::optional<std::string> writeCompactDocument(xmlDocPtr doc);

}  // namespace vork::xml::detail
