#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "BigMemory.h"

// A set of pieces of text (views), with a quick hash for short pieces.
class PieceSet {
public:
    bool contains(std::string_view piece) const;
    // Adds the piece unless the set holds it; true when added.
    bool insert(std::string_view piece);

private:
    struct Slot {
        const char* data = nullptr;
        uint32_t size = 0;
        uint32_t hash = 0;
    };
    static uint64_t Hash(std::string_view piece);
    using Slots = std::vector<Slot, bigmemory::Allocator<Slot>>;
    Slots slots_ = Slots(64);
    size_t used_ = 0;
};
