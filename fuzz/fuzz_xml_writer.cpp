// Any document the parser accepts is written exactly as libxml2's own
// serializer writes it, whichever writer the library picks.
#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "xml/XmlNode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const std::string ours = vork::xml::XmlDocument::parse(text).xmlData();
    const int options = XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(size), nullptr, nullptr, options);
    std::string reference;
    if (doc) {
        xmlBufferPtr buffer = xmlBufferCreate();
        xmlSaveCtxtPtr ctxt = xmlSaveToBuffer(buffer, "UTF-8", 0);
        xmlSaveDoc(ctxt, doc);
        xmlSaveClose(ctxt);
        reference.assign(reinterpret_cast<const char *>(xmlBufferContent(buffer)), xmlBufferLength(buffer));
        xmlBufferFree(buffer);
        xmlFreeDoc(doc);
    }
    if (ours != reference) std::abort();
    return 0;
}
