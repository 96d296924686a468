#include "message/JavaDate.h"

#include <ctime>

#include "base/Format.h"
#include "platform/Clock.h"
#include "xml/TextScalars.h"

namespace vork {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

Date dateNow() { return std::chrono::time_point_cast<milliseconds>(platform::clock().get()->now()); }

int64_t javaEpochValue(Date date) {
    // duration_cast truncates toward zero; |seconds * 1000| never exceeds
    // the millisecond count it came from.
    return duration_cast<seconds>(date.time_since_epoch()).count() * 1000;
}

std::string javaEpochString(Date date) { return stringf("%lld", static_cast<long long>(javaEpochValue(date))); }

Date dateWithJavaEpochValue(int64_t milliseconds) {
    int64_t wholeSeconds = milliseconds / 1000;
    return Date(std::chrono::milliseconds(wholeSeconds * 1000));
}

Date dateWithJavaEpochString(const std::optional<std::string> &text) {
    return dateWithJavaEpochValue(text ? xml::leadingInteger(*text) : 0);
}

namespace {

// Reads exactly `count` decimal digits at `pos`.
bool digits(std::string_view text, size_t pos, size_t count, int &value) {
    if (pos + count > text.size()) return false;
    value = 0;
    for (size_t i = pos; i < pos + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + (text[i] - '0');
    }
    return true;
}

std::optional<Date> localDate(int year, int month, int day, int hour, int minute, int second) {
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    std::time_t t = std::mktime(&tm);
    // A day that does not exist (30 February) comes back normalised.
    if (tm.tm_year != year - 1900 || tm.tm_mon != month - 1 || tm.tm_mday != day) return std::nullopt;
    return Date(duration_cast<milliseconds>(seconds(static_cast<int64_t>(t))));
}

}  // namespace

std::optional<Date> dateFromVorkDateString(std::string_view text) {
    int year, month, day, hour, minute, second;
    bool datePart = digits(text, 0, 4, year) && text.size() >= 10 && text[4] == '-' && digits(text, 5, 2, month) &&
                    text[7] == '-' && digits(text, 8, 2, day);
    if (!datePart) return std::nullopt;
    if (text.size() == 19 && text[10] == ' ' && digits(text, 11, 2, hour) && text[13] == ':' &&
        digits(text, 14, 2, minute) && text[16] == ':' && digits(text, 17, 2, second)) {
        return localDate(year, month, day, hour, minute, second);
    }
    if (text.size() == 10) return localDate(year, month, day, 0, 0, 0);
    return std::nullopt;
}

}  // namespace vork
