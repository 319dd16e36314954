#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Searches over raw bytes that look at 16 bytes at a time where the processor
// allows, for the loops that pass over a whole file's text.
namespace bytesearch {

// ASCII letters folded to lower case, other bytes as they are.
inline char Fold(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether a and b hold the same text, ASCII case ignored when asked.
inline bool SameText(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (ignoreCase ? Fold(a[i]) != Fold(b[i]) : a[i] != b[i]) {
            return false;
        }
    }
    return true;
}

// The first i in [from, n - 1) where p[i] and p[i + 1] are `first` and
// `second`, each compared folded when its flag says so (`first`/`second`
// given in lower case then); n when there is none.
inline size_t FindPair(const char* p, size_t n, size_t from, char first, bool foldFirst,
                       char second, bool foldSecond) {
    size_t i = from;
#if defined(__SSE2__)
    const __m128i a = _mm_set1_epi8(first);
    const __m128i b = _mm_set1_epi8(second);
    const __m128i lowerA = _mm_set1_epi8(foldFirst ? 0x20 : 0);
    const __m128i lowerB = _mm_set1_epi8(foldSecond ? 0x20 : 0);
    // Folding by setting bit 5 is only right for letters, so a folded match
    // is checked again below.
    for (; i + 17 <= n; i += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + 1));
        const __m128i hit = _mm_and_si128(_mm_cmpeq_epi8(_mm_or_si128(x, lowerA), a),
                                          _mm_cmpeq_epi8(_mm_or_si128(y, lowerB), b));
        for (uint32_t mask = static_cast<uint32_t>(_mm_movemask_epi8(hit)); mask != 0;
             mask &= mask - 1) {
            const size_t at = i + static_cast<size_t>(__builtin_ctz(mask));
            if ((foldFirst ? Fold(p[at]) : p[at]) == first &&
                (foldSecond ? Fold(p[at + 1]) : p[at + 1]) == second) {
                return at;
            }
        }
    }
#endif
    for (; i + 1 < n; ++i) {
        if ((foldFirst ? Fold(p[i]) : p[i]) == first &&
            (foldSecond ? Fold(p[i + 1]) : p[i + 1]) == second) {
            return i;
        }
    }
    return n;
}

// The first i in [from, n - 2) where p[i], p[i + 1] and p[i + 2] are the
// three characters of `chars`, each compared folded when its flag in `fold`
// says so (the character given in lower case then); n when there is none.
// Three characters rule out far more places than two ("<sc" against "<s").
inline size_t FindTriple(const char* p, size_t n, size_t from, const char (&chars)[3],
                         const bool (&fold)[3]) {
    const auto at = [&](size_t i) {
        for (int k = 0; k < 3; ++k) {
            if ((fold[k] ? Fold(p[i + k]) : p[i + k]) != chars[k]) {
                return false;
            }
        }
        return true;
    };
    size_t i = from;
#if defined(__SSE2__)
    __m128i want[3];
    __m128i lower[3];
    for (int k = 0; k < 3; ++k) {
        want[k] = _mm_set1_epi8(chars[k]);
        lower[k] = _mm_set1_epi8(fold[k] ? 0x20 : 0);
    }
    for (; i + 18 <= n; i += 16) {
        __m128i hit = _mm_set1_epi8(-1);
        for (int k = 0; k < 3; ++k) {
            const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + k));
            hit = _mm_and_si128(hit, _mm_cmpeq_epi8(_mm_or_si128(x, lower[k]), want[k]));
        }
        for (uint32_t mask = static_cast<uint32_t>(_mm_movemask_epi8(hit)); mask != 0;
             mask &= mask - 1) {
            const size_t candidate = i + static_cast<size_t>(__builtin_ctz(mask));
            if (at(candidate)) {
                return candidate;
            }
        }
    }
#endif
    for (; i + 2 < n; ++i) {
        if (at(i)) {
            return i;
        }
    }
    return n;
}

// The first i in [from, n) where p[i] is `a` or `b`; n when there is none.
inline size_t FindEither(const char* p, size_t n, size_t from, char a, char b) {
    size_t i = from;
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(a);
    const __m128i vb = _mm_set1_epi8(b);
    for (; i + 16 <= n; i += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        const int mask =
            _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(x, va), _mm_cmpeq_epi8(x, vb)));
        if (mask != 0) {
            return i + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
        }
    }
#endif
    for (; i < n; ++i) {
        if (p[i] == a || p[i] == b) {
            return i;
        }
    }
    return n;
}

// Calls visit(i) for every i in [0, n), in order, where p[i] is `a` or `b`.
template <class Visit>
void ForEachEither(const char* p, size_t n, char a, char b, Visit visit) {
    size_t i = 0;
#if defined(__SSE2__)
    const __m128i va = _mm_set1_epi8(a);
    const __m128i vb = _mm_set1_epi8(b);
    for (; i + 16 <= n; i += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        for (uint32_t mask = static_cast<uint32_t>(
                 _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(x, va), _mm_cmpeq_epi8(x, vb))));
             mask != 0; mask &= mask - 1) {
            visit(i + static_cast<size_t>(__builtin_ctz(mask)));
        }
    }
#endif
    for (; i < n; ++i) {
        if (p[i] == a || p[i] == b) {
            visit(i);
        }
    }
}

// Every byte of p[0, n) that is one of `from` becomes `to`.
inline void ReplaceBytes(char* p, size_t n, std::string_view from, char to) {
    size_t i = 0;
#if defined(__SSE2__)
    const __m128i target = _mm_set1_epi8(to);
    for (; i + 16 <= n; i += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        __m128i hit = _mm_setzero_si128();
        for (char c : from) {
            hit = _mm_or_si128(hit, _mm_cmpeq_epi8(x, _mm_set1_epi8(c)));
        }
        if (_mm_movemask_epi8(hit) != 0) {
            const __m128i y = _mm_or_si128(_mm_andnot_si128(hit, x), _mm_and_si128(hit, target));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p + i), y);
        }
    }
#endif
    for (; i < n; ++i) {
        if (from.find(p[i]) != std::string_view::npos) {
            p[i] = to;
        }
    }
}

}  // namespace bytesearch
