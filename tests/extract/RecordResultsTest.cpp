#include <gtest/gtest.h>

#include <chrono>

#include "EngineRig.h"
#include "ResultTable.h"
#include "RunErrors.h"

namespace {

const std::string kTime = "Mar-7-26 9:05";  // FixedClock's moment
const std::string kUnset = "<unset>";

using Rows = std::vector<std::vector<std::string>>;

ResultTable TableOf(const std::vector<std::string>& columns, size_t unassignedRows = 0) {
    ResultTable table;
    for (const std::string& c : columns) {
        table.appendColumn(c);
    }
    for (size_t i = 0; i < unassignedRows; ++i) {
        table.addRow();
    }
    return table;
}

Rows RowsOf(const ResultTable& table) {
    Rows rows(table.rowCount());
    for (size_t r = 0; r < table.rowCount(); ++r) {
        for (size_t c = 0; c < table.columnCount(); ++c) {
            rows[r].emplace_back(table.cell(r, c).value_or(kUnset));
        }
    }
    return rows;
}

struct FileCase {
    const char* name;
    std::vector<std::string> columns;
    std::string text;
    bool chkFileName;
    bool chkTime;
    size_t rowsBefore;  // unassigned rows of an earlier file
    Rows expected;
};

class RecordFile : public ::testing::TestWithParam<FileCase> {};

TEST_P(RecordFile, WritesOneRowPerPassAndDeletesTheLastRow) {
    const FileCase& c = GetParam();
    EngineRig rig(c.text);
    rig.engine.strCurFile = "/d/f.htm";
    rig.engine.chkFileName = c.chkFileName;
    rig.engine.chkTime = c.chkTime;
    rig.engine.intUseKeyword = 1;
    KeywordTable keywords;
    keywords.add(" Price: ", "1");
    ResultTable table = TableOf(c.columns, c.rowsBefore);
    rig.engine.RecordFileResults(c.columns, table, keywords);
    EXPECT_EQ(RowsOf(table), c.expected);
    EXPECT_EQ(rig.progress.value(), 100.0f);
}

const std::vector<std::string> kAll = {"Email", "WebSite", "FileName", "ProcessTime"};

INSTANTIATE_TEST_SUITE_P(
    Cases, RecordFile,
    ::testing::Values(
        FileCase{"NothingFoundLeavesTableAsBefore", kAll, "no markers", true, true, 0, {}},
        // The first address has no space in front of it and loses its local part.
        FileCase{"NoDeduplication",
                 {"Email", "FileName", "ProcessTime"},
                 "a@b.c a@b.c",
                 true,
                 true,
                 0,
                 {{"b.c", "/d/f.htm", kTime}, {"a@b.c", "/d/f.htm", kTime}}},
        FileCase{"RowsUntilEveryScannerIsEmpty",
                 kAll,
                 "x\r\na@b.c\tx@y.z see http://w.v",
                 true,
                 true,
                 0,
                 {{"a@b.c", "http://w.v", "/d/f.htm", kTime}, {"x@y.z", "", "/d/f.htm", kTime}}},
        FileCase{"BoxesAreCrossed", kAll, " a@b ", true, false, 0, {{"a@b", "", kUnset, kTime}}},
        FileCase{"OnlyTimeBoxFillsFileName",
                 {"Email", "WebSite", "ProcessTime"},
                 " a@b http://c ",
                 false,
                 true,
                 0,
                 {{"a@b", "http://c", kUnset}}},
        FileCase{"KeywordColumns",
                 {"Email", " Price: ", "FileName", "ProcessTime"},
                 " a@b Price: 10 x Price: 20 y ",
                 false,
                 true,
                 0,
                 {{"a@b", "10", "/d/f.htm", kUnset}, {"", "20", "/d/f.htm", kUnset}}},
        // Highest index 1: no pass is run, yet the last row of the table,
        // an earlier file's, is deleted.
        FileCase{"NoPassStillDeletesEarlierRow",
                 {"Email", "MailTo"},
                 " a@b ",
                 true,
                 true,
                 2,
                 {{kUnset, kUnset}}}),
    [](const auto& info) { return info.param.name; });

TEST(RecordFileCancel, LeavesThePartialRowAndSkipsTheDelete) {
    // Yields: 1 the pass, 2 column Email, 3 inside GetEmail, 4 column WebSite,
    // 5 inside GetWebSite.
    EngineRig rig(" a@b http://c ");
    rig.cancelAt(5);
    rig.engine.chkFileName = rig.engine.chkTime = true;
    ResultTable table = TableOf(kAll, 1);
    rig.engine.RecordFileResults(kAll, table, {});
    EXPECT_EQ(RowsOf(table),
              (Rows{{kUnset, kUnset, kUnset, kUnset}, {"a@b", "http://c", kUnset, kUnset}}));
    EXPECT_FLOAT_EQ(rig.progress.value(), 19.0f);
}

// Columns that no scanner empties keep the count-down above 0: once a pass
// takes nothing out of the text, every pass after it is the same. The run says
// so once and waits for Cancel without adding a row per pass.
TEST(RecordFileCancel, PassThatChangesNothingWaitsForCancelWithoutGrowing) {
    const std::vector<std::string> columns = {"Email", "Other", "More", "FileName"};
    EngineRig rig(" a@b ");
    int endless = 0;
    rig.engine.onEndlessLoop = [&] { ++endless; };
    rig.engine.strCurFile = "/d/f.htm";
    rig.engine.chkTime = true;
    rig.cancelAt(2000);
    ResultTable table = TableOf(columns);
    rig.engine.RecordFileResults(columns, table, {});
    EXPECT_EQ(endless, 1);
    EXPECT_LE(rig.pump.count - 2000, 5) << "stops within the pass Cancel came in";
    EXPECT_EQ(RowsOf(table),
              (Rows{{"a@b", kUnset, kUnset, "/d/f.htm"}, {"", kUnset, kUnset, "/d/f.htm"}}));
}

TEST(RecordFileErrors, InvalidArgumentFromScannerReachesCaller) {
    EngineRig rig("http://no.space.before");
    ResultTable table = TableOf(kAll);
    EXPECT_THROW(rig.engine.RecordFileResults(kAll, table, {}), InvalidArgumentError);
}

TEST(TextPreparation, ControlCharactersQuotAndSpaceRuns) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a\bb\tc\nd\re", "a b c d e "},
        {"quotation &quot x", " ation & x "},
        {"a" + std::string(9, ' ') + "b", "a b "},
        {"a\fb", "a\fb "},
        {"", " "},
    };
    for (const auto& [text, prepared] : cases) {
        EngineRig rig(text);
        ResultTable table;
        rig.engine.RecordFileResults({}, table, {});
        EXPECT_EQ(rig.engine.strScanText, prepared);
    }
}

struct KeywordRunCase {
    const char* name;
    std::vector<std::string> columns;
    std::string text;
    bool withKeywords;
    std::vector<bool> rowsBefore;  // earlier rows: true = one assigned (empty) value
    Rows expected;
};

class RecordKeyword : public ::testing::TestWithParam<KeywordRunCase> {};

TEST_P(RecordKeyword, OneRowPerFileThenCleanUp) {
    const KeywordRunCase& c = GetParam();
    EngineRig rig(c.text);
    rig.engine.strCurFile = "f.txt";
    rig.engine.intUseKeyword = 1;
    KeywordTable keywords;
    if (c.withKeywords) {
        keywords.add(" Name: ", "1, 2");
        keywords.add(" Phone: ", "1");
    }
    ResultTable table = TableOf(c.columns);
    for (bool assigned : c.rowsBefore) {
        const size_t r = table.addRow();
        if (assigned) {
            table.setValue(r, 0, "");
        }
    }
    rig.engine.RecordKeywordResults(c.columns, table, keywords);
    EXPECT_EQ(RowsOf(table), c.expected);
    const std::vector<std::string> names = {" Name: ", " Phone: "};
    EXPECT_EQ(rig.engine.arrKeyNames,
              c.withKeywords && !c.columns.empty() ? names : std::vector<std::string>{});
}

const std::vector<std::string> kKeywordColumns = {" Name: ", " Phone: ", "FileName", "ProcessTime"};

INSTANTIATE_TEST_SUITE_P(
    Cases, RecordKeyword,
    ::testing::Values(KeywordRunCase{"AdjacentKeywordsStopEachOther",
                                     kKeywordColumns,
                                     "x Name: Ann Phone: 555 Name: Bo Phone: 666",
                                     true,
                                     {},
                                     {{"Ann", "555", "f.txt", kTime}}},
                      KeywordRunCase{"OnlyFirstAddressKept",
                                     {"Email", "MailTo"},
                                     " a@b c@d e@f ",
                                     false,
                                     {},
                                     {{"a@b", "c@d"}}},
                      KeywordRunCase{"NoFileNameOrTimeWithoutKeywords",
                                     {"Email", "FileName", "ProcessTime"},
                                     " a@b ",
                                     false,
                                     {},
                                     {{"a@b", kUnset, kUnset}}},
                      // One flag for the whole pass: unassigned rows go only until the
                      // first row with an assigned value, even an empty one.
                      KeywordRunCase{"CleanUpStopsAtFirstAssignedRow",
                                     {"Email", "MailTo"},
                                     " a@b ",
                                     false,
                                     {false, true, false},
                                     {{"", kUnset}, {kUnset, kUnset}, {"a@b", ""}}},
                      KeywordRunCase{"CleanUpDropsAllRowsWhenNoneAssigned",
                                     {" Other "},
                                     " text ",
                                     true,
                                     {false, false},
                                     {}}),
    [](const auto& info) { return info.param.name; });

// Each keyword record writes the file name or the time into their columns and
// the records named like the column their text, in table order: the last
// record decides what the cell keeps.
TEST(RecordKeyword, LastKeywordRecordDecidesFileNameAndTimeCells) {
    for (const auto& [names, expected] : std::vector<std::pair<std::vector<std::string>, Rows>>{
             {{"ProcessTime", " x "}, {{kTime, "f.txt"}}},
             {{" x ", "ProcessTime"}, {{"abc", "f.txt"}}},
             {{" x ", "FileName"}, {{kTime, "def"}}}}) {
        EngineRig rig("ProcessTime abc FileName def ");
        rig.engine.strCurFile = "f.txt";
        rig.engine.intUseKeyword = 1;
        KeywordTable keywords;
        for (const std::string& name : names) {
            keywords.add(name, "1");
        }
        const std::vector<std::string> columns = {"ProcessTime", "FileName"};
        ResultTable table = TableOf(columns);
        rig.engine.RecordKeywordResults(columns, table, keywords);
        EXPECT_EQ(RowsOf(table), expected);
    }
}

// The cut list keeps each name once, in the order the runs first met it,
// however many columns, files and repeated or re-cased names there are.
TEST(RecordKeyword, KeywordNamesAreKeptOnceAcrossColumnsAndFiles) {
    EngineRig rig;
    rig.engine.intUseKeyword = 1;
    KeywordTable first;
    first.add(" Name: ", "1");
    first.add(" Phone: ", "1");
    first.add(" NAME: ", "2");
    first.add("   ", "1");
    KeywordTable second;
    second.add("phone:", "1");
    second.add(" Mail ", "1");
    const std::vector<std::string> columns = {" Name: ", " Phone: ", "FileName"};
    for (int file = 0; file < 50; ++file) {
        rig.engine.strScanText = "x Name: AnnPhone: 555 ";
        ResultTable table = TableOf(columns);
        rig.engine.RecordKeywordResults(columns, table, file < 25 ? first : second);
        if (file == 0) {
            EXPECT_EQ(table.value(0, 0), "Ann");
        }
    }
    EXPECT_EQ(rig.engine.arrKeyNames, (std::vector<std::string>{" Name: ", " Phone: ", " Mail "}));
}

TEST(RecordKeywordCancel, LeavesPartialRowWithoutCleanUp) {
    // Yields: 1 before the row, 2 column Email, 3 inside GetEmail.
    EngineRig rig(" a@b c@d ");
    rig.cancelAt(3);
    ResultTable table = TableOf({"Email", "MailTo"}, 1);
    rig.engine.RecordKeywordResults({"Email", "MailTo"}, table, {});
    EXPECT_EQ(RowsOf(table), (Rows{{kUnset, kUnset}, {"a@b", kUnset}}));
}

// Arbitrary bytes, NULs included, and a megabyte without a space must come
// through the whole file path; a scanner may only refuse with its named error.
TEST(EngineRobustness, BinaryContentAndLongRunsFinish) {
    std::string binary(1 << 16, '\0');
    uint32_t seed = 12345;
    for (char& c : binary) {
        seed = seed * 1103515245u + 12345u;
        c = static_cast<char>(seed >> 24);
    }
    std::string noSpace(1 << 20, 'x');
    noSpace.replace(1000, 9, "<b>a@b</b");
    noSpace.replace(500000, 8, "<SCRIPT ");
    const std::vector<std::string> columns = {"Email", "MailTo", "FileName"};
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& text : {binary, noSpace, std::string("<"), std::string("<SCRIPT")}) {
        EngineRig rig(text);
        rig.cancelAt(1000000);
        rig.engine.chkTime = true;
        ResultTable table = TableOf(columns);
        try {
            rig.engine.StripTags();
            rig.engine.RecordFileResults(columns, table, {});
        } catch (const InvalidArgumentError&) {
        }
        EXPECT_EQ(rig.engine.intCancel, 0);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
