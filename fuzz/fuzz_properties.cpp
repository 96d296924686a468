// Arbitrary bytes through the forgiving reads: the first line is a property
// path (or XPath expression), the rest a document. The whole input also
// goes through the text cleaners and the date parsers.
#include <cstdint>
#include <string>
#include <string_view>

#include "message/JavaDate.h"
#include "message/RemoveInvalidXmlData.h"
#include "message/VCCMessage.h"
#include "xml/VORKXMLMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace vork;
    std::string_view input(reinterpret_cast<const char *>(data), size);
    size_t newline = input.find('\n');
    // Paths stay short: an expression is a small program, the document is the data.
    std::string property(input.substr(0, std::min<size_t>(newline == std::string_view::npos ? 0 : newline, 64)));
    std::string_view document = newline == std::string_view::npos ? input : input.substr(newline + 1);

    VORKXMLMessage message = VORKXMLMessage::messageWithData(document);
    (void)message.valueForProperty(property);
    (void)message.boolForProperty(property);
    (void)message.integerForProperty(property);
    (void)message.longLongForProperty(property);
    (void)message.nodeCountForProperty(property);
    (void)message.dataFromBase64StringForProperty(property);
    if (auto first = message.firstNodeForProperty(property)) {
        (void)first->stringValue();
        (void)first->integerValue();
        (void)first->prettyXml();
    }
    for (VORKXMLNode &node : message.nodesForProperty(property)) (void)node.stringForXPath("text()");
    VORKXMLNode &root = message.xml()->rootNode();
    for (VORKXMLNode &node : root.nodesForXPath(property)) {
        (void)node.stringValue();
        (void)node.integerForXPath(".");
    }
    (void)message.prettyXml();

    (void)RemoveInvalidXmlData::removeInvalidEncodedChars(input);
    (void)VCCMessage::dataByRemovingInvalidXmlCharacters(input);
    (void)dateWithJavaEpochString(std::string(property));
    (void)dateFromVorkDateString(property);
    return 0;
}
