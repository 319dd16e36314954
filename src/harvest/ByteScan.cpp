// SSE2 is part of every x86-64 processor; where the processor has AVX2, the
// hottest scans take 32 bytes at a time. Elsewhere they run a byte at a time.
#include "ByteScan.h"

#include <algorithm>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace harvest {
namespace {

bool isAllowedControl(unsigned c) {
    return c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

// Checks the byte at p[i], which is not printable ASCII, and what belongs to
// it, and moves i past them; false for a control character (C1 included) or
// bytes that are not UTF-8.
bool passSuspect(const unsigned char* p, std::size_t size, std::size_t& i, bool& ascii) {
    const unsigned c = p[i];
    if (c < 0x80) {
        ++i;
        return isAllowedControl(c);  // and not 0x7F
    }
    ascii = false;
    const std::size_t n = utf8SequenceLength(p + i, size - i);
    if (n == 0 || (c == 0xC2 && p[i + 1] < 0xA0)) {
        return false;
    }
    i += n;
    return true;
}

bool isSuspect(unsigned c) {
    return c < 0x20 || c >= 0x7F;
}

#if defined(__SSE2__)
__m128i load(const unsigned char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// The bytes at p that are not printable ASCII and not allowed white space,
// as a bit mask; branch free, since most blocks of a text hold a line end.
unsigned suspectMask(const unsigned char* p) {
    const __m128i v = load(p);
    // v + 1 below 0x21, signed: 0x00-0x1F, and 0x7F-0xFF, which wrap to negatives.
    const __m128i odd = _mm_cmplt_epi8(_mm_add_epi8(v, _mm_set1_epi8(1)), _mm_set1_epi8(0x21));
    // Tab and carriage return (0x09, 0x0D: equal with bit 2 cleared), line and form feed.
    const __m128i space =
        _mm_or_si128(_mm_cmpeq_epi8(_mm_and_si128(v, _mm_set1_epi8(static_cast<char>(0xFB))),
                                    _mm_set1_epi8('\t')),
                     _mm_or_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('\n')),
                                  _mm_cmpeq_epi8(v, _mm_set1_epi8('\f'))));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_andnot_si128(space, odd)));
}
#endif

#if defined(__x86_64__)
// suspectMask for 32 bytes.
__attribute__((target("avx2"))) inline unsigned suspectMask32(const unsigned char* p) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    const __m256i odd =
        _mm256_cmpgt_epi8(_mm256_set1_epi8(0x21), _mm256_add_epi8(v, _mm256_set1_epi8(1)));
    const __m256i space = _mm256_or_si256(
        _mm256_cmpeq_epi8(_mm256_and_si256(v, _mm256_set1_epi8(static_cast<char>(0xFB))),
                          _mm256_set1_epi8('\t')),
        _mm256_or_si256(_mm256_cmpeq_epi8(v, _mm256_set1_epi8('\n')),
                        _mm256_cmpeq_epi8(v, _mm256_set1_epi8('\f'))));
    return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_andnot_si256(space, odd)));
}

// The 64-byte loop of isCleanUtf8 with AVX2: moves i to the first suspect
// byte of the first block that has one, or to the last whole block's end.
__attribute__((target("avx2"))) std::uint64_t skipCleanAvx2(const unsigned char* p,
                                                            std::size_t size, std::size_t& i) {
    while (i + 64 <= size) {
        const std::uint64_t mask = suspectMask32(p + i) | std::uint64_t{suspectMask32(p + i + 32)}
                                                              << 32;
        if (mask != 0) {
            return mask;
        }
        i += 64;
    }
    return 0;
}

__attribute__((target("avx2"))) std::int64_t countNewlinesAvx2(const unsigned char* p,
                                                               std::size_t size, std::size_t& i) {
    std::int64_t count = 0;
    const __m256i newline = _mm256_set1_epi8('\n');
    while (i + 32 <= size) {
        const std::size_t blocks = std::min<std::size_t>((size - i) / 32, 255);
        __m256i sums = _mm256_setzero_si256();
        for (std::size_t b = 0; b < blocks; ++b, i += 32) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
            sums = _mm256_sub_epi8(sums, _mm256_cmpeq_epi8(v, newline));
        }
        const __m256i total = _mm256_sad_epu8(sums, _mm256_setzero_si256());
        count += _mm256_extract_epi64(total, 0) + _mm256_extract_epi64(total, 1) +
                 _mm256_extract_epi64(total, 2) + _mm256_extract_epi64(total, 3);
    }
    return count;
}

const bool kAvx2 = __builtin_cpu_supports("avx2");
#endif
}  // namespace

bool hasAvx2() {
#if defined(__x86_64__)
    return kAvx2;
#else
    return false;
#endif
}

std::size_t utf8SequenceLength(const unsigned char* p, std::size_t left) {
    const unsigned c = p[0];
    if (c < 0x80) {
        return 1;
    }
    std::size_t n = 0;
    unsigned lo = 0x80, hi = 0xBF;  // the bounds of the second byte
    if (c >= 0xC2 && c <= 0xDF) {
        n = 2;
    } else if (c >= 0xE0 && c <= 0xEF) {
        n = 3;
        lo = c == 0xE0 ? 0xA0 : 0x80;
        hi = c == 0xED ? 0x9F : 0xBF;
    } else if (c >= 0xF0 && c <= 0xF4) {
        n = 4;
        lo = c == 0xF0 ? 0x90 : 0x80;
        hi = c == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (left < n || p[1] < lo || p[1] > hi) {
        return 0;
    }
    for (std::size_t k = 2; k < n; ++k) {
        if ((p[k] & 0xC0) != 0x80) {
            return 0;
        }
    }
    return n;
}

bool isCleanUtf8(std::string_view s, bool& ascii) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const std::size_t size = s.size();
    ascii = true;
    std::size_t i = 0;
#if defined(__SSE2__)
    while (i + 64 <= size) {
#if defined(__x86_64__)
        const std::uint64_t mask = kAvx2 ? skipCleanAvx2(p, size, i)
                                         : suspectMask(p + i) |
                                               std::uint64_t{suspectMask(p + i + 16)} << 16 |
                                               std::uint64_t{suspectMask(p + i + 32)} << 32 |
                                               std::uint64_t{suspectMask(p + i + 48)} << 48;
        if (i + 64 > size) {
            break;
        }
#else
        const std::uint64_t mask = suspectMask(p + i) |
                                   std::uint64_t{suspectMask(p + i + 16)} << 16 |
                                   std::uint64_t{suspectMask(p + i + 32)} << 32 |
                                   std::uint64_t{suspectMask(p + i + 48)} << 48;
#endif
        if (mask == 0) {
            i += 64;
            continue;
        }
        i += static_cast<std::size_t>(__builtin_ctzll(mask));
        // A run of multibyte characters is checked here to its end.
        do {
            if (!passSuspect(p, size, i, ascii)) {
                return false;
            }
        } while (i < size && p[i] >= 0x80);
    }
#endif
    while (i < size) {
        if (!isSuspect(p[i]) || isAllowedControl(p[i])) {
            ++i;
        } else if (!passSuspect(p, size, i, ascii)) {
            return false;
        }
    }
    return true;
}

std::size_t findMarkup(std::string_view s, std::size_t from) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const std::size_t size = s.size();
    std::size_t i = from;
#if defined(__SSE2__)
    const __m128i lt = _mm_set1_epi8('<');
    const __m128i amp = _mm_set1_epi8('&');
    while (i + 16 <= size) {
        const __m128i v = load(p + i);
        const int hit =
            _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(v, lt), _mm_cmpeq_epi8(v, amp)));
        if (hit != 0) {
            return i + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(hit)));
        }
        i += 16;
    }
#endif
    while (i < size && p[i] != '<' && p[i] != '&') {
        ++i;
    }
    return i < size ? i : size;
}

std::int64_t countNewlines(std::string_view s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const std::size_t size = s.size();
    std::int64_t count = 0;
    std::size_t i = 0;
#if defined(__x86_64__)
    if (kAvx2) {
        count = countNewlinesAvx2(p, size, i);
    }
#endif
#if defined(__SSE2__)
    const __m128i newline = _mm_set1_epi8('\n');
    while (i + 16 <= size) {
        // Up to 255 blocks add their matches (0 or -1 a byte) in bytes, then
        // the bytes are summed with a sum of absolute differences.
        const std::size_t blocks = std::min<std::size_t>((size - i) / 16, 255);
        __m128i sums = _mm_setzero_si128();
        for (std::size_t b = 0; b < blocks; ++b, i += 16) {
            sums = _mm_sub_epi8(sums, _mm_cmpeq_epi8(load(p + i), newline));
        }
        const __m128i total = _mm_sad_epu8(sums, _mm_setzero_si128());
        count += _mm_cvtsi128_si32(total) + _mm_cvtsi128_si32(_mm_srli_si128(total, 8));
    }
#endif
    for (; i < size; ++i) {
        count += p[i] == '\n';
    }
    return count;
}

}  // namespace harvest
