#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "DuplicateRecords.h"
#include "MailRunFixture.h"

namespace {

using Table = std::vector<std::vector<ResultTable::Cell>>;

Table CellsOf(const ResultTable& t) {
    Table out;
    for (size_t r = 0; r < t.rowCount(); ++r) {
        std::vector<ResultTable::Cell> row;
        for (size_t c = 0; c < t.columnCount(); ++c) {
            row.push_back(t.cell(r, c));
        }
        out.push_back(std::move(row));
    }
    return out;
}

std::string Text(const ResultTable::Cell& cell) {
    return std::string(cell.value_or(std::string_view()));
}

// The rule taken word for word: for each remaining record in order, delete
// every other remaining record with equal KeyWord, DisplayName and
// EmailAddress and a different No.
Table ReferenceRemoval(Table rows, size_t noColumn) {
    std::vector<bool> deleted(rows.size(), false);
    auto no = [&](size_t r) { return noColumn < rows[r].size() ? Text(rows[r][noColumn]) : ""; };
    for (size_t i = 0; i < rows.size(); ++i) {
        if (deleted[i]) {
            continue;
        }
        for (size_t j = 0; j < rows.size(); ++j) {
            if (j == i || deleted[j]) {
                continue;
            }
            bool same = true;
            for (size_t c = 0; c < 3; ++c) {
                same = same && Text(rows[i][c]) == Text(rows[j][c]);
            }
            if (same && no(i) != no(j)) {
                deleted[j] = true;
            }
        }
    }
    Table kept;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (!deleted[i]) {
            kept.push_back(rows[i]);
        }
    }
    return kept;
}

ResultTable RandomTable(std::mt19937& rng, size_t columns, size_t noColumn, size_t rows) {
    static const std::vector<std::vector<std::string>> kValues = {
        {"From:", "To:", "CC:"}, {"", "Ann", "Ann "}, {"a@example.com", "a@example.com\r", ""}};
    ResultTable t;
    for (size_t c = 0; c < columns; ++c) {
        t.appendColumn("F" + std::to_string(c));
    }
    for (size_t r = 0; r < rows; ++r) {
        const size_t row = t.addRow();
        for (size_t c = 0; c < 3; ++c) {
            const auto& choices = kValues[c];
            // Now and then leave a cell unassigned: it reads as empty.
            if (rng() % 7 != 0) {
                t.setValue(row, c, choices[rng() % choices.size()]);
            }
        }
        for (size_t c = 3; c < columns; ++c) {
            t.setValue(row, c, "extra" + std::to_string(rng() % 3));
        }
        // Mostly unique numbers, sometimes one used before.
        const size_t number = rng() % 5 == 0 ? rng() % (r + 1) : 1000 + r;
        t.setValue(row, noColumn, std::to_string(number));
    }
    return t;
}

TEST(DeleteRepeatedRecords, MatchesTheRecordByRecordRuleOnGeneratedTables) {
    std::mt19937 rng(20260307);
    for (int round = 0; round < 300; ++round) {
        const size_t columns = 4 + static_cast<size_t>(round % 3);
        const size_t noColumn = columns - 1;
        ResultTable t = RandomTable(rng, columns, noColumn, 1 + rng() % 40);
        const Table expected = ReferenceRemoval(CellsOf(t), noColumn);
        DeleteRepeatedRecords(t, noColumn);
        ASSERT_EQ(CellsOf(t), expected) << "round " << round;
    }
}

TEST(DeleteRepeatedRecords, NumberFieldPositionFollowsTheOptionalFields) {
    // Two records equal in their first three fields; the optional fields
    // differ, the numbers are equal. Looking at the right field keeps both.
    struct Case {
        bool fileName, time;
    };
    for (const Case& c :
         {Case{false, false}, Case{true, false}, Case{false, true}, Case{true, true}}) {
        MailListOptions options;
        options.chkFileName = c.fileName;
        options.chkTime = c.time;
        options.intUseFileName = c.fileName;
        options.intUseTime = c.time;
        MailRun run(options);
        ResultTable& t = run.table();
        t.clearRows();
        for (int i = 0; i < 2; ++i) {
            const size_t row = t.addRow();
            for (size_t col = 0; col + 1 < t.columnCount(); ++col) {
                t.setValue(row, col, col < 3 ? "same" : "differs" + std::to_string(i));
            }
            t.setValue(row, t.columnCount() - 1, "7");
        }
        run.mail.RemoveDuplicateRecords(t);
        EXPECT_EQ(t.rowCount(), 2u) << c.fileName << c.time;
        t.setValue(1, t.columnCount() - 1, "8");
        run.mail.RemoveDuplicateRecords(t);
        EXPECT_EQ(t.rowCount(), 1u) << c.fileName << c.time;
    }
}

TEST(DeleteRepeatedRecords, FiftyThousandRecordsWithManyRepeatsAreQuick) {
    ResultTable t;
    for (const char* name : {"KeyWord", "DisplayName", "EmailAddress", "No"}) {
        t.appendColumn(name);
    }
    for (int i = 0; i < 50000; ++i) {
        const size_t row = t.addRow();
        t.setValue(row, 0, "To:");
        t.setValue(row, 1, "Person " + std::to_string(i % 10000));
        t.setValue(row, 2, "p" + std::to_string(i % 10000) + "@example.com");
        t.setValue(row, 3, std::to_string(i + 1));
    }
    const auto start = std::chrono::steady_clock::now();
    DeleteRepeatedRecords(t, 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    ASSERT_EQ(t.rowCount(), 10000u);
    EXPECT_EQ(t.value(9999, 3), "10000");
}

}  // namespace
