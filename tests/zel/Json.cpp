#include "Json.h"

#include <cstdlib>

namespace vork::test {

namespace {

struct Reader {
    std::string_view in;
    size_t pos = 0;

    [[noreturn]] void fail(const char *what) const {
        throw std::runtime_error(std::string("JSON: ") + what + " at " + std::to_string(pos));
    }
    void skip() {
        while (pos < in.size() && (in[pos] == ' ' || in[pos] == '\n' || in[pos] == '\r' || in[pos] == '\t')) ++pos;
    }
    bool take(char c) {
        skip();
        if (pos < in.size() && in[pos] == c) {
            ++pos;
            return true;
        }
        return false;
    }
    void expect(char c) {
        if (!take(c)) fail("unexpected character");
    }
    static void appendUtf8(std::string &out, unsigned code) {
        if (code < 0x80) {
            out.push_back(static_cast<char>(code));
        } else if (code < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (code >> 6)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (code >> 12)));
            out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (code >> 18)));
            out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    unsigned hex4() {
        if (pos + 4 > in.size()) fail("short escape");
        unsigned value = static_cast<unsigned>(std::strtoul(std::string(in.substr(pos, 4)).c_str(), nullptr, 16));
        pos += 4;
        return value;
    }
    std::string string() {
        expect('"');
        std::string out;
        while (pos < in.size() && in[pos] != '"') {
            char c = in[pos++];
            if (c != '\\') {
                out.push_back(c);
                continue;
            }
            if (pos >= in.size()) fail("bad escape");
            char e = in[pos++];
            switch (e) {
            case 'n': out.push_back('\n'); break;
            case 't': out.push_back('\t'); break;
            case 'r': out.push_back('\r'); break;
            case 'b': out.push_back('\b'); break;
            case 'f': out.push_back('\f'); break;
            case 'u': {
                unsigned code = hex4();
                if (code >= 0xD800 && code < 0xDC00 && pos + 6 <= in.size() && in[pos] == '\\' && in[pos + 1] == 'u') {
                    pos += 2;
                    unsigned low = hex4();
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                }
                appendUtf8(out, code);
                break;
            }
            default: out.push_back(e);
            }
        }
        expect('"');
        return out;
    }
    Json value() {
        skip();
        Json v;
        if (pos >= in.size()) fail("end of text");
        char c = in[pos];
        if (c == '{') {
            ++pos;
            v.kind = Json::Object;
            if (take('}')) return v;
            do {
                skip();
                std::string key = string();
                expect(':');
                v.members[key] = value();
            } while (take(','));
            expect('}');
        } else if (c == '[') {
            ++pos;
            v.kind = Json::Array;
            if (take(']')) return v;
            do v.items.push_back(value());
            while (take(','));
            expect(']');
        } else if (c == '"') {
            v.kind = Json::String;
            v.text = string();
        } else if (in.substr(pos, 4) == "true") {
            v.kind = Json::Bool;
            v.boolean = true;
            pos += 4;
        } else if (in.substr(pos, 5) == "false") {
            v.kind = Json::Bool;
            pos += 5;
        } else if (in.substr(pos, 4) == "null") {
            pos += 4;
        } else {
            v.kind = Json::Number;
            char *end = nullptr;
            std::string rest(in.substr(pos, 64));
            v.number = std::strtod(rest.c_str(), &end);
            if (end == rest.c_str()) fail("bad value");
            pos += static_cast<size_t>(end - rest.c_str());
        }
        return v;
    }
};

}  // namespace

Json Json::parse(std::string_view text) {
    Reader reader{text};
    Json v = reader.value();
    reader.skip();
    if (reader.pos != text.size()) reader.fail("trailing text");
    return v;
}

}  // namespace vork::test
