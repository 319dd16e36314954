#include "ScanState.h"

#include <algorithm>

#include "ByteSearch.h"
#include "TextOps.h"

using textops::FoldAscii;

namespace {

// Orders a heap of positions with the smallest on top.
const auto kLater = [](size_t a, size_t b) { return a > b; };

}  // namespace

size_t ScanState::firstAt() {
    const std::string_view bytes = text.bytes();
    for (size_t i = bytes.find('@', atCursor_); i != npos; i = bytes.find('@', i + 1)) {
        if (!text.taken(i)) {
            atCursor_ = i;
            return i;
        }
    }
    atCursor_ = text.size();
    return npos;
}

size_t ScanState::spaceBefore(size_t pos, SpaceCache& cache) const {
    // The last kept space in [low, high), or npos.
    const auto search = [this](size_t high, size_t low) {
        const std::string_view bytes = text.bytes();
        while (high > low) {
            const size_t i = bytes.rfind(' ', high - 1);
            if (i == npos || i < low) {
                return npos;
            }
            if (!text.taken(i)) {
                return i;
            }
            high = i;
        }
        return npos;
    };
    size_t found;
    if (cache.beforeKnown && cache.beforeUpTo <= pos &&
        (cache.before == npos || !text.taken(cache.before))) {
        found = search(pos, cache.beforeUpTo);
        if (found == npos) {
            found = cache.before;
        }
    } else {
        found = search(pos, 0);
    }
    cache.before = found;
    cache.beforeUpTo = pos;
    cache.beforeKnown = true;
    return found;
}

size_t ScanState::spaceAfter(size_t pos, SpaceCache& cache) const {
    const size_t start = pos + 1;
    if (cache.afterFrom != npos && cache.afterFrom <= start &&
        (cache.after == npos || (cache.after >= start && !text.taken(cache.after)))) {
        return cache.after;
    }
    const std::string_view bytes = text.bytes();
    size_t i = bytes.find(' ', start);
    while (i != npos && text.taken(i)) {
        i = bytes.find(' ', i + 1);
    }
    cache.afterFrom = start;
    cache.after = i;
    return i;
}

TextMarker& ScanState::track(const std::string& marker, bool ignoreCase) {
    markers_.push_back(std::make_unique<TextMarker>(marker, ignoreCase));
    return *markers_.back();
}

bool ScanState::occursAt(const std::string& marker, bool ignoreCase, size_t start) const {
    if (text.keptRun(start, std::min(marker.size(), text.size() - start))) {
        if (marker.size() > text.size() - start) {
            return false;
        }
        const std::string_view here = text.bytes().substr(start, marker.size());
        if (!ignoreCase) {
            return here == marker;
        }
        return std::equal(here.begin(), here.end(), marker.begin(),
                          [](char a, char b) { return FoldAscii(a) == FoldAscii(b); });
    }
    size_t i = start;
    for (char c : marker) {
        if (i >= text.size()) {
            return false;
        }
        const char t = text.at(i);
        if (ignoreCase ? FoldAscii(t) != FoldAscii(c) : t != c) {
            return false;
        }
        i = text.nextKept(i + 1);
    }
    return true;
}

size_t ScanState::after(size_t start, size_t length) const {
    size_t i = start;
    for (size_t k = 0; k < length && i < text.size(); ++k) {
        i = text.nextKept(i + 1);
    }
    return i;
}

size_t ScanState::anchorOf(const std::string& marker, bool ignoreCase) const {
    if (!counted_) {
        for (unsigned char c : text.bytes()) {
            ++counts_[c];
        }
        counted_ = true;
    }
    const auto count = [&](char c) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (!ignoreCase) {
            return counts_[u];
        }
        const char lower = FoldAscii(c);
        const char upper =
            lower >= 'a' && lower <= 'z' ? static_cast<char>(lower - 'a' + 'A') : lower;
        return counts_[static_cast<unsigned char>(lower)] +
               (upper == lower ? 0 : counts_[static_cast<unsigned char>(upper)]);
    };
    size_t best = 0;
    for (size_t i = 1; i < marker.size(); ++i) {
        if (count(marker[i]) < count(marker[best])) {
            best = i;
        }
    }
    return best;
}

// Candidates are the places of the marker's least frequent character; an
// occurrence starts that many kept characters before it.
size_t ScanState::findFrom(const std::string& marker, bool ignoreCase, size_t from) const {
    // Keyword names are sought by their rarest character; the fixed marks
    // ("://") by their first.
    const size_t offset = ignoreCase && marker.size() > 1 ? anchorOf(marker, ignoreCase) : 0;
    const char lower = ignoreCase ? FoldAscii(marker[offset]) : marker[offset];
    const char upper =
        ignoreCase && lower >= 'a' && lower <= 'z' ? static_cast<char>(lower - 'a' + 'A') : lower;
    const char* data = text.bytes().data();
    const size_t n = text.size();
    for (size_t i = bytesearch::FindEither(data, n, from, lower, upper); i < n;
         i = bytesearch::FindEither(data, n, i + 1, lower, upper)) {
        if (text.taken(i)) {
            continue;
        }
        size_t start = i;
        for (size_t k = 0; k < offset && start != npos; ++k) {
            start = text.prevKept(start);
        }
        if (start != npos && start >= from && occursAt(marker, ignoreCase, start)) {
            return start;
        }
    }
    return npos;
}

size_t ScanState::find(TextMarker& marker) {
    while (!marker.joined.empty()) {
        const size_t start = marker.joined.front();
        if (!text.taken(start) && occursAt(marker.text, marker.ignoreCase, start)) {
            // Every joined occurrence starts before the cursor, where the
            // search forward begins.
            return start;
        }
        std::pop_heap(marker.joined.begin(), marker.joined.end(), kLater);
        marker.joined.pop_back();
    }
    const size_t found = findFrom(marker.text, marker.ignoreCase, marker.cursor);
    marker.cursor = found == npos ? text.size() : found;
    return found;
}

size_t ScanState::findFromStart(const std::string& marker, bool ignoreCase) const {
    return findFrom(marker, ignoreCase, 0);
}

void ScanState::take(size_t from, size_t count) {
    const size_t end = text.take(from, count);
    ++changes_;
    if (markers_.empty()) {
        return;
    }
    const size_t left = text.prevKept(from);
    if (left == npos || text.nextKept(end) >= text.size()) {
        return;  // nothing on one side: no join
    }
    // An occurrence put together here starts at most length - 1 kept
    // characters before the join; one at or after a marker's cursor is
    // found by its search forward anyway.
    for (const auto& marker : markers_) {
        size_t start = left;
        for (size_t k = 1; k < marker->text.size() && start != npos; ++k) {
            if (start < marker->cursor && occursAt(marker->text, marker->ignoreCase, start)) {
                marker->joined.push_back(start);
                std::push_heap(marker->joined.begin(), marker->joined.end(), kLater);
            }
            start = text.prevKept(start);
        }
    }
}

void ScanState::replaceMailToMarks() {
    text.replaceWithSpaces("<>=:/");
    mailTo_ = true;
    ++changes_;
    // New spaces everywhere: what was known about spaces and about where the
    // markers occur no longer holds.
    atSpaces = SpaceCache();
    webSpaces = SpaceCache();
    for (const auto& marker : markers_) {
        marker->cursor = 0;
        marker->joined.clear();
    }
}
