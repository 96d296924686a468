// Writing mapped objects: element names, order, prefixes and text forms.
#include <gtest/gtest.h>

#include "message/MessageTestSupport.h"
#include "message/VCCMessageContent.h"

namespace vork::test {
namespace {

// The fields of an object written into a bare element.
std::string written(const MappedObject &object) {
    xml::XmlNode parent = xml::XmlNode::element("parent");
    VCCMessageContent::saveCommandDataObject(object, parent);
    return parent.xmlString();
}

TEST(MappingWrite, FieldsFollowTheFieldOrderNotTheDeclarationOrder) {
    PingRequest ping;
    ping.invalidate = true;
    ping.count = -3;
    ping.note = "hi";
    ping.ratio = 0.25;
    EXPECT_EQ(written(ping),
              "<parent><ns2:invalidate>1</ns2:invalidate><ns2:count>-3</ns2:count><ns2:note>hi</ns2:note>"
              "<ns2:ratio>0.25</ns2:ratio></parent>");
}

TEST(MappingWrite, FlagsAreOneAndZero) {
    PingRequest ping;
    EXPECT_NE(written(ping).find("<ns2:invalidate>0</ns2:invalidate>"), std::string::npos);
    ping.invalidate = true;
    EXPECT_NE(written(ping).find("<ns2:invalidate>1</ns2:invalidate>"), std::string::npos);
}

TEST(MappingWrite, UnsetOptionalFieldsAreSkippedScalarsAlwaysWritten) {
    PingRequest ping;
    EXPECT_EQ(written(ping),
              "<parent><ns2:invalidate>0</ns2:invalidate><ns2:count>0</ns2:count><ns2:ratio>0</ns2:ratio></parent>");
}

TEST(MappingWrite, EmptyTextIsWrittenAsAnEmptyElementWithText) {
    PingRequest ping;
    ping.note = "";
    EXPECT_NE(written(ping).find("<ns2:note></ns2:note>"), std::string::npos);
}

TEST(MappingWrite, TextIsEscapedNotAltered) {
    PingRequest ping;
    ping.note = "a<b & \"c\" ü";
    EXPECT_NE(written(ping).find("<ns2:note>a&lt;b &amp; \"c\" ü</ns2:note>"), std::string::npos);
}

TEST(MappingWrite, DataIsBase64) {
    PingRequest ping;
    ping.blob = Bytes{'M', 'a', 'n', 0x00, 0xFF};
    EXPECT_NE(written(ping).find("<ns2:blob>TWFuAP8=</ns2:blob>"), std::string::npos);
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
    EXPECT_EQ(written(crate),
              "<parent>"
              "<ns2:id>7</ns2:id>"
              "<ns2:name>box</ns2:name>"
              "<ns2:notes>fragile</ns2:notes>"
              "<ns2:small>200</ns2:small>"
              "<ns2:sealed>1</ns2:sealed>"
              "<ns2:payload>AQID</ns2:payload>"
              "<ns2:scratch>eA==</ns2:scratch>"
              // A nested object carries no xsi:type, list items do.
              "<ns2:mainLabel><ns2:text>main</ns2:text><ns2:weight>0</ns2:weight></ns2:mainLabel>"
              "<ns2:volume/>"
              "<ns2:extras/>"
              "<ns2:labels>"
              "<ns2:label xsi:type=\"ns2:LabelType\"><ns2:text>first</ns2:text><ns2:weight>1</ns2:weight></ns2:label>"
              "<ns2:label xsi:type=\"ns2:LabelType\"><ns2:weight>0</ns2:weight></ns2:label>"
              "</ns2:labels>"
              "<ns2:tags><ns2:tag>red</ns2:tag><ns2:tag>blue</ns2:tag></ns2:tags>"
              "<ns2:names/>"
              "<ns2:counts><ns2:nSNumber/></ns2:counts>"
              "</parent>");
}

TEST(MappingWrite, EmptyListIsAnEmptyElementAndNullItemsAreSkipped) {
    Crate crate;
    crate.labels = {nullptr};
    std::string xml = written(crate);
    EXPECT_NE(xml.find("<ns2:labels/>"), std::string::npos);
    EXPECT_NE(xml.find("<ns2:tags/>"), std::string::npos);
    EXPECT_EQ(xml.find("names"), std::string::npos);  // none: not written
}

TEST(MappingWrite, ListWithoutElementClassIsWrittenWithoutComplaint) {
    LooseSite site;
    site.siteID = 3;
    site.privileges = {std::make_shared<VCCStringListItem>("privilege", "Read")};
    EXPECT_EQ(written(site),
              "<parent><ns2:id>3</ns2:id><ns2:privileges><ns2:privilege>Read</ns2:privilege></ns2:privileges></parent>");
}

TEST(MappingWrite, ListItemWithoutTagIsAnEmptyElementOfItsClassName) {
    Crate crate;
    crate.tags = {std::make_shared<VCCStringListItem>()};
    EXPECT_NE(written(crate).find("<ns2:tags><ns2:vCCStringListItem/></ns2:tags>"), std::string::npos);
}

TEST(MappingWrite, DataListItemsWriteBase64UnderTheirTag) {
    class Blobs : public Mapped<Blobs> {
    public:
        std::vector<std::shared_ptr<VCCDataListItem>> parts;
        static const MappedClass &mapping() {
            static const MappedClass cls = MappedClass::define<Blobs>("Blobs")
                                               .fieldOrder({"parts:VCCDataListItem"})
                                               .field("parts", &Blobs::parts);
            return cls;
        }
    } blobs;
    blobs.parts = {std::make_shared<VCCDataListItem>("part", Bytes{'h', 'i'})};
    EXPECT_EQ(written(blobs), "<parent><ns2:parts><ns2:part>aGk=</ns2:part></ns2:parts></parent>");
}

TEST(MappingWrite, ClassWithoutFieldOrderWritesNoFields) {
    BareRequest bare;
    EXPECT_EQ(written(bare), "<parent/>");
}

TEST(MappingWrite, InheritedFieldsAreNotSeen) {
    StickyLabel sticky;
    sticky.text = "base field";
    sticky.glue = "own field";
    EXPECT_EQ(written(sticky), "<parent><ns2:glue>own field</ns2:glue></parent>");
}

TEST(MappingWrite, SubclassWithoutOwnDeclarationIsAnUndeclaredClass) {
    auto plain = std::make_shared<PlainLabel>();
    plain->text = "ignored";
    EXPECT_EQ(written(*plain), "<parent/>");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(*plain), "plainLabel");
    Crate crate;
    crate.labels = {plain};
    EXPECT_NE(written(crate).find("<ns2:labels><ns2:plainLabel/></ns2:labels>"), std::string::npos);
}

TEST(MappingNames, DerivedFromTheTypeName) {
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("KeepAliveRequest"), "keepAlive");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("ClientSitePrivilegesResponse"), "clientSitePrivileges");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("Site"), "site");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("UIChoice"), "uIChoice");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("FooRequestRequest"), "fooRequestRequest");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("RequestFoo"), "requestFoo");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("FooResponse"), "foo");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("FooRequestResponse"), "fooRequest");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("FooResponseRequest"), "fooResponse");
    EXPECT_EQ(VCCMessageContent::nodeNameFromClass("__NSCFString"), "");
}

TEST(MappingNames, AliasWinsEvenWhenEmpty) {
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(Label()), "label");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(PingRequest()), "ping");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(VCCStringListItem("x")), "");
    EXPECT_EQ(VCCMessageContent::nodeNameFromObject(VCCStringListItem()), "vCCStringListItem");
}

TEST(MappingNames, StripNamespace) {
    EXPECT_EQ(VCCMessageContent::stripNamespace("ns2:status"), "status");
    EXPECT_EQ(VCCMessageContent::stripNamespace("status"), "status");
    EXPECT_EQ(VCCMessageContent::stripNamespace("a:b:c"), "b");
}

TEST(MappingDeclaration, FieldEntriesParse) {
    FieldEntry plain = FieldEntry::parse("name");
    EXPECT_EQ(plain.fieldName, "name");
    EXPECT_FALSE(plain.elementClass);
    EXPECT_EQ(plain.xmlName, "name");
    FieldEntry renamed = FieldEntry::parse("siteID=id");
    EXPECT_EQ(renamed.fieldName, "siteID");
    EXPECT_EQ(renamed.xmlName, "id");
    FieldEntry list = FieldEntry::parse("sites:Site");
    EXPECT_EQ(list.fieldName, "sites");
    EXPECT_EQ(list.elementClass, "Site");
    EXPECT_EQ(list.xmlName, "sites");
    FieldEntry both = FieldEntry::parse("items:Item=entry=ignored");
    EXPECT_EQ(both.fieldName, "items");
    EXPECT_EQ(both.elementClass, "Item");
    EXPECT_EQ(both.xmlName, "entry");
    FieldEntry extra = FieldEntry::parse("a:B:C");
    EXPECT_EQ(extra.elementClass, "B");
    EXPECT_EQ(FieldEntry::parse("stringValue=").xmlName, "");
}

TEST(MappingDeclaration, ControlFieldsAsDeclared) {
    ControlFields label = VCCMessageContent::xmlControlFieldsInObject(Label());
    EXPECT_EQ(label.classAlias, "label");
    EXPECT_EQ(label.classTypeAttr, "ns2:LabelType");
    ASSERT_TRUE(label.fieldOrder);
    EXPECT_EQ(label.fieldOrder->size(), 2u);
    ControlFields ping = VCCMessageContent::xmlControlFieldsInObject(PingRequest());
    EXPECT_FALSE(ping.classAlias);
    EXPECT_FALSE(ping.classTypeAttr);
    ControlFields item = VCCMessageContent::xmlControlFieldsInObject(VCCStringListItem("privilege"));
    EXPECT_EQ(item.classAlias, "");
    EXPECT_EQ(item.fieldOrder, std::vector<std::string>{"stringValue=privilege"});
    ControlFields untagged = VCCMessageContent::xmlControlFieldsInObject(VCCStringListItem());
    EXPECT_FALSE(untagged.classAlias);
    EXPECT_FALSE(untagged.fieldOrder);
    EXPECT_FALSE(VCCMessageContent::xmlControlFieldsInObject(PlainLabel()).classAlias);
}

TEST(MappingDeclaration, FieldsAreFoundByName) {
    const MappedClass &cls = Crate::mapping();
    EXPECT_EQ(cls.typeName(), "Crate");
    EXPECT_EQ(cls.indexOfField("crateID"), 0);
    EXPECT_EQ(cls.indexOfField("noSuchField"), -1);
    ASSERT_NE(cls.field("labels"), nullptr);
    EXPECT_EQ(cls.field("labels")->kind, FieldKind::List);
    EXPECT_EQ(cls.field("notes")->kind, FieldKind::MutableText);
    EXPECT_EQ(cls.field("mainLabel")->kind, FieldKind::Object);
    EXPECT_EQ(cls.field("small")->kind, FieldKind::Integer);
    EXPECT_EQ(cls.field("volume")->kind, FieldKind::Number);
}

TEST(MappingRegistry, CreatesRegisteredClassesByName) {
    (void)Label::mapping();
    auto label = createMappedObject("Label");
    ASSERT_NE(label, nullptr);
    EXPECT_NE(std::dynamic_pointer_cast<Label>(label), nullptr);
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
