#pragma once
// A small JSON reader for the reference server's request records.
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vork::test {

struct Json {
    enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> members;

    bool isNull() const { return kind == Null; }
    // Member lookup; a Null value for a missing key or a non-object.
    const Json &operator[](const std::string &key) const {
        static const Json none;
        auto it = members.find(key);
        return kind == Object && it != members.end() ? it->second : none;
    }
    const Json &operator[](size_t index) const {
        static const Json none;
        return kind == Array && index < items.size() ? items[index] : none;
    }
    size_t size() const { return kind == Array ? items.size() : members.size(); }

    static Json parse(std::string_view text);
};

}  // namespace vork::test
