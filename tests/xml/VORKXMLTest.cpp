// The forgiving wrappers: VORKXMLNode, VORKXMLDocument and VORKXMLMessage.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/Nginx.h"
#include "support/TempDir.h"
#include "xml/VORKXMLDocument.h"
#include "xml/VORKXMLMessage.h"
#include "xml/VORKXMLNode.h"

namespace vork {
namespace {

const char kReply[] =
    "<?xml version=\"1.0\"?>"
    "<ns2:vorkMessage xmlns:ns2=\"http://vork.io/VORKMessage\">"
    "<content><status><code>1421</code></status>"
    "<commandData><ns2:clientSitePrivileges>"
    "<ns2:sites><ns2:site><ns2:id> 42 </ns2:id><ns2:name>Main</ns2:name></ns2:site>"
    "<ns2:site><ns2:id>7</ns2:id><ns2:name>Second</ns2:name><ns2:flag>true</ns2:flag></ns2:site></ns2:sites>"
    "<ns2:empty/><ns2:big>-9000000000</ns2:big><ns2:data>aGVsbG8=</ns2:data>"
    "<ns2:yes>1</ns2:yes><ns2:upper>True</ns2:upper><ns2:word>yes</ns2:word>"
    "</ns2:clientSitePrivileges></commandData></content></ns2:vorkMessage>";

TEST(SafeXPath, RewritesEachComponent) {
    for (const auto &[path, safe] : std::vector<std::pair<std::string, std::string>>{
             {"a/b[2]/c", "*[local-name() = 'a']/*[local-name() = 'b'][2]/*[local-name() = 'c']"},
             {"", "*[local-name() = '']"}, {"/a", "*[local-name() = '']/*[local-name() = 'a']"},
             {"x[@k='v'][1]", "*[local-name() = 'x'][@k='v'][1]"}})
        EXPECT_EQ(VORKXMLMessage::safeXPath(path), safe) << path;
}

TEST(VORKXMLMessage, PropertiesRelativeToTheContentsNode) {
    VORKXMLMessage message = VORKXMLMessage::messageWithString(kReply);
    EXPECT_EQ(message.contentsNode().name(), "ns2:clientSitePrivileges");
    for (const auto &[property, value] : std::vector<std::pair<std::string, std::string>>{
             {"sites/site/name", "Main"}, {"sites/site[2]/name", "Second"}, {"sites/site/id", "42"},
             {"empty", ""}, {"nothing/here", ""}})
        EXPECT_EQ(message.valueForProperty(property), value) << property;
    EXPECT_EQ(message.integerForProperty("sites/site/id"), 42);
    EXPECT_EQ(message.longLongForProperty("big"), -9000000000LL);
    EXPECT_EQ(message.integerForProperty("big"), INT32_MIN);
    EXPECT_EQ(message.integerForProperty("empty"), 0);
    EXPECT_EQ(message.nodeCountForProperty("sites/site"), 2u);
    EXPECT_EQ(message.nodeCountForProperty(""), 0u);
    EXPECT_EQ(message.dataFromBase64StringForProperty("data"), (std::vector<uint8_t>{'h', 'e', 'l', 'l', 'o'}));
    // A flag is true only for "true" and "1".
    for (const auto &[property, flag] : std::vector<std::pair<std::string, bool>>{
             {"yes", true}, {"sites/site[2]/flag", true}, {"upper", false}, {"word", false}, {"nothing", false}})
        EXPECT_EQ(message.boolForProperty(property), flag) << property;
}

TEST(VORKXMLMessage, PathsStartAtTheDocumentWithoutCommandDataOrAtTheGivenNodeAndNotXmlReadsNothing) {
    VORKXMLMessage reply = VORKXMLMessage::messageWithString("<reply><status><code>5</code></status></reply>");
    EXPECT_EQ(reply.valueForProperty("status/code"), "");
    EXPECT_EQ(reply.integerForProperty("reply/status/code"), 5);
    VORKXMLMessage message = VORKXMLMessage::messageWithData("this is not xml");
    ASSERT_TRUE(message.xml());
    EXPECT_TRUE(message.xml()->lastError());
    EXPECT_EQ(message.valueForProperty("a"), "");
    EXPECT_TRUE(message.nodesForProperty("a").empty());
    // A message made from a node starts there and has no document.
    VORKXMLDocument doc("<a><b><c>x</c></b></a>");
    std::optional<VORKXMLNode> b = doc.rootNode().firstNodeForXPath("a/b");
    ASSERT_TRUE(b);
    VORKXMLMessage fromNode = VORKXMLMessage::messageWithNode(*b);
    EXPECT_FALSE(fromNode.xml());
    EXPECT_EQ(fromNode.valueForProperty("c"), "x");
    EXPECT_EQ(fromNode.prettyXml(), "");
}

TEST(VORKXMLNode, StringValueByKind) {
    VORKXMLDocument doc("<ns2:status xmlns:ns2='urn:x' k=' v '><code> 42 </code></ns2:status>");
    VORKXMLNode &root = doc.rootNode();
    EXPECT_EQ(root.name(), "");
    EXPECT_FALSE(root.stringValue());  // the document node
    std::optional<VORKXMLNode> status = root.firstNodeForXPath("*");
    ASSERT_TRUE(status);
    EXPECT_EQ(status->name(), "ns2:status");
    EXPECT_EQ(status->stringValue(), "status");  // an element answers its local name
    EXPECT_EQ(status->stringForXPath("@k"), " v ");
    EXPECT_EQ(status->stringForXPath("code/text()"), "42");
    EXPECT_EQ(status->integerForXPath("code/text()"), 42);
    EXPECT_EQ(status->stringForXPath("code"), "code");
    EXPECT_EQ(status->integerForXPath("code"), 0);
    EXPECT_FALSE(status->stringForXPath("missing"));
}

TEST(VORKXMLNode, ErrorsAreKeptAcrossLaterSuccess) {
    VORKXMLDocument doc("<a><b/></a>");
    VORKXMLNode &root = doc.rootNode();
    EXPECT_FALSE(root.lastError());
    EXPECT_TRUE(root.nodesForXPath("a[").empty());
    ASSERT_TRUE(root.lastError());
    std::string first = root.lastError()->message;
    EXPECT_EQ(root.nodesForXPath("a/b").size(), 1u);
    ASSERT_TRUE(root.lastError());
    EXPECT_EQ(root.lastError()->message, first);
}

TEST(VORKXMLDocument, FromFileAndFailedParse) {
    test::TempDir dir;
    VORKXMLDocument doc = VORKXMLDocument::fromURL(dir.write("x.xml", "<a><b>1</b></a>").string());
    EXPECT_FALSE(doc.lastError());
    EXPECT_EQ(doc.rootNode().integerForXPath("a/b/text()"), 1);
    EXPECT_TRUE(VORKXMLDocument::fromURL((dir / "none.xml").string()).lastError());
    // A failed parse still has a root wrapper, which finds nothing.
    VORKXMLDocument broken("<a>");
    EXPECT_TRUE(broken.lastError());
    EXPECT_FALSE(broken.xml());
    EXPECT_TRUE(broken.rootNode().nodesForXPath("//*").empty());
}

TEST(VORKXMLDocument, FromNetworkLocation) {
    test::TempDir dir;
    test::Nginx nginx((dir / "nginx").string());
    std::ofstream(nginx.wwwFolder() + "/doc.xml") << "<a><b>7</b></a>";
    struct Case {
        std::string location;
        bool read;  // parsed without error
    };
    const std::vector<Case> cases = {
        {nginx.httpUrl("/doc.xml"), true},
        {"HTTP" + nginx.httpUrl("/doc.xml").substr(4), true},  // the scheme in any case
        {nginx.httpUrl("/missing.xml"), false},  // 404
        {nginx.httpsUrl("/doc.xml"), false},     // self-signed certificate: not trusted
    };
    for (const Case &c : cases) {
        VORKXMLDocument doc = VORKXMLDocument::fromURL(c.location);
        EXPECT_EQ(!doc.lastError(), c.read) << c.location;
        EXPECT_EQ(doc.rootNode().integerForXPath("a/b/text()"), c.read ? 7 : 0) << c.location;
    }
}

}  // namespace
}  // namespace vork
