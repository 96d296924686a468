// Results for people or scripts, notes and the progress bar.
#include "Output.h"

#include <unistd.h>

#include <cmath>
#include <cstdarg>

namespace vorkcomm {

std::string jsonQuote(std::string_view text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                out += escaped;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out + "\"";
}

namespace {

std::string jsonValue(const JsonValue &value) {
    struct Writer {
        std::string operator()(std::nullptr_t) const { return "null"; }
        std::string operator()(bool b) const { return b ? "true" : "false"; }
        std::string operator()(long long n) const { return std::to_string(n); }
        std::string operator()(double d) const {
            if (!std::isfinite(d)) return "null";
            char text[32];
            std::snprintf(text, sizeof text, "%.17g", d);
            return text;
        }
        std::string operator()(const std::string &s) const { return jsonQuote(s); }
        std::string operator()(const JsonRaw &raw) const { return raw.text; }
    };
    return std::visit(Writer{}, value);
}

}  // namespace

std::string jsonObject(const std::vector<Field> &fields) {
    std::string out = "{";
    for (const Field &f : fields) {
        if (out.size() > 1) out += ", ";
        out += jsonQuote(f.key) + ": " + jsonValue(f.value);
    }
    return out + "}";
}

JsonRaw jsonArray(const std::vector<std::vector<Field>> &items) {
    std::string out = "[";
    for (const auto &item : items) out += (out.size() > 1 ? ", " : "") + jsonObject(item);
    return {out + "]"};
}

int usageError(const char *usage) {
    std::fprintf(stderr, "usage: vorkcomm %s\n", usage);
    return kExitUsage;
}

int emit(const Options &options, const std::string &human, std::vector<Field> fields, int exitCode) {
    if (options.json()) {
        fields.push_back({"exitCode", static_cast<long long>(exitCode)});
        std::printf("%s\n", jsonObject(fields).c_str());
    } else if (!human.empty()) {
        std::fputs(human.c_str(), stdout);
        if (human.back() != '\n') std::fputc('\n', stdout);
    }
    return exitCode;
}

void note(const Options &options, const char *format, ...) {
    if (options.quiet() || options.json()) return;
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
}

ProgressBar::ProgressBar(std::string label, const Options &options, FILE *out)
    : label_(std::move(label)),
      out_(out),
      enabled_(!options.quiet() && !options.json() && ::isatty(::fileno(out)) != 0) {}

ProgressBar::~ProgressBar() { finish(false); }

void ProgressBar::update(double percent) {
    if (!enabled_ || finished_ || !(percent > 0)) return;
    percent = std::fmin(percent, 100.0);
    const int shown = static_cast<int>(percent * 10);
    if (shown == lastShown_) return;
    lastShown_ = shown;
    constexpr int kWidth = 40;
    const int filled = static_cast<int>(percent / 100.0 * kWidth);
    std::string bar(static_cast<size_t>(filled), '#');
    bar.append(static_cast<size_t>(kWidth - filled), '.');
    std::fprintf(out_, "\r%s [%s] %5.1f%%", label_.c_str(), bar.c_str(), percent);
    std::fflush(out_);
}

void ProgressBar::finish(bool ok) {
    if (finished_) return;
    if (ok && lastShown_ >= 0) update(100);
    if (lastShown_ >= 0) std::fputc('\n', out_);
    finished_ = true;
}

}  // namespace vorkcomm
