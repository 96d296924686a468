#include "message/VCCStatus.h"

#include <mutex>
#include <vector>

#include "base/Format.h"
#include "message/ChildElements.h"
#include "message/Constants.h"
#include "xml/TextScalars.h"
#include "xml/XmlNodeExtension.h"

namespace vork {

namespace {

struct StatusRow {
    std::string code;
    std::string title;
    std::string message;
};

const StatusRow kRows[] = {
    {"0", "Success", "The action was completed successfully."},
    {"1301", "Invalid Message Content", "The message does not contain the information necessary to perform the action."},
    {"1302", "Invalid Message", "The message could not be parsed."},
    {"1303", "Invalid Device Information", "A unique identifier for the device is required to perform the action."},
    {"1400", "Authentication Error", "An authentication error has occurred."},
    {"1410", "Permission Error", "The user specified does not have permission to perform the action."},
    {"1411", "Invalid Login Parameters", "The user specified could not be found."},
    {"1421", "Device Not Found", "The device specified could not be found."},
    {"1500", "Security Error", "A security error has occurred."},
    {"1501", "Device Signature Error", "A valid device signature is required to perform the action."},
    {"1503", "Certificate Creation Error", "An error has occurred while creating the certificate."},
    {"1504", "Clock Skew Error", "There is a discrepancy between the local time and the ZEL server time."},
    {"1601", "CRUD Operation Error", "An error has occurred while creating, reading, updating or deleting a device."},
    {"1602", "ZEL Initialization Error", "The ZEL has encountered an error while starting up."},
    {"1998", "Unknown ZEL Error", "An unknown internal error has occurred."},
    {"1999", "Unknown Error", "An unknown error has occurred."},
    {"2100", "Policy Execution Error", "TODO"},
    {"2101", "Error Updating Management Password", "TODO"},
};

std::string buildTableText() {
    std::string text = stringf(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<p:vorkStatusCodes xmlns:p=\"%s\" xmlns:xsi=\"%s\" xsi:schemaLocation=\"%s schema/VORKStatusCodes.xsd\">\n",
        kVorkMessageNamespace, kXmlSchemaInstanceNamespace, kVorkMessageNamespace);
    for (const StatusRow &row : kRows) {
        text += stringf("\t<status>\n\t\t<code>%s</code>\n\t\t<title>%s</title>\n\t\t<message>%s</message>\n\t</status>\n",
                        row.code.c_str(), row.title.c_str(), row.message.c_str());
    }
    text += "</p:vorkStatusCodes>\n";
    return text;
}

struct ParsedRow {
    int32_t code;
    std::string title;
    std::string message;
};

// The table text parsed once: the rows in order, as the look-up walks them.
const std::vector<ParsedRow> &parsedRows() {
    static const std::vector<ParsedRow> rows = [] {
        std::vector<ParsedRow> out;
        xml::XmlDocument doc = VCCStatus::statusCodesXmlDoc();
        xml::XmlNode root = doc.rootElement();
        for (const xml::XmlNode &status : root.evaluate("status")) {
            out.push_back({xml::leadingInt32(xml::firstStringValueForXPath(status, "code").value_or("")),
                           xml::firstStringValueForXPath(status, "title").value_or(""),
                           xml::firstStringValueForXPath(status, "message").value_or("")});
        }
        return out;
    }();
    return rows;
}

}  // namespace

VCCStatus::VCCStatus() : timestamp_(dateNow()) {}

const std::string &VCCStatus::statusCodesXml() {
    static const std::string text = buildTableText();
    return text;
}

xml::XmlDocument VCCStatus::statusCodesXmlDoc() { return xml::XmlDocument::parse(statusCodesXml()); }

void VCCStatus::loadTitleAndMessage() {
    // Every row is visited; with duplicate codes the last one would win.
    for (const ParsedRow &row : parsedRows()) {
        if (row.code == code_) {
            title_ = row.title;
            message_ = row.message;
        }
    }
}

void VCCStatus::loadFromXmlNode(const xml::XmlNode &statusElement) {
    code_ = xml::leadingInt32(firstChildElementText(statusElement, "code").value_or(""));
    loadTitleAndMessage();
    timestamp_ = dateWithJavaEpochString(firstChildElementText(statusElement, "timestamp"));
    extendedMessage_ = firstChildElementText(statusElement, "extendedMessage");
}

void VCCStatus::saveToXmlNode(xml::XmlNode &parent) const {
    xml::XmlNode status = elementWithName("status");
    parent.addChild(status);
    status.addChild(elementWithName("code", stringf("%d", code_)));
    status.addChild(elementWithName("timestamp", javaEpochString(timestamp_)));
    status.addChild(elementWithName("extendedMessage", extendedMessage_));
}

std::string VCCStatus::description() const { return stringf("%s - %s", title_.c_str(), message_.c_str()); }

}  // namespace vork
