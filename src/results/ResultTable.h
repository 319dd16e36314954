#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

// An in-memory table of text columns. Each cell is either unassigned or holds
// a text of at most kMaxValue characters; longer texts are cut.
class ResultTable {
public:
    using Cell = std::optional<std::string>;

    explicit ResultTable(size_t maxValue = kMaxValue) : maxValue_(maxValue) {}

    static constexpr size_t kMaxValue = 200;

    // Appends a column; false (and no change) when a column of that name
    // exists already (names compare without regard to ASCII case).
    bool appendColumn(const std::string& name);
    const std::vector<std::string>& columns() const { return columns_; }
    size_t columnCount() const { return columns_.size(); }
    // Index of a column by exact name, or -1.
    int columnIndex(const std::string& name) const;

    size_t rowCount() const { return rows_.size(); }
    // Appends a row of unassigned cells and returns its index.
    size_t addRow();
    void deleteRow(size_t row);
    void clearRows();

    void setValue(size_t row, size_t column, const std::string& value);
    const Cell& cell(size_t row, size_t column) const { return rows_[row][column]; }
    // The cell's text; the empty string when unassigned.
    std::string value(size_t row, size_t column) const;

    // Orders the rows ascending by one column (stable; ASCII case ignored)
    // and remembers that column as the sort order.
    void sortBy(size_t column);
    const std::string& sortColumn() const { return sortColumn_; }

    // Goes up with every change, so views know when to refresh.
    uint64_t revision() const { return revision_; }

private:
    size_t maxValue_;
    std::vector<std::string> columns_;
    std::unordered_set<std::string> foldedColumns_;
    std::vector<std::vector<Cell>> rows_;
    std::string sortColumn_;
    uint64_t revision_ = 0;
};
