#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "ScanText.h"

// A text that is searched for again and again while the scanners take
// occurrences out of it: where the next one starts is remembered, so the
// whole file is searched about once per text rather than once per call.
struct TextMarker {
    TextMarker(std::string text, bool ignoreCase) : text(std::move(text)), ignoreCase(ignoreCase) {}

    std::string text;
    bool ignoreCase;
    // No occurrence starts at a kept character before `cursor`, except those
    // in `joined`: occurrences that taking characters out put together.
    size_t cursor = 0;
    std::vector<size_t> joined;  // a min-heap of start positions
};

// Where the nearest spaces around the last position asked about were found,
// so that asking for the next address does not search the same stretch again.
struct SpaceCache {
    size_t before = ScanText::npos;  // last space before `beforeUpTo`
    size_t beforeUpTo = 0;
    bool beforeKnown = false;
    size_t after = ScanText::npos;  // first space at or after `afterFrom`
    size_t afterFrom = ScanText::npos;
};

// The text of one file with the searches the scanners make in it.
class ScanState {
public:
    static constexpr size_t npos = ScanText::npos;

    explicit ScanState(std::string text) : text(std::move(text)) {}

    ScanText text;

    // The first "@" still in the text.
    size_t firstAt();
    // The last space before `pos` and the first one after it. Each scanner
    // keeps its own cache, as each moves on through the text on its own.
    size_t spaceBefore(size_t pos, SpaceCache& cache) const;
    size_t spaceAfter(size_t pos, SpaceCache& cache) const;
    SpaceCache atSpaces;
    SpaceCache webSpaces;

    // Follows `text` through the takes to come; markers must be added before
    // the first take.
    TextMarker& track(const std::string& marker, bool ignoreCase);
    // The first occurrence of a tracked marker, or of any text searched from
    // the start (`marker` untracked).
    size_t find(TextMarker& marker);
    size_t findFromStart(const std::string& marker, bool ignoreCase) const;
    // Whether `marker` occurs at the kept character `start`, as the text reads.
    bool occursAt(const std::string& marker, bool ignoreCase, size_t start) const;
    // The kept character after an occurrence of `length` characters at `start`.
    size_t after(size_t start, size_t length) const;

    // Takes out `count` characters from the kept character `from` on, and
    // notes the occurrences of tracked markers that this puts together.
    void take(size_t from, size_t count);

    // Turns "<", ">", "=", ":" and "/" into spaces, once.
    void replaceMailToMarks();
    bool mailToMarksReplaced() const { return mailTo_; }

    // Goes up with every change of the text.
    size_t changes() const { return changes_; }

private:
    size_t findFrom(const std::string& marker, bool ignoreCase, size_t from) const;
    // The place in `marker` of its least frequent character in the text.
    size_t anchorOf(const std::string& marker, bool ignoreCase) const;

    std::vector<std::unique_ptr<TextMarker>> markers_;
    size_t atCursor_ = 0;
    bool mailTo_ = false;
    size_t changes_ = 0;
    mutable std::array<size_t, 256> counts_{};  // byte frequencies, counted once
    mutable bool counted_ = false;
};
