#pragma once
// A mapped class with every field kind, nested objects and lists of itself,
// for feeding replies through the reader.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "message/ListItems.h"
#include "message/MappedClass.h"

namespace vork::fuzz {

class FuzzItem : public Mapped<FuzzItem> {
public:
    int32_t id = 0;
    std::optional<std::string> name;
    bool flag = false;
    double real = 0;
    std::optional<Bytes> data;
    std::optional<std::string> notes;
    std::optional<Bytes> scratch;
    std::optional<NumberObject> number;
    std::optional<Dictionary> dictionary;
    std::shared_ptr<FuzzItem> child;
    std::vector<std::shared_ptr<FuzzItem>> children;
    std::vector<std::shared_ptr<VCCStringListItem>> tags;
    std::optional<std::vector<std::string>> texts;
    std::optional<std::vector<NumberObject>> numbers;
    uint16_t small = 0;

    static const MappedClass &mapping() {
        static const MappedClass cls =
            MappedClass::define<FuzzItem>("FuzzItem")
                .alias("item")
                .typeAttr("ns2:Item")
                .fieldOrder({"id", "name", "flag", "real", "data", "notes", "scratch", "number", "dictionary", "child",
                             "children:FuzzItem", "tags:VCCStringListItem", "texts:NSString", "numbers:NSNumber",
                             "small=s", "missing"})
                .field("id", &FuzzItem::id)
                .field("name", &FuzzItem::name)
                .field("flag", &FuzzItem::flag)
                .field("real", &FuzzItem::real)
                .field("data", &FuzzItem::data)
                .field("notes", &FuzzItem::notes, FieldKind::MutableText)
                .field("scratch", &FuzzItem::scratch, FieldKind::MutableData)
                .field("number", &FuzzItem::number)
                .field("dictionary", &FuzzItem::dictionary)
                .field("child", &FuzzItem::child)
                .field("children", &FuzzItem::children)
                .field("tags", &FuzzItem::tags)
                .field("texts", &FuzzItem::texts)
                .field("numbers", &FuzzItem::numbers)
                .field("small", &FuzzItem::small);
        return cls;
    }
};

// A list entry without element class: reading one raises by design.
class LooseList : public Mapped<LooseList> {
public:
    std::vector<std::shared_ptr<FuzzItem>> items;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<LooseList>("LooseListResponse")
                                           .fieldOrder({"items", "others:Unknown"})
                                           .field("items", &LooseList::items);
        return cls;
    }
};

}  // namespace vork::fuzz
