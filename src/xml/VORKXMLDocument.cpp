#include "xml/VORKXMLDocument.h"

#include <algorithm>
#include <cctype>
#include <exception>

#include "base/Exception.h"
#include "http/VORKHTTPRequest.h"
#include "http/VORKHTTPResponse.h"

namespace vork {

namespace {

bool isNetworkLocation(const std::string &location) {
    std::string scheme = location.substr(0, std::min(location.find(':'), location.size()));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return location.find("://") == scheme.size() && (scheme == "http" || scheme == "https");
}

// The document at an http or https location, fetched with the library's
// HTTP client (default settings: the certificate must be trusted, any
// status but 200 is a failure). A failed fetch is the document's error.
xml::XmlDocument fetch(const std::string &location, std::optional<xml::XmlError> *error) {
    std::string body;
    try {
        VORKHTTPRequest request(location);
        body = request.submitRequest()->responseText();
    } catch (...) {
        xml::XmlError failure;
        failure.message = "Cannot read " + location + ": " + describeException(std::current_exception());
        *error = std::move(failure);
        return {};
    }
    return xml::XmlDocument::parse(body, error);
}

}  // namespace

VORKXMLDocument::VORKXMLDocument(std::string_view bytes) {
    std::optional<xml::XmlError> error;
    xml::XmlDocument document = xml::XmlDocument::parse(bytes, &error);
    adopt(std::move(document), std::move(error));
}

VORKXMLDocument VORKXMLDocument::fromURL(const std::string &location) {
    VORKXMLDocument out;
    std::optional<xml::XmlError> error;
    xml::XmlDocument document =
        isNetworkLocation(location) ? fetch(location, &error) : xml::XmlDocument::parseFile(location, &error);
    out.adopt(std::move(document), std::move(error));
    return out;
}

void VORKXMLDocument::adopt(xml::XmlDocument document, std::optional<xml::XmlError> error) {
    xml_ = std::move(document);
    lastError_ = std::move(error);
    rootNode_ = VORKXMLNode(xml_.documentNode());
}

}  // namespace vork
