// Millisecond time stamps, calendar dates, content uuids and the two XML
// text cleaners.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <regex>
#include <set>

#include "support/ScopedEnv.h"
#include "message/JavaDate.h"
#include "message/MessageTestSupport.h"
#include "message/RemoveInvalidXmlData.h"
#include "message/Uuid.h"
#include "message/VCCMessage.h"

namespace vork::test {
namespace {

using std::chrono::milliseconds;

TEST(Uuid, RandomVersion4AndAForkedChildDrawsItsOwn) {
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 200; ++i) {
        const std::string uuid = newUuidString();
        EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 200u);
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const pid_t child = fork();
    if (child == 0) {
        const std::string uuid = newUuidString();
        _exit(write(pipeEnds[1], uuid.data(), uuid.size()) == ssize_t(uuid.size()) ? 0 : 1);
    }
    close(pipeEnds[1]);
    const std::string parents = newUuidString();
    char text[64];
    const ssize_t length = read(pipeEnds[0], text, sizeof text);
    close(pipeEnds[0]);
    waitpid(child, nullptr, 0);
    ASSERT_EQ(length, 36);
    EXPECT_NE(std::string(text, 36), parents);
}

TEST(JavaDate, WholeSecondsBothWays) {
    EXPECT_EQ(javaEpochString(Date(milliseconds(978307200750))), "978307200000");
    EXPECT_EQ(javaEpochString(Date(milliseconds(-1500))), "-1000");
    for (const auto &[value, millis] : std::vector<std::pair<int64_t, int64_t>>{
             {1500, 1000}, {-1500, -1000}, {INT64_MAX, INT64_MAX / 1000 * 1000}, {INT64_MIN, INT64_MIN / 1000 * 1000}})
        EXPECT_EQ(dateWithJavaEpochValue(value).time_since_epoch(), milliseconds(millis)) << value;
    for (const auto &[text, millis] : std::vector<std::pair<std::optional<std::string>, int64_t>>{
             {"1500", 1000},
             {"abc", 0},
             {std::nullopt, 0},
             {"-1500", -1000},
             {"99999999999999999999999", INT64_MAX / 1000 * 1000}})
        EXPECT_EQ(dateWithJavaEpochString(text).time_since_epoch(), milliseconds(millis)) << text.value_or("none");
}

TEST(VorkDate, CalendarDatesInLocalTimeAndTextsThatDoNotMatch) {
    // A fixed local time zone: Central European, no tz files needed.
    ScopedEnv zone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    // 17:04:09 CET is 16:04:09 UTC.
    // Summer time: 12:00 CEST is 10:00 UTC.
    for (auto [text, millis] : std::vector<std::pair<const char *, int64_t>>{
             {"2014-03-05 17:04:09", 1394035449000}, {"2014-03-05", 1393974000000}, {"2014-07-01 12:00:00", 1404208800000}})
        EXPECT_EQ(dateFromVorkDateString(text).value_or(Date()).time_since_epoch(), milliseconds(millis)) << text;
    // Texts that do not match.
    for (const char *text : {"05.03.2014", "", "2014-3-5", "2014-03-05 17:04", "2014-03-05T17:04:09", "2014-02-30",
                             "2014-13-01", "2014-03-05 24:00:00", "2014-03-05 17:04:09 ", "x2014-03-05"})
        EXPECT_FALSE(dateFromVorkDateString(text)) << text;
}

TEST(RemoveInvalidXmlData, DropsReferencesToControlCharactersAndKeepsEverythingElse) {
    for (const auto &[text, expected] : std::vector<std::pair<std::string, std::string>>{
             {"a&#8;b", "ab"},
             {"&#1;&#2;&#9;", "&#9;"},
             {"&#0;x&#28;y&#14;", "xy"},
             {"a&#7.9;b", "ab"},
             {"a&# 5\t;b", "ab"},
             {"a&#-;b", "ab"},  // "-" alone counts as numeric 0
             // The candidate runs to the next semicolon: for the first "&#"
             // it is "&#1", not numeric, so everything stays.
             {"x&#&#1;y", "x&#&#1;y"},
             {"&#3;&#3;;&#3", ";&#3"}})
        EXPECT_EQ(RemoveInvalidXmlData::removeInvalidEncodedChars(text), expected) << text;
    for (const char *text : {"a&#10;b", "a&#13;b", "a&#29;b", "a&#30;b", "a&#x8;b", "a&#;b", "a&#12", "x&#-3;y",
                             "&#4294967296;", "&#1e1;", "&#+5;"})
        EXPECT_EQ(RemoveInvalidXmlData::removeInvalidEncodedChars(text), text) << text;
}

TEST(XmlCharacterFilter, RangesEndOneShortOfXmlAndInvalidUtf8IsNone) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> rows = {
        {"a\tb\nc\rd", "a\tb\nc\rd"},
        {std::string("a\x00\x01\x08\x0B\x0C\x1F" "b", 8), "ab"},
        {"a long printable run \x01 then \x1F within eight", "a long printable run  then  within eight"},
        {"\xED\x9F\xBE|\xED\x9F\xBF", "\xED\x9F\xBE|"},  // U+D7FE kept, U+D7FF not
        {"\xF0\x90\x80\x80|\xF4\x8F\xBF\xBE|\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80|\xF4\x8F\xBF\xBE|"},  // U+10000, 10FFFE, 10FFFF
        // Invalid UTF-8: truncated, overlong, surrogate, beyond U+10FFFF.
        {"\xC0\xAF", std::nullopt}, {"\xED\xA0\x80", std::nullopt}, {"ok \xF4\x90\x80\x80", std::nullopt}};
    for (const auto &[bytes, expected] : rows) EXPECT_EQ(VCCMessage::dataByRemovingInvalidXmlCharacters(bytes), expected) << bytes;
}

}  // namespace
}  // namespace vork::test
