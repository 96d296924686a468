#pragma once
/** \file
 * The result of one command: a code chosen by the server (or 1999 when a
 * call failed locally), the time it was set, and title and message texts
 * that always come from the built-in table of known codes.
 */
#include <cstdint>
#include <optional>
#include <string>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/JavaDate.h"
#include "VORKCoreCommC/message/VCCNode.h"
#include "VORKCoreCommC/xml/XmlNode.h"

namespace vork {

/// The result of one command (see the file description).
class VORK_EXPORT VCCStatus : public VCCNode {
public:
    /// Code 0, time stamp now, empty texts.
    VCCStatus();

    /// Reads a "status" element (a null handle means there is none): the
    /// code, then title and message from the table, the time stamp and the
    /// extended message. Titles and messages in the reply are ignored.
    void loadFromXmlNode(const xml::XmlNode &statusElement);
    /// Appends a full "status" (code, timestamp, extendedMessage).
    void saveToXmlNode(xml::XmlNode &parent) const;
    /// Title and message for the current code; an unknown code leaves both.
    void loadTitleAndMessage();
    /// The built-in table as a parsed document.
    static xml::XmlDocument statusCodesXmlDoc();
    /// The built-in table's text.
    static const std::string &statusCodesXml();

    /// "title - message".
    std::string description() const;

    /// The status code (0 success, 1999 a failed exchange).
    int32_t code() const { return code_; }
    /// Sets the code (title and message are not looked up again).
    void setCode(int32_t code) { code_ = code; }
    /// When the status was set.
    Date timestamp() const { return timestamp_; }
    /// Sets the time stamp.
    void setTimestamp(Date timestamp) { timestamp_ = timestamp; }
    /// The code's title from the built-in table.
    const std::string &title() const { return title_; }
    /// Sets the title.
    void setTitle(std::string title) { title_ = std::move(title); }
    /// The code's message from the built-in table.
    const std::string &message() const { return message_; }
    /// Sets the message.
    void setMessage(std::string message) { message_ = std::move(message); }
    /// None when a reply's status had no "extendedMessage".
    const std::optional<std::string> &extendedMessage() const { return extendedMessage_; }
    /// Sets the extended message.
    void setExtendedMessage(std::optional<std::string> text) { extendedMessage_ = std::move(text); }

private:
    int32_t code_ = 0;
    Date timestamp_;
    std::string title_;
    std::string message_;
    std::optional<std::string> extendedMessage_ = std::string();
};

}  // namespace vork
