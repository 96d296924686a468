#pragma once
/** \file
 * The envelope: every exchange with the server is one VCCMessage each way.
 *
 *   auto request = VCCMessage::messageWithType(std::string(kApplicationIdentifier) + ".keepaliverequest",
 *                                              std::make_shared<KeepAliveRequest>());
 *   request->setApplication(kApplicationIdentifier);
 *   std::optional<std::string> body = request->saveToXmlData();
 *
 *   VCCMessage reply;
 *   reply.setCommandDataClass(&KeepAliveResponse::mapping());
 *   reply.loadFromXmlData(responseBody);
 *   if (reply.content() && reply.content()->status()->code() == 0) ...
 *
 * The request document is exactly: the declaration (version 1.0, UTF-8,
 * standalone), the root "ns2:vorkMessage" with the "ns2" and "xsi"
 * namespaces and "xsi:schemaLocation", then unprefixed "device",
 * "application", "messageTimestamp" and one "content" per content.
 */
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/JavaDate.h"
#include "VORKCoreCommC/message/MappedClass.h"
#include "VORKCoreCommC/message/VCCDevice.h"
#include "VORKCoreCommC/message/VCCMessageContent.h"
#include "VORKCoreCommC/message/VCCNode.h"
#include "VORKCoreCommC/xml/XmlNode.h"

namespace vork {

/// The envelope of one exchange (see the file description).
class VORK_EXPORT VCCMessage : public VCCNode {
public:
    /// An empty device, the time stamp "now", no contents.
    VCCMessage();

    /// A message with one new content of that type; the caller owns it.
    static std::shared_ptr<VCCMessage> messageWithType(const std::string &commandType);
    /// The same whose content carries the command data.
    static std::shared_ptr<VCCMessage> messageWithType(const std::string &commandType, CommandData commandData);

    /// Appends a content; the message keeps a reference.
    void addContent(std::shared_ptr<VCCMessageContent> content);
    /// Removes every content.
    void clearContent() { contents_.clear(); }

    /// The request document. Fills in a blank device uuid and ungathered
    /// addresses first, so it raises what the hardware identification
    /// raises when the machine has no UUID (MissingDeviceInfo::Leave writes
    /// the device record as it stands instead).
    xml::XmlDocument saveToXmlDocument(MissingDeviceInfo missing = MissingDeviceInfo::Retrieve);
    /// The document as compact UTF-8 bytes with forbidden characters
    /// removed; none when the text is not valid UTF-8.
    std::optional<std::string> saveToXmlData(MissingDeviceInfo missing = MissingDeviceInfo::Retrieve);
    /// Fills the message from reply bytes. A reply that does not parse
    /// changes nothing. Contents are appended after those already present.
    /// The only exceptions are the two raised by a faulty mapping
    /// declaration (see VCCMessageContent::loadCommandDataObject).
    void loadFromXmlData(std::string_view bytes);

    /// The bytes without the characters XML forbids; none when they are not valid UTF-8.
    static std::optional<std::string> dataByRemovingInvalidXmlCharacters(std::string_view bytes);
    /// The "ns2" and "xsi" declarations and "xsi:schemaLocation".
    static void addSchemaToElement(xml::XmlNode &root);

    /// The device record (part of the message).
    VCCDevice &device() { return device_; }
    /// The device record (part of the message).
    const VCCDevice &device() const { return device_; }
    /// The application identifier, none when unset.
    const std::optional<std::string> &application() const { return application_; }
    /// Sets the application identifier.
    void setApplication(std::optional<std::string> application) { application_ = std::move(application); }
    /// When the message was made (or the reply's time stamp).
    Date messageTimestamp() const { return messageTimestamp_; }
    /// Sets the time stamp.
    void setMessageTimestamp(Date timestamp) { messageTimestamp_ = timestamp; }
    /// The contents in order (shared with the message).
    const std::vector<std::shared_ptr<VCCMessageContent>> &contents() const { return contents_; }
    /// The first content, or null.
    std::shared_ptr<VCCMessageContent> content() const { return contents_.empty() ? nullptr : contents_.front(); }
    /// The class replies are read into, or null.
    const MappedClass *commandDataClass() const { return commandDataClass_; }
    /// The class replies are read into; set it before loadFromXmlData.
    void setCommandDataClass(const MappedClass *cls) { commandDataClass_ = cls; }

private:
    VCCDevice device_;
    std::optional<std::string> application_;
    Date messageTimestamp_;
    std::vector<std::shared_ptr<VCCMessageContent>> contents_;
    const MappedClass *commandDataClass_ = nullptr;
};

}  // namespace vork
