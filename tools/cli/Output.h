#pragma once
// How a command reports: its result on stdout, as text for people or, with
// --json, as one JSON object for scripts; notes for people on stderr unless
// --quiet.
#include <cstdio>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Command.h"

namespace vorkcomm {

// JSON text written as it stands (an array or object built with jsonObject).
struct JsonRaw {
    std::string text;
};
using JsonValue = std::variant<std::nullptr_t, bool, long long, double, std::string, JsonRaw>;
struct Field {
    std::string key;
    JsonValue value;
};

// The text as a JSON string literal, quotes included.
std::string jsonQuote(std::string_view text);
// {"key": value, ...} on one line.
std::string jsonObject(const std::vector<Field> &fields);

// [item, ...] of objects, one per entry.
JsonRaw jsonArray(const std::vector<std::vector<Field>> &items);

// Prints the result (human text as it stands, or the fields as JSON with
// "exitCode" added) and answers exitCode.
int emit(const Options &options, const std::string &human, std::vector<Field> fields, int exitCode);

// "usage: vorkcomm <usage>" on stderr; answers kExitUsage.
int usageError(const char *usage);

// A note for people on stderr (a line break is added); nothing with --quiet
// or --json.
void note(const Options &options, const char *format, ...) __attribute__((format(printf, 2, 3)));

// A one-line bar on stderr, drawn only when stderr is a terminal, neither
// --quiet nor --json is given, and the work has really advanced: percentages
// of 0 or below (not started, failed) draw nothing.
class ProgressBar {
public:
    ProgressBar(std::string label, const Options &options, FILE *out = stderr);
    ~ProgressBar();
    void update(double percent);
    // Ends the line; a successful end shows 100 % when a bar was drawn.
    void finish(bool ok);

private:
    std::string label_;
    FILE *out_;
    bool enabled_;
    int lastShown_ = -1;
    bool finished_ = false;
};

}  // namespace vorkcomm
