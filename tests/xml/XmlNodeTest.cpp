// The libxml2 handles: ownership across trees, namespaces, XPath and output.
#include <gtest/gtest.h>

#include "support/TempDir.h"
#include "xml/XmlNode.h"
#include "xml/XmlNodeExtension.h"

namespace vork::xml {
namespace {

TEST(XmlNode, FreeStandingElementsMoveUnderTheirParentPlacedNodesAreCopied) {
    XmlNode parent = XmlNode::element("parent");
    XmlNode child = XmlNode::element("child", std::string("text"));
    parent.addChild(child);
    parent.addChild(XmlNode::element("empty", std::string()));
    parent.addChild(XmlNode::element("none"));
    EXPECT_EQ(parent.xmlString(), "<parent><child>text</child><empty></empty><none/></parent>");
    EXPECT_EQ(child.parent(), parent);
    // A node already in a tree is copied, not moved.
    XmlDocument doc = XmlDocument::parse("<a><b>x</b></a>");
    XmlNode other = XmlNode::element("other");
    other.addChild(firstNodeForXPath(doc.rootElement(), "b"));
    EXPECT_EQ(other.xmlString(), "<other><b>x</b></other>");
    EXPECT_EQ(doc.rootElement().xmlString(), "<a><b>x</b></a>");
}

TEST(XmlNode, HandlesOutliveTheirDocumentHandle) {
    XmlNode child;
    {
        XmlDocument doc = XmlDocument::parse("<a><b>kept</b></a>");
        child = firstNodeForXPath(doc.rootElement(), "b");
    }
    EXPECT_EQ(child.stringValue(), "kept");
    XmlNode element;
    {
        XmlNode parent = XmlNode::element("p");
        element = XmlNode::element("c", std::string("alive"));
        parent.addChild(element);
    }
    EXPECT_EQ(element.xmlString(), "<c>alive</c>");
    EXPECT_EQ(element.parent().name(), "p");
}

TEST(XmlNode, PrefixesBindToDeclaredNamespaces) {
    XmlNode root = XmlNode::element("ns2:root");
    root.addNamespace("ns2", "urn:two");
    root.addNamespace("xsi", "http://www.w3.org/2001/XMLSchema-instance");
    root.addAttribute("xsi:type", "T");
    XmlNode detached = XmlNode::element("ns2:field", std::string("v"));
    detached.addAttribute("xsi:type", "U");
    root.addChild(detached);
    root.addChild(XmlNode::element("plain"));
    root.addChild(XmlNode::element("undeclared:x"));
    EXPECT_EQ(root.xmlString(),
              "<ns2:root xmlns:ns2=\"urn:two\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:type=\"T\">"
              "<ns2:field xsi:type=\"U\">v</ns2:field><plain/><undeclared:x/></ns2:root>");
    EXPECT_EQ(root.evaluate("*[namespace-uri() = 'urn:two' and local-name() = 'field']").size(), 1u);
    EXPECT_EQ(root.evaluate("plain").size(), 1u);
    EXPECT_EQ(detached.localName(), "field");
    EXPECT_EQ(detached.name(), "ns2:field");
    XmlNode undeclared = root.children().back();
    EXPECT_EQ(undeclared.name(), "undeclared:x");
    EXPECT_EQ(undeclared.localName(), "x");
}

TEST(XmlNode, KindsNamesAndStringValues) {
    XmlDocument doc = XmlDocument::parse("<?xml version='1.0'?><p:a xmlns:p='urn:p' k='v'>t1<p:b>t2</p:b><!--c--></p:a>");
    XmlNode root = doc.rootElement();
    EXPECT_EQ(doc.documentNode().kind(), NodeKind::Document);
    EXPECT_EQ(root.kind(), NodeKind::Element);
    EXPECT_EQ(root.name(), "p:a");
    EXPECT_EQ(root.localName(), "a");
    EXPECT_EQ(root.stringValue(), "t1t2");  // comments are not text
    EXPECT_EQ(root.attribute("k"), "v");
    EXPECT_FALSE(root.attribute("missing"));
    std::vector<XmlNode> children = root.children();
    ASSERT_EQ(children.size(), 3u);
    EXPECT_EQ(children[0].kind(), NodeKind::Text);
    EXPECT_EQ(children[0].name(), "");
    EXPECT_EQ(children[2].kind(), NodeKind::Other);
    XmlNode copy = children[1].deepCopy();  // independent, with the namespaces it uses
    EXPECT_EQ(copy.xmlString(), "<p:b xmlns:p=\"urn:p\">t2</p:b>");
    EXPECT_FALSE(copy.parent());
    std::vector<XmlNode> attr = root.evaluate("@k");
    ASSERT_EQ(attr.size(), 1u);
    EXPECT_EQ(attr[0].kind(), NodeKind::Attribute);
    EXPECT_EQ(attr[0].stringValue(), "v");
}

TEST(XmlNode, XPathErrorsAndNonNodeResults) {
    XmlDocument doc = XmlDocument::parse("<a><b/></a>");
    std::optional<XmlError> error;
    EXPECT_TRUE(doc.rootElement().evaluate("b[", &error).empty());
    ASSERT_TRUE(error);
    EXPECT_FALSE(error->message.empty());
    error.reset();
    EXPECT_TRUE(doc.rootElement().evaluate("count(b)", &error).empty());
    EXPECT_TRUE(error);
    EXPECT_TRUE(doc.rootElement().evaluate("namespace::*").empty());
    // "//" from the document node answers in document order.
    XmlDocument nested = XmlDocument::parse("<r><x n='1'/><y><x n='2'/></y><x n='3'/></r>");
    std::vector<std::string> order;
    for (const XmlNode &x : nested.documentNode().evaluate("//x")) order.push_back(*x.attribute("n"));
    EXPECT_EQ(order, (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_FALSE(firstNodeForXPath(XmlNode(), "a"));
    EXPECT_FALSE(firstStringValueForXPath(doc.rootElement(), "missing"));
}

TEST(XmlDocument, ParseFailuresAreReportedNotThrown) {
    std::optional<XmlError> error;
    EXPECT_FALSE(XmlDocument::parse("", &error));
    EXPECT_TRUE(error);
    error.reset();
    XmlDocument broken = XmlDocument::parse("<a><b></a>", &error);
    EXPECT_FALSE(broken);
    ASSERT_TRUE(error);
    EXPECT_GT(error->line, 0);
    EXPECT_FALSE(broken.rootElement());
    EXPECT_EQ(broken.xmlData(), "");
}

TEST(XmlDocument, ExternalEntitiesAreNotLoaded) {
    test::TempDir dir;
    std::filesystem::path secret = dir.write("secret.txt", "SECRET");
    std::string xml = "<!DOCTYPE a [<!ENTITY e SYSTEM \"file://" + secret.string() + "\">]><a>&e;</a>";
    XmlDocument doc = XmlDocument::parse(xml);
    if (doc) EXPECT_EQ(doc.rootElement().stringValue()->find("SECRET"), std::string::npos);
}

TEST(XmlDocument, EntityExpansionBombDoesNotParse) {
    std::string bomb = "<!DOCTYPE l [<!ENTITY a \"aaaaaaaaaa\">";
    std::string previous = "a";
    for (char c = 'b'; c <= 'k'; ++c) {
        bomb += std::string("<!ENTITY ") + c + " \"";
        for (int i = 0; i < 10; ++i) bomb += "&" + previous + ";";
        bomb += "\">";
        previous = std::string(1, c);
    }
    bomb += "]><l>&k;</l>";
    XmlDocument doc = XmlDocument::parse(bomb);
    if (doc) EXPECT_LT(doc.rootElement().stringValue()->size(), 100000000u);
}

TEST(XmlDocument, CreatedDocumentOutput) {
    XmlDocument doc = XmlDocument::create();
    XmlNode root = XmlNode::element("r");
    doc.setRootElement(root);
    root.addChild(XmlNode::element("c", std::string("é & <")));
    EXPECT_EQ(doc.xmlData(), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<r><c>é &amp; &lt;</c></r>\n");
    EXPECT_EQ(doc.prettyXml(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<r>\n  <c>é &amp; &lt;</c>\n</r>\n");
    XmlNode replacement = XmlNode::element("s");
    doc.setRootElement(replacement);
    EXPECT_EQ(doc.rootElement().name(), "s");
    EXPECT_EQ(root.xmlString(), "<r><c>é &amp; &lt;</c></r>");  // the old root lives on
}

TEST(XmlDocument, ParseFileAndFileUrl) {
    test::TempDir dir;
    std::filesystem::path file = dir.write("doc.xml", "<a>b</a>");
    EXPECT_EQ(XmlDocument::parseFile(file.string()).rootElement().stringValue(), "b");
    EXPECT_EQ(XmlDocument::parseFile("file://" + file.string()).rootElement().stringValue(), "b");
    std::optional<XmlError> error;
    EXPECT_FALSE(XmlDocument::parseFile((dir / "missing.xml").string(), &error));
    EXPECT_TRUE(error);
}

}  // namespace
}  // namespace vork::xml
