#include "PieceSet.h"

#include <cstring>

uint64_t PieceSet::Hash(std::string_view piece) {
    // Eight bytes at a time, multiplied and folded.
    uint64_t h = 0x9e3779b97f4a7c15ull ^ piece.size();
    size_t i = 0;
    for (; i + 8 <= piece.size(); i += 8) {
        uint64_t w;
        std::memcpy(&w, piece.data() + i, 8);
        h = (h ^ w) * 0xff51afd7ed558ccdull;
        h ^= h >> 32;
    }
    uint64_t w = 0;
    for (size_t k = i; k < piece.size(); ++k) {
        w = (w << 8) | static_cast<unsigned char>(piece[k]);
    }
    h = (h ^ w) * 0xc4ceb9fe1a85ec53ull;
    return h ^ (h >> 29);
}

bool PieceSet::contains(std::string_view piece) const {
    const uint64_t hash = Hash(piece);
    const size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& s = slots_[i];
        if (s.data == nullptr) {
            return false;
        }
        if (s.hash == static_cast<uint32_t>(hash) && s.size == piece.size() &&
            std::memcmp(s.data, piece.data(), piece.size()) == 0) {
            return true;
        }
    }
}

bool PieceSet::insert(std::string_view piece) {
    if (2 * (used_ + 1) > slots_.size()) {
        Slots old(slots_.size() * 2);
        old.swap(slots_);
        used_ = 0;
        for (const Slot& s : old) {
            if (s.data != nullptr) {
                insert(std::string_view(s.data, s.size));
            }
        }
    }
    // One probe finds the piece or the free slot it goes into.
    const uint64_t hash = Hash(piece);
    const size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& s = slots_[i];
        if (s.data == nullptr) {
            s = {piece.data(), static_cast<uint32_t>(piece.size()), static_cast<uint32_t>(hash)};
            ++used_;
            return true;
        }
        if (s.hash == static_cast<uint32_t>(hash) && s.size == piece.size() &&
            std::memcmp(s.data, piece.data(), piece.size()) == 0) {
            return false;
        }
    }
}
