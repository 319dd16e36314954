#include "ResultTable.h"

#include <algorithm>

#include "TextOps.h"

namespace {

using textops::FoldAscii;

bool lessIgnoringCase(const std::string& a, const std::string& b) {
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

}  // namespace

bool ResultTable::appendColumn(const std::string& name) {
    // A set of the folded names keeps this quick for tables of many
    // (keyword) columns.
    if (!foldedColumns_.insert(folded(name)).second) {
        return false;
    }
    columns_.push_back(name);
    for (auto& row : rows_) {
        row.emplace_back();
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
    rows_.emplace_back(columns_.size());
    ++revision_;
    return rows_.size() - 1;
}

void ResultTable::deleteRow(size_t row) {
    if (row < rows_.size()) {
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(row));
        ++revision_;
    }
}

void ResultTable::clearRows() {
    rows_.clear();
    ++revision_;
}

void ResultTable::setValue(size_t row, size_t column, const std::string& value) {
    rows_[row][column] = value.size() > maxValue_ ? value.substr(0, maxValue_) : value;
    ++revision_;
}

std::string ResultTable::value(size_t row, size_t column) const {
    const Cell& c = rows_[row][column];
    return c ? *c : std::string();
}

void ResultTable::sortBy(size_t column) {
    if (column >= columns_.size()) {
        return;
    }
    sortColumn_ = columns_[column];
    std::stable_sort(rows_.begin(), rows_.end(), [column](const auto& a, const auto& b) {
        return lessIgnoringCase(a[column].value_or(std::string()),
                                b[column].value_or(std::string()));
    });
    ++revision_;
}
