#pragma once
// printf-style formatting into std::string (GCC 12 has no <format>).
// Log lines and messages of the library are written with the printf
// directives; "%@" of an object becomes "%s" with .c_str().
#include <cstdarg>
#include <string>

namespace vork {

std::string stringf(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string vstringf(const char *format, va_list args);

// "YES" / "NO", the way flags appear in log lines.
inline const char *yesNo(bool value) { return value ? "YES" : "NO"; }

}  // namespace vork
