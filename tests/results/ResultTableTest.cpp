#include <gtest/gtest.h>

#include "ResultGridModel.h"
#include "clsWF.h"

namespace {

TEST(ResultTableCreation, DuplicateColumnStopsCreationAndSetsFlag) {
    struct Case {
        std::vector<std::string> columns;
        int16_t dup;
        size_t created;
    };
    for (const Case& c :
         {Case{{"Email", "MailTo", "FileName"}, 0, 3}, Case{{" a ", " a ", "FileName"}, 1, 1},
          Case{{"Email", "FileName", "FileName", "ProcessTime"}, 1, 2},
          Case{{"Email", "email"}, 1, 1}}) {
        int16_t dup = 0;
        clsWF wf(c.columns, dup);
        EXPECT_EQ(dup, c.dup);
        EXPECT_EQ(wf.rstWF->columnCount(), c.created);
    }
}

TEST(ResultTableValues, LongValuesAreCutTo200AndUnassignedDiffersFromEmpty) {
    ResultTable t;
    t.appendColumn("Email");
    size_t r = t.addRow();
    EXPECT_FALSE(t.cell(r, 0).has_value());
    t.setValue(r, 0, "");
    EXPECT_TRUE(t.cell(r, 0).has_value());
    t.setValue(r, 0, std::string(250, 'x'));
    EXPECT_EQ(t.value(r, 0).size(), 200u);
    t.setValue(r, 0, std::string(200, 'y'));
    EXPECT_EQ(t.value(r, 0), std::string(200, 'y'));
}

// The rows as "value|value" lines, "-" for an unassigned cell.
std::vector<std::string> Rows(const ResultTable& t) {
    std::vector<std::string> out;
    for (size_t r = 0; r < t.rowCount(); ++r) {
        std::string line;
        for (size_t c = 0; c < t.columnCount(); ++c) {
            line += (c > 0 ? "|" : "") + std::string(t.cell(r, c).value_or("-"));
        }
        out.push_back(line);
    }
    return out;
}

// Rows share their texts' storage: every way of changing rows must leave the
// other rows' texts as they were.
TEST(ResultTableRows, ChangesKeepEveryOtherRowsTexts) {
    struct Case {
        const char* name;
        void (*change)(ResultTable&);
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"same text in a column, one cell changed",
         [](ResultTable& t) { t.setValue(1, 1, "other"); },
         {"a0|same", "a1|other", "a2|same"}},
        {"a row deleted from the middle",
         [](ResultTable& t) { t.deleteRow(1); },
         {"a0|same", "a2|same"}},
        {"rows kept",
         [](ResultTable& t) {
             t.keepRows({false, true, true});
         },
         {"a1|same", "a2|same"}},
        {"a column appended",
         [](ResultTable& t) { t.appendColumn("C"); },
         {"a0|same|-", "a1|same|-", "a2|same|-"}},
        {"cleared and refilled",
         [](ResultTable& t) {
             t.clearRows();
             t.setValue(t.addRow(), 1, "same");
         },
         {"-|same"}},
    };
    for (const Case& c : cases) {
        ResultTable t;
        t.appendColumn("A");
        t.appendColumn("B");
        for (int i = 0; i < 3; ++i) {
            const size_t r = t.addRow();
            t.setValue(r, 0, "a" + std::to_string(i));
            t.setValue(r, 1, "same");
        }
        c.change(t);
        EXPECT_EQ(Rows(t), c.expected) << c.name;
    }
}

TEST(ResultTableRows, ManyRowsKeepTheirTextsAcrossStorageBlocks) {
    ResultTable t;
    t.appendColumn("Email");
    constexpr size_t kRows = 50000;  // several megabytes of text
    for (size_t i = 0; i < kRows; ++i) {
        t.setValue(t.addRow(), 0, std::string(60, 'x') + std::to_string(i));
    }
    t.sortBy(0);  // "x...0", "x...1", "x...10", ...
    EXPECT_EQ(t.value(0, 0), std::string(60, 'x') + "0");
    EXPECT_EQ(t.value(2, 0), std::string(60, 'x') + "10");
    size_t total = 0;
    for (size_t r = 0; r < t.rowCount(); ++r) {
        total += t.text(r, 0).size();
    }
    EXPECT_EQ(total, kRows * 60 + 238890);  // digits of 0..49999
}

TEST(ResultTableSort, AscendingStableIgnoringCase) {
    ResultTable t;
    t.appendColumn("Email");
    t.appendColumn("No");
    t.sortBy(1);  // an empty table only takes the sort order
    EXPECT_EQ(t.sortColumn(), "No");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"b@x", "1"}, {"A@x", "2"}, {"", "3"}, {"a@x", "4"}};
    for (const auto& [e, n] : rows) {
        size_t r = t.addRow();
        t.setValue(r, 0, e);
        t.setValue(r, 1, n);
    }
    t.sortBy(0);
    std::vector<std::string> order;
    for (size_t r = 0; r < t.rowCount(); ++r) {
        order.push_back(t.value(r, 1));
    }
    EXPECT_EQ(order, (std::vector<std::string>{"3", "2", "4", "1"}));
    EXPECT_EQ(t.sortColumn(), "Email");
}

TEST(ResultGrid, ShowsColumnsByNameAndFollowsTableChanges) {
    auto table = std::make_shared<ResultTable>();
    table->appendColumn("Email");
    table->appendColumn("FileName");
    ResultGridModel model;
    model.setTable(table);
    EXPECT_EQ(model.columnCount(), 2);
    EXPECT_EQ(model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), "FileName");
    table->setValue(table->addRow(), 0, "caf\xe9@x");  // not UTF-8: shown as Latin-1
    model.refresh();
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(model.data(model.index(0, 0), Qt::DisplayRole).toString(),
              QString::fromUtf8("café@x"));
    model.setData(model.index(0, 1), QString::fromUtf8("é"), Qt::EditRole);
    EXPECT_EQ(table->value(0, 1), "\xc3\xa9");
}

}  // namespace
