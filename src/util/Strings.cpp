#include "util/Strings.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <regex>

#include "util/CodePoints.h"

namespace vork::util {

std::vector<std::string> split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    if (separator.empty()) {
        parts.emplace_back(text);
        return parts;
    }
    size_t from = 0;
    for (;;) {
        size_t at = text.find(separator, from);
        if (at == std::string_view::npos) {
            parts.emplace_back(text.substr(from));
            return parts;
        }
        parts.emplace_back(text.substr(from, at - from));
        from = at + separator.size();
    }
}

// --- Character classes

bool isWhitespace(char32_t c) {
    // Tab and the space separators (general category Zs).
    switch (c) {
        case 0x0009:
        case 0x0020:
        case 0x00A0:
        case 0x1680:
        case 0x202F:
        case 0x205F:
        case 0x3000:
            return true;
        default:
            return c >= 0x2000 && c <= 0x200A;
    }
}

bool isWhitespaceOrNewline(char32_t c) {
    switch (c) {
        case 0x000A:  // line feed
        case 0x000B:  // vertical tab
        case 0x000C:  // form feed
        case 0x000D:  // carriage return
        case 0x0085:  // next line
        case 0x2028:  // line separator
        case 0x2029:  // paragraph separator
            return true;
        default:
            return isWhitespace(c);
    }
}

namespace {

// Substring search as the rest of the agent expects it: an empty needle is
// never found (the platform's text search reports "not found" for it).
size_t findText(std::string_view text, std::string_view needle, size_t from = 0) {
    if (needle.empty() || from > text.size()) return std::string_view::npos;
    return text.find(needle, from);
}

bool containsText(std::string_view text, std::string_view needle, bool ignoreCase) {
    if (!ignoreCase) return findText(text, needle) != std::string_view::npos;
    return findText(lowercased(text), lowercased(needle)) != std::string_view::npos;
}

CharacterSet setOfCharactersIn(const Text &characters) {
    std::vector<char32_t> members;
    if (characters) {
        for (size_t at = 0; at < characters->size();) {
            const CodePointStep step = codePointAt(*characters, at);
            members.push_back(step.value);
            at += step.length;
        }
    }
    return [members = std::move(members)](char32_t c) {
        return std::find(members.begin(), members.end(), c) != members.end();
    };
}

}  // namespace

// --- Basics

bool containsCaseInsensitive(std::string_view text, const Text &needle) {
    if (!needle) return false;
    return containsText(text, *needle, true);
}

std::string firstNonBlankOf(const Text &first, const Text &second) {
    if (first && !first->empty()) return *first;
    if (second) return *second;
    return {};
}

std::string blankIfNil(const Text &text) { return text ? *text : std::string(); }

// --- Manipulation

std::string trimLeadingOrTrailingCharactersInSet(std::string_view text, const CharacterSet &set, bool leading) {
    if (!set) return std::string(text);
    if (leading) {
        for (size_t at = 0; at < text.size();) {
            const CodePointStep step = codePointAt(text, at);
            if (!set(step.value)) return std::string(text.substr(at));
            at += step.length;
        }
        return {};
    }
    size_t keepEnd = 0;
    bool found = false;
    for (size_t at = 0; at < text.size();) {
        const CodePointStep step = codePointAt(text, at);
        at += step.length;
        if (!set(step.value)) {
            keepEnd = at;
            found = true;
        }
    }
    return found ? std::string(text.substr(0, keepEnd)) : std::string();
}

std::string trimLeadingOrTrailingCharacters(std::string_view text, const Text &characters, bool leading) {
    return trimLeadingOrTrailingCharactersInSet(text, setOfCharactersIn(characters), leading);
}

std::string trimLeadingCharactersInSet(std::string_view text, const CharacterSet &set) {
    return trimLeadingOrTrailingCharactersInSet(text, set, true);
}

std::string trimTrailingCharactersInSet(std::string_view text, const CharacterSet &set) {
    return trimLeadingOrTrailingCharactersInSet(text, set, false);
}

std::string trimLeadingCharacters(std::string_view text, const Text &characters) {
    return trimLeadingOrTrailingCharacters(text, characters, true);
}

std::string trimTrailingCharacters(std::string_view text, const Text &characters) {
    return trimLeadingOrTrailingCharacters(text, characters, false);
}

std::string strip(std::string_view text) {
    const CharacterSet set = &isWhitespaceOrNewline;
    return trimTrailingCharactersInSet(trimLeadingCharactersInSet(text, set), set);
}

std::string trim(std::string_view text) {
    const CharacterSet set = &isWhitespace;
    return trimTrailingCharactersInSet(trimLeadingCharactersInSet(text, set), set);
}

std::string removeTrailingSlashes(std::string_view text) {
    const size_t last = text.find_last_not_of('/');
    return last == std::string_view::npos ? std::string() : std::string(text.substr(0, last + 1));
}

std::string removeLeadingSlashes(std::string_view text) {
    const size_t first = text.find_first_not_of('/');
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string removeLeadingWhitespace(std::string_view text) {
    return trimLeadingCharactersInSet(text, &isWhitespaceOrNewline);
}

// --- Search

bool isEmpty(const Text &text) { return !text || text->empty(); }

bool isEmptyAfterTrim(const Text &text) { return !text || trim(*text).empty(); }

bool isEmptyAfterStrip(const Text &text) { return !text || strip(*text).empty(); }

bool containsTheString(std::string_view text, const Text &needle, bool ignoreCase) {
    if (!needle) return false;
    return containsText(text, *needle, ignoreCase);
}

bool containsStrings(std::string_view text, const std::vector<std::string> &needles, bool ignoreCase) {
    return std::all_of(needles.begin(), needles.end(),
                       [&](const std::string &needle) { return containsText(text, needle, ignoreCase); });
}

// std::regex matches recursively: very long texts (tens of thousands of
// characters) can exhaust the stack, so callers keep to short texts.
bool matches(std::string_view text, const Text &pattern) {
    if (!pattern) return false;
    try {
        const std::regex expression(*pattern, std::regex::ECMAScript | std::regex::icase);
        return std::regex_search(text.begin(), text.end(), expression);
    } catch (const std::regex_error &) {
        // An invalid pattern (or one too complex to run) matches nothing.
        return false;
    }
}

bool isNumeric(std::string_view text) {
    const std::string trimmed = trim(text);
    if (trimmed.empty()) return false;
    // Optional minus, digits, optional fraction; or digits and a final point.
    // A lone "-" passes on purpose: callers have always treated it as a number.
    static const std::regex numeric(R"(((^(-)?\d*(\.\d+)?$)|(^(-)?\d+\.$)))", std::regex::ECMAScript);
    // The pattern only ever asks for "some digits" (\d* or \d+), so every run
    // of digits stands for one digit without changing the answer. This keeps
    // the recursive matcher of the standard library shallow on long numbers,
    // which would otherwise overflow the stack.
    std::string shape;
    shape.reserve(trimmed.size());
    for (const char c : trimmed) {
        const bool digit = c >= '0' && c <= '9';
        if (!digit || shape.empty() || shape.back() != '0') shape.push_back(digit ? '0' : c);
    }
    try {
        return std::regex_match(shape, numeric);
    } catch (const std::regex_error &) {
        return false;
    }
}

bool hasAnyPrefix(std::string_view text, const std::vector<std::string> &prefixes) {
    return std::any_of(prefixes.begin(), prefixes.end(), [&](const std::string &prefix) {
        return !prefix.empty() && text.substr(0, prefix.size()) == prefix;
    });
}

bool foundInArray(std::string_view text, const std::vector<std::string> &list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

std::string findValueBetween(std::string_view text, const Text &startMarker, const Text &endMarker, long index) {
    if (!startMarker || index < 0) return {};
    const std::string_view start = *startMarker;
    const std::string_view end = endMarker ? std::string_view(*endMarker) : std::string_view();

    size_t startAt = findText(text, start);
    if (startAt == std::string_view::npos) return {};
    size_t position = startAt + start.size();
    for (long pass = 1;; ++pass) {
        const size_t endAt = findText(text, end, position);
        if (endAt == std::string_view::npos) {
            // No closing marker: the rest of the text is the last value.
            return pass > index ? std::string(text.substr(position)) : std::string();
        }
        const std::string_view value = text.substr(position, endAt - position);
        position = endAt + end.size();
        if (pass - 1 == index) return std::string(value);
        startAt = findText(text, start, position);
        if (startAt == std::string_view::npos) return {};
        position = startAt + start.size();
    }
}

std::string findNthField(std::string_view text, long n, const Text &delimiter) {
    // A text without the delimiter is every one of its own fields.
    if (!delimiter || findText(text, *delimiter) == std::string_view::npos) return std::string(text);
    if (n < 0) return {};
    std::vector<std::string> fields = split(text, *delimiter);
    if (static_cast<unsigned long>(n) >= fields.size()) return {};
    return std::move(fields[static_cast<size_t>(n)]);
}

// --- File helpers

bool appendToFile(std::string_view text, const std::string &path) {
    // Made with the default mode when missing; every write goes to the end.
    std::ofstream out(path, std::ios::binary | std::ios::app);
    if (!out) return false;
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace vork::util
