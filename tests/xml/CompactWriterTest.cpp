// Documents come out byte for byte as libxml2's own serializer writes them
// (UTF-8, no formatting), whether the quick writer or libxml2 writes them.
#include <gtest/gtest.h>
#include <functional>
#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include "xml/ByteSink.h"
#include "xml/TreeSink.h"
#include "xml/XmlNode.h"

namespace vork::xml {
namespace {

std::string savedByLibxml(const std::string &text) {
    const int options = XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, options);
    if (!doc) return "(no document)";
    xmlBufferPtr buffer = xmlBufferCreate();
    xmlSaveCtxtPtr ctxt = xmlSaveToBuffer(buffer, "UTF-8", 0);
    xmlSaveDoc(ctxt, doc);
    xmlSaveClose(ctxt);
    std::string out(reinterpret_cast<const char *>(xmlBufferContent(buffer)), xmlBufferLength(buffer));
    xmlBufferFree(buffer);
    xmlFreeDoc(doc);
    return out;
}

TEST(CompactWriter, WritesEveryDocumentAsLibxml2Does) {
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    for (const std::string &document : {
             text + "<ns2:m xmlns:ns2=\"urn:m\" xmlns:xsi=\"urn:x\" xsi:type=\"ns2:T\"><a/><b></b><c>x</c></ns2:m>",
             text + "<r xmlns=\"urn:default\" a=\"&lt;&amp;&gt;&quot;'&#9;&#10;&#13;\">&lt;&amp;&gt;\"'&#13;\n\t</r>",
             std::string("<?xml version='1.0' standalone='no'?><r a='caf\xC3\xA9'>\xE2\x82\xAC \xF0\x9F\x98\x80</r>"),
             std::string("<r><d><e><f>deep</f></e>tail</d><g/></r>"),
             std::string("<?xml version='1.1'?><r xmlns:xml='http://www.w3.org/XML/1998/namespace' xml:lang='en'/>"),
             std::string("<r xmlns:q='urn:has\"quote'/>"),
             // Kinds the quick writer leaves to libxml2.
             std::string("<!DOCTYPE r [<!ENTITY e 'v'>]><r>&e;<![CDATA[c]]><!--k--><?p i?></r>"),
             std::string("<!--before--><r/><?after?>"),
         }) {
        SCOPED_TRACE(document);
        EXPECT_EQ(XmlDocument::parse(document).xmlData(), savedByLibxml(document));
    }
}

TEST(CompactWriter, BuiltTreesMatchLibxml2sWritingOfTheirRoot) {
    XmlDocument doc = XmlDocument::create();
    XmlNode root = XmlNode::element("ns2:root");
    root.addNamespace("ns2", "urn:r");
    root.addAttribute("note", "tab\there & \"there\"");
    root.addChild(XmlNode::element("empty", std::string()));
    root.addChild(XmlNode::element("none"));
    root.addChild(XmlNode::element("text", std::string("a < b\r\n")));
    doc.setRootElement(root);
    // An element with empty text keeps its end tag.
    EXPECT_EQ(doc.xmlData(), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n" + doc.rootElement().xmlString() + "\n");
    EXPECT_NE(doc.xmlData().find("<empty></empty><none/>"), std::string::npos);
}

// The same calls through both sinks: the bytes (none when the byte sink
// leaves the document to the tree) and the tree's document.
template <class Write>
std::pair<std::optional<std::string>, std::string> bothSinks(Write write) {
    ByteSink bytes;
    write(static_cast<ElementSink &>(bytes));
    XmlDocument doc = XmlDocument::create();
    TreeSink tree(doc);
    write(static_cast<ElementSink &>(tree));
    return {bytes.take(), doc.xmlData()};
}

TEST(CompactWriter, ByteSinkWritesWhatTheTreeWouldOrLeavesItToTheTree) {
    struct Row {
        std::string document;  // its root's first child is copied
        bool written;          // by the byte sink itself
    };
    for (const Row &row : std::vector<Row>{
             // Namespaces used from outside the copy are declared on it, in
             // the order the copy meets them.
             {"<w xmlns:ns2='urn:a' xmlns:xsi='urn:x'><c xsi:type='ns2:T'><ns2:v>1</ns2:v></c></w>", true},
             {"<w xmlns='urn:d' xmlns:p='urn:p'><c a='1'><p:f p:g='2'/><h xmlns:p='urn:q' p:i='3'/></c></w>", true},
             {"<w><c xml:lang='en'>t &amp; &lt;</c></w>", true},
             // Left to the tree: prefixes bound nowhere, and kinds of node
             // the quick writer does not write.
             {"<w><c><p:x/></c></w>", false},
             {"<w><c><!--k--></c></w>", false},
             {"<w><c><![CDATA[x]]></c></w>", false},
         }) {
        SCOPED_TRACE(row.document);
        XmlDocument source = XmlDocument::parse(row.document);
        XmlNode copied = source.rootElement().children().at(0);
        auto [bytes, tree] = bothSinks([&](ElementSink &sink) {
            sink.start("r");
            sink.copy(copied);
            sink.end();
        });
        EXPECT_EQ(bytes.has_value(), row.written);
        if (bytes) EXPECT_EQ(*bytes, tree);
    }
    // Text that is not UTF-8, an attribute given twice, a second root: the
    // tree's.
    for (const auto &write : std::vector<std::function<void(ElementSink &)>>{
             [](ElementSink &s) { s.leaf("r", std::string("caf\xE9")); },
             [](ElementSink &s) { s.start("r"); s.attribute("a", "1"); s.attribute("a", "2"); s.end(); },
             [](ElementSink &s) { s.leaf("r"); s.leaf("r2"); },
         }) {
        EXPECT_FALSE(bothSinks(write).first);
    }
}

}  // namespace
}  // namespace vork::xml
