#include "UrlEscapes.h"

#include "PercentEscapes.h"

namespace harvest {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool isUnreserved(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

void appendEscape(std::string& out, unsigned char c) {
    out += '%';
    out += kHexDigits[c >> 4];
    out += kHexDigits[c & 0x0F];
}

}  // namespace

std::string normalisedEscapes(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '%') {
            const int byte = percentEscapeAt(text, i);
            if (byte < 0) {
                appendEscape(out, c);
            } else if (isUnreserved(static_cast<unsigned char>(byte))) {
                out += static_cast<char>(byte);
                i += 2;
            } else {
                appendEscape(out, static_cast<unsigned char>(byte));
                i += 2;
            }
        } else if (c <= 0x20 || c >= 0x7F) {
            appendEscape(out, c);
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

}  // namespace harvest
