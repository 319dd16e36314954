#pragma once
// Small routines over UTF-8 text that the finders share: stepping over code
// points, the characters addresses are made of, the context shown around a
// find and the display name written before "<address>".
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace harvest {

// The code point that starts at text[pos]; len gets its length in bytes (at
// least 1). A malformed sequence reads as U+FFFD, one byte long.
char32_t decodeAt(std::string_view text, std::size_t pos, std::size_t& len);

// Where the code point that ends just before pos starts (pos > 0).
std::size_t previousStart(std::string_view text, std::size_t pos);

// A letter, digit or combining mark outside ASCII: what internationalised
// local parts and domain labels are made of.
bool isWordCodePoint(char32_t c);

// The length of the non-ASCII letter, digit or mark at text[pos], or 0.
std::size_t wordCodePointAt(std::string_view text, std::size_t pos);

// The end of the run from pos of ASCII bytes that stops(c) does not reject
// and of non-ASCII letters, digits and marks: an address or a URL ends there.
template <class Stops>
std::size_t wordRunEnd(std::string_view text, std::size_t pos, Stops stops) {
    while (pos < text.size()) {
        const auto c = static_cast<unsigned char>(text[pos]);
        if (c < 0x80) {
            if (stops(c)) {
                break;
            }
            ++pos;
        } else {
            const std::size_t len = wordCodePointAt(text, pos);
            if (len == 0) {
                break;
            }
            pos += len;
        }
    }
    return pos;
}

// Whether a domain label can start at text[pos]: an ASCII letter or digit, or
// a non-ASCII letter, digit or mark.
bool labelStartsAt(std::string_view text, std::size_t pos);

inline bool isAsciiAlnum(unsigned char c) {
    return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}
inline char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}
inline bool isHorizontalSpace(char c) {
    return c == ' ' || c == '\t';
}

std::string asciiLowered(std::string_view s);

// Whether text holds word (lower-case ASCII) at pos, in any case.
bool hasWordAt(std::string_view text, std::size_t pos, std::string_view word);

bool isValidUtf8(std::string_view s);

// Calls f(pos) for every occurrence of byte c in text, left to right.
template <typename F>
void forEachByte(std::string_view text, char c, F f) {
    const char* begin = text.data();
    const char* end = begin + text.size();
    for (const char* p = begin; p < end;) {
        const void* hit = std::memchr(p, c, static_cast<std::size_t>(end - p));
        if (hit == nullptr) {
            return;
        }
        const char* at = static_cast<const char*>(hit);
        f(static_cast<std::size_t>(at - begin));
        p = at + 1;
    }
}

// The text around text[start, end): about `around` code points either side,
// with each run of line breaks, tabs and other control characters shown as one
// space.
std::string contextAround(std::string_view text, std::size_t start, std::size_t end,
                          int around = 40);

// The display name in `Ann Green <ann@x.org>` or `"Green, Ann" <ann@x.org>`
// where lt is the index of the "<": on the same line, quotes removed and
// trimmed. Empty when there is none, or when it holds "@" or is too long to be
// a name.
std::string displayNameBefore(std::string_view text, std::size_t lt);

}  // namespace harvest
