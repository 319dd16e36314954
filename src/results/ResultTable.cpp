#include "ResultTable.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

#include "TextOps.h"

namespace {

using textops::FoldAscii;

bool lessIgnoringCase(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(FoldAscii(x)) < static_cast<unsigned char>(FoldAscii(y));
    });
}

std::string folded(const std::string& name) {
    std::string out(name);
    for (char& c : out) {
        c = FoldAscii(c);
    }
    return out;
}

// Text blocks start small (the mail parser's tables hold a few rows) and
// grow to huge-page size.
constexpr size_t kFirstBlock = 4096;

}  // namespace

ResultTable::Block::Block(size_t size)
    : bytes(static_cast<char*>(bigmemory::Allocate(size))), size(size) {}

ResultTable::Block::Block(Block&& other) noexcept
    : bytes(std::exchange(other.bytes, nullptr)),
      size(std::exchange(other.size, 0)),
      used(std::exchange(other.used, 0)) {}

ResultTable::Block& ResultTable::Block::operator=(Block&& other) noexcept {
    std::swap(bytes, other.bytes);
    std::swap(size, other.size);
    std::swap(used, other.used);
    return *this;
}

ResultTable::Block::~Block() {
    if (bytes != nullptr) {
        bigmemory::Free(bytes, size);
    }
}

bool ResultTable::appendColumn(const std::string& name) {
    // A set of the folded names keeps this quick for tables of many
    // (keyword) columns.
    if (!foldedColumns_.insert(folded(name)).second) {
        return false;
    }
    const size_t before = columns_.size();
    columns_.push_back(name);
    lastStored_.emplace_back();
    if (rowCount_ > 0) {
        decltype(cells_) wider(rowCount_ * columns_.size());
        for (size_t row = 0; row < rowCount_; ++row) {
            std::copy_n(cells_.begin() + static_cast<std::ptrdiff_t>(row * before), before,
                        wider.begin() + static_cast<std::ptrdiff_t>(row * columns_.size()));
        }
        cells_.swap(wider);
    }
    ++revision_;
    return true;
}

int ResultTable::columnIndex(const std::string& name) const {
    for (size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i] == name) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

size_t ResultTable::addRow() {
    cells_.resize(cells_.size() + columns_.size());
    ++revision_;
    return rowCount_++;
}

void ResultTable::deleteRow(size_t row) {
    if (row < rowCount_) {
        const auto first = cells_.begin() + static_cast<std::ptrdiff_t>(row * columns_.size());
        cells_.erase(first, first + static_cast<std::ptrdiff_t>(columns_.size()));
        --rowCount_;
        ++revision_;
    }
}

void ResultTable::dropTexts() {
    // The first block is kept for the next rows.
    while (blocks_.size() > 1) {
        blocks_.pop_back();
    }
    if (!blocks_.empty()) {
        blocks_.front().used = 0;
    }
    std::fill(lastStored_.begin(), lastStored_.end(), Slot());
}

void ResultTable::clearRows() {
    cells_.clear();
    rowCount_ = 0;
    dropTexts();
    ++revision_;
}

void ResultTable::keepRows(const std::vector<bool>& keep) {
    const size_t width = columns_.size();
    size_t write = 0;
    for (size_t row = 0; row < rowCount_; ++row) {
        if (row < keep.size() && keep[row]) {
            if (write != row) {
                std::copy_n(cells_.begin() + static_cast<std::ptrdiff_t>(row * width), width,
                            cells_.begin() + static_cast<std::ptrdiff_t>(write * width));
            }
            ++write;
        }
    }
    cells_.resize(write * width);
    rowCount_ = write;
    ++revision_;
}

const char* ResultTable::store(std::string_view value) {
    if (value.empty()) {
        return nullptr;
    }
    if (blocks_.empty() || blocks_.back().size - blocks_.back().used < value.size()) {
        const size_t grown =
            blocks_.empty() ? kFirstBlock : std::min(2 * blocks_.back().size, bigmemory::kHugePage);
        blocks_.emplace_back(std::max(grown, value.size()));
    }
    Block& block = blocks_.back();
    char* at = block.bytes + block.used;
    std::memcpy(at, value.data(), value.size());
    block.used += value.size();
    return at;
}

void ResultTable::setValue(size_t row, size_t column, std::string_view value) {
    value = value.substr(0, maxValue_);
    Slot& last = lastStored_[column];
    Slot s;
    s.size = static_cast<uint32_t>(value.size());
    s.assigned = 1;
    if (last.assigned != 0 && last.size == s.size &&
        (s.size == 0 || std::memcmp(last.data, value.data(), s.size) == 0)) {
        s.data = last.data;
    } else {
        s.data = store(value);
        last = s;
    }
    slot(row, column) = s;
    ++revision_;
}

ResultTable::Cell ResultTable::cell(size_t row, size_t column) const {
    const Slot& s = slot(row, column);
    if (s.assigned == 0) {
        return std::nullopt;
    }
    return std::string_view(s.data, s.size);
}

std::string_view ResultTable::text(size_t row, size_t column) const {
    const Slot& s = slot(row, column);
    return std::string_view(s.data, s.size);
}

void ResultTable::sortBy(size_t column) {
    if (column >= columns_.size()) {
        return;
    }
    sortColumn_ = columns_[column];
    std::vector<size_t> order(rowCount_);
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [this, column](size_t a, size_t b) {
        return lessIgnoringCase(text(a, column), text(b, column));
    });
    const size_t width = columns_.size();
    decltype(cells_) sorted(cells_.size());
    for (size_t row = 0; row < rowCount_; ++row) {
        std::copy_n(cells_.begin() + static_cast<std::ptrdiff_t>(order[row] * width), width,
                    sorted.begin() + static_cast<std::ptrdiff_t>(row * width));
    }
    cells_.swap(sorted);
    ++revision_;
}
