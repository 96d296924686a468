#pragma once
/** \file
 * The values a mapped field holds as the serializer sees them, and the kind
 * of each field: what MappedClass declarations and the XML reader and writer
 * of VCCMessageContent exchange.
 */
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace vork {

class MappedObject;

/// Binary data (a data field, Base64 on the wire).
using ByteVector = std::vector<uint8_t>;

/// A platform-style number object. The reader only ever makes zero-valued
/// ones, and the writer writes them as empty elements (they have no fields).
struct NumberObject {
    double value = 0;  ///< The number.
    /// Equal values.
    bool operator==(const NumberObject &) const = default;
};

/// A platform-style dictionary: without a mapping it is written as an empty
/// element and read back empty.
using Dictionary = std::map<std::string, std::string>;

/// One item of a list field.
using ListItem = std::variant<std::string, NumberObject, std::shared_ptr<MappedObject>>;
/// The items of a list field, in order.
using ListValue = std::vector<ListItem>;

/// How a field is written and read.
enum class FieldKind {
    Text,  ///< written as text, read as the element's text
    MutableText,  ///< written as text, read as an (empty) nested object
    Integer,  ///< decimal
    Real,  ///< decimal
    Flag,  ///< "1" / "0"
    Data,  ///< Base64
    MutableData,  ///< written as Base64, read as an (empty) nested object
    Object,  ///< nested mapped object
    Number,  ///< number object: written empty, read as zero
    Dictionary,  ///< dictionary object: written empty, read empty
    List,  ///< list with an element class named in the field order
};

/// A field's value as the serializer sees it; monostate is "none".
using FieldValue = std::variant<std::monostate, std::string, int64_t, double, bool, ByteVector,
                                std::shared_ptr<MappedObject>, NumberObject, Dictionary, ListValue>;

}  // namespace vork
