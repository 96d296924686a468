#pragma once
// A property list parsed in memory (XML or binary, as libplist reads them),
// with a small read-only view for walking dictionaries and arrays. The
// disk tools print their reports this way.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vork {

// A node inside a PropertyList; valid while the list lives. A default view
// is "nothing": every lookup on it answers nothing again.
class PlistView {
public:
    PlistView() = default;
    explicit PlistView(void *node) : node_(node) {}

    explicit operator bool() const { return node_ != nullptr; }
    bool isDictionary() const;
    bool isArray() const;

    // Dictionary entry; nothing when this is not a dictionary or lacks the key.
    PlistView operator[](const char *key) const;
    // Array entries; 0 and nothing when this is not an array.
    uint32_t size() const;
    PlistView at(uint32_t index) const;

    // The text of a string node; none for any other kind.
    std::optional<std::string> text() const;
    // A number read as a signed 64-bit integer: integers as they are, reals
    // truncated, text by its leading digits; 0 for anything else.
    int64_t integer() const;

private:
    void *node_ = nullptr;
};

class PropertyList {
public:
    // The parsed list, or none when the text is not a property list.
    static std::optional<PropertyList> parse(std::string_view text);
    // As parse, but only a list whose top is a dictionary.
    static std::optional<PropertyList> parseDictionary(std::string_view text);

    PlistView root() const { return PlistView(root_.get()); }

private:
    struct Free {
        void operator()(void *node) const;
    };
    std::shared_ptr<void> root_;
};

}  // namespace vork
