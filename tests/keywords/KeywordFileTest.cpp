#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "TempDir.h"
#include "clsKeyWord.h"

namespace {

using Records = std::vector<std::pair<std::string, std::string>>;

Records RecordsOf(const KeywordTable& table) {
    Records out;
    for (const KeywordRecord& r : table.records()) {
        out.emplace_back(r.Name, r.Position);
    }
    return out;
}

struct ReadCase {
    const char* name;
    std::string bytes;
    Records expected;
};

class KeywordFileRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(KeywordFileRead, GivesOneRecordPerLine) {
    TempDir dir;
    clsKeyWord set(dir.write("keys.txt", GetParam().bytes));
    ASSERT_NE(set.rstKeyWord, nullptr);
    EXPECT_EQ(RecordsOf(*set.rstKeyWord), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, KeywordFileRead,
    ::testing::Values(
        ReadCase{"NameKeepsItsSpaces", " sale \t2, 3\r\n", {{" sale ", "2, 3"}}},
        ReadCase{"NoTabGivesWholeLineTwice", "alpha\r\n", {{"alpha", "alpha"}}},
        ReadCase{"PositionsEndAtSecondTab", "a\t1\tx\r\n", {{"a", "1"}}},
        ReadCase{"EmptyLineBetweenIsARecord",
                 "a\t1\r\n\r\nb\t2\r\n",
                 {{"a", "1"}, {"", ""}, {"b", "2"}}},
        ReadCase{"LastLineWithoutLineEndCounts", "a\t1\r\nb\t2", {{"a", "1"}, {"b", "2"}}},
        ReadCase{"BareLineFeedsEndLinesToo", "a\t1\nb\t2\n", {{"a", "1"}, {"b", "2"}}},
        ReadCase{"CarriageReturnsAloneEndLines", "a\t1\rb\t2\r", {{"a", "1"}, {"b", "2"}}},
        ReadCase{"MixedLineEnds",
                 "a\t1\r\rb\t2\nc\t3\r\n\n",
                 {{"a", "1"}, {"", ""}, {"b", "2"}, {"c", "3"}, {"", ""}}},
        ReadCase{"EmptyFileHasNoRecords", "", {}},
        ReadCase{"LoneLineEndIsOneEmptyRecord", "\r\n", {{"", ""}}},
        ReadCase{"EmptyFieldsAroundTab", "\t\r\n", {{"", ""}}},
        ReadCase{"NulAndHighBytesKept",
                 std::string("a\0b\t\xe9\r\n", 7),
                 {{std::string("a\0b", 3), "\xe9"}}},
        ReadCase{"LongFieldsCutTo100",
                 std::string(150, 'n') + "\t" + std::string(120, '1') + "\r\n",
                 {{std::string(100, 'n'), std::string(100, '1')}}}),
    [](const auto& info) { return info.param.name; });

TEST(KeywordFileRead, MissingOrUnnamedFileGivesEmptyUsableSet) {
    TempDir dir;
    // A folder, a device and a pipe are not read at all: they could block or
    // never end.
    const std::string fifo = dir.file("pipe");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& path :
         {dir.file("absent.txt"), std::string(), dir.path(), std::string("/dev/zero"), fifo}) {
        clsKeyWord set(path);
        ASSERT_NE(set.rstKeyWord, nullptr);
        EXPECT_TRUE(set.rstKeyWord->empty()) << path;
        set.rstKeyWord->add(" k ", "1");
        EXPECT_EQ(set.rstKeyWord->size(), 1u);
    }
}

TEST(KeywordFileWrite, WritesNameTabPositionsCrLfAndReadsBackTheSame) {
    TempDir dir;
    clsKeyWord set;
    const Records records = {{" Price: ", "1, 2"}, {"", ""}, {"alpha", "3"}, {" x ", ""}};
    for (const auto& [name, position] : records) {
        set.rstKeyWord->add(name, position);
    }
    const std::string path = dir.file("out.txt");
    ASSERT_TRUE(set.WriteToFile(path));
    EXPECT_EQ(ReadBytes(path), " Price: \t1, 2\r\n\t\r\nalpha\t3\r\n x \t\r\n");
    EXPECT_EQ(RecordsOf(*clsKeyWord(path).rstKeyWord), records);
}

TEST(KeywordFileWrite, OverwritesAndReportsUnwritablePaths) {
    TempDir dir;
    const std::string path = dir.write("out.txt", "old content that is longer\r\n");
    clsKeyWord set;
    set.rstKeyWord->add("k", "1");
    ASSERT_TRUE(set.WriteToFile(path));
    EXPECT_EQ(ReadBytes(path), "k\t1\r\n");
    EXPECT_FALSE(set.WriteToFile(dir.path()));
    EXPECT_FALSE(set.WriteToFile(dir.file("no/such/folder/out.txt")));
    EXPECT_FALSE(set.WriteToFile(""));
}

TEST(KeywordTableEdit, SetCutsFieldsAndOutOfRangeEditsChangeNothing) {
    KeywordTable table;
    table.add("a", "1");
    table.add("b", "2");
    table.set(1, std::string(101, 'b'), "2, 3");
    EXPECT_EQ(table[1].Name.size(), 100u);
    table.swap(0, 1);
    EXPECT_EQ(table[1].Name, "a");
    table.swap(0, 5);
    table.set(7, "z", "9");
    table.remove(9);
    ASSERT_EQ(table.size(), 2u);
    table.remove(0);
    EXPECT_EQ(table[0].Name, "a");
}

}  // namespace
