// The text of a removal loop as it reads after the passes so far: what is
// kept and removed around a position, reading it forward and back, checking
// joins for new marks, and writing it out (or running the rest of a loop step
// by step on it).
#include "MarkupRemoval.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "ByteSearch.h"
#include "TextOps.h"

using textops::FindNoCase;
using textops::ReplaceAll;

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
        if (after.size() == length && bytesearch::SameText(after, marks_.open, marks_.ignoreCase)) {
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
                bytesearch::SameText(std::string_view(window).substr(i, mark.size()), mark,
                                     marks_.ignoreCase)) {
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
