#include "BigMemory.h"

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

}  // namespace bigmemory
