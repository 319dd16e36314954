#include "BigMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace bigmemory {

namespace {

size_t RoundUp(size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

}  // namespace

void* Allocate(size_t bytes) {
    if (bytes < kHugePage) {
        return ::operator new(bytes);
    }
    const size_t size = RoundUp(bytes);
    void* p = std::aligned_alloc(kHugePage, size);
    if (p == nullptr) {
        throw std::bad_alloc();
    }
    PreferHugePages(p, size);
    return p;
}

void Free(void* p, size_t bytes) noexcept {
    if (bytes < kHugePage) {
        ::operator delete(p);
    } else {
        std::free(p);
    }
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
