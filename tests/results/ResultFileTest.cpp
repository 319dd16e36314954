#include <gtest/gtest.h>

#include "Fakes.h"
#include "TempDir.h"
#include "clsWF.h"

namespace {

struct FileCase {
    const char* name;
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
    std::string expected;
};

class ResultFileBytes : public ::testing::TestWithParam<FileCase> {};

TEST_P(ResultFileBytes, WritesTabSeparatedCrLfLinesWithoutHeader) {
    const FileCase& c = GetParam();
    int16_t dup = 0;
    clsWF wf(c.columns, dup);
    for (const auto& values : c.rows) {
        size_t r = wf.rstWF->addRow();
        for (size_t i = 0; i < values.size(); ++i) {
            if (!values[i].empty()) {
                wf.rstWF->setValue(r, i, values[i]);
            }
        }
    }
    TempDir dir;
    ScriptedPump pump;
    wf.WriteToFile(dir.file("out.txt"), pump);
    EXPECT_EQ(ReadBytes(dir.file("out.txt")), c.expected);
    EXPECT_EQ(pump.count, static_cast<long>(c.rows.size())) << "one yield per row";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ResultFileBytes,
    ::testing::Values(
        FileCase{"EmptyMiddleKeepsBothTabs", {"A", "B", "C"}, {{"a", "", "c"}}, "a\t\tc\r\n"},
        FileCase{"OneColumnHasNoTab", {"Email"}, {{"x@y"}, {"z@w"}}, "x@y\r\nz@w\r\n"},
        FileCase{"EmptyTableGivesEmptyFile", {"Email", "WebSite"}, {}, ""},
        FileCase{"AllEmptyRowIsTabsOnly", {"A", "B", "C"}, {{"", "", ""}}, "\t\t\r\n"},
        FileCase{"BytesAndTabsInValuesKeptAsFound",
                 {"A", "B"},
                 {{"caf\xe9", "x\ty"}},
                 "caf\xe9\tx\ty\r\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ResultFile, ReplacesExistingContent) {
    TempDir dir;
    std::string path = dir.write("out.txt", "old content that is longer\r\n");
    int16_t dup = 0;
    clsWF wf({"Email"}, dup);
    wf.rstWF->setValue(wf.rstWF->addRow(), 0, "a@b");
    ScriptedPump pump;
    wf.WriteToFile(path, pump);
    EXPECT_EQ(ReadBytes(path), "a@b\r\n");
}

TEST(ResultFile, UnwritablePathEndsSilently) {
    int16_t dup = 0;
    clsWF wf({"Email"}, dup);
    wf.rstWF->setValue(wf.rstWF->addRow(), 0, "a@b");
    ScriptedPump pump;
    EXPECT_NO_THROW(wf.WriteToFile("/nonexistent-folder/out.txt", pump));
    EXPECT_EQ(wf.rstWF->rowCount(), 1u);
}

}  // namespace
