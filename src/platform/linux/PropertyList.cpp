#include "platform/linux/PropertyList.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

namespace vork::platform {

std::optional<StringDictionary> propertyListDictionary(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<uint32_t>::max()) return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    std::unique_ptr<void, void (*)(plist_t)> owner(root, plist_free);
    if (!root || plist_get_node_type(root) != PLIST_DICT) return std::nullopt;
    StringDictionary dictionary;
    plist_dict_iter iter = nullptr;
    plist_dict_new_iter(root, &iter);
    for (;;) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root, iter, &key, &value);
        std::unique_ptr<char, void (*)(void *)> keyOwner(key, std::free);
        if (!value) break;
        if (!key || plist_get_node_type(value) != PLIST_STRING) continue;
        uint64_t length = 0;
        const char *text = plist_get_string_ptr(value, &length);
        if (text) dictionary[key] = std::string(text, length);
    }
    std::free(iter);
    return dictionary;
}

}  // namespace vork::platform
