#include "ScanText.h"

#include "ByteSearch.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace {

constexpr size_t kWordsPerBlock = 8;  // 512 characters per counted block

size_t Words(size_t chars) {
    return (chars + 63) / 64;
}

// Bits set in a word (without relying on a popcount instruction).
size_t Ones(uint64_t x) {
    x = x - ((x >> 1) & 0x5555555555555555ull);
    x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
    x = (x + (x >> 4)) & 0x0f0f0f0f0f0f0f0full;
    return static_cast<size_t>((x * 0x0101010101010101ull) >> 56);
}

}  // namespace

ScanText::ScanText(std::string text)
    : text_(std::move(text)),
      taken_(Words(text_.size() + 1)),
      full_(Words(taken_.size())),
      counts_(taken_.size() / kWordsPerBlock + 2) {
    // The bits past the end count as taken, so no search runs beyond it.
    const size_t n = text_.size();
    taken_.back() |= ~0ull << (n & 63);
    if ((n & 63) == 0) {
        taken_.back() = ~0ull;
    }
    for (size_t w = 0; w < taken_.size(); ++w) {
        if (taken_[w] == ~0ull) {
            full_[w >> 6] |= 1ull << (w & 63);
        }
    }
}

size_t ScanText::nextKept(size_t i) const {
    const size_t n = size();
    if (i >= n) {
        return n;
    }
    size_t w = i >> 6;
    const uint64_t here = ~taken_[w] & (~0ull << (i & 63));
    if (here != 0) {
        return (w << 6) + static_cast<size_t>(std::countr_zero(here));
    }
    for (++w; w < taken_.size();) {
        const size_t f = w >> 6;
        const uint64_t open = ~full_[f] & (~0ull << (w & 63));
        if (open != 0) {
            w = (f << 6) + static_cast<size_t>(std::countr_zero(open));
            if (w >= taken_.size()) {
                return n;
            }
            return (w << 6) + static_cast<size_t>(std::countr_zero(~taken_[w]));
        }
        w = (f + 1) << 6;
    }
    return n;
}

size_t ScanText::prevKept(size_t i) const {
    if (i == 0) {
        return npos;
    }
    const size_t j = i - 1;
    size_t w = j >> 6;
    const uint64_t here = ~taken_[w] & (~0ull >> (63 - (j & 63)));
    if (here != 0) {
        return (w << 6) + 63 - static_cast<size_t>(std::countl_zero(here));
    }
    while (w > 0) {
        --w;
        const size_t f = w >> 6;
        const uint64_t open = ~full_[f] & (~0ull >> (63 - (w & 63)));
        if (open != 0) {
            w = (f << 6) + 63 - static_cast<size_t>(std::countl_zero(open));
            return (w << 6) + 63 - static_cast<size_t>(std::countl_zero(~taken_[w]));
        }
        w = f << 6;
    }
    return npos;
}

void ScanText::mark(size_t i) {
    const size_t w = i >> 6;
    taken_[w] |= 1ull << (i & 63);
    if (taken_[w] == ~0ull) {
        full_[w >> 6] |= 1ull << (w & 63);
    }
    for (size_t b = w / kWordsPerBlock + 1; b < counts_.size(); b += b & (~b + 1)) {
        ++counts_[b];
    }
}

size_t ScanText::take(size_t from, size_t count) {
    size_t i = from;
    size_t end = from;
    for (size_t k = 0; k < count && i < size(); ++k) {
        mark(i);
        end = i + 1;
        i = nextKept(end);
    }
    return end;
}

size_t ScanText::rank(size_t i) const {
    const size_t w = i >> 6;
    const size_t block = w / kWordsPerBlock;
    size_t taken = 0;
    for (size_t b = block; b > 0; b -= b & (~b + 1)) {
        taken += counts_[b];
    }
    for (size_t k = block * kWordsPerBlock; k < w; ++k) {
        taken += Ones(taken_[k]);
    }
    if ((i & 63) != 0) {
        taken += Ones(taken_[w] & (~0ull >> (64 - (i & 63))));
    }
    return i - taken;
}

size_t ScanText::keptBetween(size_t from, size_t to) const {
    if (to <= from) {
        return 0;
    }
    if ((to - from) / 64 > 2 * kWordsPerBlock) {
        return rank(to) - rank(from);
    }
    size_t taken = 0;
    for (size_t w = from >> 6; w <= (to - 1) >> 6; ++w) {
        uint64_t bits = taken_[w];
        if (w == from >> 6) {
            bits &= ~0ull << (from & 63);
        }
        if (w == (to - 1) >> 6 && (to & 63) != 0) {
            bits &= ~0ull >> (64 - (to & 63));
        }
        taken += Ones(bits);
    }
    return to - from - taken;
}

bool ScanText::keptRun(size_t from, size_t count) const {
    for (size_t i = from; i < from + count;) {
        const size_t w = i >> 6;
        const size_t upto = std::min<size_t>(from + count - (w << 6), 64);
        uint64_t mask = ~0ull << (i & 63);
        if (upto < 64) {
            mask &= ~(~0ull << upto);
        }
        if ((taken_[w] & mask) != 0) {
            return false;
        }
        i = (w + 1) << 6;
    }
    return true;
}

void ScanText::appendKept(std::string& out, size_t from, size_t to, size_t limit) const {
    for (size_t i = nextKept(from); i < to && out.size() < limit;) {
        // The run of kept characters from i on ends at the next taken one,
        // or at `to`.
        size_t w = i >> 6;
        const size_t lastWord = (to - 1) >> 6;
        uint64_t stop = taken_[w] & (~0ull << (i & 63));
        while (stop == 0 && w < lastWord) {
            stop = taken_[++w];
        }
        size_t end =
            stop == 0 ? to : std::min(to, (w << 6) + static_cast<size_t>(std::countr_zero(stop)));
        end = i + std::min(end - i, limit - out.size());
        out.append(text_, i, end - i);
        i = nextKept(end);
    }
}

void ScanText::replaceWithSpaces(std::string_view marks) {
    bytesearch::ReplaceBytes(text_.data(), text_.size(), marks, ' ');
}

std::string ScanText::release() {
    size_t write = 0;
    for (size_t i = nextKept(0); i < size();) {
        size_t w = i >> 6;
        uint64_t stop = taken_[w] & (~0ull << (i & 63));
        while (stop == 0) {
            stop = taken_[++w];
        }
        const size_t end = std::min(size(), (w << 6) + static_cast<size_t>(std::countr_zero(stop)));
        if (write != i) {
            std::memmove(text_.data() + write, text_.data() + i, end - i);
        }
        write += end - i;
        i = nextKept(end);
    }
    text_.resize(write);
    std::string out = std::move(text_);
    *this = ScanText(std::string());
    return out;
}
