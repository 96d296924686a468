#include "message/VCCMessageContent.h"

#include <cxxabi.h>

#include <cstdlib>

#include "base/Exception.h"
#include "base/Format.h"
#include "message/ChildElements.h"
#include "message/EnvelopeWriter.h"
#include "message/FieldOrder.h"
#include "message/Uuid.h"
#include "util/Base64.h"
#include "xml/TextScalars.h"
#include "xml/TreeSink.h"
#include "xml/XmlNodeExtension.h"

namespace vork {

using fieldorder::controlsOf;
using fieldorder::declaredClass;
using fieldorder::forEachOrderedField;

namespace {

// Type names the field order may give for list items besides the
// registered classes.
constexpr const char kTextClass[] = "NSString";
constexpr const char kMutableTextClass[] = "NSMutableString";
// The concrete class of plain text objects, whose element name is "".
constexpr const char kPlainTextClass[] = "__NSCFString";

// The C++ class name without namespaces, for classes that declare no type
// name of their own.
std::string dynamicTypeName(const MappedObject &object) {
    const char *mangled = typeid(object).name();
    int status = 0;
    char *demangled = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    std::string name = (status == 0 && demangled) ? demangled : mangled;
    std::free(demangled);
    size_t template_ = name.find('<');
    size_t scope = name.rfind("::", template_);
    if (scope != std::string::npos) name = name.substr(scope + 2);
    return name;
}

std::string typeNameOf(const MappedObject &object) {
    const MappedClass *cls = declaredClass(object);
    return cls ? cls->typeName() : dynamicTypeName(object);
}

std::string nodeNameOf(const xml::XmlNode &node) {
    std::string name = node.name();
    return name.empty() ? "(null)" : name;
}

ListValue loadList(const std::string &itemClass, const xml::XmlNode &listElement) {
    ListValue items;
    // Every child counts as an item, whatever its name or kind.
    for (const xml::XmlNode &child : listElement.children()) {
        if (itemClass == kTextClass) {
            items.emplace_back(child.stringValue().value_or(""));
        } else if (itemClass == kMutableTextClass) {
            // A new mutable text has no mapping: nothing is read into it.
            items.emplace_back(std::string());
        } else if (itemClass == fieldorder::kNumberClass) {
            // The child's text is not read: the number stays zero.
            items.emplace_back(NumberObject{});
        } else {
            std::shared_ptr<MappedObject> object = createMappedObject(itemClass);
            if (!object) {
                throw Exception("The array content class in _xmlFieldOrder could not be created.",
                                stringf("The array content class %s in _xmlFieldOrder for node %s could not be created.",
                                        itemClass.c_str(), nodeNameOf(child).c_str()));
            }
            VCCMessageContent::loadCommandDataObject(*object, child);
            items.emplace_back(std::move(object));
        }
    }
    return items;
}

}  // namespace

VCCMessageContent::VCCMessageContent() : uuid_(newUuidString()), status_(std::make_shared<VCCStatus>()) {}

VCCMessageContent::VCCMessageContent(ToBeRead) {}

// --- Names and control fields

std::string VCCMessageContent::nodeNameFromObject(const MappedObject &object) {
    const ControlFields &controls = controlsOf(object);
    if (controls.classAlias) return *controls.classAlias;
    return nodeNameFromClass(typeNameOf(object));
}

std::string VCCMessageContent::nodeNameFromClass(std::string_view typeName) {
    if (typeName == kPlainTextClass) return {};
    std::string name(typeName);
    // Only the first occurrence counts: "FooRequestRequest" keeps its name.
    size_t request = name.find("Request");
    size_t response = name.find("Response");
    if (request != std::string::npos && request + 7 == name.size()) name.erase(request);
    else if (response != std::string::npos && response + 8 == name.size()) name.erase(response);
    if (!name.empty() && name[0] >= 'A' && name[0] <= 'Z') name[0] = static_cast<char>(name[0] - 'A' + 'a');
    return name;
}

ControlFields VCCMessageContent::xmlControlFieldsInObject(const MappedObject &object) { return controlsOf(object); }

void VCCMessageContent::addAttributeToNode(xml::XmlNode &node, const MappedObject &object) {
    xml::TreeSink sink(node);
    envelope::writeTypeAttribute(object, sink);
}

std::string VCCMessageContent::stripNamespace(std::string_view name) {
    size_t colon = name.find(':');
    if (colon == std::string_view::npos) return std::string(name);
    std::string_view rest = name.substr(colon + 1);
    return std::string(rest.substr(0, rest.find(':')));
}

// --- Writing (as a tree; see EnvelopeWriter)

void VCCMessageContent::saveToXmlNode(xml::XmlNode &parent) const {
    xml::TreeSink sink(parent);
    envelope::writeContent(*this, sink);
}

void VCCMessageContent::saveCommandDataToXmlNode(xml::XmlNode &contentElement) const {
    xml::TreeSink sink(contentElement);
    envelope::writeCommandData(*this, sink);
}

void VCCMessageContent::saveCommandDataObject(const MappedObject &object, xml::XmlNode &element) {
    xml::TreeSink sink(element);
    envelope::writeFields(object, sink);
}

void VCCMessageContent::saveProperty(const FieldDescriptor &, const FieldValue &value, xml::XmlNode &parent,
                                     const std::string &tagName) {
    xml::TreeSink sink(parent);
    envelope::writeProperty(value, sink, tagName);
}

// --- Reading

void VCCMessageContent::loadFromXmlNode(const xml::XmlNode &contentElement) {
    uuid_ = firstChildElementText(contentElement, "uuid");
    commandType_ = firstChildElementText(contentElement, "commandType");
    status_ = std::make_shared<VCCStatus>();
    status_->loadFromXmlNode(firstChildElementNamed(contentElement, "status"));
    loadCommandDataFromXmlNode(contentElement);
}

void VCCMessageContent::loadCommandDataFromXmlNode(const xml::XmlNode &contentElement) {
    if (!commandDataClass_) {
        // Without a class the caller reads the raw content element.
        commandData_ = contentElement;
        return;
    }
    std::shared_ptr<MappedObject> object = commandDataClass_->create();
    commandData_ = object;
    if (!object) return;
    xml::XmlNode commandData = firstChildElementNamed(contentElement, "commandData");
    if (!commandData) return;
    loadCommandDataObject(*object, xml::firstNodeForXPath(commandData, nodeNameFromObject(*object)));
}

void VCCMessageContent::loadCommandDataObject(MappedObject &object, const xml::XmlNode &element) {
    if (!element) return;
    forEachOrderedField(object, [&](const FieldEntry &entry, const FieldDescriptor &field) {
        loadPropertyTag(entry.xmlName, field, element, object, entry.elementClass);
    });
}

void VCCMessageContent::loadPropertyTag(const std::string &tagName, const FieldDescriptor &field,
                                        const xml::XmlNode &element, MappedObject &object,
                                        const std::optional<std::string> &arrayContentClass) {
    xml::XmlNode child = xml::firstNodeForXPath(element, stringf("*[local-name() = '%s']", tagName.c_str()));
    if (!child) return;
    auto text = [&child] { return child.stringValue().value_or(""); };
    switch (field.kind) {
        case FieldKind::List:
            if (!arrayContentClass) {
                throw Exception("Array Content Class not in _xmlFieldOrder",
                                "Array fields in _xmlFieldOrder need to be followed with :className");
            }
            if (field.prepareElementClass) field.prepareElementClass();
            field.set(object, loadList(*arrayContentClass, child));
            return;
        case FieldKind::Data: field.set(object, util::dataFromBase64String(text())); return;
        // Nested objects: a new one goes into the field first, then is
        // filled. Mutable text and data, numbers and dictionaries have no
        // mapping and so stay empty.
        case FieldKind::MutableText: field.set(object, std::string()); return;
        case FieldKind::MutableData: field.set(object, Bytes()); return;
        case FieldKind::Number: field.set(object, NumberObject{}); return;
        case FieldKind::Dictionary: field.set(object, Dictionary()); return;
        case FieldKind::Object: {
            if (!field.makeObject) return;
            std::shared_ptr<MappedObject> nested = field.makeObject();
            if (!nested) return;
            field.set(object, nested);
            loadCommandDataObject(*nested, child);
            return;
        }
        case FieldKind::Flag: field.set(object, xml::leadingFlag(text())); return;
        case FieldKind::Integer: field.set(object, xml::leadingInteger(text())); return;
        case FieldKind::Real: field.set(object, xml::leadingDouble(text())); return;
        case FieldKind::Text: field.set(object, text()); return;
    }
}

}  // namespace vork
