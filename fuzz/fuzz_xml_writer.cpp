// Any document the parser accepts is written exactly as libxml2's own
// serializer writes it, whichever writer the library picks; and any element
// of it, copied into a new document, comes out of the byte sink (when it
// writes it) exactly as out of the tree.
#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "xml/ByteSink.h"
#include "xml/TreeSink.h"
#include "xml/XmlNode.h"

namespace {

void compareCopies(const vork::xml::XmlNode &root) {
    std::vector<vork::xml::XmlNode> pending{root};
    for (int copies = 0; !pending.empty() && copies < 64; ++copies) {
        vork::xml::XmlNode element = pending.back();
        pending.pop_back();
        for (const vork::xml::XmlNode &child : element.children())
            if (child.kind() == vork::xml::NodeKind::Element) pending.push_back(child);
        vork::xml::ByteSink bytes;
        bytes.start("r");
        bytes.copy(element);
        bytes.end();
        const auto written = bytes.take();
        if (!written) continue;
        vork::xml::XmlDocument doc = vork::xml::XmlDocument::create();
        vork::xml::TreeSink tree(doc);
        tree.start("r");
        tree.copy(element);
        tree.end();
        if (*written != doc.xmlData()) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const vork::xml::XmlDocument parsed = vork::xml::XmlDocument::parse(text);
    const std::string ours = parsed.xmlData();
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
    if (parsed.rootElement()) compareCopies(parsed.rootElement());
    return 0;
}
