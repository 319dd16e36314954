#include "FieldText.h"

namespace harvest::fieldtext {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr char kHex[] = "0123456789ABCDEF";

bool inRange(unsigned char c, unsigned char low, unsigned char high) {
    return c >= low && c <= high;
}

// Walks `s`, copying runs of plain text to `out` and handing each byte that
// `special` picks out (and each byte that is not valid UTF-8) to `escape`.
template <typename Special, typename Escape>
void appendEscaped(std::string& out, std::string_view s, Special special, Escape escape) {
    std::size_t run = 0;
    std::size_t i = 0;
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            if (special(c)) {
                out.append(s, run, i - run);
                escape(out, c, true);
                run = ++i;
            } else {
                ++i;
            }
            continue;
        }
        const std::size_t n = utf8SequenceLength(s, i);
        if (n == 0) {
            out.append(s, run, i - run);
            escape(out, c, false);
            run = ++i;
        } else {
            i += n;
        }
    }
    out.append(s, run, s.size() - run);
}

}  // namespace

std::size_t utf8SequenceLength(std::string_view s, std::size_t at) {
    const std::size_t left = s.size() - at;
    const auto b = [&](std::size_t k) { return static_cast<unsigned char>(s[at + k]); };
    const unsigned char c = b(0);
    if (c < 0x80) {
        return 1;
    }
    if (inRange(c, 0xC2, 0xDF)) {
        return left >= 2 && inRange(b(1), 0x80, 0xBF) ? 2 : 0;
    }
    if (inRange(c, 0xE0, 0xEF)) {
        if (left < 3) {
            return 0;
        }
        // E0 would be overlong below A0; ED above 9F would be a surrogate.
        const unsigned char low = c == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = c == 0xED ? 0x9F : 0xBF;
        return inRange(b(1), low, high) && inRange(b(2), 0x80, 0xBF) ? 3 : 0;
    }
    if (inRange(c, 0xF0, 0xF4)) {
        if (left < 4) {
            return 0;
        }
        // F0 would be overlong below 90; F4 above 8F is past U+10FFFF.
        const unsigned char low = c == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = c == 0xF4 ? 0x8F : 0xBF;
        return inRange(b(1), low, high) && inRange(b(2), 0x80, 0xBF) && inRange(b(3), 0x80, 0xBF)
                   ? 4
                   : 0;
    }
    return 0;
}

bool isValidUtf8(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        if (static_cast<unsigned char>(s[i]) < 0x80) {
            ++i;
            continue;
        }
        const std::size_t n = utf8SequenceLength(s, i);
        if (n == 0) {
            return false;
        }
        i += n;
    }
    return true;
}

void appendValidUtf8(std::string& out, std::string_view s) {
    appendEscaped(
        out, s, [](unsigned char) { return false; },
        [](std::string& o, unsigned char, bool) { o += kReplacement; });
}

std::string validUtf8(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    appendValidUtf8(out, s);
    return out;
}

void appendTsv(std::string& out, std::string_view s) {
    appendEscaped(
        out, s, [](unsigned char c) { return c == '\\' || c == '\t' || c == '\n' || c == '\r'; },
        [](std::string& o, unsigned char c, bool ascii) {
            o += '\\';
            if (!ascii) {
                o += 'x';
                o += kHex[c >> 4];
                o += kHex[c & 0xF];
            } else {
                o += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : '\\';
            }
        });
}

void appendCsv(std::string& out, std::string_view s) {
    if (s.find_first_of(",\"\r\n") == std::string_view::npos) {
        appendValidUtf8(out, s);
        return;
    }
    out += '"';
    appendEscaped(
        out, s, [](unsigned char c) { return c == '"'; },
        [](std::string& o, unsigned char, bool ascii) { o += ascii ? "\"\"" : kReplacement; });
    out += '"';
}

void appendJsonString(std::string& out, std::string_view s) {
    out += '"';
    appendEscaped(
        out, s, [](unsigned char c) { return c < 0x20 || c == '"' || c == '\\'; },
        [](std::string& o, unsigned char c, bool ascii) {
            if (!ascii) {
                o += kReplacement;
            } else if (c == '"' || c == '\\') {
                o += '\\';
                o += static_cast<char>(c);
            } else {
                o += "\\u00";
                o += kHex[c >> 4];
                o += kHex[c & 0xF];
            }
        });
    out += '"';
}

void appendVCardValue(std::string& out, std::string_view s) {
    appendEscaped(
        out, s,
        [](unsigned char c) { return c == '\\' || c == ',' || c == ';' || c == '\n' || c == '\r'; },
        [](std::string& o, unsigned char c, bool ascii) {
            if (!ascii) {
                o += kReplacement;
            } else if (c == '\n') {
                o += "\\n";
            } else if (c != '\r') {  // a CR of a CRLF pair goes with its LF
                o += '\\';
                o += static_cast<char>(c);
            }
        });
}

void appendFoldedLine(std::string& out, std::string_view line) {
    constexpr std::size_t kLimit = 75;
    std::size_t width = 0;  // octets on the current physical line
    for (std::size_t i = 0; i < line.size();) {
        std::size_t n = utf8SequenceLength(line, i);
        if (n == 0) {
            n = 1;  // callers pass valid UTF-8; a stray byte still moves on
        }
        if (width + n > kLimit) {
            out += "\r\n ";
            width = 1;
        }
        out.append(line, i, n);
        width += n;
        i += n;
    }
    out += "\r\n";
}

std::string_view cutToUtf16Units(std::string_view s, std::size_t units) {
    std::size_t used = 0;
    for (std::size_t i = 0; i < s.size();) {
        std::size_t n = utf8SequenceLength(s, i);
        if (n == 0) {
            n = 1;
        }
        const std::size_t cost = n == 4 ? 2 : 1;  // past U+FFFF: a surrogate pair
        if (used + cost > units) {
            return s.substr(0, i);
        }
        used += cost;
        i += n;
    }
    return s;
}

}  // namespace harvest::fieldtext
