#pragma once

#include <cstddef>
#include <memory_resource>
#include <new>

// Memory for the big working buffers of a run (text, marks, result rows).
// Fresh memory costs a page fault the first time each 4 KB page is written;
// for a buffer of 100 MB that takes longer than scanning the text itself.
// Buffers of 2 MB and more therefore ask the system for huge pages (one fault
// per 2 MB) where it offers them; elsewhere they are ordinary memory.
namespace bigmemory {

constexpr size_t kHugePage = size_t{2} << 20;

void* Allocate(size_t bytes);
void Free(void* p, size_t bytes) noexcept;
// A block of `newBytes` holding the first `usedBytes` of `p` (a block of
// `oldBytes` from Allocate, which it replaces). Big blocks keep their pages:
// they are moved, not copied.
void* Grow(void* p, size_t oldBytes, size_t newBytes, size_t usedBytes);
// Asks for huge pages for the whole 2 MB pages inside [p, p + bytes) that
// nothing has written yet (a no-op where the system has none).
void PreferHugePages(void* p, size_t bytes) noexcept;

// An allocator for containers that may grow big.
template <class T>
struct Allocator {
    using value_type = T;

    Allocator() = default;
    template <class U>
    Allocator(const Allocator<U>&) noexcept {}

    T* allocate(size_t n) {
        if (n > static_cast<size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return static_cast<T*>(Allocate(n * sizeof(T)));
    }
    void deallocate(T* p, size_t n) noexcept { Free(p, n * sizeof(T)); }

    template <class U>
    bool operator==(const Allocator<U>&) const noexcept {
        return true;
    }
};

// Memory for arenas (std::pmr::monotonic_buffer_resource) that hold the many
// small records of one pass over a big text: their blocks come from
// Allocate, so big blocks get huge pages too.
std::pmr::memory_resource* Upstream();

// The first block size for such an arena over a text of `textBytes`: small
// texts stay on the ordinary heap, whose memory later files reuse.
size_t ArenaStart(size_t textBytes);

}  // namespace bigmemory
