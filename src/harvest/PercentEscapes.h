#pragma once
// URL escapes ("%40"), as mailto: links and escaped addresses carry them.
#include <string>
#include <string_view>

namespace harvest {

inline int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// The byte that the escape at s[i] stands for, or -1 when there is none.
inline int percentEscapeAt(std::string_view s, std::size_t i) {
    if (s[i] != '%' || i + 2 >= s.size() || hexValue(s[i + 1]) < 0 || hexValue(s[i + 2]) < 0) {
        return -1;
    }
    return hexValue(s[i + 1]) * 16 + hexValue(s[i + 2]);
}

inline std::string percentDecoded(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        int byte = percentEscapeAt(s, i);
        if (byte >= 0) {
            out += static_cast<char>(byte);
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

}  // namespace harvest
