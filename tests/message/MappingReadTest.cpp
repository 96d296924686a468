// Reading mapped objects from reply elements: matching by local name, the
// text forms, lists and the two declaration faults.
#include <gtest/gtest.h>

#include "message/MessageTestSupport.h"
#include "message/VCCMessageContent.h"

namespace vork::test {
namespace {

// Parses an element and reads the object from it.
void readInto(MappedObject &object, const std::string &xml) {
    xml::XmlDocument doc = xml::XmlDocument::parse(xml);
    ASSERT_TRUE(doc) << xml;
    VCCMessageContent::loadCommandDataObject(object, doc.rootElement());
}

// Reads a flag into a field that starts with the opposite value.
bool flagFrom(const std::string &text, bool initial) {
    PingRequest ping;
    ping.invalidate = initial;
    readInto(ping, "<ping><invalidate>" + text + "</invalidate></ping>");
    return ping.invalidate;
}

TEST(MappingRead, FlagSpellings) {
    for (const char *yes : {"1", "true", "yes", "YES", "T", "y", " 2", "+1", "007", "9"})
        EXPECT_TRUE(flagFrom(yes, false)) << yes;
    for (const char *no : {"0", "false", "no", "", "-0", "abc", "000", " ", "N"}) EXPECT_FALSE(flagFrom(no, true)) << no;
}

TEST(MappingRead, NumbersTakeTheLeadingDigits) {
    for (const auto &[text, count, ratio, small] : std::vector<std::tuple<std::string, int32_t, double, int>>{
             {" 42abc", 42, -150.0, 255}, {"abc", 0, 0.0, 0}, {"99999999999", INT32_MAX, 0.0, 0}, {"-99999999999", INT32_MIN, 0.0, 0}}) {
        PingRequest ping;
        Crate crate;
        readInto(ping, "<ping><count>" + text + "</count><ratio>" + (count == 42 ? "-1.5e2x" : ".") + "</ratio></ping>");
        readInto(crate, std::string("<crate><small>") + (small ? "300" : "-3") + "</small></crate>");
        EXPECT_EQ(ping.count, count) << text;
        EXPECT_DOUBLE_EQ(ping.ratio, ratio) << text;
        EXPECT_EQ(crate.small, small) << text;
    }
}

TEST(MappingRead, FieldsMatchByLocalNameTheirXmlNameAndTextIsTheWholeUnstrippedContent) {
    PingRequest ping;
    readInto(ping, "<ping xmlns:a='urn:a' xmlns='urn:default'><a:count>5</a:count><note>  two <b>parts</b> </note></ping>");
    EXPECT_EQ(ping.count, 5);
    EXPECT_EQ(ping.note, "  two parts ");
    readInto(ping, "<ping><note/></ping>");
    EXPECT_EQ(ping.note, "");
    // Missing elements keep their values and unknown ones are skipped.
    ping.note = "kept";
    readInto(ping, "<ping><unknown>1</unknown><invalidate>1</invalidate><other><count>3</count></other></ping>");
    EXPECT_EQ(ping.count, 5);
    EXPECT_EQ(ping.note, "kept");
    EXPECT_TRUE(ping.invalidate);
    // A renamed field reads from its XML name.
    Crate crate;
    readInto(crate, "<crate><crateID>1</crateID><ns2:id xmlns:ns2='urn:x'>12</ns2:id></crate>");
    EXPECT_EQ(crate.crateID, 12);
}

TEST(MappingRead, DataIsDecodedMutableKindsReadEmpty) {
    Crate crate;
    crate.notes = "old";
    crate.scratch = Bytes{9};
    readInto(crate,
             "<crate><payload>AQI\nD</payload><notes>new notes</notes><scratch>eA==</scratch>"
             "<volume>12</volume><extras><k>v</k></extras></crate>");
    EXPECT_EQ(crate.payload, (Bytes{1, 2, 3}));
    EXPECT_EQ(crate.notes, "");           // read as a nested object: empty
    EXPECT_EQ(crate.scratch, Bytes{});    // not decoded
    EXPECT_EQ(crate.volume, NumberObject{0});  // zero, whatever the text
    EXPECT_EQ(crate.extras, Dictionary{});
}

TEST(MappingRead, NestedObjectIsNewAndFilled) {
    Crate crate;
    auto previous = std::make_shared<Label>();
    previous->weight = 99;
    crate.mainLabel = previous;
    readInto(crate, "<crate><mainLabel><text>t</text></mainLabel></crate>");
    ASSERT_NE(crate.mainLabel, nullptr);
    EXPECT_NE(crate.mainLabel, previous);
    EXPECT_EQ(crate.mainLabel->text, "t");
    EXPECT_EQ(crate.mainLabel->weight, 0);
}

TEST(MappingRead, ListItemsInDocumentOrderWhateverTheirNames) {
    Crate crate;
    // Blank text between the items is no item.
    readInto(crate,
             "<crate>\n  <labels>\n    <label><text>a</text><weight>1</weight></label>\n"
             "    <anything><text>b</text></anything>\n  </labels>\n</crate>");
    ASSERT_EQ(crate.labels.size(), 2u);
    EXPECT_EQ(crate.labels[0]->weight, 1);
    EXPECT_EQ(crate.labels[0]->text.value_or("") + crate.labels[1]->text.value_or(""), "ab");
    readInto(crate, "<crate><labels/></crate>");
    EXPECT_TRUE(crate.labels.empty());
}

TEST(MappingRead, TextNumberAndUntaggedStringItems) {
    Crate crate;
    readInto(crate, "<crate><names><n>one</n><n> two </n>three<!--c--></names><counts><c>5</c><c>6</c></counts>"
                    "<tags><tag>red</tag></tags></crate>");
    ASSERT_TRUE(crate.names);
    // Every child node is an item: the text node and the comment too.
    EXPECT_EQ(*crate.names, (std::vector<std::string>{"one", " two ", "three", "c"}));
    ASSERT_TRUE(crate.counts);
    EXPECT_EQ(*crate.counts, (std::vector<NumberObject>{NumberObject{0}, NumberObject{0}}));
    // An untagged string item reads nothing.
    ASSERT_EQ(crate.tags.size(), 1u);
    EXPECT_FALSE(crate.tags[0]->stringValue());
}

TEST(MappingRead, ListEntryWithoutClassRaisesWhenTheElementIsPresent) {
    LooseSite site;
    readInto(site, "<site><id>4</id></site>");
    EXPECT_EQ(site.siteID, 4);
    std::optional<Exception> error =
        raised([&] { readInto(site, "<site><id>4</id><privileges><privilege>Read</privilege></privileges></site>"); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->name(), "Array Content Class not in _xmlFieldOrder");
    EXPECT_EQ(error->reason(), "Array fields in _xmlFieldOrder need to be followed with :className");
}

TEST(MappingRead, UnknownItemClassRaisesAtTheFirstChild) {
    Shelf shelf;
    readInto(shelf, "<shelf><items/></shelf>");
    EXPECT_TRUE(shelf.items.empty());
    std::optional<Exception> error =
        raised([&] { readInto(shelf, "<shelf><items><ns2:item xmlns:ns2='urn:x'/><other/></items></shelf>"); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->name(), "The array content class in _xmlFieldOrder could not be created.");
    EXPECT_EQ(error->reason(),
              "The array content class NoSuchClass in _xmlFieldOrder for node ns2:item could not be created.");
    error = raised([&] { readInto(shelf, "<shelf><items>text</items></shelf>"); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->reason(),
              "The array content class NoSuchClass in _xmlFieldOrder for node (null) could not be created.");
}

TEST(MappingRead, InheritedAndUndeclaredFieldsAreNotRead) {
    StickyLabel sticky;
    readInto(sticky, "<x><text>base</text><glue>own</glue></x>");
    EXPECT_FALSE(sticky.text);
    EXPECT_EQ(sticky.glue, "own");
    PlainLabel plain;
    readInto(plain, "<x><text>base</text></x>");
    EXPECT_FALSE(plain.text);
    BareRequest bare;
    readInto(bare, "<x><value>new</value></x>");
    EXPECT_EQ(bare.value, "never written");
}

TEST(MappingRead, NullElementReadsNothing) {
    PingRequest ping;
    ping.count = 3;
    VCCMessageContent::loadCommandDataObject(ping, xml::XmlNode());
    EXPECT_EQ(ping.count, 3);
}

TEST(MappingRoundTrip, WrittenCrateReadsBack) {
    Crate crate;
    crate.crateID = -8;
    crate.name = "n";
    crate.sealed = true;
    crate.payload = Bytes{0, 255, 10};
    auto label = std::make_shared<Label>();
    label->text = "l";
    label->weight = 1LL << 40;
    crate.labels = {label};
    crate.tags = {std::make_shared<VCCStringListItem>("tag", "red")};
    xml::XmlNode root = xml::XmlNode::element("crate");
    root.addNamespace("ns2", "http://vork.io/VORKMessage");
    root.addNamespace("xsi", "http://www.w3.org/2001/XMLSchema-instance");
    VCCMessageContent::saveCommandDataObject(crate, root);
    Crate back;
    readInto(back, root.xmlString());
    EXPECT_EQ(back.crateID, -8);
    EXPECT_EQ(back.name, "n");
    EXPECT_TRUE(back.sealed);
    EXPECT_EQ(back.payload, crate.payload);
    ASSERT_EQ(back.labels.size(), 1u);
    EXPECT_EQ(back.labels[0]->weight, 1LL << 40);
    EXPECT_EQ(back.tags.size(), 1u);  // items exist; untagged, they read no value
}

}  // namespace
}  // namespace vork::test
