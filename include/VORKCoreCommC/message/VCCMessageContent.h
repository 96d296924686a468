#pragma once
/** \file
 * One "content" element of the envelope: a command with its uuid, type,
 * status and command data. The command data is a mapped object (written
 * and read through its MappedClass), plain text (written as an empty
 * "commandData"), a ready-made XML element (written as it stands, instead
 * of the whole content) or nothing.
 *
 * Element names: an object's alias when it declares one (even ""), else its
 * type name without a final "Request" or "Response" and with a lower-case
 * first letter. Written fields are "ns2:" + their XML name; read fields are
 * matched by local name, so any prefix in a reply is accepted.
 */
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/MappedClass.h"
#include "VORKCoreCommC/message/VCCNode.h"
#include "VORKCoreCommC/message/VCCStatus.h"
#include "VORKCoreCommC/xml/XmlNode.h"

namespace vork {

/// Command data: nothing, a mapped object, plain text or a ready-made element.
using CommandData = std::variant<std::monostate, std::shared_ptr<MappedObject>, std::string, xml::XmlNode>;

/// One "content" element of the envelope (see the file description).
class VORK_EXPORT VCCMessageContent : public VCCNode {
public:
    /// A fresh uuid and a default status; no type, data or class.
    VCCMessageContent();
    /// A content about to be filled by loadFromXmlNode, which replaces the
    /// uuid and the status: neither is made here.
    struct ToBeRead {};
    /// A content to be read: no uuid and no status are made.
    explicit VCCMessageContent(ToBeRead);

    /// Appends this content to the envelope root.
    void saveToXmlNode(xml::XmlNode &parent) const;
    /// Fills this content from a reply's "content" element. Raises the two
    /// mapping exceptions (see loadCommandDataObject) and nothing else.
    void loadFromXmlNode(const xml::XmlNode &contentElement);
    /// Writes the command data into the content element.
    void saveCommandDataToXmlNode(xml::XmlNode &contentElement) const;
    /// Reads the command data from a reply's content element.
    void loadCommandDataFromXmlNode(const xml::XmlNode &contentElement);

    /// Writes the object's fields, in field-order order, into the element.
    static void saveCommandDataObject(const MappedObject &object, xml::XmlNode &element);
    /// Reads the object's fields from the element (a null handle reads
    /// nothing). Raises vork::Exception "Array Content Class not in
    /// _xmlFieldOrder" for a list entry without ":Class" whose element is
    /// present, and "The array content class in _xmlFieldOrder could not be
    /// created." for an item class that is not registered.
    static void loadCommandDataObject(MappedObject &object, const xml::XmlNode &element);
    /// One field.
    static void saveProperty(const FieldDescriptor &field, const FieldValue &value, xml::XmlNode &parent,
                             const std::string &tagName);
    /// One field read from the element named tagName.
    static void loadPropertyTag(const std::string &tagName, const FieldDescriptor &field, const xml::XmlNode &element,
                                MappedObject &object, const std::optional<std::string> &arrayContentClass);

    /// The element name of an object (its alias, else from its type name).
    static std::string nodeNameFromObject(const MappedObject &object);
    /// A type name without a final "Request" or "Response", first letter lower case.
    static std::string nodeNameFromClass(std::string_view typeName);
    /// The object's control fields as far as its own class declares them.
    static ControlFields xmlControlFieldsInObject(const MappedObject &object);
    /// Adds "xsi:type" when the object declares a non-empty type attribute.
    static void addAttributeToNode(xml::XmlNode &node, const MappedObject &object);
    /// "ns2:status" -> "status"; text without ":" unchanged.
    static std::string stripNamespace(std::string_view name);

    /// The content's uuid.
    const std::optional<std::string> &uuid() const { return uuid_; }
    /// Sets the uuid.
    void setUuid(std::optional<std::string> uuid) { uuid_ = std::move(uuid); }
    /// The command type (kApplicationIdentifier + suffix).
    const std::optional<std::string> &commandType() const { return commandType_; }
    /// Sets the command type.
    void setCommandType(std::optional<std::string> type) { commandType_ = std::move(type); }
    /// Never null unless a caller removed it.
    const std::shared_ptr<VCCStatus> &status() const { return status_; }
    /// Sets the status; the content keeps a reference.
    void setStatus(std::shared_ptr<VCCStatus> status) { status_ = std::move(status); }
    /// The command data (part of the content).
    const CommandData &commandData() const { return commandData_; }
    /// Sets the command data.
    void setCommandData(CommandData data) { commandData_ = std::move(data); }
    /// The class reply command data is read into (null: keep the raw
    /// "content" element as command data).
    const MappedClass *commandDataClass() const { return commandDataClass_; }
    /// Sets the class reply command data is read into.
    void setCommandDataClass(const MappedClass *cls) { commandDataClass_ = cls; }

    /// The command data as a T, or null.
    template <class T>
    std::shared_ptr<T> commandDataAs() const {
        auto *object = std::get_if<std::shared_ptr<MappedObject>>(&commandData_);
        return object ? std::dynamic_pointer_cast<T>(*object) : nullptr;
    }
    /// The raw element kept as command data, or a null handle.
    xml::XmlNode commandDataElement() const {
        auto *element = std::get_if<xml::XmlNode>(&commandData_);
        return element ? *element : xml::XmlNode();
    }

private:
    std::optional<std::string> uuid_;
    std::optional<std::string> commandType_;
    std::shared_ptr<VCCStatus> status_;
    CommandData commandData_;
    const MappedClass *commandDataClass_ = nullptr;
};

}  // namespace vork
