// The libxml2 handles: ownership across trees, kinds, XPath and parsing.
#include <gtest/gtest.h>

#include "support/TempDir.h"
#include "xml/XmlNode.h"
#include "xml/XmlNodeExtension.h"

namespace vork::xml {
namespace {

TEST(XmlNode, FreeStandingElementsMovePlacedNodesAreCopiedAndHandlesOutliveTheirTree) {
    XmlNode parent = XmlNode::element("parent");
    XmlNode child = XmlNode::element("child", std::string("text"));
    parent.addChild(child);
    parent.addChild(XmlNode::element("empty", std::string()));
    parent.addChild(XmlNode::element("none"));
    EXPECT_EQ(parent.xmlString(), "<parent><child>text</child><empty></empty><none/></parent>");
    EXPECT_EQ(child.parent(), parent);
    XmlNode kept;
    {
        XmlDocument doc = XmlDocument::parse("<a><b>x</b></a>");
        XmlNode other = XmlNode::element("other");
        other.addChild(firstNodeForXPath(doc.rootElement(), "b"));
        EXPECT_EQ(other.xmlString(), "<other><b>x</b></other>");
        EXPECT_EQ(doc.rootElement().xmlString(), "<a><b>x</b></a>");
        kept = firstNodeForXPath(doc.rootElement(), "b");
    }
    EXPECT_EQ(kept.stringValue(), "x");
}

TEST(XmlNode, KindsNamesStringValuesAndCopies) {
    XmlDocument doc = XmlDocument::parse("<?xml version='1.0'?><p:a xmlns:p='urn:p' k='v'>t1<p:b>t2</p:b><!--c--></p:a>");
    XmlNode root = doc.rootElement();
    EXPECT_EQ(doc.documentNode().kind(), NodeKind::Document);
    EXPECT_EQ(root.localName(), "a");
    EXPECT_EQ(root.stringValue(), "t1t2");  // comments are not text
    EXPECT_FALSE(root.attribute("missing"));
    std::vector<XmlNode> children = root.children();
    ASSERT_EQ(children.size(), 3u);
    EXPECT_EQ(children[0].kind(), NodeKind::Text);
    EXPECT_EQ(children[2].kind(), NodeKind::Other);
    XmlNode copy = children[1].deepCopy();  // independent, with the namespaces it uses
    EXPECT_EQ(copy.xmlString(), "<p:b xmlns:p=\"urn:p\">t2</p:b>");
    EXPECT_FALSE(copy.parent());
    std::vector<XmlNode> attr = root.evaluate("@k");
    ASSERT_EQ(attr.size(), 1u);
    EXPECT_EQ(attr[0].kind(), NodeKind::Attribute);
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
    // "//" from the document node answers in document order.
    XmlDocument nested = XmlDocument::parse("<r><x n='1'/><y><x n='2'/></y><x n='3'/></r>");
    std::vector<std::string> order;
    for (const XmlNode &x : nested.documentNode().evaluate("//x")) order.push_back(*x.attribute("n"));
    EXPECT_EQ(order, (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_FALSE(firstNodeForXPath(XmlNode(), "a"));
}

TEST(XmlDocument, ParseFailuresAreReportedNotThrown) {
    std::optional<XmlError> error;
    XmlDocument broken = XmlDocument::parse("<a><b></a>", &error);
    EXPECT_FALSE(broken);
    ASSERT_TRUE(error);
    EXPECT_GT(error->line, 0);
    EXPECT_FALSE(broken.rootElement());
    EXPECT_EQ(broken.xmlData(), "");
}

TEST(XmlDocument, ExternalEntitiesAreNotLoadedAndAnExpansionBombDoesNotParse) {
    test::TempDir dir;
    std::filesystem::path secret = dir.write("secret.txt", "SECRET");
    XmlDocument doc = XmlDocument::parse("<!DOCTYPE a [<!ENTITY e SYSTEM \"file://" + secret.string() + "\">]><a>&e;</a>");
    if (doc) EXPECT_EQ(doc.rootElement().stringValue()->find("SECRET"), std::string::npos);
    std::string bomb = "<!DOCTYPE l [<!ENTITY a \"aaaaaaaaaa\">";
    std::string previous = "a";
    for (char c = 'b'; c <= 'k'; ++c) {
        bomb += std::string("<!ENTITY ") + c + " \"";
        for (int i = 0; i < 10; ++i) bomb += "&" + previous + ";";
        bomb += "\">";
        previous = std::string(1, c);
    }
    XmlDocument exploded = XmlDocument::parse(bomb + "]><l>&k;</l>");
    if (exploded) EXPECT_LT(exploded.rootElement().stringValue()->size(), 100000000u);
}

TEST(XmlDocument, CreatedDocumentOutput) {
    XmlDocument doc = XmlDocument::create();
    XmlNode root = XmlNode::element("r");
    doc.setRootElement(root);
    root.addChild(XmlNode::element("c", std::string("é & <")));
    EXPECT_EQ(doc.xmlData(), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<r><c>é &amp; &lt;</c></r>\n");
    EXPECT_EQ(doc.prettyXml(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<r>\n  <c>é &amp; &lt;</c>\n</r>\n");
}

}  // namespace
}  // namespace vork::xml
