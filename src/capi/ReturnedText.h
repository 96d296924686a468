#pragma once
// Text handed out through the C interface. Each result is copied into the
// calling thread's release scope and the pointer stays valid until that
// scope drains (see basics.h for the rule).
#include <optional>
#include <string>
#include <string_view>

namespace vork::capi {

// Keeps a copy of the text in the thread's current scope and returns it.
const char *returnText(std::string_view text);
// NULL for none.
const char *returnText(const std::optional<std::string> &text);

// Fixed results that live for the whole process.
inline const char *emptyText() { return ""; }

// Arguments: UTF-8 text in, none for NULL or invalid UTF-8.
std::optional<std::string> argument(const char *bytes);
// The same, with none read as "" (for arguments that are only formatted).
std::string argumentOrEmpty(const char *bytes);

void pushScope();
void popScope();
size_t heldCount();
// How many results a thread keeps outside any explicit scope.
constexpr size_t kImplicitScopeCapacity = 256;

}  // namespace vork::capi
