#include "DuplicateRecords.h"

#include <string>
#include <unordered_map>
#include <vector>

#include "ResultTable.h"

namespace {

// The three compared fields as one key; each is prefixed with its length so
// that different splits of the same characters never meet.
std::string GroupKey(const ResultTable& table, size_t row) {
    std::string key;
    for (size_t col = 0; col < 3 && col < table.columnCount(); ++col) {
        const std::string_view value = table.text(row, col);
        key += std::to_string(value.size());
        key += ':';
        key += value;
    }
    return key;
}

}  // namespace

void DeleteRepeatedRecords(ResultTable& table, size_t noColumn) {
    const size_t rows = table.rowCount();
    auto numberOf = [&](size_t row) {
        return noColumn < table.columnCount() ? table.value(row, noColumn) : std::string();
    };
    std::unordered_map<std::string, std::string> firstNo;
    firstNo.reserve(rows);
    std::vector<bool> keep(rows, true);
    bool anyDeleted = false;
    for (size_t row = 0; row < rows; ++row) {
        const auto [it, inserted] = firstNo.try_emplace(GroupKey(table, row), numberOf(row));
        if (!inserted && it->second != numberOf(row)) {
            keep[row] = false;
            anyDeleted = true;
        }
    }
    if (!anyDeleted) {
        return;
    }
    // Deleting rows one by one from the middle would move the rest of the
    // table for every deletion: the kept rows close up in one go.
    table.keepRows(keep);
}
