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
        while (pos < in.size() && std::string_view(" \n\r\t").find(in[pos]) != std::string_view::npos) ++pos;
    }
    bool take(char c) {
        skip();
        return pos < in.size() && in[pos] == c && ++pos;
    }
    void expect(char c) {
        if (!take(c)) fail("unexpected character");
    }
    bool word(std::string_view w) {
        return in.substr(pos, w.size()) == w && (pos += w.size());
    }
    static void appendUtf8(std::string &out, unsigned code) {
        const int tail = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        static const unsigned char lead[] = {0x00, 0xC0, 0xE0, 0xF0};
        out.push_back(static_cast<char>(lead[tail] | (code >> (6 * tail))));
        for (int i = tail - 1; i >= 0; --i) out.push_back(static_cast<char>(0x80 | ((code >> (6 * i)) & 0x3F)));
    }
    unsigned hex4() {
        if (pos + 4 > in.size()) fail("short escape");
        pos += 4;
        return static_cast<unsigned>(std::strtoul(std::string(in.substr(pos - 4, 4)).c_str(), nullptr, 16));
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
            const char e = in[pos++];
            const size_t simple = std::string_view("ntrbf").find(e);
            if (simple != std::string_view::npos) {
                out.push_back("\n\t\r\b\f"[simple]);
            } else if (e == 'u') {
                unsigned code = hex4();
                if (code >= 0xD800 && code < 0xDC00 && pos + 6 <= in.size() && word("\\u"))
                    code = 0x10000 + ((code - 0xD800) << 10) + (hex4() - 0xDC00);
                appendUtf8(out, code);
            } else {
                out.push_back(e);
            }
        }
        expect('"');
        return out;
    }
    Json value() {
        skip();
        Json v;
        if (pos >= in.size()) fail("end of text");
        if (take('{')) {
            v.kind = Json::Object;
            if (take('}')) return v;
            do {
                skip();
                std::string key = string();
                expect(':');
                v.members[key] = value();
            } while (take(','));
            expect('}');
        } else if (take('[')) {
            v.kind = Json::Array;
            if (take(']')) return v;
            do v.items.push_back(value());
            while (take(','));
            expect(']');
        } else if (in[pos] == '"') {
            v.kind = Json::String;
            v.text = string();
        } else if ((v.boolean = word("true")) || word("false")) {
            v.kind = Json::Bool;
        } else if (!word("null")) {
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
