#include "http/ResponseHeaderLine.h"

namespace vork::http {

namespace {

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i)
        if (lowered(text[i]) != lowered(prefix[i])) return false;
    return true;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == '\r' || text.back() == '\n' || text.back() == ' '))
        text.remove_suffix(1);
    return text;
}

}  // namespace

ResponseHeaderLine parseResponseHeaderLine(std::string_view line) {
    constexpr std::string_view kChallenge = "www-authenticate:";
    ResponseHeaderLine parsed;
    if (startsWithIgnoringCase(line, "HTTP/")) {
        parsed.kind = ResponseHeaderLine::Kind::StatusLine;
        // "HTTP/1.1 200 OK": the code follows the first space.
        const size_t space = line.find(' ');
        if (space != std::string_view::npos && line.size() >= space + 4) {
            int code = 0;
            bool digits = true;
            for (size_t i = space + 1; i < space + 4; ++i) {
                if (line[i] < '0' || line[i] > '9') digits = false;
                else code = code * 10 + (line[i] - '0');
            }
            if (digits) parsed.status = code;
        }
    } else if (startsWithIgnoringCase(line, kChallenge)) {
        parsed.kind = ResponseHeaderLine::Kind::Challenge;
        parsed.challenge = trimmed(line.substr(kChallenge.size()));
        if (startsWithIgnoringCase(parsed.challenge, "basic")) parsed.scheme = ResponseHeaderLine::Scheme::Basic;
        else if (startsWithIgnoringCase(parsed.challenge, "digest")) parsed.scheme = ResponseHeaderLine::Scheme::Digest;
        else if (!parsed.challenge.empty()) parsed.scheme = ResponseHeaderLine::Scheme::OtherScheme;
    }
    return parsed;
}

}  // namespace vork::http
