#include "TriggerScan.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace harvest {

namespace {

inline bool alnum(unsigned char c) {
    return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
}

// Whether the domain read from pos can have a dot spelled " dot ": an address
// written with " at " must have one, and prose has " at " often. The domain's
// labels and dots run up to the first other ASCII byte, and a spelled dot can
// only start there.
inline bool spelledDotAhead(std::string_view text, std::size_t pos) {
    const std::size_t stop = std::min(text.size(), pos + 260);
    while (pos < stop) {
        const auto c = static_cast<unsigned char>(text[pos]);
        if (c < 0x80 && !alnum(c) && c != '-' && c != '.') {
            const std::string_view word = text.substr(pos, 5);
            return word == " dot " || word == " DOT ";
        }
        ++pos;
    }
    return false;
}

// Notes the trigger at pos, if there is one; pos holds one of the bytes the
// block test lets through, or any byte when the caller tests none.
inline void note(std::string_view text, std::size_t pos, Triggers& out) {
    const char c = text[pos];
    const std::size_t size = text.size();
    const auto next = [&](std::size_t k) { return pos + k < size ? text[pos + k] : '\0'; };
    switch (c) {
        case '@':
            out.at.push_back(pos);
            break;
        case '&':
            if (next(1) == '#' || next(1) == 'c') {
                out.entities.push_back(pos);
            }
            break;
        case '%':
            if (next(1) == '4' && next(2) == '0') {
                out.percents.push_back(pos);
            }
            break;
        case '[':
            out.brackets[0].push_back(pos);
            break;
        case '(':
            out.brackets[1].push_back(pos);
            break;
        case '{':
            out.brackets[2].push_back(pos);
            break;
        case ':':
            if (next(1) == '/' || (pos > 0 && (text[pos - 1] | 0x20) == 'o')) {
                out.colons.push_back(pos);
            }
            break;
        case 'a':
        case 'A':
            if (pos > 0 && text[pos - 1] == ' ' && next(2) == ' ' &&
                ((c == 'a' && next(1) == 't') || (c == 'A' && next(1) == 'T')) &&
                spelledDotAhead(text, pos + 3)) {
                (c == 'a' ? out.spelledLower : out.spelledUpper).push_back(pos - 1);
            }
            break;
        default:
            break;
    }
}

#if defined(__SSE2__)
inline __m128i load(const char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline __m128i is(__m128i v, char c) {
    return _mm_cmpeq_epi8(v, _mm_set1_epi8(c));
}

// The bytes of the 16 at p that may start a trigger, as a bit mask: one of
// the single-byte triggers, or an "a" between " " and "t " in either case.
// Reads p[-1] to p[17].
inline unsigned blockMask(const char* p) {
    const __m128i v = load(p);
    const __m128i single = _mm_or_si128(
        _mm_or_si128(_mm_or_si128(is(v, '@'), is(v, '&')), _mm_or_si128(is(v, '%'), is(v, ':'))),
        _mm_or_si128(_mm_or_si128(is(v, '['), is(v, '(')), is(v, '{')));
    const __m128i caseBit = _mm_set1_epi8(0x20);
    const __m128i spelled = _mm_and_si128(
        _mm_and_si128(is(load(p - 1), ' '), is(_mm_or_si128(v, caseBit), 'a')),
        _mm_and_si128(is(_mm_or_si128(load(p + 1), caseBit), 't'), is(load(p + 2), ' ')));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(single, spelled)));
}
#endif

#if defined(__x86_64__)
__attribute__((target("avx2"))) inline __m256i load32(const char* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
__attribute__((target("avx2"))) inline __m256i is32(__m256i v, char c) {
    return _mm256_cmpeq_epi8(v, _mm256_set1_epi8(c));
}

// blockMask for the 32 bytes at p; reads p[-1] to p[33].
__attribute__((target("avx2"))) inline unsigned blockMask32(const char* p) {
    const __m256i v = load32(p);
    const __m256i single =
        _mm256_or_si256(_mm256_or_si256(_mm256_or_si256(is32(v, '@'), is32(v, '&')),
                                        _mm256_or_si256(is32(v, '%'), is32(v, ':'))),
                        _mm256_or_si256(_mm256_or_si256(is32(v, '['), is32(v, '(')), is32(v, '{')));
    const __m256i caseBit = _mm256_set1_epi8(0x20);
    const __m256i spelled = _mm256_and_si256(
        _mm256_and_si256(is32(load32(p - 1), ' '), is32(_mm256_or_si256(v, caseBit), 'a')),
        _mm256_and_si256(is32(_mm256_or_si256(load32(p + 1), caseBit), 't'),
                         is32(load32(p + 2), ' ')));
    return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_or_si256(single, spelled)));
}

// The block loop of scanTriggers, 32 bytes at a time; returns where it
// stopped.
__attribute__((target("avx2"))) std::size_t scanBlocksAvx2(std::string_view text, std::size_t pos,
                                                           Triggers& out) {
    const char* data = text.data();
    for (; pos + 34 <= text.size(); pos += 32) {
        for (unsigned mask = blockMask32(data + pos); mask != 0; mask &= mask - 1) {
            note(text, pos + static_cast<std::size_t>(__builtin_ctz(mask)), out);
        }
    }
    return pos;
}
#endif

}  // namespace

void Triggers::clear() {
    for (std::vector<std::size_t>* list : {&at, &entities, &percents, &brackets[0], &brackets[1],
                                           &brackets[2], &spelledLower, &spelledUpper, &colons}) {
        list->clear();
    }
}

void Triggers::shrink() {
    for (std::vector<std::size_t>* list : {&at, &entities, &percents, &brackets[0], &brackets[1],
                                           &brackets[2], &spelledLower, &spelledUpper, &colons}) {
        if (list->capacity() > 4096) {
            std::vector<std::size_t>().swap(*list);
        }
    }
}

void scanTriggers(std::string_view text, Triggers& out) {
    out.clear();
    const char* data = text.data();
    const std::size_t size = text.size();
    std::size_t pos = 0;
#if defined(__SSE2__)
    // A block reads one byte before it and two after, so the first starts
    // at 1 and the last ends two bytes short of the end.
    if (size >= 19) {
        note(text, 0, out);
        pos = 1;
#if defined(__x86_64__)
        if (hasAvx2()) {
            pos = scanBlocksAvx2(text, pos, out);
        }
#endif
        for (; pos + 18 <= size; pos += 16) {
            for (unsigned mask = blockMask(data + pos); mask != 0; mask &= mask - 1) {
                note(text, pos + static_cast<std::size_t>(__builtin_ctz(mask)), out);
            }
        }
    }
#endif
    for (; pos < size; ++pos) {
        note(text, pos, out);
    }
}

}  // namespace harvest
