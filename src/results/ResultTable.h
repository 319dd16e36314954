#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "BigArray.h"

// An in-memory table of text columns. Each cell is either unassigned or holds
// a text of at most kMaxValue characters; longer texts are cut.
//
// A big file gives hundreds of thousands of rows, so rows are not objects of
// their own: the cells of all rows lie in one array, row after row, and the
// texts in blocks that only grow. A text equal to the last one stored in its
// column (the file name, the time) is stored once.
class ResultTable {
public:
    // A cell's text, valid until the table's rows next change.
    using Cell = std::optional<std::string_view>;

    explicit ResultTable(size_t maxValue = kMaxValue) : maxValue_(maxValue) {}
    ResultTable(ResultTable&&) noexcept = default;
    ResultTable& operator=(ResultTable&&) noexcept = default;
    ResultTable(const ResultTable&) = delete;
    ResultTable& operator=(const ResultTable&) = delete;

    static constexpr size_t kMaxValue = 200;

    // Appends a column; false (and no change) when a column of that name
    // exists already (names compare without regard to ASCII case).
    bool appendColumn(const std::string& name);
    const std::vector<std::string>& columns() const { return columns_; }
    size_t columnCount() const { return columns_.size(); }
    // Index of a column by exact name, or -1.
    int columnIndex(const std::string& name) const;

    size_t rowCount() const { return rowCount_; }
    // Appends a row of unassigned cells and returns its index.
    size_t addRow();
    void deleteRow(size_t row);
    void clearRows();
    // Keeps the rows whose entry in `keep` is true, in their order.
    void keepRows(const std::vector<bool>& keep);

    void setValue(size_t row, size_t column, std::string_view value);
    Cell cell(size_t row, size_t column) const;
    bool assigned(size_t row, size_t column) const { return slot(row, column).assigned != 0; }
    // The cell's text; empty when unassigned.
    std::string_view text(size_t row, size_t column) const;
    std::string value(size_t row, size_t column) const { return std::string(text(row, column)); }

    // Orders the rows ascending by one column (stable; ASCII case ignored)
    // and remembers that column as the sort order.
    void sortBy(size_t column);
    const std::string& sortColumn() const { return sortColumn_; }

    // Goes up with every change, so views know when to refresh.
    uint64_t revision() const { return revision_; }

private:
    struct Slot {
        const char* data = nullptr;
        uint32_t size = 0;
        uint32_t assigned = 0;
    };
    // A block of text bytes; blocks never move, so slots point into them.
    class Block {
    public:
        explicit Block(size_t size);
        Block(Block&& other) noexcept;
        Block& operator=(Block&& other) noexcept;
        ~Block();
        char* bytes = nullptr;
        size_t size = 0;
        size_t used = 0;
    };

    const Slot& slot(size_t row, size_t column) const {
        return cells_[row * columns_.size() + column];
    }
    Slot& slot(size_t row, size_t column) { return cells_[row * columns_.size() + column]; }
    const char* store(std::string_view value);
    void dropTexts();

    size_t maxValue_;
    std::vector<std::string> columns_;
    std::unordered_set<std::string> foldedColumns_;
    BigArray<Slot> cells_;
    size_t rowCount_ = 0;
    std::vector<Block> blocks_;
    std::vector<Slot> lastStored_;  // per column
    std::string sortColumn_;
    uint64_t revision_ = 0;
};
