#pragma once
/** \file
 * Points in time and the server's text forms of them: time stamps are
 * decimal milliseconds since 1970-01-01 00:00:00 UTC carrying whole seconds
 * only (the millisecond digits are always 000), and calendar dates are
 * "yyyy-MM-dd HH:mm:ss" or "yyyy-MM-dd" in the process's local time zone.
 */
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "VORKCoreCommC/export.h"

namespace vork {

/// Milliseconds since 1970 UTC; the 64-bit count covers every time stamp
/// the protocol can carry.
using Date = std::chrono::sys_time<std::chrono::milliseconds>;

/// The platform clock's "now".
VORK_EXPORT Date dateNow();

/// Whole seconds since 1970 (truncated toward zero) times 1000.
VORK_EXPORT int64_t javaEpochValue(Date date);
/// javaEpochValue in decimal ("%lld").
VORK_EXPORT std::string javaEpochString(Date date);
/// The value divided by 1000 (toward zero) as whole seconds after 1970.
VORK_EXPORT Date dateWithJavaEpochValue(int64_t milliseconds);
/// Leading decimal integer of the text (0 for none or no digits).
VORK_EXPORT Date dateWithJavaEpochString(const std::optional<std::string> &text);
/// "yyyy-MM-dd HH:mm:ss", else "yyyy-MM-dd" (midnight), in local time; none
/// when neither matches.
VORK_EXPORT std::optional<Date> dateFromVorkDateString(std::string_view text);

}  // namespace vork
