#include "disks/PropertyList.h"

#include <plist/plist.h>

#include <cstdlib>
#include <limits>

namespace vork {

bool PlistView::isDictionary() const { return node_ && plist_get_node_type(node_) == PLIST_DICT; }
bool PlistView::isArray() const { return node_ && plist_get_node_type(node_) == PLIST_ARRAY; }

PlistView PlistView::operator[](const char *key) const {
    if (!isDictionary()) return PlistView();
    return PlistView(plist_dict_get_item(node_, key));
}

uint32_t PlistView::size() const { return isArray() ? plist_array_get_size(node_) : 0; }

PlistView PlistView::at(uint32_t index) const {
    if (index >= size()) return PlistView();
    return PlistView(plist_array_get_item(node_, index));
}

std::optional<std::string> PlistView::text() const {
    if (!node_ || plist_get_node_type(node_) != PLIST_STRING) return std::nullopt;
    uint64_t length = 0;
    const char *bytes = plist_get_string_ptr(node_, &length);
    if (!bytes) return std::string();
    return std::string(bytes, static_cast<size_t>(length));
}

int64_t PlistView::integer() const {
    if (!node_) return 0;
    switch (plist_get_node_type(node_)) {
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node_, &value);
        return static_cast<int64_t>(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node_, &value);
        if (!(value > static_cast<double>(std::numeric_limits<int64_t>::min()) &&
              value < static_cast<double>(std::numeric_limits<int64_t>::max())))
            return 0;
        return static_cast<int64_t>(value);
    }
    case PLIST_STRING: {
        auto value = text();
        return value ? std::strtoll(value->c_str(), nullptr, 10) : 0;
    }
    default:
        return 0;
    }
}

void PropertyList::Free::operator()(void *node) const {
    if (node) plist_free(static_cast<plist_t>(node));
}

std::optional<PropertyList> PropertyList::parse(std::string_view text) {
    if (text.empty() || text.size() > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    plist_t node = nullptr;
    plist_from_memory(text.data(), static_cast<uint32_t>(text.size()), &node);
    if (!node) return std::nullopt;
    PropertyList list;
    list.root_ = std::shared_ptr<void>(node, Free());
    return list;
}

std::optional<PropertyList> PropertyList::parseDictionary(std::string_view text) {
    auto list = parse(text);
    if (!list || !list->root().isDictionary()) return std::nullopt;
    return list;
}

}  // namespace vork
