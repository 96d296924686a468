#pragma once
// The result of one command: a code chosen by the server (or 1999 when a
// call failed locally), the time it was set, and title and message texts
// that always come from the built-in table of known codes.
#include <cstdint>
#include <optional>
#include <string>

#include "base/Export.h"
#include "message/JavaDate.h"
#include "message/VCCNode.h"
#include "xml/XmlNode.h"

namespace vork {

class VORK_EXPORT VCCStatus : public VCCNode {
public:
    // Code 0, time stamp now, empty texts.
    VCCStatus();

    // Reads a "status" element (a null handle means there is none): the
    // code, then title and message from the table, the time stamp and the
    // extended message. Titles and messages in the reply are ignored.
    void loadFromXmlNode(const xml::XmlNode &statusElement);
    // Appends a full "status" (code, timestamp, extendedMessage).
    void saveToXmlNode(xml::XmlNode &parent) const;
    // Title and message for the current code; an unknown code leaves both.
    void loadTitleAndMessage();
    // The built-in table as a parsed document.
    static xml::XmlDocument statusCodesXmlDoc();
    // The built-in table's text.
    static const std::string &statusCodesXml();

    // "title - message".
    std::string description() const;

    int32_t code() const { return code_; }
    void setCode(int32_t code) { code_ = code; }
    Date timestamp() const { return timestamp_; }
    void setTimestamp(Date timestamp) { timestamp_ = timestamp; }
    const std::string &title() const { return title_; }
    void setTitle(std::string title) { title_ = std::move(title); }
    const std::string &message() const { return message_; }
    void setMessage(std::string message) { message_ = std::move(message); }
    // None when a reply's status had no "extendedMessage".
    const std::optional<std::string> &extendedMessage() const { return extendedMessage_; }
    void setExtendedMessage(std::optional<std::string> text) { extendedMessage_ = std::move(text); }

private:
    int32_t code_ = 0;
    Date timestamp_;
    std::string title_;
    std::string message_;
    std::optional<std::string> extendedMessage_ = std::string();
};

}  // namespace vork
