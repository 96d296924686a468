#pragma once
// The envelope: every exchange with the server is one VCCMessage each way.
//
//   auto request = VCCMessage::messageWithType(std::string(kApplicationIdentifier) + ".keepaliverequest",
//                                              std::make_shared<KeepAliveRequest>());
//   request->setApplication(kApplicationIdentifier);
//   std::optional<std::string> body = request->saveToXmlData();
//
//   VCCMessage reply;
//   reply.setCommandDataClass(&KeepAliveResponse::mapping());
//   reply.loadFromXmlData(responseBody);
//   if (reply.content() && reply.content()->status()->code() == 0) ...
//
// The request document is exactly: the declaration (version 1.0, UTF-8,
// standalone), the root "ns2:vorkMessage" with the "ns2" and "xsi"
// namespaces and "xsi:schemaLocation", then unprefixed "device",
// "application", "messageTimestamp" and one "content" per content.
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "message/JavaDate.h"
#include "message/MappedClass.h"
#include "message/VCCDevice.h"
#include "message/VCCMessageContent.h"
#include "message/VCCNode.h"
#include "xml/XmlNode.h"

namespace vork {

class VORK_EXPORT VCCMessage : public VCCNode {
public:
    // An empty device, the time stamp "now", no contents.
    VCCMessage();

    // A message with one new content of that type (and command data).
    static std::shared_ptr<VCCMessage> messageWithType(const std::string &commandType);
    static std::shared_ptr<VCCMessage> messageWithType(const std::string &commandType, CommandData commandData);

    void addContent(std::shared_ptr<VCCMessageContent> content);
    void clearContent() { contents_.clear(); }

    // The request document. Fills in a blank device uuid and ungathered
    // addresses first, so it raises what the hardware identification
    // raises when the machine has no UUID (MissingDeviceInfo::Leave writes
    // the device record as it stands instead).
    xml::XmlDocument saveToXmlDocument(MissingDeviceInfo missing = MissingDeviceInfo::Retrieve);
    // The document as compact UTF-8 bytes with forbidden characters
    // removed; none when the text is not valid UTF-8.
    std::optional<std::string> saveToXmlData(MissingDeviceInfo missing = MissingDeviceInfo::Retrieve);
    // Fills the message from reply bytes. A reply that does not parse
    // changes nothing. Contents are appended after those already present.
    // The only exceptions are the two raised by a faulty mapping
    // declaration (see VCCMessageContent::loadCommandDataObject).
    void loadFromXmlData(std::string_view bytes);

    static std::optional<std::string> dataByRemovingInvalidXmlCharacters(std::string_view bytes);
    // The "ns2" and "xsi" declarations and "xsi:schemaLocation".
    static void addSchemaToElement(xml::XmlNode &root);

    VCCDevice &device() { return device_; }
    const VCCDevice &device() const { return device_; }
    const std::optional<std::string> &application() const { return application_; }
    void setApplication(std::optional<std::string> application) { application_ = std::move(application); }
    Date messageTimestamp() const { return messageTimestamp_; }
    void setMessageTimestamp(Date timestamp) { messageTimestamp_ = timestamp; }
    const std::vector<std::shared_ptr<VCCMessageContent>> &contents() const { return contents_; }
    // The first content, or null.
    std::shared_ptr<VCCMessageContent> content() const { return contents_.empty() ? nullptr : contents_.front(); }
    const MappedClass *commandDataClass() const { return commandDataClass_; }
    // The class replies are read into; set it before loadFromXmlData.
    void setCommandDataClass(const MappedClass *cls) { commandDataClass_ = cls; }

private:
    VCCDevice device_;
    std::optional<std::string> application_;
    Date messageTimestamp_;
    std::vector<std::shared_ptr<VCCMessageContent>> contents_;
    const MappedClass *commandDataClass_ = nullptr;
};

}  // namespace vork
