#pragma once
// The straightforward versions of the scans that have fast ones: the byte by
// byte clean of UTF-8 text, and one pass per trigger over the text. The tests
// check the fast scans against them.
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "TriggerScan.h"

namespace harvest::reference {

inline bool isBadControl(unsigned c) {
    if (c < 0x20) {
        return c != '\t' && c != '\n' && c != '\r' && c != '\f';
    }
    return c == 0x7f || (c >= 0x80 && c <= 0x9f);
}

// The length of the valid UTF-8 sequence at p (at most left bytes), or 0.
inline std::size_t sequenceLength(const unsigned char* p, std::size_t left) {
    const unsigned c = p[0];
    if (c < 0x80) {
        return 1;
    }
    std::size_t n = 0;
    unsigned lo = 0x80, hi = 0xbf;  // the bounds of the second byte
    if (c >= 0xc2 && c <= 0xdf) {
        n = 2;
    } else if (c >= 0xe0 && c <= 0xef) {
        n = 3;
        lo = c == 0xe0 ? 0xa0 : 0x80;
        hi = c == 0xed ? 0x9f : 0xbf;
    } else if (c >= 0xf0 && c <= 0xf4) {
        n = 4;
        lo = c == 0xf0 ? 0x90 : 0x80;
        hi = c == 0xf4 ? 0x8f : 0xbf;
    } else {
        return 0;
    }
    if (left < n || p[1] < lo || p[1] > hi) {
        return 0;
    }
    for (std::size_t i = 2; i < n; ++i) {
        if ((p[i] & 0xc0) != 0x80) {
            return 0;
        }
    }
    return n;
}

// Each invalid byte, control character and C1 control as a space; with
// binary set, runs of four or more ASCII characters in UTF-16LE as those
// characters.
struct CleanCounts {
    std::size_t invalid = 0;    // bytes that are not part of a valid sequence
    std::size_t multibyte = 0;  // valid sequences of two bytes or more
};

inline std::string clean(std::string_view in, bool binary = false, CleanCounts* counts = nullptr) {
    CleanCounts unused;
    CleanCounts& stats = counts ? *counts : unused;
    std::string out(in.size(), ' ');
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    const std::size_t size = in.size();
    std::size_t o = 0;
    auto utf16Ascii = [&](std::size_t at) {
        return at + 1 < size && p[at + 1] == 0 && p[at] >= 0x20 && p[at] < 0x7f;
    };
    for (std::size_t i = 0; i < size;) {
        const unsigned c = p[i];
        if (binary && utf16Ascii(i) && utf16Ascii(i + 2) && utf16Ascii(i + 4) &&
            utf16Ascii(i + 6)) {
            while (utf16Ascii(i)) {
                out[o++] = static_cast<char>(p[i]);
                i += 2;
            }
            continue;
        }
        if (c < 0x80) {
            out[o++] = isBadControl(c) ? ' ' : static_cast<char>(c);
            ++i;
            continue;
        }
        const std::size_t n = sequenceLength(p + i, size - i);
        if (n == 0) {
            ++stats.invalid;
            out[o++] = ' ';
            ++i;
        } else if (n == 2 && c == 0xc2 && p[i + 1] < 0xa0) {
            out[o++] = ' ';
            i += 2;
        } else {
            ++stats.multibyte;
            std::memcpy(&out[o], p + i, n);
            o += n;
            i += n;
        }
    }
    out.resize(o);
    return out;
}

// Every place of every trigger byte and word, one pass each, with nothing
// left out: what the finders looked at before the triggers were scanned.
inline Triggers triggers(std::string_view text) {
    Triggers t;
    auto every = [&](char c, std::vector<std::size_t>& list) {
        for (std::size_t pos = text.find(c); pos != std::string_view::npos;
             pos = text.find(c, pos + 1)) {
            list.push_back(pos);
        }
    };
    every('@', t.at);
    every('&', t.entities);
    every('%', t.percents);
    every('[', t.brackets[0]);
    every('(', t.brackets[1]);
    every('{', t.brackets[2]);
    every(':', t.colons);
    for (std::size_t pos = text.find(" at "); pos != std::string_view::npos;
         pos = text.find(" at ", pos + 1)) {
        t.spelledLower.push_back(pos);
    }
    for (std::size_t pos = text.find(" AT "); pos != std::string_view::npos;
         pos = text.find(" AT ", pos + 1)) {
        t.spelledUpper.push_back(pos);
    }
    return t;
}

}  // namespace harvest::reference
