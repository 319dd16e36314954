#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QProcess>
#include <QStandardPaths>

#include "TempDir.h"
#include "WriterTestData.h"
#include "Writers.h"

namespace harvest {
namespace {

// The first column of every row the query gives, as text ("NULL" for null).
std::vector<std::string> column(sqlite3* db, const std::string& sql) {
    std::vector<std::string> out;
    sqlite3_stmt* s = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &s, nullptr), SQLITE_OK) << sql;
    while (sqlite3_step(s) == SQLITE_ROW) {
        const auto* text = sqlite3_column_text(s, 0);
        out.push_back(text ? reinterpret_cast<const char*>(text) : "NULL");
    }
    sqlite3_finalize(s);
    return out;
}

TEST(SqliteWriter, HoldsEveryTableWithTypedValuesAndNulls) {
    TempDir dir;
    const auto data = testdata::sample();
    std::string error;
    // Sighting rows or not, the database holds everything.
    ASSERT_TRUE(writeReport(Format::Sqlite, data.report(), false, dir.file("h.db"), error))
        << error;
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(dir.file("h.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    using Strings = std::vector<std::string>;
    const std::vector<std::pair<std::string, Strings>> cases = {
        {"SELECT count(*) FROM contacts", {"2"}},
        {"SELECT count(*) FROM sightings", {"2"}},
        {"SELECT count(*) FROM sources", {"3"}},
        {"SELECT source || ': ' || reason FROM problems", {"broken.pdf: not a PDF"}},
        {"SELECT name FROM pragma_table_info('contacts')",
         {"address", "name", "kind", "domain", "reserved", "sightings", "first_source"}},
        {"SELECT name FROM pragma_table_info('sightings')",
         {"address", "name", "source", "page", "message", "message_id", "line", "offset", "field",
          "context", "referrer", "depth"}},
        {"SELECT name FROM pragma_table_info('sources')", {"path", "kind", "bytes"}},
        {"SELECT typeof(reserved) || reserved || typeof(sightings) || coalesce(name, 'NULL')"
         " FROM contacts ORDER BY rowid",
         {"integer1integerAda Lovelace", "integer0integerNULL"}},
        {"SELECT first_source FROM contacts WHERE sightings = 3",
         {testdata::withReplacement(testdata::kOddSource)}},
        {"SELECT quote(page) || quote(message) || quote(message_id) || quote(field) ||"
         " typeof(line) || \"offset\" FROM sightings ORDER BY rowid",
         {"2NULLNULLNULLinteger123", "NULL4'm1@host''From'integer0"}},
        {"SELECT context FROM sightings WHERE line = 7", {"said \\ \"hi\"\r\tthere"}},
        {"SELECT sum(bytes) FROM sources", {"35"}},
    };
    for (const auto& [sql, want] : cases) {
        EXPECT_EQ(column(db, sql), want) << sql;
    }
    sqlite3_close(db);
}

// The text of one member of a zip, through unzip.
std::string unzipped(const std::string& zip, const std::string& member) {
    QProcess unzip;
    unzip.start("unzip", {"-p", QString::fromStdString(zip), QString::fromStdString(member)});
    unzip.waitForFinished();
    return unzip.readAllStandardOutput().toStdString();
}

struct XlsxCase {
    bool sightingRows;
    std::string sheetName;
    std::vector<std::string> inFirstSheet;
};

TEST(XlsxWriter, SheetsHoldHeaderValuesNumbersAndProblems) {
    if (QStandardPaths::findExecutable("unzip").isEmpty()) {
        GTEST_SKIP() << "no unzip to read the workbook back";
    }
    const std::string longText(40000, 'x');
    auto data = testdata::sample();
    data.sightings[1].context = longText;
    const std::vector<XlsxCase> cases = {
        {false,
         "Contacts",
         {"ada@example.org", "first_source", "<v>3</v>", ">true<", "e\xEF\xBF\xBD.txt"}},
        {true, "Sightings", {"message_id", "m1@host", "<v>123</v>", std::string(32767, 'x') + "<"}},
    };
    for (const XlsxCase& c : cases) {
        TempDir dir;
        const std::string path = dir.file("h.xlsx");
        std::string error;
        ASSERT_TRUE(writeReport(Format::Xlsx, data.report(), c.sightingRows, path, error)) << error;
        const std::string book = unzipped(path, "xl/workbook.xml");
        EXPECT_NE(book.find("name=\"" + c.sheetName + "\""), std::string::npos) << book;
        EXPECT_NE(book.find("name=\"Problems\""), std::string::npos) << book;
        const std::string sheet = unzipped(path, "xl/worksheets/sheet1.xml");
        for (const std::string& want : c.inFirstSheet) {
            EXPECT_NE(sheet.find(want), std::string::npos) << want.substr(0, 40);
        }
        EXPECT_EQ(sheet.find(std::string(32768, 'x')), std::string::npos);
        EXPECT_NE(unzipped(path, "xl/worksheets/sheet2.xml").find("not a PDF"), std::string::npos);
    }
    // No problems, no problem sheet.
    data.problems.clear();
    TempDir dir;
    std::string error;
    ASSERT_TRUE(writeReport(Format::Xlsx, data.report(), false, dir.file("h.xlsx"), error));
    EXPECT_EQ(unzipped(dir.file("h.xlsx"), "xl/workbook.xml").find("Problems"), std::string::npos);
}

}  // namespace
}  // namespace harvest
