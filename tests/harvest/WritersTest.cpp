#include "Writers.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <filesystem>

#include "TempDir.h"
#include "WriterTestData.h"

namespace harvest {
namespace {

using testdata::Cell;
using testdata::Row;

std::vector<std::string> split(const std::string& s, const std::string& by) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t at; (at = s.find(by, start)) != std::string::npos; start = at + by.size()) {
        parts.push_back(s.substr(start, at - start));
    }
    parts.push_back(s.substr(start));
    return parts;
}

std::string tsvUnescape(const std::string& s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '\\' || i + 1 == s.size()) {
            out += s[i];
            continue;
        }
        const char c = s[++i];
        if (c == 'x') {
            out += static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            out += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
        }
    }
    return out;
}

// RFC 4180 records; fails the test on a malformed one.
std::vector<std::vector<std::string>> parseCsv(const std::string& s) {
    std::vector<std::vector<std::string>> records(1, std::vector<std::string>(1));
    bool quoted = false;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const char c = s[i];
        std::string& cell = records.back().back();
        if (quoted) {
            if (c == '"' && i + 1 < s.size() && s[i + 1] == '"') {
                cell += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                cell += c;
            }
        } else if (c == '"') {
            EXPECT_TRUE(cell.empty()) << "quote inside an unquoted field";
            quoted = true;
        } else if (c == ',') {
            records.back().emplace_back();
        } else if (c == '\r' && i + 1 < s.size() && s[i + 1] == '\n') {
            ++i;
            records.emplace_back(1);
        } else {
            EXPECT_NE(c, '\n') << "a bare LF ends no CSV record";
            cell += c;
        }
    }
    EXPECT_FALSE(quoted);
    EXPECT_EQ(records.back(), std::vector<std::string>(1)) << "the last record ends in CRLF";
    records.pop_back();
    return records;
}

Cell jsonCell(const QJsonValue& v) {
    if (v.isNull()) {
        return std::nullopt;
    }
    if (v.isBool()) {
        return std::string("b:") + (v.toBool() ? "true" : "false");
    }
    if (v.isDouble()) {
        return "n:" + std::to_string(v.toInteger());
    }
    return "s:" + v.toString().toStdString();
}

// A cell as a delimited format spells it: nulls empty, the type dropped.
std::string plain(const Cell& c) {
    return c ? c->substr(2) : "";
}

std::string writeToFile(Format format, bool sightingRows, const std::string& path) {
    const auto data = testdata::sample();
    std::string error;
    EXPECT_TRUE(writeReport(format, data.report(), sightingRows, path, error)) << error;
    EXPECT_EQ(error, "");
    return ReadBytes(path);
}

class TextRows : public testing::TestWithParam<bool> {};

TEST_P(TextRows, TsvKeepsEveryRowOneRowAndRoundTrips) {
    const bool sightingRows = GetParam();
    TempDir dir;
    const std::string text = writeToFile(Format::Tsv, sightingRows, dir.file("out.tsv"));
    ASSERT_TRUE(text.ends_with("\n"));
    const auto lines = split(text.substr(0, text.size() - 1), "\n");
    const auto rows = testdata::expectedRows(sightingRows);
    ASSERT_EQ(lines.size(), rows.size() + 1);
    EXPECT_EQ(split(lines[0], "\t"), testdata::fieldNames(sightingRows));
    for (std::size_t r = 0; r < rows.size(); ++r) {
        const auto cells = split(lines[r + 1], "\t");
        ASSERT_EQ(cells.size(), rows[r].size()) << lines[r + 1];
        for (std::size_t c = 0; c < cells.size(); ++c) {
            EXPECT_EQ(tsvUnescape(cells[c]), plain(rows[r][c])) << "row " << r << " col " << c;
        }
    }
    EXPECT_NE(text.find("dir/a\\tb\\nc\"d,e\\xFF.txt"), std::string::npos);
    EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST_P(TextRows, CsvFollowsRfc4180AndReplacesInvalidUtf8) {
    const bool sightingRows = GetParam();
    TempDir dir;
    const auto records = parseCsv(writeToFile(Format::Csv, sightingRows, dir.file("out.csv")));
    const auto rows = testdata::expectedRows(sightingRows);
    ASSERT_EQ(records.size(), rows.size() + 1);
    EXPECT_EQ(records[0], testdata::fieldNames(sightingRows));
    for (std::size_t r = 0; r < rows.size(); ++r) {
        ASSERT_EQ(records[r + 1].size(), rows[r].size());
        for (std::size_t c = 0; c < rows[r].size(); ++c) {
            EXPECT_EQ(records[r + 1][c], testdata::withReplacement(plain(rows[r][c])))
                << "row " << r << " col " << c;
        }
    }
}

TEST_P(TextRows, JsonLinesHoldTypedValuesAndNullsInFieldOrder) {
    const bool sightingRows = GetParam();
    TempDir dir;
    const std::string text = writeToFile(Format::Jsonl, sightingRows, dir.file("out.jsonl"));
    ASSERT_TRUE(text.ends_with("}\n"));
    const auto lines = split(text.substr(0, text.size() - 1), "\n");
    const auto rows = testdata::expectedRows(sightingRows);
    const auto names = testdata::fieldNames(sightingRows);
    ASSERT_EQ(lines.size(), rows.size());
    for (std::size_t r = 0; r < rows.size(); ++r) {
        QJsonParseError parse;
        const auto doc = QJsonDocument::fromJson(QByteArray::fromStdString(lines[r]), &parse);
        ASSERT_EQ(parse.error, QJsonParseError::NoError) << lines[r];
        const QJsonObject object = doc.object();
        ASSERT_EQ(static_cast<std::size_t>(object.size()), names.size());
        std::size_t previous = 0;
        for (std::size_t c = 0; c < names.size(); ++c) {
            const std::size_t at = lines[r].find("\"" + names[c] + "\":");
            EXPECT_GT(at + 1, previous) << names[c] << " out of order";
            previous = at + 1;
            Cell expected = rows[r][c];
            if (expected) {
                expected = testdata::withReplacement(*expected);
            }
            EXPECT_EQ(jsonCell(object.value(QString::fromStdString(names[c]))), expected)
                << "row " << r << " " << names[c];
        }
    }
    EXPECT_NE(text.find("a\\u0009b\\u000Ac"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(ContactsAndSightings, TextRows, testing::Bool());

TEST(WriterFormats, NamesAndExtensions) {
    const std::vector<std::pair<std::string, std::optional<Format>>> names = {
        {"tsv", Format::Tsv},    {"CSV", Format::Csv},       {"jsonl", Format::Jsonl},
        {"json", Format::Jsonl}, {"sqlite", Format::Sqlite}, {"xlsx", Format::Xlsx},
        {"vcf", Format::VCard},  {"vcard", Format::VCard},   {"xml", std::nullopt},
        {"", std::nullopt}};
    for (const auto& [name, format] : names) {
        EXPECT_EQ(formatNamed(name), format) << name;
    }
    const std::vector<std::pair<std::string, std::optional<Format>>> paths = {
        {"out.tsv", Format::Tsv},      {"out.TXT", Format::Tsv},
        {"a/b.csv", Format::Csv},      {"x.jsonl", Format::Jsonl},
        {"x.ndjson", Format::Jsonl},   {"x.Json", Format::Jsonl},
        {"x.sqlite", Format::Sqlite},  {"x.sqlite3", Format::Sqlite},
        {"x.db", Format::Sqlite},      {"x.XLSX", Format::Xlsx},
        {"x.vcf", Format::VCard},      {"x.vcard", Format::VCard},
        {"x.tar.gz", std::nullopt},    {"csv", std::nullopt},
        {"dir.csv/out", std::nullopt}, {"", std::nullopt}};
    for (const auto& [path, format] : paths) {
        EXPECT_EQ(formatForPath(path), format) << path;
    }
    EXPECT_TRUE(isTextFormat(Format::VCard));
    EXPECT_FALSE(isTextFormat(Format::Sqlite));
    EXPECT_FALSE(isTextFormat(Format::Xlsx));
}

TEST(WriterOutput, TextGoesToStandardOutputFilesDoNot) {
    const auto data = testdata::sample();
    std::string error;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(writeReport(Format::Tsv, data.report(), false, "", error)) << error;
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(out.starts_with("address\tname\tkind\t")) << out;
    EXPECT_EQ(split(out, "\n").size(), 4u);
    for (Format f : {Format::Sqlite, Format::Xlsx}) {
        EXPECT_FALSE(writeReport(f, data.report(), false, "", error));
        EXPECT_NE(error.find("needs a file name"), std::string::npos) << error;
    }
}

constexpr Format kAllFormats[] = {Format::Tsv,    Format::Csv,  Format::Jsonl,
                                  Format::Sqlite, Format::Xlsx, Format::VCard};

std::vector<std::string> folderEntries(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir)) {
        names.push_back(e.path().filename().string());
    }
    return names;
}

// Every format replaces an existing target whole, and fails on a missing
// folder or a folder as the target with a reason; nothing is left over.
TEST(WriterOutput, TargetIsReplacedWholeOrTheWriteFailsLeavingNothing) {
    const auto data = testdata::sample();
    for (Format f : kAllFormats) {
        TempDir dir;
        const std::string target = dir.write("target", "old content");
        const std::string missing = dir.file("missing/out.file");
        const std::pair<std::string, std::string> cases[] = {
            {target, ""},
            {missing, "cannot write " + missing + ": No such file or directory"},
            {dir.path(), "cannot write " + dir.path() + ": Is a directory"},
        };
        for (const auto& [path, reason] : cases) {
            std::string error;
            EXPECT_EQ(writeReport(f, data.report(), false, path, error), reason.empty()) << path;
            EXPECT_EQ(error, reason);
            EXPECT_EQ(folderEntries(dir.path()), std::vector<std::string>{"target"});
        }
        EXPECT_NE(ReadBytes(target), "old content");
        EXPECT_GT(ReadBytes(target).size(), 50u);
    }
}

// Makes a target that cannot be replaced: immutable where chattr works (as
// root, where permissions do not stop anything), else in a read-only folder.
class ProtectedTarget {
public:
    explicit ProtectedTarget(const TempDir& dir) : dir_(dir.path()) {
        path_ = dir.write("target", "old content");
        immutable_ = QProcess::execute("chattr", {"+i", QString::fromStdString(path_)}) == 0;
        if (!immutable_) {
            std::filesystem::permissions(dir_, std::filesystem::perms::owner_write,
                                         std::filesystem::perm_options::remove);
        }
    }
    ~ProtectedTarget() {
        if (immutable_) {
            QProcess::execute("chattr", {"-i", QString::fromStdString(path_)});
        }
        std::filesystem::permissions(dir_, std::filesystem::perms::owner_write,
                                     std::filesystem::perm_options::add);
    }
    // Whether the protection holds (it does not for root without chattr).
    bool holds() const {
        std::error_code ec;
        std::filesystem::rename(dir_ + "/target", dir_ + "/moved", ec);
        if (!ec) {
            std::filesystem::rename(dir_ + "/moved", dir_ + "/target", ec);
        }
        return static_cast<bool>(ec);
    }
    const std::string& path() const { return path_; }

private:
    std::string dir_, path_;
    bool immutable_ = false;
};

TEST(WriterOutput, FailedWriteLeavesTheExistingTargetAndNoTemporaryFile) {
    TempDir dir;
    ProtectedTarget target(dir);
    if (!target.holds()) {
        GTEST_SKIP() << "cannot make a file that resists replacing here";
    }
    const auto data = testdata::sample();
    for (Format f : kAllFormats) {
        std::string error;
        EXPECT_FALSE(writeReport(f, data.report(), false, target.path(), error));
        EXPECT_TRUE(error.starts_with("cannot write " + target.path() + ": ")) << error;
        EXPECT_EQ(ReadBytes(target.path()), "old content");
        EXPECT_EQ(folderEntries(dir.path()), std::vector<std::string>{"target"});
    }
}

TEST(VCard, EscapesSplitsNamesAndFoldsWithoutCuttingCharacters) {
    const std::string longName = "Zoë " + std::string(30, 'x') + "ü" + std::string(40, 'y');
    std::vector<Contact> contacts = {
        {"ada@example.org", "Ada Lovelace", {}, "personal", "example.org", false, 1, "a"},
        {"info@example.org", "", {}, "role", "example.org", false, 1, "a"},
        {"+441632960000", "Smith, J; \\Jr\nII", {}, "phone", "", false, 1, "a"},
        {"https://example.org/a,b", longName, {}, "web", "example.org", false, 1, "a"}};
    const std::vector<std::vector<std::string>> expected = {
        {"FN:Ada Lovelace", "N:Lovelace;Ada", "EMAIL;TYPE=INTERNET:ada@example.org"},
        {"FN:info@example.org", "N:;", "EMAIL;TYPE=INTERNET:info@example.org"},
        {"FN:Smith\\, J\\; \\\\Jr\\nII", "N:Smith\\, J\\; \\\\Jr\\nII;", "TEL:+441632960000"},
        {"FN:" + longName, "N:" + longName.substr(5) + ";Zoë", "URL:https://example.org/a\\,b"}};
    TempDir dir;
    const std::vector<Sighting> none;
    const std::vector<Problem> noProblems;
    const std::vector<SourceInfo> noSources;
    std::string error;
    ASSERT_TRUE(writeReport(Format::VCard, {contacts, none, noProblems, noSources}, true,
                            dir.file("c.vcf"), error))
        << error;
    const std::string text = ReadBytes(dir.file("c.vcf"));
    ASSERT_TRUE(text.ends_with("\r\n"));
    bool folded = false;
    for (const std::string& line : split(text.substr(0, text.size() - 2), "\r\n")) {
        EXPECT_LE(line.size(), 75u) << line;
        EXPECT_EQ(QString::fromUtf8(line).toUtf8().toStdString(), line) << "cut character";
        EXPECT_EQ(line.find('\n'), std::string::npos);
        folded = folded || line.starts_with(" ");
    }
    EXPECT_TRUE(folded);
    std::string unfolded = text;
    for (std::size_t at; (at = unfolded.find("\r\n ")) != std::string::npos;) {
        unfolded.erase(at, 3);
    }
    auto lines = split(unfolded, "\r\n");
    lines.pop_back();
    ASSERT_EQ(lines.size(), contacts.size() * 6);
    for (std::size_t i = 0; i < contacts.size(); ++i) {
        const std::vector<std::string> card(lines.begin() + i * 6, lines.begin() + i * 6 + 6);
        std::vector<std::string> want = {"BEGIN:VCARD", "VERSION:3.0"};
        want.insert(want.end(), expected[i].begin(), expected[i].end());
        want.push_back("END:VCARD");
        EXPECT_EQ(card, want);
    }
}

}  // namespace
}  // namespace harvest
