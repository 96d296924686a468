#include "util/UrlHelpers.h"

#include <curl/curl.h>

#include <climits>
#include <cstring>
#include <memory>

#include "util/CodePoints.h"
#include "util/Strings.h"
#include "util/Utf8.h"

namespace vork::util {

namespace {

bool isAsciiAlphanumeric(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// The characters that may stand in a URL as they are, in the sense of the
// classic URL rules (RFC 2396): letters, digits, the unreserved marks
// - _ . ! ~ * ' ( ), the reserved characters ; / ? : @ & = + $ , and the
// fragment mark #. Everything else is escaped: space and the other control
// characters, DEL, " % < > \ ^ ` { | } [ ] and every byte of a non-ASCII
// character's UTF-8 form. "%" is always escaped, so existing escapes are
// escaped again.
bool isUrlLegal(unsigned char c) {
    if (isAsciiAlphanumeric(c)) return true;
    return c != 0 && std::strchr("-_.!~*'();/?:@&=+$,#", c) != nullptr;
}

void appendEscape(std::string &out, unsigned char c) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out.push_back('%');
    out.push_back(kHex[c >> 4]);
    out.push_back(kHex[c & 0x0F]);
}

template <class KeepAsIs>
std::string escapeBytes(std::string_view text, KeepAsIs keepAsIs) {
    std::string out;
    out.reserve(text.size());
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (keepAsIs(c)) out.push_back(ch);
        else appendEscape(out, c);
    }
    return out;
}

// Form data escapes "%", space, line feed, carriage return and these marks.
// "-", ".", "_" and "~" are escaped too, on purpose: the receiving forms
// have always seen them that way. Non-ASCII bytes pass unchanged.
bool isFormDataEscaped(unsigned char c) {
    if (c == '%' || c == ' ' || c == '\n' || c == '\r') return true;
    return c != 0 && std::strchr("!#$&'()*+,/:;=?@[]\"-.<>\\^_`{|}~", c) != nullptr;
}

bool isHexDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

struct UrlHandleDeleter {
    void operator()(CURLU *handle) const { curl_url_cleanup(handle); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlHandleDeleter>;

// libcurl's parse of an absolute URL; null when it does not parse.
UrlHandle parseUrl(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) return nullptr;
    UrlHandle handle(curl_url());
    if (!handle) return nullptr;
    const std::string copy(text);
    if (curl_url_set(handle.get(), CURLUPART_URL, copy.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
        return nullptr;
    return handle;
}

bool hasPort(CURLU *url) {
    char *port = nullptr;
    const CURLUcode rc = curl_url_get(url, CURLUPART_PORT, &port, 0);
    curl_free(port);
    return rc == CURLUE_OK;
}

// Whether the path of "scheme://authority..." is empty. libcurl reports "/"
// both for "https://h" and "https://h/", so this reads the text itself: the
// authority ends at the first "/", "?" or "#", and only a "/" starts a path.
bool hasEmptyPath(std::string_view url) {
    const size_t schemeEnd = url.find("://");
    if (schemeEnd == std::string_view::npos) return false;
    const size_t authorityEnd = url.find_first_of("/?#", schemeEnd + 3);
    return authorityEnd == std::string_view::npos || url[authorityEnd] != '/';
}

// Length of a leading URI scheme followed by ":" (0 when there is none).
size_t schemeLength(std::string_view text) {
    if (text.empty() || !((text[0] >= 'a' && text[0] <= 'z') || (text[0] >= 'A' && text[0] <= 'Z'))) return 0;
    for (size_t i = 1; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == ':') return i;
        if (!isAsciiAlphanumeric(c) && c != '+' && c != '-' && c != '.') return 0;
    }
    return 0;
}

// Whether the text is a URL reference the way the agent has always accepted
// one: relative references ("server/") count as well as absolute URLs. Every
// character must be one a URL may contain (RFC 3986: unreserved, reserved,
// "%" with two hex digits); a URL with a scheme and "//" must also parse as
// an absolute URL.
bool isUrlReference(std::string_view text) {
    if (text.empty()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '%') {
            if (i + 2 >= text.size() || !isHexDigit(static_cast<unsigned char>(text[i + 1])) ||
                !isHexDigit(static_cast<unsigned char>(text[i + 2])))
                return false;
            continue;
        }
        if (!isUrlLegal(c) && c != '[' && c != ']') return false;
    }
    const size_t scheme = schemeLength(text);
    if (scheme > 0 && text.substr(scheme + 1, 2) == "//") return isParsableUrl(text);
    return true;
}

}  // namespace

bool isParsableUrl(std::string_view text) { return parseUrl(text) != nullptr; }

std::string urlEncodedString(std::string_view text) {
    std::string escaped = escapeBytes(text, isUrlLegal);
    // "&" and "?" are legal in a URL but not inside one of its components.
    std::string out;
    out.reserve(escaped.size());
    for (const char c : escaped) {
        if (c == '&') out += "%26";
        else if (c == '?') out += "%3F";
        else out.push_back(c);
    }
    return out;
}

std::optional<std::string> urlDecodeString(std::string_view text) {
    if (text.size() > static_cast<size_t>(INT_MAX)) return std::nullopt;
    // libcurl measures a zero length with strlen, which an empty view may
    // not allow (its data can be null).
    if (text.empty()) return std::string();
    int length = 0;
    char *decoded = curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), &length);
    if (!decoded) return std::nullopt;
    std::string out(decoded, static_cast<size_t>(length));
    curl_free(decoded);
    if (!isValidUtf8(out)) return std::nullopt;
    return out;
}

std::string percentEncodeFormData(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (isFormDataEscaped(c)) appendEscape(out, c);
        else out.push_back(ch);
    }
    return out;
}

std::string stringByAppendingUrlComponentNoUrlEncode(std::string_view base, std::string_view component) {
    std::string out(base);
    if (out.empty() || out.back() != '/') out.push_back('/');
    out.append(component);
    return out;
}

std::string stringByAppendingUrlComponent(std::string_view base, std::string_view component) {
    return stringByAppendingUrlComponentNoUrlEncode(base, urlEncodedString(component));
}

std::optional<std::string> zelURLFromUserInput(std::string_view input) {
    std::string url;
    if (input.find("http") != std::string_view::npos) {
        // Anything mentioning http is taken as a full URL already.
        url = input;
    } else {
        url = "https://" + std::string(input);
        // A bare host name gets the server's default port.
        if (const UrlHandle parsed = parseUrl(url); parsed && !hasPort(parsed.get()) && hasEmptyPath(url))
            url += ":8443";
    }
    // Decided on the text as typed, so "server:8443/" does not gain a second slash.
    if (input.empty() || input.back() != '/') url += "/";
    if (!isUrlReference(url)) return std::nullopt;
    return url;
}

std::string encodeForURIParam(std::string_view text) {
    // Only letters, digits and - . _ ~ survive: the URL-legal set without
    // !*'();:@&=+$,/?%#[] .
    return escapeBytes(text, [](unsigned char c) {
        return isAsciiAlphanumeric(c) || c == '-' || c == '.' || c == '_' || c == '~';
    });
}

std::map<std::string, std::string> parseParamsFromUrl(std::string_view url) {
    const size_t mark = url.find('?');
    const std::string_view query = mark == std::string_view::npos ? url : url.substr(mark + 1);
    std::map<std::string, std::string> params;
    for (const std::string &piece : split(query, "&")) {
        const std::vector<std::string> parts = split(piece, "=");
        if (parts.size() < 2) {
            params[piece] = "";
            continue;
        }
        std::string value = parts[1];
        for (char &c : value)
            if (c == '+') c = ' ';
        if (std::optional<std::string> decoded = urlDecodeString(value)) params[parts[0]] = std::move(*decoded);
        else params.erase(parts[0]);
    }
    return params;
}

std::string fileName(std::string_view url) {
    const std::string_view beforeQuery = url.substr(0, url.find('?'));
    const size_t slash = beforeQuery.rfind('/');
    const std::string_view last = slash == std::string_view::npos ? beforeQuery : beforeQuery.substr(slash + 1);
    // Long names are cut from the front so the extension survives.
    return std::string(lastCodePoints(last, 200));
}

}  // namespace vork::util
