#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "BigMemory.h"

// The text of one file while the scanners take it apart. Characters that are
// taken out are only marked, so taking some out costs nothing however long
// the text is; positions are those of the text as it came in and stay valid.
// Marks are kept per character in a bit set with a summary bit per 64
// characters, so that long stretches taken out are skipped quickly.
class ScanText {
public:
    static constexpr size_t npos = std::string::npos;

    explicit ScanText(std::string text);

    // Length including the characters taken out.
    size_t size() const { return text_.size(); }
    char at(size_t i) const { return text_[i]; }
    std::string_view bytes() const { return text_; }
    bool taken(size_t i) const { return (taken_[i >> 6] >> (i & 63)) & 1; }

    // The first character still in the text at or after `i` (size() if none).
    size_t nextKept(size_t i) const;
    // The last character still in the text before `i` (npos if none).
    size_t prevKept(size_t i) const;
    // Takes out `count` characters still in the text, starting at `from`
    // (which must still be in it); returns the position after the last one.
    size_t take(size_t from, size_t count);
    // How many characters still in the text come before `i`, and how many lie
    // in [from, to).
    size_t rank(size_t i) const;
    size_t keptBetween(size_t from, size_t to) const;
    // Whether the `count` characters from `from` on are all still in the text.
    bool keptRun(size_t from, size_t count) const;

    // Appends the characters still in the text in [from, to) to `out` while
    // it is shorter than `limit`.
    void appendKept(std::string& out, size_t from, size_t to, size_t limit) const;

    // Every character of `marks` becomes a space.
    void replaceWithSpaces(std::string_view marks);

    // The text as it now reads: hands over the text itself, closing the gaps
    // in place, and leaves this object empty.
    std::string release();

private:
    void mark(size_t i);

    std::string text_;
    template <class T>
    using Big = std::vector<T, bigmemory::Allocator<T>>;
    Big<uint64_t> taken_;   // one bit per character
    Big<uint64_t> full_;    // one bit per word of taken_ that is all taken
    Big<uint32_t> counts_;  // taken characters per block, as a Fenwick tree
};
