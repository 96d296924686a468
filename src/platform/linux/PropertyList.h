#pragma once
// Property-list dictionaries through libplist.
#include <optional>
#include <string_view>

#include "platform/SystemInformationSource.h"

namespace vork::platform {

// The text values of the top-level dictionary of an XML or binary property
// list; none when the bytes are not a property list or its top level is not
// a dictionary.
std::optional<StringDictionary> propertyListDictionary(std::string_view bytes);

}  // namespace vork::platform
