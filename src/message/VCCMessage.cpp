#include "message/VCCMessage.h"

#include "message/ChildElements.h"
#include "message/EnvelopeWriter.h"
#include "message/XmlCharacterFilter.h"
#include "xml/ByteSink.h"
#include "xml/TreeSink.h"
#include "xml/XmlNodeExtension.h"

namespace vork {

VCCMessage::VCCMessage() : messageTimestamp_(dateNow()) {}

std::shared_ptr<VCCMessage> VCCMessage::messageWithType(const std::string &commandType) {
    return messageWithType(commandType, std::monostate{});
}

std::shared_ptr<VCCMessage> VCCMessage::messageWithType(const std::string &commandType, CommandData commandData) {
    auto message = std::make_shared<VCCMessage>();
    auto content = std::make_shared<VCCMessageContent>();
    content->setCommandType(commandType);
    if (!std::holds_alternative<std::monostate>(commandData)) content->setCommandData(std::move(commandData));
    message->addContent(std::move(content));
    return message;
}

void VCCMessage::addContent(std::shared_ptr<VCCMessageContent> content) {
    if (content) contents_.push_back(std::move(content));
}

void VCCMessage::addSchemaToElement(xml::XmlNode &root) {
    xml::TreeSink sink(root);
    envelope::writeSchema(sink);
}

xml::XmlDocument VCCMessage::saveToXmlDocument(MissingDeviceInfo missing) {
    xml::XmlDocument document = xml::XmlDocument::create();
    xml::TreeSink sink(document);
    envelope::writeMessage(*this, sink, missing);
    return document;
}

std::optional<std::string> VCCMessage::saveToXmlData(MissingDeviceInfo missing) {
    // Straight to bytes; what only libxml2 writes exactly goes through the
    // tree.
    xml::ByteSink bytes;
    envelope::writeMessage(*this, bytes, missing);
    if (std::optional<std::string> written = bytes.take()) return dataByRemovingInvalidXmlCharacters(*written);
    return dataByRemovingInvalidXmlCharacters(saveToXmlDocument(missing).xmlData());
}

std::optional<std::string> VCCMessage::dataByRemovingInvalidXmlCharacters(std::string_view bytes) {
    return removeInvalidXmlCharacters(bytes);
}

void VCCMessage::loadFromXmlData(std::string_view bytes) {
    xml::XmlDocument document = xml::XmlDocument::parse(bytes);
    xml::XmlNode root = document.rootElement();
    if (!root) return;
    device_.loadFromXmlNode(firstChildElementNamed(root, "device"));
    application_ = firstChildElementText(root, "application");
    messageTimestamp_ = dateWithJavaEpochString(firstChildElementText(root, "messageTimestamp"));
    for (const xml::XmlNode &element : childElementsNamed(root, "content")) {
        auto content = std::make_shared<VCCMessageContent>(VCCMessageContent::ToBeRead{});
        content->setCommandDataClass(commandDataClass_);
        content->loadFromXmlNode(element);
        contents_.push_back(std::move(content));
    }
}

}  // namespace vork
