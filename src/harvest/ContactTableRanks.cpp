// How the contacts table orders its rows by a column, and the ranks that
// make sorting a large table fast: comparing two rows' texts reads two rows
// and two texts scattered over memory, while a rank is one number in an
// array. A column is ranked by sorting 16-byte heads of its texts, then
// only the runs whose heads are equal by their next 16 bytes, and so on:
// each pass reads the rows in order, never a text per comparison.
#include <algorithm>
#include <cstring>

#include "ContactTableModel.h"

namespace harvest {

namespace {

struct Key {
    std::uint64_t high = 0, low = 0;
    std::string_view text;
    std::uint32_t row = 0;
};

std::uint64_t bigEndian(const char* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        value = (value << 8) | (i < count ? static_cast<unsigned char>(bytes[i]) : 0u);
    }
    return value;
}

// The 16 bytes of text from `at` on, zero after its end, as two numbers
// that order as the bytes do.
void loadHead(Key& key, std::size_t at) {
    const std::size_t left = key.text.size() > at ? key.text.size() - at : 0;
    const char* bytes = key.text.data() + at;
    key.high = left > 0 ? bigEndian(bytes, left) : 0;
    key.low = left > 8 ? bigEndian(bytes + 8, left - 8) : 0;
}

bool sameHead(const Key& a, const Key& b) {
    return a.high == b.high && a.low == b.low;
}

// Sorts keys[begin, end), whose texts agree before `at`, and numbers its
// groups of equal texts in order from `next`.
void rankRun(std::vector<Key>& keys, std::size_t begin, std::size_t end, std::size_t at,
             std::vector<std::uint32_t>& ranks, std::uint32_t& next) {
    std::sort(keys.begin() + static_cast<std::ptrdiff_t>(begin),
              keys.begin() + static_cast<std::ptrdiff_t>(end), [](const Key& a, const Key& b) {
                  return a.high != b.high ? a.high < b.high : a.low < b.low;
              });
    for (std::size_t first = begin; first < end;) {
        std::size_t last = first + 1;
        bool longer = keys[first].text.size() > at + 16;
        while (last < end && sameHead(keys[first], keys[last])) {
            longer = longer || keys[last].text.size() > at + 16;
            ++last;
        }
        if (last - first > 1 && longer) {
            for (std::size_t i = first; i < last; ++i) {
                loadHead(keys[i], at + 16);
            }
            rankRun(keys, first, last, at + 16, ranks, next);
        } else {
            for (std::size_t i = first; i < last; ++i) {
                ranks[keys[i].row] = next;
            }
            ++next;
        }
        first = last;
    }
}

// A column is ranked after an eighth of a comparison per row of the table
// since a change: a sort makes about log2(rows) a row, while the few rows a
// batch adds to a sorted view make far fewer.
constexpr std::int64_t kRowsPerCompareBeforeRanking = 8;

}  // namespace

void ContactTableModel::changed() {
    for (int c = 0; c < ColumnCount; ++c) {
        ranked_[c] = false;
        unrankedCompares_[c] = 0;
        ranks_[c] = {};
    }
}

void ContactTableModel::rank(Column column) const {
    std::vector<Key> keys(rows_.size());
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        Key& key = keys[i];
        key.row = static_cast<std::uint32_t>(i);
        if (column == Sightings) {
            // Counts are never negative, so they order as unsigned numbers.
            key.high = static_cast<std::uint64_t>(rows_[i].contact.sightings);
        } else {
            key.text = lowerTextOf(static_cast<int>(i), column);
            loadHead(key, 0);
        }
    }
    std::vector<std::uint32_t>& ranks = ranks_[column];
    ranks.assign(rows_.size(), 0);
    std::uint32_t next = 0;
    rankRun(keys, 0, keys.size(), 0, ranks, next);
    ranked_[column] = true;
}

int ContactTableModel::compareRows(int left, int right, Column column) const {
    const auto rows = static_cast<int>(rows_.size());
    if (column < 0 || column >= ColumnCount || left < 0 || right < 0 || left >= rows ||
        right >= rows) {
        return 0;
    }
    if (!ranked_[column] &&
        ++unrankedCompares_[column] > 64 + rows / kRowsPerCompareBeforeRanking) {
        rank(column);
    }
    if (ranked_[column]) {
        const std::uint32_t a = ranks_[column][static_cast<std::size_t>(left)];
        const std::uint32_t b = ranks_[column][static_cast<std::size_t>(right)];
        return a < b ? -1 : (a > b ? 1 : 0);
    }
    if (column == Sightings) {
        const std::int64_t a = rows_[static_cast<std::size_t>(left)].contact.sightings;
        const std::int64_t b = rows_[static_cast<std::size_t>(right)].contact.sightings;
        return a < b ? -1 : (a > b ? 1 : 0);
    }
    const int order = lowerTextOf(left, column).compare(lowerTextOf(right, column));
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

}  // namespace harvest
