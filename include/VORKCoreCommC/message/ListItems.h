#pragma once
/** \file
 * List items that let a list field carry plain values under a chosen
 * element name. Made with a tag name, an item declares an empty alias (no
 * element of its own) and the single field entry "stringValue=<tag>" (or
 * "dataValue=<tag>"), so a list of items tagged "privilege" is written as
 * one "ns2:privilege" element per item. Made without a tag, an item
 * declares nothing and is neither written nor read.
 */
#include <optional>
#include <string>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/MappedClass.h"

namespace vork {

/// A text item of a list field, written under its tag name.
class VORK_EXPORT VCCStringListItem : public Mapped<VCCStringListItem> {
public:
    /// An item without a tag: neither written nor read.
    VCCStringListItem() = default;
    /// An empty item written under tagName.
    explicit VCCStringListItem(const std::string &tagName);
    /// An item holding stringValue, written under tagName.
    VCCStringListItem(const std::string &tagName, std::optional<std::string> stringValue);

    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
    /// The per-item control fields (alias "" and "stringValue=<tag>").
    const ControlFields &controlFields() const override { return control_; }

    /// The item's text.
    const std::optional<std::string> &stringValue() const { return stringValue_; }
    /// Sets the text.
    void setStringValue(std::optional<std::string> value) { stringValue_ = std::move(value); }

private:
    std::optional<std::string> stringValue_;
    ControlFields control_;
};

/// A data item of a list field, written as Base64 under its tag name.
class VORK_EXPORT VCCDataListItem : public Mapped<VCCDataListItem> {
public:
    /// An item without a tag: neither written nor read.
    VCCDataListItem() = default;
    /// An empty item written under tagName.
    explicit VCCDataListItem(const std::string &tagName);
    /// An item holding dataValue, written under tagName.
    VCCDataListItem(const std::string &tagName, std::optional<ByteVector> dataValue);

    /// The class's mapping declaration (lives for the process).
    static const MappedClass &mapping();
    /// The per-item control fields (alias "" and "dataValue=<tag>").
    const ControlFields &controlFields() const override { return control_; }

    /// The item's data.
    const std::optional<ByteVector> &dataValue() const { return dataValue_; }
    /// Sets the data.
    void setDataValue(std::optional<ByteVector> value) { dataValue_ = std::move(value); }

private:
    std::optional<ByteVector> dataValue_;
    ControlFields control_;
};

}  // namespace vork
