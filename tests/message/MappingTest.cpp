// Mapped objects to and from elements: names, order, prefixes, text forms,
// lists and the two declaration faults.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Exception.h"
#include "message/MessageTestSupport.h"
#include "message/VCCMessageContent.h"
#include "zel/ZelContents.h"

namespace vork::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Matcher;
using ::testing::Property;
using ::testing::Throws;

// The fields of an object written into a bare element.
std::string written(const MappedObject &object) {
    xml::XmlNode parent = xml::XmlNode::element("parent");
    VCCMessageContent::saveCommandDataObject(object, parent);
    return parent.xmlString();
}

// Parses an element and reads the object from it.
void readInto(MappedObject &object, const std::string &xml) {
    xml::XmlDocument doc = xml::XmlDocument::parse(xml);
    ASSERT_TRUE(doc) << xml;
    VCCMessageContent::loadCommandDataObject(object, doc.rootElement());
}

TEST(MappingWrite, EveryKindInFieldOrderWithItsTextForm) {
    Crate crate;
    crate.crateID = 7;
    crate.name = "a<b & \"c\" ü";
    crate.notes = "fragile";
    crate.small = 200;
    crate.sealed = true;
    crate.payload = Bytes{'M', 'a', 'n', 0x00, 0xFF};
    crate.scratch = Bytes{'x'};
    crate.mainLabel = std::make_shared<Label>();
    crate.mainLabel->text = "";
    crate.volume = NumberObject{3.5};
    crate.extras = Dictionary{{"k", "v"}};
    auto first = std::make_shared<Label>();
    first->text = "first";
    first->weight = 1;
    crate.labels = {first, nullptr, std::make_shared<PlainLabel>()};
    crate.tags = {std::make_shared<VCCStringListItem>("tag", "red"), std::make_shared<VCCStringListItem>()};
    crate.names = std::vector<std::string>{"plain"};
    crate.counts = std::vector<NumberObject>{NumberObject{4}};
    crate.parts = {std::make_shared<VCCDataListItem>("part", Bytes{'h', 'i'})};
    EXPECT_EQ(written(crate),
              "<parent><ns2:id>7</ns2:id><ns2:name>a&lt;b &amp; \"c\" ü</ns2:name><ns2:notes>fragile</ns2:notes>"
              "<ns2:small>200</ns2:small><ns2:ratio>0</ns2:ratio><ns2:sealed>1</ns2:sealed><ns2:payload>TWFuAP8=</ns2:payload>"
              "<ns2:scratch>eA==</ns2:scratch>"
              // A nested object carries no xsi:type, list items do; null items are skipped, untagged or
              // undeclared items are empty elements named after their class; unset lists are not written.
              "<ns2:mainLabel><ns2:text></ns2:text><ns2:weight>0</ns2:weight></ns2:mainLabel>"
              "<ns2:volume/><ns2:extras/><ns2:labels>"
              "<ns2:label xsi:type=\"ns2:LabelType\"><ns2:text>first</ns2:text><ns2:weight>1</ns2:weight></ns2:label>"
              "<ns2:plainLabel/></ns2:labels>"
              "<ns2:tags><ns2:tag>red</ns2:tag><ns2:vCCStringListItem/></ns2:tags>"
              "<ns2:names/><ns2:counts><ns2:nSNumber/></ns2:counts><ns2:parts><ns2:part>aGk=</ns2:part></ns2:parts>"
              "</parent>");
}

TEST(MappingNames, ElementNames) {
    const std::vector<std::pair<std::string, std::string>> derived{
        {"KeepAliveRequest", "keepAlive"}, {"UIChoice", "uIChoice"}, {"FooRequestRequest", "fooRequestRequest"},
        {"RequestFoo", "requestFoo"},      {"FooResponse", "foo"},   {"FooResponseRequest", "fooResponse"},
        {"__NSCFString", ""}};
    for (const auto &[type, name] : derived) EXPECT_EQ(VCCMessageContent::nodeNameFromClass(type), name) << type;
    // An alias wins, even an empty one.
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(Label()), "label");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(VCCStringListItem("x")), "");
    EXPECT_EQ(VCCMessageContent::stripNamespace("a:b:c"), "b");
}

TEST(MappingRead, FlagSpellings) {
    auto flagFrom = [](const std::string &text, bool initial) {
        Crate crate;
        crate.sealed = initial;
        readInto(crate, "<crate><sealed>" + text + "</sealed></crate>");
        return crate.sealed;
    };
    for (const char *yes : {"1", "true", "yes", "YES", "T", "y", " 2", "+1", "007"}) EXPECT_TRUE(flagFrom(yes, false)) << yes;
    for (const char *no : {"0", "false", "no", "", "-0", "abc", "000", "N"}) EXPECT_FALSE(flagFrom(no, true)) << no;
}

TEST(MappingRead, NumbersTakeTheLeadingDigits) {
    for (const auto &[text, id, ratio, small] : std::vector<std::tuple<std::string, int32_t, double, int>>{
             {" 42abc", 42, -150.0, 255}, {"abc", 0, 0.0, 0}, {"99999999999", INT32_MAX, 0.0, 0}, {"-99999999999", INT32_MIN, 0.0, 0}}) {
        Crate crate;
        readInto(crate, "<crate><id>" + text + "</id><ratio>" + (id == 42 ? "-1.5e2x" : ".") + "</ratio><small>" +
                            (small ? "300" : "-3") + "</small></crate>");
        EXPECT_EQ(crate.crateID, id) << text;
        EXPECT_DOUBLE_EQ(crate.ratio, ratio) << text;
        EXPECT_EQ(crate.small, small) << text;
    }
}

// A renamed field reads from its XML name, by local name, from direct
// children only; missing elements keep their values, mutable kinds do not.
TEST(MappingRead, LocalNamesWholeTextDecodedDataAndMutableKinds) {
    Crate crate;
    crate.small = 9;
    crate.notes = "old";
    crate.scratch = Bytes{9};
    auto previous = crate.mainLabel = std::make_shared<Label>();
    readInto(crate, "<crate xmlns:a='urn:a' xmlns='urn:d'><other><id>3</id></other><crateID>1</crateID><a:id>12</a:id>"
                    "<unknown>1</unknown><name>  two <b>parts</b> </name><payload>AQI\nD</payload><notes>new</notes>"
                    "<scratch>eA==</scratch><volume>12</volume><extras><k>v</k></extras><mainLabel><text>t</text></mainLabel></crate>");
    EXPECT_EQ(crate.crateID, 12);
    EXPECT_EQ(crate.small, 9);
    EXPECT_EQ(crate.name, "  two parts ");
    EXPECT_EQ(crate.payload, (Bytes{1, 2, 3}));
    EXPECT_EQ(crate.notes, "");
    EXPECT_EQ(crate.scratch, Bytes{});
    EXPECT_EQ(crate.volume, NumberObject{0});
    EXPECT_EQ(crate.extras, Dictionary{});
    ASSERT_NE(crate.mainLabel, previous);
    EXPECT_EQ(crate.mainLabel->text, "t");
}

TEST(MappingRead, ListItemsInDocumentOrderWhateverTheirNames) {
    Crate crate;
    readInto(crate, "<crate>\n <labels>\n  <label><text>a</text><weight>1</weight></label>\n  <any><text>b</text></any>\n </labels>"
                    "<names><n>one</n>three<!--c--></names><counts><c>5</c></counts><tags><tag>red</tag></tags></crate>");
    ASSERT_EQ(crate.labels.size(), 2u);  // blank text between items is no item
    EXPECT_EQ(crate.labels[0]->weight, 1);
    EXPECT_EQ(crate.labels[0]->text.value_or("") + crate.labels[1]->text.value_or(""), "ab");
    EXPECT_EQ(crate.names, (std::vector<std::string>{"one", "three", "c"}));  // every child node, comment too
    EXPECT_EQ(crate.counts, (std::vector<NumberObject>{NumberObject{0}}));
    ASSERT_EQ(crate.tags.size(), 1u);
    EXPECT_FALSE(crate.tags[0]->stringValue());  // an untagged string item reads nothing
}

TEST(MappingRead, ListDeclarationFaultsRaiseOnlyWhenTheElementHasItems) {
    Site site;
    readInto(site, "<site><id>4</id></site>");
    EXPECT_EQ(site.siteID, 4);
    // The exception's name and reason.
    auto raises = [](const std::string &name, const Matcher<const std::string &> &reason) {
        return Throws<Exception>(AllOf(Property(&Exception::name, name), Property(&Exception::reason, reason)));
    };
    EXPECT_THAT([&] { readInto(site, "<site><privileges><p>Read</p></privileges></site>"); },
                raises("Array Content Class not in _xmlFieldOrder",
                       "Array fields in _xmlFieldOrder need to be followed with :className"));
    Shelf shelf;
    readInto(shelf, "<shelf><items/></shelf>");
    const std::string notCreated = "The array content class in _xmlFieldOrder could not be created.";
    EXPECT_THAT([&] { readInto(shelf, "<shelf><items><ns2:item xmlns:ns2='urn:x'/><other/></items></shelf>"); },
                raises(notCreated,
                       "The array content class NoSuchClass in _xmlFieldOrder for node ns2:item could not be created."));
    EXPECT_THAT([&] { readInto(shelf, "<shelf><items>text</items></shelf>"); },
                raises(notCreated, HasSubstr("for node (null) could")));
}

TEST(MappingFields, InheritedAndUndeclaredFieldsAreNeitherWrittenNorRead) {
    StickyLabel sticky;
    sticky.text = "base";
    sticky.glue = "own";
    EXPECT_EQ(written(sticky), "<parent><ns2:glue>own</ns2:glue></parent>");
    readInto(sticky, "<x><text>other</text><glue>new</glue></x>");
    EXPECT_EQ(sticky.text, "base");
    EXPECT_EQ(sticky.glue, "new");
    PlainLabel plain;
    plain.text = "ignored";
    EXPECT_EQ(written(plain), "<parent/>");
    BareRequest bare;
    EXPECT_EQ(written(bare), "<parent/>");  // no field order
    readInto(bare, "<x><value>new</value></x>");
    EXPECT_EQ(bare.value, "never written");
}

}  // namespace
}  // namespace vork::test
