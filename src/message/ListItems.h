#pragma once
// List items that let a list field carry plain values under a chosen
// element name. Made with a tag name, an item declares an empty alias (no
// element of its own) and the single field entry "stringValue=<tag>" (or
// "dataValue=<tag>"), so a list of items tagged "privilege" is written as
// one "ns2:privilege" element per item. Made without a tag, an item
// declares nothing and is neither written nor read.
#include <optional>
#include <string>

#include "base/Export.h"
#include "message/MappedClass.h"

namespace vork {

class VORK_EXPORT VCCStringListItem : public Mapped<VCCStringListItem> {
public:
    VCCStringListItem() = default;
    explicit VCCStringListItem(const std::string &tagName);
    VCCStringListItem(const std::string &tagName, std::optional<std::string> stringValue);

    static const MappedClass &mapping();
    const ControlFields &controlFields() const override { return control_; }

    const std::optional<std::string> &stringValue() const { return stringValue_; }
    void setStringValue(std::optional<std::string> value) { stringValue_ = std::move(value); }

private:
    std::optional<std::string> stringValue_;
    ControlFields control_;
};

class VORK_EXPORT VCCDataListItem : public Mapped<VCCDataListItem> {
public:
    VCCDataListItem() = default;
    explicit VCCDataListItem(const std::string &tagName);
    VCCDataListItem(const std::string &tagName, std::optional<Bytes> dataValue);

    static const MappedClass &mapping();
    const ControlFields &controlFields() const override { return control_; }

    const std::optional<Bytes> &dataValue() const { return dataValue_; }
    void setDataValue(std::optional<Bytes> value) { dataValue_ = std::move(value); }

private:
    std::optional<Bytes> dataValue_;
    ControlFields control_;
};

}  // namespace vork
