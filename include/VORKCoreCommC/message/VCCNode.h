#pragma once
/** \file
 * Base of the envelope classes (VCCMessage, VCCMessageContent, VCCStatus,
 * VCCDevice, VCCMacAddress): the two element factories they build with.
 */
#include <optional>
#include <string>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/xml/XmlNode.h"

namespace vork {

/// Base of the envelope classes: the element factories they build with.
class VORK_EXPORT VCCNode {
public:
    virtual ~VCCNode() = default;

    /// A new element with the given (possibly prefixed) name and no content.
    static xml::XmlNode elementWithName(const std::string &name);
    /// The same whose only child is a text node holding the text; no child
    /// at all when the text is none.
    static xml::XmlNode elementWithName(const std::string &name, const std::optional<std::string> &stringValue);
};

}  // namespace vork
