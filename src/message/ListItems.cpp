#include "message/ListItems.h"

#include "base/Format.h"

namespace vork {

namespace {

ControlFields taggedControls(const char *format, const std::string &tagName) {
    ControlFields controls;
    controls.classAlias = std::string();
    controls.fieldOrder = std::vector<std::string>{stringf(format, tagName.c_str())};
    return controls;
}

// Registered at start-up so lists name them before anything else used them.
RegisterMappedClass<VCCStringListItem> registerStringListItem;
RegisterMappedClass<VCCDataListItem> registerDataListItem;

}  // namespace

VCCStringListItem::VCCStringListItem(const std::string &tagName)
    : control_(taggedControls("stringValue=%s", tagName)) {}

VCCStringListItem::VCCStringListItem(const std::string &tagName, std::optional<std::string> stringValue)
    : stringValue_(std::move(stringValue)), control_(taggedControls("stringValue=%s", tagName)) {}

const MappedClass &VCCStringListItem::mapping() {
    static const MappedClass cls = MappedClass::define<VCCStringListItem>("VCCStringListItem")
                                       .field("stringValue", &VCCStringListItem::stringValue_);
    return cls;
}

VCCDataListItem::VCCDataListItem(const std::string &tagName) : control_(taggedControls("dataValue=%s", tagName)) {}

VCCDataListItem::VCCDataListItem(const std::string &tagName, std::optional<Bytes> dataValue)
    : dataValue_(std::move(dataValue)), control_(taggedControls("dataValue=%s", tagName)) {}

const MappedClass &VCCDataListItem::mapping() {
    static const MappedClass cls =
        MappedClass::define<VCCDataListItem>("VCCDataListItem").field("dataValue", &VCCDataListItem::dataValue_);
    return cls;
}

}  // namespace vork
