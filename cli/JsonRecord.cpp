// update-website --from-json: the record that "website-info --json" prints,
// edited, read back into an UpdateVHost.
#include "Cli.h"

#include <libqzapache.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>

namespace cli {
namespace {

// A small JSON reader: objects, arrays, strings, and the other literals
// skipped over; enough for the report this program writes.
class Json {
public:
    explicit Json(const std::string& text) : s_(text) {}

    // The "fields" object of the report: each field's text or texts.
    std::map<std::string, std::vector<std::string>> fields() {
        std::map<std::string, std::vector<std::string>> found;
        expect('{');
        for (bool first = true; !consume('}'); first = false) {
            if (!first) expect(',');
            const std::string key = string();
            expect(':');
            if (key != "fields") {
                skipValue();
                continue;
            }
            expect('{');
            for (bool f = true; !consume('}'); f = false) {
                if (!f) expect(',');
                const std::string name = string();
                expect(':');
                std::vector<std::string>& values = found[name];
                if (consume('[')) {
                    for (bool a = true; !consume(']'); a = false) {
                        if (!a) expect(',');
                        values.push_back(string());
                    }
                } else {
                    values.push_back(string());
                }
            }
        }
        space();
        if (at_ != s_.size()) fail("text after the JSON object");
        return found;
    }

private:
    [[noreturn]] void fail(const std::string& what) {
        throw UsageError("--from-json: " + what + " at byte " + std::to_string(at_));
    }
    void space() {
        while (at_ < s_.size() && (s_[at_] == ' ' || s_[at_] == '\n' || s_[at_] == '\r' || s_[at_] == '\t')) ++at_;
    }
    bool consume(char c) {
        space();
        if (at_ < s_.size() && s_[at_] == c) return ++at_, true;
        return false;
    }
    void expect(char c) {
        if (!consume(c)) fail(std::string("'") + c + "' expected");
    }
    unsigned hex4() {
        if (at_ + 4 > s_.size()) fail("short \\u escape");
        char* end = nullptr;
        const std::string digits = s_.substr(at_, 4);
        const unsigned long value = std::strtoul(digits.c_str(), &end, 16);
        if (*end != '\0') fail("bad \\u escape");
        at_ += 4;
        return static_cast<unsigned>(value);
    }
    static void utf8(std::string& out, unsigned cp) {
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    std::string string() {
        expect('"');
        std::string out;
        while (true) {
            if (at_ >= s_.size()) fail("unterminated string");
            const char c = s_[at_++];
            if (c == '"') return out;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (at_ >= s_.size()) fail("unterminated string");
            const char e = s_[at_++];
            switch (e) {
                case '"': case '\\': case '/': out += e; break;
                case 'b': out += '\b'; break;
                case 'f': out += '\f'; break;
                case 'n': out += '\n'; break;
                case 'r': out += '\r'; break;
                case 't': out += '\t'; break;
                case 'u': {
                    unsigned cp = hex4();
                    if (cp >= 0xD800 && cp < 0xDC00 && s_.compare(at_, 2, "\\u") == 0) {
                        at_ += 2;
                        const unsigned low = hex4();
                        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    }
                    utf8(out, cp);
                    break;
                }
                default: fail("bad escape");
            }
        }
    }
    void skipValue() {
        space();
        if (at_ >= s_.size()) fail("value expected");
        const char c = s_[at_];
        if (c == '"') {
            string();
        } else if (c == '{' || c == '[') {
            const char close = c == '{' ? '}' : ']';
            ++at_;
            for (bool first = true; !consume(close); first = false) {
                if (!first) expect(',');
                if (c == '{') {
                    string();
                    expect(':');
                }
                skipValue();
            }
        } else {
            while (at_ < s_.size() && std::string(",}] \n\r\t").find(s_[at_]) == std::string::npos) ++at_;
        }
    }

    const std::string& s_;
    size_t at_ = 0;
};

// "Name Value" as website-info prints a pair: the name runs to the first
// blank, or, quoted, to its closing quote.
NameValueSt pairOf(const std::string& text) {
    size_t end = text.find(' ');
    if (!text.empty() && text[0] == '"') {
        const size_t close = text.find('"', 1);
        end = close == std::string::npos ? std::string::npos : text.find(' ', close);
    }
    if (end == std::string::npos) return {text, ""};
    return {text.substr(0, end), text.substr(end + 1)};
}

}  // namespace

void readWebsiteJson(const std::string& file, UpdateVHost& record) {
    std::string text;
    if (file == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    } else {
        std::ifstream in(file, std::ios::binary);
        if (!in) throw UsageError("--from-json: cannot read " + file);
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    auto fields = Json(text).fields();
    const auto list = [&](const char* name) { return fields[name]; };
    const auto pairList = [&](const char* name) {
        NameValueVector pairs;
        for (const std::string& item : fields[name]) pairs.push_back(pairOf(item));
        return pairs;
    };
    record.DocRootPath = list("doc-root-path");
    record.ServerAlias = list("server-alias");
    record.Include = list("include");
    record.DirIndex = list("dir-index");
    record.Alias = pairList("alias");
    record.ScriptAlias = pairList("script-alias");
    record.ProxyPass = pairList("proxy-pass");
    record.ProxyPassReverse = pairList("proxy-pass-reverse");
    record.Redirect = pairList("redirect");
    record.ErrorDoc = pairList("error-doc");
    const std::vector<std::string> mode = list("access-mode");
    record.AccessMode = mode.empty() || mode[0].empty() ? 0 : static_cast<mode_t>(std::strtoul(mode[0].c_str(), nullptr, 8));
}

}  // namespace cli
