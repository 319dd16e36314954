#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "BigArray.h"
#include "BigMemory.h"
#include "PieceSet.h"

// One of the removal loops of StripTags. Each pass takes the first opening
// mark and the first closing mark after it; the piece from the one through
// the other goes everywhere in the text at once (scripts, comments) or every
// copy of it becomes one space (tags). Block loops stop when the first closing
// mark comes before the first opening one, the tag loop when no opening mark
// has a closing mark after it.
//
// A piece holds one closing mark, at its end, so every copy of it ends a
// segment: the text after one closing mark through the next. A segment with
// one opening mark is removed by the pass whose piece is its own tag, which a
// sweep forward with a table of the pieces met so far settles at one look per
// segment. Segments with more opening marks, and those that a removal joins to
// opening marks in front of them, are followed one by one, found by their last
// tag. Passes thus cost what they remove, not the length of the text. Should a
// removal in a block loop join a new mark together, the rest of that loop runs
// step by step on the text as it then reads.
class MarkupRemoval {
public:
    struct Marks {
        std::string_view open;
        std::string_view close;
        bool ignoreCase;  // marks compare without regard to case
        bool toSpace;     // copies become a space (tags) rather than nothing
        bool blocks;      // stop when the first close precedes the first open
    };
    enum class Pass { Removed, Done, Endless };

    // `mayHoldMarks` false says that the text holds no "<", so that no
    // opening mark need be looked for.
    MarkupRemoval(std::string text, const Marks& marks, bool mayHoldMarks = true);

    // One pass of the loop.
    Pass next();
    // The text as it now reads; the object is spent afterwards.
    std::string release();
    // For block loops, after release(): where the last pass found the first
    // opening mark (0-based as the text then read), nothing when it found
    // none, and no value when no pass ran.
    enum class Found { NoPass, None, At };
    Found scanFound() const { return scanFound_; }
    size_t scanPos() const { return scanPos_; }

private:
    static constexpr uint32_t kNone = 0x7fffffffu;

    // A segment in eight bytes: where its closing mark starts, its own first
    // opening mark (kNone: none), and two flags in the top bits (positions
    // stay below 2^31): removed by its own tag, and followed one by one
    // (every segment with two or more opening marks is).
    class Segment {
    public:
        Segment(uint32_t close, uint32_t firstOpen) : close_(close), open_(firstOpen) {}
        uint32_t close() const { return close_ & kPosition; }
        uint32_t firstOpen() const { return open_ & kPosition; }
        bool hasOpen() const { return firstOpen() != kNone; }
        bool dead() const { return (close_ & kFlag) != 0; }
        bool followed() const { return (open_ & kFlag) != 0; }
        void setDead() { close_ |= kFlag; }
        void setFollowed() { open_ |= kFlag; }

    private:
        static constexpr uint32_t kFlag = 0x80000000u;
        static constexpr uint32_t kPosition = 0x7fffffffu;
        uint32_t close_;
        uint32_t open_;
    };
    // A segment followed one by one.
    struct Special {
        size_t segment = 0;
        uint32_t nextSameTail = UINT32_MAX;  // the next one with the same last tag
        bool alive = true;
        bool multi = false;  // two or more opening marks as it reads
        size_t firstOpen = 0;
        size_t lastOpen = 0;
        std::string_view tail;  // from its last opening mark through its close
    };
    struct Range {
        size_t begin;
        size_t end;
    };
    // A stretch of the text: either removed (begin, end of the range) or kept
    // from the position asked about to `end` (or from `begin` to it, back).
    struct Span {
        bool removed;
        size_t begin;
        size_t end;
    };

    void scanMarks();
    bool openAt(size_t i) const;
    bool closeEndsAt(size_t i) const;  // a closing mark ends at character i
    size_t segmentEnd(size_t k) const { return segments_[k].close() + marks_.close.size(); }
    std::string_view ownTag(size_t k) const;
    size_t ownLastOpen(size_t k) const;
    Special* special(size_t k);
    Special& followedAt(size_t k) { return *special(k); }
    void follow(size_t k, Special s);
    bool deadByTag(size_t k);
    Pass pass(size_t head);
    Pass stop(size_t first);
    size_t nextAlive(size_t k);
    void merge(size_t into, size_t firstOpen, size_t lastOpen);
    void remove(size_t begin, size_t end);
    // The segment holding position i (segments_.size() after the last one).
    size_t segmentOf(size_t i) const;
    Span spanAt(size_t i);
    Span spanBefore(size_t i);
    // The text as it reads from `from` up to `to`, at most `limit`
    // characters; and the `count` characters before `end`, with the position
    // the first of them stands at.
    std::string readForward(size_t from, size_t to, size_t limit = SIZE_MAX);
    std::string readBack(size_t end, size_t count, size_t* start);
    size_t lastOpenBefore(size_t end, size_t floor);
    bool joinedMark(size_t begin, size_t end);
    std::string materialize();
    Pass literalPass();

    std::string text_;
    Marks marks_;
    // The records below come from here: a big text makes hundreds of
    // thousands of them, and fresh memory costs a fault per page.
    std::pmr::monotonic_buffer_resource scratch_;
    BigArray<Segment> segments_;
    size_t finalFirstOpen_ = SIZE_MAX;  // first opening mark after the last close
    size_t cursor_ = 0;
    PieceSet seen_;                        // one-mark pieces removed so far
    std::deque<std::string> ownedPieces_;  // such pieces that the text does not hold
    std::pmr::deque<Special> specials_{&scratch_};
    // Which Special follows a segment: per segment in the block loops, where
    // most are followed; by segment in the tag loop, where few are.
    BigArray<uint32_t> specialOfSegment_;
    std::pmr::unordered_map<size_t, uint32_t> specialOf_{&scratch_};
    // Followed segments by their last tag. The tags are views into the text,
    // or into ownedPieces_ where removals put them together.
    std::pmr::unordered_map<std::string_view, uint32_t> byTail_{&scratch_};  // first of a list
    std::pmr::map<size_t, size_t> removed_{&scratch_};  // explicit removed ranges, begin -> end
    std::vector<Range> passRemoved_;
    size_t lastOpen_ = SIZE_MAX;
    Found scanFound_ = Found::NoPass;
    size_t scanPos_ = 0;
    bool literal_ = false;  // the rest runs step by step on text_
    bool searched_ = false;
};
