#include "TextScan.h"

#include <algorithm>

#include <QChar>

namespace harvest {

namespace {

// A display name longer than this is prose, not a name.
constexpr std::size_t kMaxNameChars = 80;

bool isContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

bool isControl(char32_t c) {
    return c < 0x20 || c == 0x7F || (c >= 0x80 && c < 0xA0);
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (isHorizontalSpace(s.front()) || s.front() == '\r')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (isHorizontalSpace(s.back()) || s.back() == '\r')) {
        s.remove_suffix(1);
    }
    return s;
}

// The opening quote that matches the closing quote at the end of text, or
// empty when text does not end in a quote.
std::string_view openingQuote(std::string_view text) {
    constexpr std::string_view pairs[][2] = {
        {"\"", "\""},         {"\u201D", "\u201C"}, {"\u201C", "\u201E"},
        {"\u00BB", "\u00AB"}, {"\u00AB", "\u00BB"}, {"\u2019", "\u2018"},
    };
    for (const auto& [close, open] : pairs) {
        if (text.size() >= close.size() && text.substr(text.size() - close.size()) == close) {
            return open;
        }
    }
    return {};
}

std::size_t codePointCount(std::string_view s) {
    std::size_t n = 0;
    for (unsigned char c : s) {
        n += isContinuation(c) ? 0 : 1;
    }
    return n;
}

}  // namespace

char32_t decodeAt(std::string_view text, std::size_t pos, std::size_t& len) {
    const auto b0 = static_cast<unsigned char>(text[pos]);
    len = 1;
    if (b0 < 0x80) {
        return b0;
    }
    std::size_t need = 0;
    char32_t cp = 0;
    char32_t min = 0;
    if ((b0 & 0xE0) == 0xC0) {
        need = 1, cp = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        need = 2, cp = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        need = 3, cp = b0 & 0x07, min = 0x10000;
    } else {
        return 0xFFFD;
    }
    if (pos + need >= text.size()) {
        return 0xFFFD;
    }
    for (std::size_t i = 1; i <= need; ++i) {
        const auto b = static_cast<unsigned char>(text[pos + i]);
        if (!isContinuation(b)) {
            return 0xFFFD;
        }
        cp = (cp << 6) | (b & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
        return 0xFFFD;
    }
    len = need + 1;
    return cp;
}

std::size_t previousStart(std::string_view text, std::size_t pos) {
    std::size_t p = pos - 1;
    // A code point is at most four bytes; a longer run of continuation bytes
    // is malformed and stepped over one byte at a time.
    while (p > 0 && pos - p < 4 && isContinuation(static_cast<unsigned char>(text[p]))) {
        --p;
    }
    std::size_t len = 0;
    decodeAt(text, p, len);
    return p + len == pos ? p : pos - 1;
}

bool isWordCodePoint(char32_t c) {
    return c > 0x7F && c != 0xFFFD && (QChar::isLetterOrNumber(c) || QChar::isMark(c));
}

std::size_t wordCodePointAt(std::string_view text, std::size_t pos) {
    std::size_t len = 0;
    return isWordCodePoint(decodeAt(text, pos, len)) ? len : 0;
}

bool labelStartsAt(std::string_view text, std::size_t pos) {
    if (pos >= text.size()) {
        return false;
    }
    const auto c = static_cast<unsigned char>(text[pos]);
    return c < 0x80 ? isAsciiAlnum(c) : wordCodePointAt(text, pos) > 0;
}

std::string asciiLowered(std::string_view s) {
    std::string out(s);
    for (char& c : out) {
        c = asciiLower(c);
    }
    return out;
}

bool hasWordAt(std::string_view text, std::size_t pos, std::string_view word) {
    if (pos > text.size() || text.size() - pos < word.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (asciiLower(text[pos + i]) != word[i]) {
            return false;
        }
    }
    return true;
}

bool isValidUtf8(std::string_view s) {
    for (std::size_t pos = 0; pos < s.size();) {
        std::size_t len = 0;
        if (decodeAt(s, pos, len) == 0xFFFD && len == 1 &&
            static_cast<unsigned char>(s[pos]) >= 0x80) {
            return false;
        }
        pos += len;
    }
    return true;
}

std::string contextAround(std::string_view text, std::size_t start, std::size_t end, int around) {
    std::size_t from = start;
    for (int i = 0; i < around && from > 0; ++i) {
        from = previousStart(text, from);
    }
    std::size_t to = end;
    for (int i = 0; i < around && to < text.size(); ++i) {
        std::size_t len = 0;
        decodeAt(text, to, len);
        to += len;
    }
    std::string out;
    out.reserve(to - from);
    bool lastWasBreak = false;
    for (std::size_t pos = from; pos < to;) {
        std::size_t len = 0;
        const char32_t cp = decodeAt(text, pos, len);
        if (isControl(cp)) {
            if (!lastWasBreak) {
                out += ' ';
            }
            lastWasBreak = true;
        } else {
            out.append(text.substr(pos, len));
            lastWasBreak = false;
        }
        pos += len;
    }
    return out;
}

namespace {

bool hasLetter(std::string_view word) {
    return std::any_of(word.begin(), word.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               static_cast<unsigned char>(c) >= 0x80;
    });
}

// What comes before an unquoted name on the same line in the formats that
// write "Name <address>": a ChangeLog's date ("2022-02-19  Ann Lee"), a
// Debian changelog's trailer ("-- Ann Lee"), a copyright line
// ("Copyright (C) 1996-1999 Ann Lee"), a list's bullet. Those words go.
std::string_view withoutLeadIn(std::string_view name) {
    // Two spaces or a tab part fields: the name is the last of them.
    for (std::size_t gap = name.size(); gap-- > 0;) {
        if (name[gap] == '\t' || (name[gap] == ' ' && gap > 0 && name[gap - 1] == ' ')) {
            name = name.substr(gap + 1);
            break;
        }
    }
    for (;;) {
        name = trimmed(name);
        const std::size_t space = name.find(' ');
        if (space == std::string_view::npos) {
            break;
        }
        const std::string_view word = name.substr(0, space);
        const bool leadIn = !hasLetter(word) || word == "Copyright" || word == "copyright" ||
                            word == "(C)" || word == "(c)";
        if (!leadIn) {
            break;
        }
        name = name.substr(space + 1);
    }
    return hasLetter(name) ? name : std::string_view();
}

}  // namespace

std::string displayNameBefore(std::string_view text, std::size_t lt) {
    std::size_t end = lt;
    while (end > 0 && isHorizontalSpace(text[end - 1])) {
        --end;
    }
    if (end == 0) {
        return {};
    }
    // Looking back no further than a name could reach keeps this cheap.
    const std::size_t limit = end > kMaxNameChars * 4 + 8 ? end - (kMaxNameChars * 4 + 8) : 0;
    std::string_view name;
    const std::string_view open = openingQuote(text.substr(0, end));
    if (!open.empty()) {
        // A quoted name: everything back to the opening quote, on this line.
        const std::size_t close = previousStart(text, end);
        std::size_t from = close;
        while (from > limit && text[from - 1] != '\n' &&
               !(from >= open.size() && text.substr(from - open.size(), open.size()) == open)) {
            --from;
        }
        if (from == limit || text[from - 1] == '\n') {
            return {};
        }
        name = text.substr(from, close - from);
    } else {
        std::size_t begin = end;
        while (begin > limit) {
            const char c = text[begin - 1];
            if (c == '\n' || c == '\r' || c == ',' || c == ';' || c == ':' || c == '>' ||
                c == '<' || c == '(' || c == ')' || c == '[' || c == ']' || c == '|' || c == '"' ||
                c == '=') {
                break;
            }
            --begin;
        }
        if (begin == limit && limit > 0) {
            return {};
        }
        name = text.substr(begin, end - begin);
        // "ann@x.org Bob <bob@y.org>": an address before the name is not part of it.
        const std::size_t at = name.rfind('@');
        if (at != std::string_view::npos) {
            const std::size_t space = name.find_first_of(" \t", at);
            name = space == std::string_view::npos ? std::string_view() : name.substr(space);
        }
        name = withoutLeadIn(name);
    }
    name = trimmed(name);
    if (name.size() >= 2 && name.front() == '\'' && name.back() == '\'') {
        name = trimmed(name.substr(1, name.size() - 2));
    }
    if (name.empty() || name.find('@') != std::string_view::npos ||
        codePointCount(name) > kMaxNameChars) {
        return {};
    }
    for (char c : name) {
        if (static_cast<unsigned char>(c) < 0x20) {
            return {};
        }
    }
    return std::string(name);
}

}  // namespace harvest
