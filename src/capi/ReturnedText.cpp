#include "capi/ReturnedText.h"

#include <deque>
#include <memory>
#include <vector>

#include "util/Utf8.h"

namespace vork::capi {

namespace {

struct ThreadScopes {
    // Outside explicit scopes: a ring of the most recent results.
    std::deque<std::unique_ptr<char[]>> implicit;
    // Explicit scopes, innermost last.
    std::vector<std::vector<std::unique_ptr<char[]>>> explicitScopes;
};

ThreadScopes &scopes() {
    thread_local ThreadScopes s;
    return s;
}

}  // namespace

const char *returnText(std::string_view text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    text.copy(copy.get(), text.size());
    copy[text.size()] = '\0';
    const char *result = copy.get();
    ThreadScopes &s = scopes();
    if (!s.explicitScopes.empty()) {
        s.explicitScopes.back().push_back(std::move(copy));
    } else {
        if (s.implicit.size() >= kImplicitScopeCapacity) s.implicit.pop_front();
        s.implicit.push_back(std::move(copy));
    }
    return result;
}

const char *returnText(const std::optional<std::string> &text) {
    return text ? returnText(std::string_view(*text)) : nullptr;
}

std::optional<std::string> argument(const char *bytes) {
    if (!bytes) return std::nullopt;
    std::string_view view(bytes);
    if (!util::isValidUtf8(view)) return std::nullopt;
    return std::string(view);
}

std::string argumentOrEmpty(const char *bytes) {
    auto text = argument(bytes);
    return text ? *text : std::string();
}

void pushScope() { scopes().explicitScopes.emplace_back(); }

void popScope() {
    ThreadScopes &s = scopes();
    if (!s.explicitScopes.empty()) s.explicitScopes.pop_back();
}

size_t heldCount() {
    ThreadScopes &s = scopes();
    size_t n = s.implicit.size();
    for (const auto &scope : s.explicitScopes) n += scope.size();
    return n;
}

}  // namespace vork::capi
