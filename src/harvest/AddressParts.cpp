#include "AddressParts.h"

#include <vector>

#include "TextScan.h"

namespace harvest {

namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr std::size_t kMaxDomainBytes = 255;

bool isLocalAscii(unsigned char c) {
    return isAsciiAlnum(c) || c == '.' || c == '_' || c == '%' || c == '+' || c == '-' || c == '\'';
}

// Where the dot separator at pos ends, when a label follows it; else npos.
std::size_t separatorEnd(std::string_view text, std::size_t pos, DotSpelling dots, int& spelled) {
    if (pos < text.size() && text[pos] == '.' && labelStartsAt(text, pos + 1)) {
        return pos + 1;
    }
    if (dots == DotSpelling::Bracketed) {  // spaces around allowed
        std::size_t p = skipSpaces(text, pos, 3);
        if (p < text.size() && (text[p] == '[' || text[p] == '(' || text[p] == '{')) {
            const char close = closing(text[p]);
            p = skipSpaces(text, p + 1, 2);
            if (hasWordAt(text, p, "dot")) {
                p = skipSpaces(text, p + 3, 2);
                if (p < text.size() && text[p] == close) {
                    p = skipSpaces(text, p + 1, 3);
                    if (labelStartsAt(text, p)) {
                        return p;
                    }
                }
            }
        }
    }
    if (dots == DotSpelling::Spelled) {
        const std::string_view word = text.substr(pos, 5);
        if ((word == " dot " || word == " DOT ") && labelStartsAt(text, pos + 5)) {
            ++spelled;
            return pos + 5;
        }
    }
    return npos;
}

}  // namespace

std::size_t skipSpaces(std::string_view text, std::size_t pos, std::size_t most) {
    for (std::size_t n = 0; n < most && pos < text.size() && isHorizontalSpace(text[pos]); ++n) {
        ++pos;
    }
    return pos;
}

char closing(char open) {
    return open == '[' ? ']' : open == '(' ? ')' : '}';
}

// Where the local part that ends at `end` starts, or npos when there is none
// or it is malformed. Quotes and dots before it are punctuation.
std::size_t localStart(std::string_view text, std::size_t end) {
    std::size_t pos = end;
    while (pos > 0) {
        const auto c = static_cast<unsigned char>(text[pos - 1]);
        std::size_t prev = pos - 1;
        if (c >= 0x80) {
            prev = previousStart(text, pos);
            std::size_t len = 0;
            if (!isWordCodePoint(decodeAt(text, prev, len)) || prev + len != pos) {
                break;
            }
        } else if (!isLocalAscii(c)) {
            break;
        }
        if (end - prev > kMaxLocalBytes) {
            return npos;
        }
        pos = prev;
    }
    while (pos < end && (text[pos] == '.' || text[pos] == '\'')) {
        ++pos;
    }
    const std::string_view local = text.substr(pos, end - pos);
    if (local.empty() || local.back() == '.' || local.back() == '\'' || local.find("..") != npos) {
        return npos;
    }
    return pos;
}

// Reads the labels of a domain from pos; false when there are none or too many bytes.
bool scanDomain(std::string_view text, std::size_t pos, DotSpelling dots, DomainText& out) {
    out.name.clear();
    out.spelledDots = 0;
    while (true) {
        const std::size_t labelStart = pos;
        while (pos < text.size()) {
            const auto c = static_cast<unsigned char>(text[pos]);
            if (c < 0x80) {
                if (!isAsciiAlnum(c) && c != '-') {
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
            if (out.name.size() + (pos - labelStart) > kMaxDomainBytes) {
                return false;
            }
        }
        if (pos == labelStart) {
            return false;
        }
        out.name.append(text.substr(labelStart, pos - labelStart));
        const std::size_t next = separatorEnd(text, pos, dots, out.spelledDots);
        if (next == npos) {
            break;
        }
        out.name += '.';
        pos = next;
    }
    out.end = pos;
    return true;
}

// "ann@mail.riverside.\nexample.org": the domain goes on after a line break,
// and what is before the break is only part of it.
bool continuesOnNextLine(std::string_view text, std::size_t end) {
    std::size_t p = end;
    if (p >= text.size() || text[p] != '.') {
        return false;
    }
    ++p;
    if (p < text.size() && text[p] == '\r') {
        ++p;
    }
    if (p >= text.size() || text[p] != '\n') {
        return false;
    }
    DomainText rest;
    return scanDomain(text, skipSpaces(text, p + 1, 8), DotSpelling::Plain, rest) &&
           rest.name.find('.') != std::string::npos;
}

// The length of "&#64;", "&#x40;" or "&commat;" at pos, or 0.
std::size_t entityAtLength(std::string_view text, std::size_t pos) {
    if (text.substr(pos, 8) == "&commat;") {
        return 8;
    }
    if (text.substr(pos, 2) != "&#") {
        return 0;
    }
    std::size_t p = pos + 2;
    const bool hex = p < text.size() && (text[p] == 'x' || text[p] == 'X');
    p += hex ? 1 : 0;
    unsigned value = 0;
    const std::size_t digitsFrom = p;
    for (; p < text.size() && p - digitsFrom < 8; ++p) {
        const char c = asciiLower(text[p]);
        if (c >= '0' && c <= '9') {
            value = value * (hex ? 16 : 10) + static_cast<unsigned>(c - '0');
        } else if (hex && c >= 'a' && c <= 'f') {
            value = value * 16 + static_cast<unsigned>(c - 'a' + 10);
        } else {
            break;
        }
    }
    if (p == digitsFrom || p >= text.size() || text[p] != ';' || value != 64) {
        return 0;
    }
    return p + 1 - pos;
}

// "%3Cann@x.org", "J%C3%BCrgen@x.de": a local part written with URL escapes is
// read decoded, and only the tail that is a local part counts. start moves to
// where that tail begins in the text. False when nothing valid is left.
bool decodeLocalEscapes(std::string& local, std::size_t& start) {
    bool escaped = false;
    for (std::size_t i = 0; i + 2 < local.size() && !escaped; ++i) {
        escaped = percentEscapeAt(local, i) >= 0;
    }
    if (!escaped) {
        return true;
    }
    std::string decoded;
    std::vector<std::size_t> rawIndex;  // where each decoded byte was written
    for (std::size_t i = 0; i < local.size(); ++i) {
        rawIndex.push_back(i);
        if (int byte = percentEscapeAt(local, i); byte >= 0) {
            decoded += static_cast<char>(byte);
            i += 2;
        } else {
            decoded += local[i];
        }
    }
    if (!isValidUtf8(decoded)) {
        return false;
    }
    const std::size_t tail = localStart(decoded, decoded.size());
    if (tail == npos) {
        return false;
    }
    start += rawIndex[tail];
    local = decoded.substr(tail);
    return true;
}

// Where a spelled-out dot ("[dot]", "(dot)", " dot ") that ends at pos
// starts, or npos.
std::size_t spelledDotBefore(std::string_view text, std::size_t pos, DotSpelling dots) {
    if (dots == DotSpelling::Spelled) {
        const std::size_t from = pos >= 5 ? pos - 5 : 0;
        const std::string_view word = text.substr(from, pos - from);
        return word == " dot " || word == " DOT " ? from : npos;
    }
    auto spacesBack = [&](std::size_t p, std::size_t most) {
        for (std::size_t n = 0; n < most && p > 0 && isHorizontalSpace(text[p - 1]); ++n) {
            --p;
        }
        return p;
    };
    std::size_t p = spacesBack(pos, 3);
    if (p == 0 || (text[p - 1] != ']' && text[p - 1] != ')' && text[p - 1] != '}')) {
        return npos;
    }
    const char close = text[p - 1];
    p = spacesBack(p - 1, 2);
    if (p < 3 || !hasWordAt(text, p - 3, "dot")) {
        return npos;
    }
    p = spacesBack(p - 3, 2);
    if (p == 0 || closing(text[p - 1]) != close ||
        (text[p - 1] != '[' && text[p - 1] != '(' && text[p - 1] != '{')) {
        return npos;
    }
    return spacesBack(p - 1, 3);
}

}  // namespace harvest
