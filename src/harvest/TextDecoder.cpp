// Plain text in whatever encoding it came in, as UTF-8. Every routine here is
// one linear pass over the bytes with the output reserved up front, since
// text files, and binaries read as text, can be large.
#include "TextDecoder.h"

#include <iconv.h>
#include <uchardet/uchardet.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>

#include "ByteScan.h"
#include "Decoders.h"

namespace harvest {
namespace {

// How much of a large input the statistical tests look at.
constexpr std::size_t kSampleBytes = 64 * 1024;

using Bytes = const unsigned char*;

bool isBadControl(unsigned c) {
    if (c < 0x20) {
        return c != '\t' && c != '\n' && c != '\r' && c != '\f';
    }
    return c == 0x7f || (c >= 0x80 && c <= 0x9f);
}

void appendCodePoint(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += isBadControl(cp) ? ' ' : static_cast<char>(cp);
    } else if (cp < 0xa0 || (cp >= 0xd800 && cp <= 0xdfff) || cp > 0x10ffff) {
        out += ' ';
    } else if (cp < 0x800) {
        out += static_cast<char>(0xc0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3f));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xe0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (cp & 0x3f));
    } else {
        out += static_cast<char>(0xf0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3f));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (cp & 0x3f));
    }
}

struct Utf8Stats {
    std::size_t invalid = 0;    // bytes that are not part of a valid sequence
    std::size_t multibyte = 0;  // valid sequences of two bytes or more
};

#if defined(__SSE2__)
// Whether the 16 bytes at p are all printable ASCII, tab, newline, carriage
// return or form feed: text that goes through as it is.
bool plainBlock(Bytes p) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    // Compared as signed bytes, so everything from 0x80 up fails "> 0x1f".
    const __m128i printable = _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8(0x1f)),
                                            _mm_cmplt_epi8(v, _mm_set1_epi8(0x7f)));
    const __m128i spacing = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('\t')),
                                                      _mm_cmpeq_epi8(v, _mm_set1_epi8('\n'))),
                                         _mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('\f')),
                                                      _mm_cmpeq_epi8(v, _mm_set1_epi8('\r'))));
    return _mm_movemask_epi8(_mm_or_si128(printable, spacing)) == 0xffff;
}
#else
bool plainBlock(Bytes p) {
    for (int i = 0; i < 16; ++i) {
        if (p[i] >= 0x7f || (p[i] < 0x20 && isBadControl(p[i]))) {
            return false;
        }
    }
    return true;
}
#endif

// Cleans UTF-8 and counts what it met. With binary set, runs of at least four
// ASCII characters in UTF-16LE (as programs keep their strings) are taken in
// as the characters they stand for instead of letters spaced out by NULs.
// Most text needs no change at all: it is checked 16 bytes at a time, and the
// runs that stay as they are are copied whole; only the bytes that change are
// written one by one.
std::string cleanCounting(std::string_view in, Utf8Stats& stats, bool binary) {
    std::string out;
    out.reserve(in.size());
    const Bytes p = reinterpret_cast<Bytes>(in.data());
    const std::size_t size = in.size();
    std::size_t kept = 0;  // p[kept, i) goes out unchanged
    auto replace = [&](std::size_t i, std::size_t next, char with) {
        out.append(in.data() + kept, i - kept);
        out += with;
        kept = next;
    };
    auto utf16Ascii = [&](std::size_t at) {
        return at + 1 < size && p[at + 1] == 0 && p[at] >= 0x20 && p[at] < 0x7f;
    };
    std::size_t i = 0;
    while (i < size) {
        // A plain block in binary mode must not be followed by a NUL, which
        // could make its last byte the start of a UTF-16LE run.
        while (i + 16 <= size && plainBlock(p + i) && (!binary || i + 16 == size || p[i + 16])) {
            i += 16;
        }
        // Byte by byte to the end of the block that was not plain.
        const std::size_t stop = std::min(size, i + 16);
        while (i < stop) {
            const unsigned c = p[i];
            if (binary && utf16Ascii(i) && utf16Ascii(i + 2) && utf16Ascii(i + 4) &&
                utf16Ascii(i + 6)) {
                out.append(in.data() + kept, i - kept);
                while (utf16Ascii(i)) {
                    out += static_cast<char>(p[i]);
                    i += 2;
                }
                kept = i;
                continue;
            }
            if (c < 0x80) {
                if (isBadControl(c)) {
                    replace(i, i + 1, ' ');
                }
                ++i;
                continue;
            }
            const std::size_t n = utf8SequenceLength(p + i, size - i);
            if (n == 0) {
                ++stats.invalid;
                replace(i, i + 1, ' ');
                ++i;
            } else if (n == 2 && c == 0xc2 && p[i + 1] < 0xa0) {  // a C1 control
                replace(i, i + 2, ' ');
                i += 2;
            } else {
                ++stats.multibyte;
                i += n;
            }
        }
    }
    out.append(in.data() + kept, size - kept);
    return out;
}

std::string fromUtf16(std::string_view in, bool littleEndian) {
    std::string out;
    out.reserve(in.size() + in.size() / 2);
    const Bytes p = reinterpret_cast<Bytes>(in.data());
    auto unit = [&](std::size_t i) -> char32_t {
        return littleEndian ? p[i] | (p[i + 1] << 8) : (p[i] << 8) | p[i + 1];
    };
    std::size_t i = 0;
    for (; i + 1 < in.size(); i += 2) {
        char32_t u = unit(i);
        if (u >= 0xd800 && u <= 0xdbff && i + 3 < in.size()) {
            const char32_t low = unit(i + 2);
            if (low >= 0xdc00 && low <= 0xdfff) {
                u = 0x10000 + ((u - 0xd800) << 10) + (low - 0xdc00);
                i += 2;
            }
        }
        appendCodePoint(out, u);
    }
    if (i < in.size()) {
        out += ' ';
    }
    return out;
}

std::string fromUtf32(std::string_view in, bool littleEndian) {
    std::string out;
    out.reserve(in.size());
    const Bytes p = reinterpret_cast<Bytes>(in.data());
    for (std::size_t i = 0; i + 3 < in.size(); i += 4) {
        const char32_t u = littleEndian ? p[i] | (p[i + 1] << 8) | (p[i + 2] << 16) |
                                              (static_cast<char32_t>(p[i + 3]) << 24)
                                        : (static_cast<char32_t>(p[i]) << 24) | (p[i + 1] << 16) |
                                              (p[i + 2] << 8) | p[i + 3];
        appendCodePoint(out, u);
    }
    return out;
}

// Windows-1252 for 0x80-0x9f; the rest of the upper half is Latin-1. The
// five undefined bytes become spaces (0 is a control).
constexpr char16_t kCp1252High[32] = {
    0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, 0x02c6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017d, 0,      0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022,
    0x2013, 0x2014, 0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178};

std::string fromWindows1252(std::string_view in) {
    std::string out;
    out.reserve(in.size() + in.size() / 4 + 16);
    for (const char ch : in) {
        const unsigned c = static_cast<unsigned char>(ch);
        if (c < 0x80) {
            out += isBadControl(c) ? ' ' : ch;
        } else {
            appendCodePoint(out, c < 0xa0 ? kCp1252High[c - 0x80] : c);
        }
    }
    return out;
}

// Through iconv; nothing when iconv does not know the charset. A byte iconv
// cannot convert becomes a space and conversion goes on after it.
std::optional<std::string> viaIconv(std::string_view in, const std::string& charset) {
    iconv_t cd = iconv_open("UTF-8", charset.c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        return std::nullopt;
    }
    std::string out(in.size() * 2 + 64, '\0');
    std::size_t used = 0;
    char* src = const_cast<char*>(in.data());
    std::size_t srcLeft = in.size();
    bool flushing = false;  // the input is through; iconv writes its closing shift sequence
    for (;;) {
        char* dst = out.data() + used;
        std::size_t dstLeft = out.size() - used;
        const std::size_t rc = flushing ? iconv(cd, nullptr, nullptr, &dst, &dstLeft)
                                        : iconv(cd, &src, &srcLeft, &dst, &dstLeft);
        const int error = errno;
        used = out.size() - dstLeft;
        if (rc != static_cast<std::size_t>(-1)) {
            if (flushing) {
                break;
            }
            flushing = true;
        } else if (error == E2BIG) {
            out.resize(out.size() * 2);
        } else if (!flushing && (error == EILSEQ || error == EINVAL)) {
            // One space for the byte that does not convert; EINVAL means the
            // input ends inside a character, so that is the end.
            if (used == out.size()) {
                out.resize(out.size() * 2);
            }
            out[used++] = ' ';
            ++src;
            --srcLeft;
            if (error == EINVAL) {
                src += srcLeft;
                srcLeft = 0;
            }
        } else {
            break;
        }
    }
    iconv_close(cd);
    out.resize(used);
    Utf8Stats stats;
    return cleanCounting(out, stats, false);
}

std::string lowerTrimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '"' || s.front() == '\'')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '"' || s.back() == '\'')) {
        s.remove_suffix(1);
    }
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    return out;
}

// Names that all mean Windows-1252 or a subset of it for our purpose.
bool isLatin1Family(const std::string& name) {
    static constexpr std::string_view kNames[] = {
        "iso-8859-1", "iso8859-1", "latin1",       "latin-1", "l1",       "iso_8859-1",
        "us-ascii",   "ascii",     "windows-1252", "cp1252",  "x-cp1252", "ansi_x3.4-1968"};
    return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

enum class Utf16Guess { None, LittleEndian, BigEndian };

// UTF-16 without a mark: most code units of ASCII-range text have one NUL
// byte, always on the same side.
Utf16Guess guessUtf16(std::string_view in) {
    const std::size_t pairs = std::min(in.size(), kSampleBytes) / 2;
    if (pairs < 2) {
        return Utf16Guess::None;
    }
    std::size_t evenNul = 0, oddNul = 0;
    for (std::size_t i = 0; i < pairs; ++i) {
        evenNul += in[2 * i] == 0;
        oddNul += in[2 * i + 1] == 0;
    }
    if (oddNul * 10 >= pairs * 7 && evenNul * 10 <= pairs) {
        return Utf16Guess::LittleEndian;
    }
    if (evenNul * 10 >= pairs * 7 && oddNul * 10 <= pairs) {
        return Utf16Guess::BigEndian;
    }
    return Utf16Guess::None;
}

// More than one byte in 32 a control that text does not use: an image, an
// executable, a database.
bool looksBinary(std::string_view in) {
    const std::size_t n = std::min(in.size(), kSampleBytes);
    std::size_t bad = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned c = static_cast<unsigned char>(in[i]);
        bad += (c < 0x20 && isBadControl(c) && c != 0x1b) || c == 0x7f;
    }
    return bad * 32 > n;
}

std::string detectedCharset(std::string_view in) {
    std::unique_ptr<std::remove_pointer_t<uchardet_t>, void (*)(uchardet_t)> detector(
        uchardet_new(), uchardet_delete);
    if (!detector) {
        return {};
    }
    const std::string_view sample = in.substr(0, kSampleBytes);
    uchardet_handle_data(detector.get(), sample.data(), sample.size());
    uchardet_data_end(detector.get());
    const char* name = uchardet_get_charset(detector.get());
    return name ? lowerTrimmed(name) : std::string();
}

// No byte-order mark: what the hint names, else what the bytes look like.
std::string unmarkedToUtf8(std::string_view in, std::string_view charsetHint) {
    const std::string hint = lowerTrimmed(charsetHint);
    Utf8Stats stats;
    if (hint == "utf-8" || hint == "utf8") {
        return cleanCounting(in, stats, false);
    }
    if (isLatin1Family(hint)) {
        return fromWindows1252(in);
    }
    if (hint == "utf-16le" || hint == "utf-16be" || hint == "utf-16") {
        const bool little =
            hint == "utf-16le" || (hint == "utf-16" && guessUtf16(in) == Utf16Guess::LittleEndian);
        return fromUtf16(in, little);
    }
    if (!hint.empty()) {
        if (std::optional<std::string> converted = viaIconv(in, hint)) {
            return std::move(*converted);
        }
    }
    switch (guessUtf16(in)) {
        case Utf16Guess::LittleEndian:
            return fromUtf16(in, true);
        case Utf16Guess::BigEndian:
            return fromUtf16(in, false);
        case Utf16Guess::None:
            break;
    }
    const bool binary = looksBinary(in);
    std::string utf8 = cleanCounting(in, stats, binary);
    // Binary keeps its printable runs; text with more good multi-byte
    // characters than bad bytes is UTF-8 with a few broken bytes.
    if (binary || stats.invalid == 0 || stats.multibyte >= stats.invalid) {
        return utf8;
    }
    const std::string detected = detectedCharset(in);
    if (detected.empty() || isLatin1Family(detected) || detected.starts_with("utf")) {
        return fromWindows1252(in);
    }
    if (std::optional<std::string> converted = viaIconv(in, detected)) {
        return std::move(*converted);
    }
    return fromWindows1252(in);
}

}  // namespace

std::string cleanUtf8(std::string_view bytes) {
    Utf8Stats stats;
    return cleanCounting(bytes, stats, false);
}

std::string toUtf8(std::string_view bytes, std::string_view charsetHint) {
    using namespace std::string_view_literals;
    if (bytes.starts_with("\xEF\xBB\xBF"sv)) {
        return cleanUtf8(bytes.substr(3));
    }
    if (bytes.starts_with("\xFF\xFE\0\0"sv) && bytes.size() % 4 == 0) {
        return fromUtf32(bytes.substr(4), true);
    }
    if (bytes.starts_with("\0\0\xFE\xFF"sv) && bytes.size() % 4 == 0) {
        return fromUtf32(bytes.substr(4), false);
    }
    if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv)) {
        if (bytes.size() % 2 == 0) {
            return fromUtf16(bytes.substr(2), bytes[0] == '\xFF');
        }
        // An odd number of bytes cannot be UTF-16: the mark is two stray
        // bytes in front of text in some other encoding.
        return "  " + unmarkedToUtf8(bytes.substr(2), charsetHint);
    }
    return unmarkedToUtf8(bytes, charsetHint);
}

void decodeText(const Blob& blob, DecodeContext& context) {
    if (blob.bytes.empty()) {
        return;
    }
    TextPiece piece;
    piece.origin = blob.origin;
    piece.text = toUtf8(blob.bytes);
    context.text(std::move(piece));
}

}  // namespace harvest
