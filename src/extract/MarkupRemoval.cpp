#include "MarkupRemoval.h"

#include <algorithm>

#include "ByteSearch.h"
#include "TextOps.h"

using textops::FoldAscii;

MarkupRemoval::MarkupRemoval(std::string text, const Marks& marks, bool mayHoldMarks)
    : text_(std::move(text)),
      marks_(marks),
      scratch_(bigmemory::ArenaStart(text_.size()), bigmemory::Upstream()) {
    // Without opening marks no pass removes anything, whatever closing marks
    // there are: the first pass ends the loop.
    if (mayHoldMarks) {
        scanMarks();
    }
}

bool MarkupRemoval::openAt(size_t i) const {
    const std::string_view open = marks_.open;
    return text_.size() - i >= open.size() &&
           bytesearch::SameText(std::string_view(text_).substr(i, open.size()), open,
                                marks_.ignoreCase);
}

bool MarkupRemoval::closeEndsAt(size_t i) const {
    const std::string_view close = marks_.close;
    return i + 1 >= close.size() &&
           bytesearch::SameText(std::string_view(text_).substr(i + 1 - close.size(), close.size()),
                                close, marks_.ignoreCase);
}

// Every opening mark starts with "<" and every closing mark ends with ">":
// tags are found by those characters, blocks by the character pair at their
// ends ("<s" and "t>", "<!" and "->"), which is rare in a page.
void MarkupRemoval::scanMarks() {
    const char* text = text_.data();
    const size_t n = text_.size();
    // The segment under way: its first and last opening marks and how many
    // it has.
    uint32_t firstOpen = kNone;
    size_t lastOpen = 0;
    int opens = 0;
    const auto addOpen = [&](size_t at) {
        if (firstOpen == kNone) {
            firstOpen = static_cast<uint32_t>(at);
        }
        lastOpen = at;
        opens = std::min(opens + 1, 2);
    };
    // The segments to follow one by one: in the tag loop those with two or
    // more tags; in the block loops every one with a block.
    const int follows = marks_.blocks ? 1 : 2;
    std::pmr::vector<std::pair<size_t, size_t>> toFollow(&scratch_);  // segment, last opening mark
    const auto addClose = [&](size_t start) {
        if (opens >= follows) {
            toFollow.emplace_back(segments_.size(), lastOpen);
        }
        segments_.emplace_back(static_cast<uint32_t>(start), firstOpen);
        firstOpen = kNone;
        opens = 0;
    };
    if (!marks_.blocks) {
        segments_.reserve(static_cast<size_t>(std::count(text, text + n, '>')));
        bytesearch::ForEachEither(text, n, '<', '>', [&](size_t i) {
            if (text[i] == '<') {
                addOpen(i);
            } else {
                addClose(i);
            }
        });
    } else {
        const size_t closeLength = marks_.close.size();
        const std::string_view openMark = marks_.open;
        const std::string_view closeMark = marks_.close;
        // Candidates by the first three characters of the opening mark and the
        // last three of the closing one where the marks are that long ("<sc",
        // "pt>"), else by two ("<!", "->"); the marks themselves decide.
        // Letters compare folded.
        const auto letter = [](char c) { return FoldAscii(c) >= 'a' && FoldAscii(c) <= 'z'; };
        const bool longOpen = openMark.size() >= 3;
        const bool longClose = closeLength >= 3;
        const char openChars[3] = {'<', FoldAscii(openMark[1]),
                                   longOpen ? FoldAscii(openMark[2]) : '\0'};
        const bool openFold[3] = {false, letter(openMark[1]), longOpen && letter(openMark[2])};
        const char closeChars[3] = {longClose ? FoldAscii(closeMark[closeLength - 3]) : '\0',
                                    FoldAscii(closeMark[closeLength - 2]), '>'};
        const bool closeFold[3] = {longClose && letter(closeMark[closeLength - 3]),
                                   letter(closeMark[closeLength - 2]), false};
        const auto findOpen = [&](size_t from) {
            for (size_t i = from;; ++i) {
                i = longOpen
                        ? bytesearch::FindTriple(text, n, i, openChars, openFold)
                        : bytesearch::FindPair(text, n, i, '<', false, openChars[1], openFold[1]);
                if (i >= n || openAt(i)) {
                    return i;
                }
            }
        };
        // Where the next closing mark starts, looking from `from` on: the
        // character before its ">" stands at `from` or later.
        const auto findClose = [&](size_t from) {
            if (longClose) {
                for (size_t i = from == 0 ? 0 : from - 1;; ++i) {
                    i = bytesearch::FindTriple(text, n, i, closeChars, closeFold);
                    if (i >= n) {
                        return n;
                    }
                    if (closeEndsAt(i + 2)) {
                        return i + 3 - closeLength;
                    }
                }
            }
            for (size_t i = from;; ++i) {
                i = bytesearch::FindPair(text, n, i, closeChars[1], closeFold[1], '>', false);
                if (i >= n) {
                    return n;
                }
                if (closeEndsAt(i + 1)) {
                    return i + 2 - closeLength;
                }
            }
        };
        size_t open = findOpen(0);
        for (size_t close = findClose(0); close < n; close = findClose(close + closeLength - 1)) {
            for (; open < close; open = findOpen(open + 1)) {
                addOpen(open);
            }
            addClose(close);
        }
        for (; open < n; open = findOpen(open + 1)) {
            addOpen(open);
        }
    }
    if (firstOpen != kNone) {
        finalFirstOpen_ = firstOpen;
    }
    for (const auto& [k, last] : toFollow) {
        const Segment& s = segments_[k];
        Special special;
        special.firstOpen = s.firstOpen();
        special.lastOpen = last;
        special.multi = special.lastOpen != special.firstOpen;
        special.tail =
            std::string_view(text_).substr(special.lastOpen, segmentEnd(k) - special.lastOpen);
        follow(k, std::move(special));
    }
}

// The segment's own last opening mark: the last one before its close.
size_t MarkupRemoval::ownLastOpen(size_t k) const {
    const Segment& s = segments_[k];
    for (size_t i = s.close(); i > s.firstOpen(); --i) {
        if (text_[i - 1] == '<' && openAt(i - 1)) {
            return i - 1;
        }
    }
    return s.firstOpen();
}

std::string_view MarkupRemoval::ownTag(size_t k) const {
    const Segment& s = segments_[k];
    return std::string_view(text_).substr(s.firstOpen(), segmentEnd(k) - s.firstOpen());
}

MarkupRemoval::Special* MarkupRemoval::special(size_t k) {
    if (!segments_[k].followed()) {
        return nullptr;
    }
    const uint32_t index = marks_.blocks ? specialOfSegment_[k] : specialOf_.at(k);
    return &specials_[index];
}

void MarkupRemoval::follow(size_t k, Special s) {
    segments_[k].setFollowed();
    const uint32_t index = static_cast<uint32_t>(specials_.size());
    s.segment = k;
    const auto [list, added] = byTail_.emplace(s.tail, index);
    if (!added) {
        s.nextSameTail = list->second;
        list->second = index;
    }
    specials_.push_back(std::move(s));
    if (marks_.blocks) {
        if (specialOfSegment_.empty()) {
            specialOfSegment_.assign(segments_.size(), UINT32_MAX);
        }
        specialOfSegment_[k] = index;
    } else {
        specialOf_[k] = index;
    }
}

// A segment with one tag, not followed: gone once a pass removed its tag.
bool MarkupRemoval::deadByTag(size_t k) {
    Segment& s = segments_[k];
    if (s.dead()) {
        return true;
    }
    if (seen_.contains(ownTag(k))) {
        s.setDead();
        return true;
    }
    return false;
}

MarkupRemoval::Pass MarkupRemoval::next() {
    searched_ = true;
    if (literal_) {
        return literalPass();
    }
    for (; cursor_ < segments_.size(); ++cursor_) {
        const size_t k = cursor_;
        const Segment& s = segments_[k];
        if (s.followed()) {
            if (followedAt(k).alive) {
                return pass(k);
            }
            continue;
        }
        if (!s.hasOpen()) {
            if (marks_.blocks) {
                return stop(k);
            }
            continue;
        }
        if (!deadByTag(k)) {
            return pass(k);
        }
    }
    return stop(segments_.size());
}

MarkupRemoval::Pass MarkupRemoval::pass(size_t head) {
    passRemoved_.clear();
    Special* headSpecial = special(head);
    std::string owned;
    std::string_view piece;
    size_t start;
    bool single;
    if (headSpecial != nullptr) {
        start = headSpecial->firstOpen;
        owned = readForward(start, segmentEnd(head));
        piece = owned;
        single = !headSpecial->multi;
    } else {
        start = segments_[head].firstOpen();
        piece = ownTag(head);
        single = true;
    }
    lastOpen_ = start;

    // The followed segments holding a copy, judged on the text before this
    // pass: with one tag in the piece, those whose last tag is the piece; with
    // more, those whose last tag matches and whose text ends with the piece.
    std::vector<std::pair<size_t, size_t>> copies;  // segment, where the copy starts
    const auto candidates =
        byTail_.empty() ? byTail_.end() : byTail_.find(single ? piece : headSpecial->tail);
    if (candidates != byTail_.end()) {
        for (uint32_t index = candidates->second; index != UINT32_MAX;
             index = specials_[index].nextSameTail) {
            const Special& s = specials_[index];
            const size_t c = s.segment;
            if (c <= head || !s.alive) {
                continue;
            }
            if (single) {
                copies.emplace_back(c, s.lastOpen);
            } else if (s.multi) {
                size_t at;
                if (readBack(segmentEnd(c), piece.size(), &at) == piece) {
                    copies.emplace_back(c, at);
                }
            }
        }
    }

    std::sort(copies.begin(), copies.end());
    if (headSpecial != nullptr) {
        headSpecial->alive = false;
        remove(start, segmentEnd(head));
    } else {
        segments_[head].setDead();
        passRemoved_.push_back({start, segmentEnd(head)});
    }
    if (single) {
        if (headSpecial == nullptr) {
            seen_.insert(piece);  // a view into the text
        } else if (!seen_.contains(piece)) {
            ownedPieces_.push_back(std::move(owned));
            piece = ownedPieces_.back();
            seen_.insert(piece);
        }
    }
    for (const auto& [c, at] : copies) {
        followedAt(c).alive = false;
        remove(at, segmentEnd(c));
    }
    // What is left of a followed segment in front of its copy joins the next
    // segment still there; when it holds tags, so does that segment. The
    // nearest leftovers go first: a segment's last tag is in the nearest one.
    for (auto it = copies.rbegin(); it != copies.rend(); ++it) {
        const Special& s = followedAt(it->first);
        if (s.firstOpen < it->second) {
            merge(nextAlive(it->first), s.firstOpen, lastOpenBefore(it->second, s.firstOpen));
        }
    }
    if (marks_.blocks) {
        for (const Range& r : passRemoved_) {
            if (joinedMark(r.begin, r.end)) {
                text_ = materialize();
                lastOpen_ = scanPos_;  // where that mark now stands
                literal_ = true;
                break;
            }
        }
    }
    ++cursor_;
    return Pass::Removed;
}

// Block loops end at the first segment without a block: its closing mark
// comes before the first opening mark. When nothing at all stands between
// the two, the piece would have no length and the loop would go on for ever.
MarkupRemoval::Pass MarkupRemoval::stop(size_t first) {
    if (!marks_.blocks) {
        return Pass::Done;
    }
    size_t open = finalFirstOpen_;
    for (size_t k = first + 1; k < segments_.size(); ++k) {
        if (segments_[k].followed() && followedAt(k).alive) {
            open = followedAt(k).firstOpen;
            break;
        }
    }
    lastOpen_ = open;
    if (open == SIZE_MAX || first == segments_.size()) {
        return Pass::Done;
    }
    return readForward(segmentEnd(first), open, 1).empty() ? Pass::Endless : Pass::Done;
}

size_t MarkupRemoval::nextAlive(size_t k) {
    for (size_t j = k + 1; j < segments_.size(); ++j) {
        const Segment& s = segments_[j];
        if (s.followed()) {
            if (followedAt(j).alive) {
                return j;
            }
        } else if (!s.hasOpen() || !deadByTag(j)) {
            return j;
        }
    }
    return segments_.size();
}

void MarkupRemoval::merge(size_t into, size_t firstOpen, size_t lastOpen) {
    if (into == segments_.size()) {
        finalFirstOpen_ = std::min(finalFirstOpen_, firstOpen);
        return;
    }
    if (Special* s = special(into)) {
        s->firstOpen = std::min(s->firstOpen, firstOpen);
        s->multi = true;
        return;
    }
    const Segment& seg = segments_[into];
    Special s;
    s.firstOpen = firstOpen;
    if (!seg.hasOpen()) {
        s.lastOpen = lastOpen;
        ownedPieces_.push_back(readForward(lastOpen, segmentEnd(into)));
        s.tail = ownedPieces_.back();
        s.multi = firstOpen != lastOpen;
    } else {
        s.lastOpen = ownLastOpen(into);
        s.tail = std::string_view(text_).substr(s.lastOpen, segmentEnd(into) - s.lastOpen);
        s.multi = true;
    }
    follow(into, std::move(s));
}

// Ranges never overlap in part: a later range either holds an earlier one
// (whose remains it covers) or lies apart from it.
void MarkupRemoval::remove(size_t begin, size_t end) {
    auto it = removed_.lower_bound(begin);
    while (it != removed_.end() && it->first < end) {
        it = removed_.erase(it);
    }
    removed_.emplace(begin, end);
    passRemoved_.push_back({begin, end});
}
