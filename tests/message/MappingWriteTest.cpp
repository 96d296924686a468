// Writing mapped objects: element names, order, prefixes and text forms.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "message/MessageTestSupport.h"
#include "message/VCCMessageContent.h"

namespace vork::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// The fields of an object written into a bare element.
std::string written(const MappedObject &object) {
    xml::XmlNode parent = xml::XmlNode::element("parent");
    VCCMessageContent::saveCommandDataObject(object, parent);
    return parent.xmlString();
}

TEST(MappingWrite, FieldsFollowTheFieldOrderAndUnsetOptionalsAreSkipped) {
    PingRequest ping;
    EXPECT_EQ(written(ping),
              "<parent><ns2:invalidate>0</ns2:invalidate><ns2:count>0</ns2:count><ns2:ratio>0</ns2:ratio></parent>");
    ping.invalidate = true;
    ping.count = -3;
    ping.note = "hi";
    ping.ratio = 0.25;
    EXPECT_EQ(written(ping),
              "<parent><ns2:invalidate>1</ns2:invalidate><ns2:count>-3</ns2:count><ns2:note>hi</ns2:note>"
              "<ns2:ratio>0.25</ns2:ratio></parent>");
}

TEST(MappingWrite, TextAndDataForms) {
    const std::vector<std::tuple<std::optional<std::string>, std::optional<Bytes>, std::string>> rows{
        {"", std::nullopt, "<ns2:note></ns2:note>"},  // an empty element with (empty) text
        {"a<b & \"c\" ü", std::nullopt, "<ns2:note>a&lt;b &amp; \"c\" ü</ns2:note>"},  // escaped, not altered
        {std::nullopt, Bytes{'M', 'a', 'n', 0x00, 0xFF}, "<ns2:blob>TWFuAP8=</ns2:blob>"},
    };
    for (const auto &[note, blob, expected] : rows) {
        PingRequest ping;
        ping.note = note;
        ping.blob = blob;
        EXPECT_THAT(written(ping), HasSubstr(expected));
    }
}

TEST(MappingWrite, EveryKindOfTheCrate) {
    Crate crate;
    crate.crateID = 7;
    crate.name = "box";
    crate.notes = "fragile";
    crate.small = 200;
    crate.sealed = true;
    crate.payload = Bytes{1, 2, 3};
    crate.scratch = Bytes{'x'};
    crate.mainLabel = std::make_shared<Label>();
    crate.mainLabel->text = "main";
    crate.volume = NumberObject{3.5};
    crate.extras = Dictionary{{"k", "v"}};
    auto first = std::make_shared<Label>();
    first->text = "first";
    first->weight = 1;
    crate.labels = {first, std::make_shared<Label>()};
    crate.tags = {std::make_shared<VCCStringListItem>("tag", "red"), std::make_shared<VCCStringListItem>("tag", "blue")};
    crate.names = std::vector<std::string>{"plain", "text"};
    crate.counts = std::vector<NumberObject>{NumberObject{4}};
    crate.parts = {std::make_shared<VCCDataListItem>("part", Bytes{'h', 'i'})};
    EXPECT_EQ(written(crate),
              "<parent><ns2:id>7</ns2:id><ns2:name>box</ns2:name><ns2:notes>fragile</ns2:notes><ns2:small>200</ns2:small>"
              "<ns2:sealed>1</ns2:sealed><ns2:payload>AQID</ns2:payload><ns2:scratch>eA==</ns2:scratch>"
              // A nested object carries no xsi:type, list items do.
              "<ns2:mainLabel><ns2:text>main</ns2:text><ns2:weight>0</ns2:weight></ns2:mainLabel>"
              "<ns2:volume/><ns2:extras/><ns2:labels>"
              "<ns2:label xsi:type=\"ns2:LabelType\"><ns2:text>first</ns2:text><ns2:weight>1</ns2:weight></ns2:label>"
              "<ns2:label xsi:type=\"ns2:LabelType\"><ns2:weight>0</ns2:weight></ns2:label>"
              "</ns2:labels>"
              "<ns2:tags><ns2:tag>red</ns2:tag><ns2:tag>blue</ns2:tag></ns2:tags>"
              "<ns2:names/><ns2:counts><ns2:nSNumber/></ns2:counts><ns2:parts><ns2:part>aGk=</ns2:part></ns2:parts>"
              "</parent>");
}

// An empty list is an empty element, null items are skipped; an untagged
// string item and a subclass without its own declaration are empty
// elements named after their class.
TEST(MappingWrite, EmptyListsNullItemsAndUntaggedOrUndeclaredItems) {
    Crate crate;
    crate.labels = {nullptr};
    std::string xml = written(crate);
    EXPECT_THAT(xml, HasSubstr("<ns2:labels/>"));
    EXPECT_THAT(xml, HasSubstr("<ns2:tags/>"));
    EXPECT_THAT(xml, Not(HasSubstr("names")));  // none: not written
    crate.labels = {std::make_shared<PlainLabel>()};
    crate.tags = {std::make_shared<VCCStringListItem>()};
    xml = written(crate);
    EXPECT_THAT(xml, HasSubstr("<ns2:labels><ns2:plainLabel/></ns2:labels>"));
    EXPECT_THAT(xml, HasSubstr("<ns2:tags><ns2:vCCStringListItem/></ns2:tags>"));
}

TEST(MappingWrite, UndeclaredAndInheritedFieldsAreNotWritten) {
    StickyLabel sticky;
    sticky.text = "base field";
    sticky.glue = "own field";
    EXPECT_EQ(written(sticky), "<parent><ns2:glue>own field</ns2:glue></parent>");
    PlainLabel plain;
    plain.text = "ignored";
    EXPECT_EQ(written(plain), "<parent/>");
    EXPECT_EQ(written(BareRequest()), "<parent/>");  // no field order
}

TEST(MappingNames, ElementNames) {
    const std::vector<std::pair<std::string, std::string>> derived{
        {"KeepAliveRequest", "keepAlive"},          {"ClientSitePrivilegesResponse", "clientSitePrivileges"},
        {"Site", "site"},                           {"UIChoice", "uIChoice"},
        {"FooRequestRequest", "fooRequestRequest"}, {"RequestFoo", "requestFoo"},
        {"FooResponse", "foo"},                     {"FooRequestResponse", "fooRequest"},
        {"FooResponseRequest", "fooResponse"},      {"__NSCFString", ""}};
    for (const auto &[type, name] : derived) EXPECT_EQ(VCCMessageContent::nodeNameFromClass(type), name) << type;
    // An alias wins, even an empty one.
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(Label()), "label");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(PingRequest()), "ping");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(VCCStringListItem("x")), "");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(VCCStringListItem()), "vCCStringListItem");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(PlainLabel()), "plainLabel");
    for (auto [name, local] : std::vector<std::pair<std::string, std::string>>{{"ns2:status", "status"}, {"status", "status"}, {"a:b:c", "b"}})
        EXPECT_EQ(VCCMessageContent::stripNamespace(name), local) << name;
}

TEST(MappingDeclaration, FieldEntriesParse) {
    struct Row {
        std::string entry, fieldName;
        std::optional<std::string> elementClass;
        std::string xmlName;
    };
    for (const Row &row : std::vector<Row>{{"name", "name", std::nullopt, "name"},
                                           {"siteID=id", "siteID", std::nullopt, "id"},
                                           {"sites:Site", "sites", "Site", "sites"},
                                           {"items:Item=entry=ignored", "items", "Item", "entry"},
                                           {"a:B:C", "a", "B", "a"},
                                           {"stringValue=", "stringValue", std::nullopt, ""}}) {
        FieldEntry entry = FieldEntry::parse(row.entry);
        EXPECT_EQ(entry.fieldName, row.fieldName) << row.entry;
        EXPECT_EQ(entry.elementClass, row.elementClass) << row.entry;
        EXPECT_EQ(entry.xmlName, row.xmlName) << row.entry;
    }
}

TEST(MappingRegistry, CreatesRegisteredClassesByName) {
    (void)Label::mapping();
    EXPECT_NE(std::dynamic_pointer_cast<Label>(createMappedObject("Label")), nullptr);
    EXPECT_NE(createMappedObject("VCCStringListItem"), nullptr);
    EXPECT_EQ(createMappedObject("NoSuchClass"), nullptr);
    EXPECT_EQ(createMappedObject(""), nullptr);
}

TEST(MappingRegistry, FunctionFieldsReadAndWrite) {
    class Computed : public Mapped<Computed> {
    public:
        int value = 0;
        static const MappedClass &mapping() {
            static const MappedClass cls =
                MappedClass::define<Computed>("Computed")
                    .fieldOrder({"doubled"})
                    .field(
                        "doubled", FieldKind::Integer,
                        [](const Computed &c) { return FieldValue(int64_t(c.value * 2)); },
                        [](Computed &c, FieldValue v) {
                            if (auto *i = std::get_if<int64_t>(&v)) c.value = static_cast<int>(*i / 2);
                        });
            return cls;
        }
    } computed;
    computed.value = 21;
    EXPECT_EQ(written(computed), "<parent><ns2:doubled>42</ns2:doubled></parent>");
    xml::XmlDocument doc = xml::XmlDocument::parse("<x><doubled>10</doubled></x>");
    VCCMessageContent::loadCommandDataObject(computed, doc.rootElement());
    EXPECT_EQ(computed.value, 5);
}

}  // namespace
}  // namespace vork::test
