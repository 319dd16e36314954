#include "BigMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace bigmemory {

namespace {

size_t RoundUp(size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

#if defined(__linux__)

// A mapping of `size` bytes at a 2 MB boundary: memory to use, or (with
// PROT_NONE) only a place for pages moved there.
void* MapAligned(size_t size, int protection) {
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS | (protection == PROT_NONE ? MAP_NORESERVE : 0);
    // One huge page extra leaves room to align the block.
    void* mapped = mmap(nullptr, size + kHugePage, protection, flags, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    const auto begin = reinterpret_cast<uintptr_t>(mapped);
    const uintptr_t aligned = (begin + kHugePage - 1) / kHugePage * kHugePage;
    if (aligned > begin) {
        munmap(mapped, aligned - begin);
    }
    const uintptr_t end = begin + size + kHugePage;
    if (end > aligned + size) {
        munmap(reinterpret_cast<void*>(aligned + size), end - (aligned + size));
    }
    return reinterpret_cast<void*>(aligned);
}

// Big blocks are mapped directly rather than through malloc, so that whether
// they get huge pages does not depend on what malloc did with earlier ones.
// Blocks given back are kept for the next ones (up to kKept bytes): fresh
// memory costs a fault per page, and a run makes the same big blocks file
// after file and loop after loop.
class Blocks {
public:
    void* take(size_t size) {
        const std::lock_guard lock(mutex_);
        // The smallest kept block that fits without wasting more than half.
        auto best = kept_.end();
        for (auto it = kept_.begin(); it != kept_.end(); ++it) {
            if (it->second >= size && it->second <= 2 * size &&
                (best == kept_.end() || it->second < best->second)) {
                best = it;
            }
        }
        void* p = nullptr;
        size_t mapped = size;
        if (best != kept_.end()) {
            p = best->first;
            mapped = best->second;
            keptBytes_ -= mapped;
            kept_.erase(best);
        } else {
            p = MapAligned(size, PROT_READ | PROT_WRITE);
            if (p == nullptr) {
                return nullptr;
            }
            PreferHugePages(p, size);
        }
        live_[p] = mapped;
        return p;
    }

    void give(void* p) {
        const std::lock_guard lock(mutex_);
        const auto it = live_.find(p);
        if (it == live_.end()) {
            return;
        }
        const size_t mapped = it->second;
        live_.erase(it);
        if (mapped > kKept) {
            munmap(p, mapped);
            return;
        }
        kept_.emplace_back(p, mapped);
        keptBytes_ += mapped;
        while (keptBytes_ > kKept) {
            munmap(kept_.front().first, kept_.front().second);
            keptBytes_ -= kept_.front().second;
            kept_.erase(kept_.begin());
        }
    }

    // Grows a live block in place or by moving its pages to a new place at a
    // 2 MB boundary, where the rest of the block is fresh; nullptr when the
    // system cannot.
    void* grow(void* p, size_t size) {
        const std::lock_guard lock(mutex_);
        const auto it = live_.find(p);
        if (it == live_.end()) {
            return nullptr;
        }
        if (it->second >= size) {
            return p;
        }
        void* target = MapAligned(size, PROT_NONE);
        if (target == nullptr) {
            return nullptr;
        }
        void* moved = mremap(p, it->second, size, MREMAP_MAYMOVE | MREMAP_FIXED, target);
        if (moved == MAP_FAILED) {
            munmap(target, size);
            return nullptr;
        }
        live_.erase(it);
        live_[moved] = size;
        return moved;
    }

private:
    static constexpr size_t kKept = size_t{256} << 20;
    std::mutex mutex_;
    std::map<void*, size_t> live_;                // block -> mapped size
    std::vector<std::pair<void*, size_t>> kept_;  // oldest first
    size_t keptBytes_ = 0;
};

// Never destroyed: blocks may be given back while the program ends.
Blocks& TheBlocks() {
    static Blocks* blocks = new Blocks;
    return *blocks;
}

#endif

}  // namespace

void* Allocate(size_t bytes) {
    if (bytes < kHugePage) {
        return ::operator new(bytes);
    }
#if defined(__linux__)
    void* p = TheBlocks().take(RoundUp(bytes));
#else
    void* p = std::aligned_alloc(kHugePage, RoundUp(bytes));
#endif
    if (p == nullptr) {
        throw std::bad_alloc();
    }
    return p;
}

void* Grow(void* p, size_t oldBytes, size_t newBytes, size_t usedBytes) {
#if defined(__linux__)
    if (oldBytes >= kHugePage) {
        if (void* grown = TheBlocks().grow(p, RoundUp(newBytes))) {
            return grown;
        }
    }
#endif
    void* q = Allocate(newBytes);
    std::memcpy(q, p, usedBytes);
    Free(p, oldBytes);
    return q;
}

void Free(void* p, size_t bytes) noexcept {
    if (bytes < kHugePage) {
        ::operator delete(p);
        return;
    }
#if defined(__linux__)
    TheBlocks().give(p);
#else
    std::free(p);
#endif
}

void PreferHugePages(void* p, size_t bytes) noexcept {
#if defined(MADV_HUGEPAGE)
    const auto begin = reinterpret_cast<uintptr_t>(p);
    const uintptr_t first = (begin + kHugePage - 1) / kHugePage * kHugePage;
    const uintptr_t last = (begin + bytes) / kHugePage * kHugePage;
    if (last > first) {
        // Only advice: where the system has no huge pages, it keeps small ones.
        madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
#else
    (void)p;
    (void)bytes;
#endif
}

namespace {

class BigUpstream final : public std::pmr::memory_resource {
    void* do_allocate(size_t bytes, size_t alignment) override {
        if (alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
            throw std::bad_alloc();  // arenas ask for ordinary alignment only
        }
        return Allocate(bytes);
    }
    void do_deallocate(void* p, size_t bytes, size_t) override { Free(p, bytes); }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override {
        return this == &other;
    }
};

}  // namespace

std::pmr::memory_resource* Upstream() {
    static BigUpstream upstream;
    return &upstream;
}

size_t ArenaStart(size_t textBytes) {
    constexpr size_t kSmallest = 4096;
    constexpr size_t kLargest = size_t{64} << 20;
    return std::min(std::max(textBytes / 8, kSmallest), kLargest);
}

}  // namespace bigmemory
