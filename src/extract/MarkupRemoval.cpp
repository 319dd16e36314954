#include "MarkupRemoval.h"

#include <algorithm>
#include <cstring>

#include "ByteSearch.h"
#include "TextOps.h"

using textops::FindNoCase;
using textops::FoldAscii;
using textops::ReplaceAll;

namespace {

bool Same(std::string_view a, std::string_view b, bool ignoreCase) {
    if (a.size() != b.size()) {
        return false;
    }
    if (!ignoreCase) {
        return a == b;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (FoldAscii(a[i]) != FoldAscii(b[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

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

void PieceSet::insert(std::string_view piece) {
    if (contains(piece)) {
        return;
    }
    if (2 * (used_ + 1) > slots_.size()) {
        std::vector<Slot> old(slots_.size() * 2);
        old.swap(slots_);
        used_ = 0;
        for (const Slot& s : old) {
            if (s.data != nullptr) {
                insert(std::string_view(s.data, s.size));
            }
        }
    }
    const uint64_t hash = Hash(piece);
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    while (slots_[i].data != nullptr) {
        i = (i + 1) & mask;
    }
    slots_[i] = {piece.data(), static_cast<uint32_t>(piece.size()), static_cast<uint32_t>(hash)};
    ++used_;
}

MarkupRemoval::MarkupRemoval(std::string text, const Marks& marks)
    : text_(std::move(text)), marks_(marks) {
    scanMarks();
}

bool MarkupRemoval::openAt(size_t i) const {
    const std::string_view open = marks_.open;
    return text_.size() - i >= open.size() &&
           Same(std::string_view(text_).substr(i, open.size()), open, marks_.ignoreCase);
}

bool MarkupRemoval::closeEndsAt(size_t i) const {
    const std::string_view close = marks_.close;
    return i + 1 >= close.size() &&
           Same(std::string_view(text_).substr(i + 1 - close.size(), close.size()), close,
                marks_.ignoreCase);
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
    std::vector<std::pair<size_t, size_t>> toFollow;  // segment, its last opening mark
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
        const char afterLt = FoldAscii(marks_.open[1]);
        const char beforeGt = FoldAscii(marks_.close[closeLength - 2]);
        const auto findOpen = [&](size_t from) {
            for (size_t i = from;; ++i) {
                i = bytesearch::FindPair(text, n, i, '<', false, afterLt, true);
                if (i >= n || openAt(i)) {
                    return i;
                }
            }
        };
        // Where the next closing mark starts, looking from `from` on.
        const auto findClose = [&](size_t from) {
            for (size_t i = from;; ++i) {
                i = bytesearch::FindPair(text, n, i, beforeGt, true, '>', false);
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
    if (single && !seen_.contains(piece)) {
        if (headSpecial != nullptr) {
            ownedPieces_.push_back(std::move(owned));
            piece = ownedPieces_.back();
        }
        seen_.insert(piece);
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

size_t MarkupRemoval::segmentOf(size_t i) const {
    const size_t closeLength = marks_.close.size();
    const auto it = std::upper_bound(
        segments_.begin(), segments_.end(), i,
        [closeLength](size_t pos, const Segment& s) { return pos < s.close() + closeLength; });
    return static_cast<size_t>(it - segments_.begin());
}

MarkupRemoval::Span MarkupRemoval::spanAt(size_t i) {
    auto it = removed_.upper_bound(i);
    if (it != removed_.begin()) {
        const auto before = std::prev(it);
        if (i < before->second) {
            return {true, before->first, before->second};
        }
    }
    size_t end = it != removed_.end() ? it->first : text_.size();
    // Block loops remove only what removed_ holds; the tag loop also removes
    // the tags of segments by the table of pieces.
    const size_t k = marks_.blocks ? segments_.size() : segmentOf(i);
    if (k < segments_.size()) {
        const Segment& s = segments_[k];
        if (!s.followed() && s.hasOpen() && deadByTag(k)) {
            if (i >= s.firstOpen()) {
                return {true, s.firstOpen(), segmentEnd(k)};
            }
            end = std::min<size_t>(end, s.firstOpen());
        } else {
            end = std::min(end, segmentEnd(k));
        }
    }
    return {false, i, end};
}

MarkupRemoval::Span MarkupRemoval::spanBefore(size_t i) {
    const size_t j = i - 1;
    size_t begin = 0;
    const auto it = removed_.upper_bound(j);
    if (it != removed_.begin()) {
        const auto before = std::prev(it);
        if (j < before->second) {
            return {true, before->first, before->second};
        }
        begin = before->second;
    }
    if (marks_.blocks) {
        return {false, begin, i};
    }
    const size_t k = segmentOf(j);
    if (k < segments_.size()) {
        const Segment& s = segments_[k];
        if (!s.followed() && s.hasOpen() && deadByTag(k) && j >= s.firstOpen()) {
            return {true, s.firstOpen(), segmentEnd(k)};
        }
    }
    if (k > 0) {
        begin = std::max(begin, segmentEnd(k - 1));
    }
    return {false, begin, i};
}

std::string MarkupRemoval::readForward(size_t from, size_t to, size_t limit) {
    std::string out;
    for (size_t i = from; i < to && out.size() < limit;) {
        const Span s = spanAt(i);
        if (s.removed) {
            if (marks_.toSpace && i == s.begin) {
                out += ' ';
            }
            i = s.end;
            continue;
        }
        const size_t n = std::min({s.end, to}) - i;
        out.append(text_, i, std::min(n, limit - out.size()));
        i += n;
    }
    return out;
}

std::string MarkupRemoval::readBack(size_t end, size_t count, size_t* start) {
    std::string out;  // backwards
    size_t i = end;
    size_t first = end;
    while (out.size() < count && i > 0) {
        const Span s = spanBefore(i);
        if (s.removed) {
            if (marks_.toSpace) {
                out += ' ';
                first = s.begin;
            }
            i = s.begin;
            continue;
        }
        const size_t n = std::min(i - s.begin, count - out.size());
        for (size_t p = i; p > i - n; --p) {
            out += text_[p - 1];
        }
        i -= n;
        first = i;
    }
    std::reverse(out.begin(), out.end());
    *start = first;
    return out;
}

size_t MarkupRemoval::lastOpenBefore(size_t end, size_t floor) {
    const size_t length = marks_.open.size();
    std::string after;  // the characters from the candidate on
    for (size_t pos = end; pos > floor;) {
        size_t at;
        const std::string c = readBack(pos, 1, &at);
        if (c.empty()) {
            break;
        }
        after.insert(after.begin(), c[0]);
        if (after.size() > length) {
            after.pop_back();
        }
        if (after.size() == length && Same(after, marks_.open, marks_.ignoreCase)) {
            return at;
        }
        pos = at;
    }
    return floor;
}

// Whether taking out [begin, end) has put a new mark together across the gap.
bool MarkupRemoval::joinedMark(size_t begin, size_t end) {
    const size_t reach = std::max(marks_.open.size(), marks_.close.size()) - 1;
    size_t at;
    const std::string before = readBack(begin, reach, &at);
    const std::string window = before + readForward(end, text_.size(), reach);
    for (size_t i = 0; i < before.size(); ++i) {
        for (std::string_view mark : {marks_.open, marks_.close}) {
            if (i + mark.size() > before.size() && i + mark.size() <= window.size() &&
                Same(std::string_view(window).substr(i, mark.size()), mark, marks_.ignoreCase)) {
                return true;
            }
        }
    }
    return false;
}

// Closes the gaps in place: the text never grows, as a removed range leaves
// at most one space.
std::string MarkupRemoval::materialize() {
    // The table of pieces points into the text: settle every segment the
    // sweep has not reached before the text is overwritten.
    for (size_t k = cursor_; k < segments_.size(); ++k) {
        if (!segments_[k].followed() && segments_[k].hasOpen()) {
            deadByTag(k);
        }
    }
    char* data = text_.data();
    size_t write = 0;
    const auto keep = [&](size_t from, size_t to) {
        if (write != from) {
            std::memmove(data + write, data + from, to - from);
        }
        write += to - from;
    };
    auto explicitRange = removed_.begin();
    size_t k = 0;
    const auto nextOwnTag = [&]() -> std::optional<Range> {
        for (; k < segments_.size(); ++k) {
            const Segment& s = segments_[k];
            if (!s.followed() && s.dead()) {
                const Range r{s.firstOpen(), segmentEnd(k)};
                ++k;
                return r;
            }
        }
        return std::nullopt;
    };
    std::optional<Range> ownTag = nextOwnTag();
    size_t pos = 0;
    scanPos_ = SIZE_MAX;
    for (;;) {
        Range r;
        if (explicitRange != removed_.end() && (!ownTag || explicitRange->first <= ownTag->begin)) {
            r = {explicitRange->first, explicitRange->second};
            ++explicitRange;
        } else if (ownTag) {
            r = *ownTag;
            ownTag = nextOwnTag();
        } else {
            break;
        }
        if (r.begin < pos) {
            continue;  // inside a range already taken out
        }
        if (lastOpen_ < r.end && lastOpen_ >= pos && scanPos_ == SIZE_MAX) {
            scanPos_ = write + (std::min(lastOpen_, r.begin) - pos);
        }
        keep(pos, r.begin);
        if (marks_.toSpace) {
            data[write++] = ' ';
        }
        pos = r.end;
    }
    if (lastOpen_ != SIZE_MAX && lastOpen_ >= pos && scanPos_ == SIZE_MAX) {
        scanPos_ = write + (lastOpen_ - pos);
    }
    keep(pos, text_.size());
    text_.resize(write);
    return std::move(text_);
}

// The loop step by step, as it reads, on a text whose marks no longer follow
// the segments.
MarkupRemoval::Pass MarkupRemoval::literalPass() {
    const size_t open = FindNoCase(text_, marks_.open);
    const size_t close = FindNoCase(text_, marks_.close);
    if (open == std::string::npos) {
        lastOpen_ = SIZE_MAX;
        return Pass::Done;
    }
    lastOpen_ = open;
    if (close == std::string::npos) {
        return Pass::Done;
    }
    const long distance = static_cast<long>(close) - static_cast<long>(open);
    const long closeLength = static_cast<long>(marks_.close.size());
    if (distance < -closeLength) {
        return Pass::Done;
    }
    if (distance == -closeLength) {
        return Pass::Endless;
    }
    ReplaceAll(text_, text_.substr(open, static_cast<size_t>(distance + closeLength)), "");
    return Pass::Removed;
}

std::string MarkupRemoval::release() {
    if (!searched_) {
        scanFound_ = Found::NoPass;
    }
    std::string out;
    if (literal_) {
        scanPos_ = lastOpen_;
        out = std::move(text_);
    } else {
        out = materialize();
    }
    if (searched_) {
        scanFound_ = lastOpen_ == SIZE_MAX ? Found::None : Found::At;
    }
    return out;
}
