#include <algorithm>
#include <array>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "ScanEngine.h"

void ScanEngine::PrepareText() {
    // One pass does it all: backspace, tab, line feed and carriage return
    // become spaces, then every "quot" (left to right, as a replace-all does),
    // and each run of spaces is written as one; the space appended in front
    // of all that is added at the end of the pass. Replacing every pair of
    // spaces with one halves a run (rounding up) per pass over the text, and
    // the passes yield in between, so their number is kept.
    //
    // kClass: 1 for the bytes that become spaces, 2 for "q" (a "quot" may
    // begin there).
    static const std::array<uint8_t, 256> kClass = [] {
        std::array<uint8_t, 256> c{};
        for (unsigned char s : {' ', '\b', '\t', '\n', '\r'}) {
            c[s] = 1;
        }
        c['q'] = 2;
        return c;
    }();
    char* text = strScanText.data();
    const size_t n = strScanText.size();
    size_t write = 0;
    size_t run = 0;  // length of the run of spaces just read
    size_t longestRun = 0;
    // One byte the scalar way; a "quot" is read as one space.
    const auto step = [&](size_t& read) {
        const char c = text[read];
        size_t space = kClass[static_cast<unsigned char>(c)];
        size_t length = 1;
        if (space == 2) {
            space = n - read >= 4 && text[read + 1] == 'u' && text[read + 2] == 'o' &&
                    text[read + 3] == 't';
            length = space ? 4 : 1;
        }
        // Always store, and move on unless this space continues a run.
        text[write] = space ? ' ' : c;
        write += space == 0 || run == 0;
        run = space ? run + 1 : 0;
        longestRun = std::max(longestRun, run);
        read += length;
    };
    size_t read = 0;
#if defined(__SSE2__)
    // Sixteen bytes at once while they hold no "q" and no space next to a
    // space: their spaces need only be written as " ".
    while (read + 16 <= n) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + read));
        __m128i spaces = _mm_cmpeq_epi8(x, _mm_set1_epi8(' '));
        for (char c : {'\b', '\t', '\n', '\r'}) {
            spaces = _mm_or_si128(spaces, _mm_cmpeq_epi8(x, _mm_set1_epi8(c)));
        }
        const uint32_t spaceBits = static_cast<uint32_t>(_mm_movemask_epi8(spaces));
        const uint32_t qBits =
            static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, _mm_set1_epi8('q'))));
        const uint32_t doubled = spaceBits & ((spaceBits << 1) | (run != 0 ? 1u : 0u));
        if (qBits != 0) {
            for (const size_t end = read + 16; read < end;) {
                step(read);
            }
            continue;
        }
        const __m128i y =
            _mm_or_si128(_mm_andnot_si128(spaces, x), _mm_and_si128(spaces, _mm_set1_epi8(' ')));
        if (doubled != 0) {
            // Spaces next to spaces: the bytes are written one by one, each
            // space after a space overwritten by what follows.
            alignas(16) char bytes[16];
            _mm_store_si128(reinterpret_cast<__m128i*>(bytes), y);
            for (size_t j = 0; j < 16; ++j) {
                const bool space = (spaceBits >> j) & 1u;
                text[write] = bytes[j];
                write += !space || run == 0;
                run = space ? run + 1 : 0;
                longestRun = std::max(longestRun, run);
            }
            read += 16;
            continue;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(text + write), y);
        write += 16;
        read += 16;
        run = spaceBits >> 15;
        longestRun = std::max<size_t>(longestRun, spaceBits != 0 ? 1 : 0);
    }
#endif
    while (read < n) {
        step(read);
    }
    // The appended space.
    const bool grows = run++ == 0 && write == n;
    if (run == 1 && !grows) {
        text[write++] = ' ';
    }
    longestRun = std::max(longestRun, run);
    strScanText.resize(write);
    if (grows) {
        strScanText += ' ';
    }
    for (size_t passes = 0; longestRun > 1; longestRun = (longestRun + 1) / 2) {
        if (passes++ > 0) {
            Yield();
        }
    }
}
