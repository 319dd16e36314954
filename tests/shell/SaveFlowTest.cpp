// The save flow behind "Save Result" and at the end of a file run.
#include <filesystem>

#include "FormFixture.h"
#include "ResultTable.h"
#include "clsWF.h"

namespace {

using Answer = Prompts::Answer;

class SaveFlow : public FormFixture {
protected:
    void SetUp() override {
        load();
        int16_t dup = 0;
        form.objWF = std::make_unique<clsWF>(std::vector<std::string>{"Email", "WebSite"}, dup);
        form.rstWF = form.objWF->rstWF;
        size_t r = form.rstWF->addRow();
        form.rstWF->setValue(r, 0, "a@b.c");
        r = form.rstWF->addRow();
        form.rstWF->setValue(r, 1, "http://x.y");
    }
    static constexpr const char* kQuestion =
        "The processing is finished, do you want to save the results?";
};

TEST_F(SaveFlow, YesWritesTheFileAndReleasesTheTable) {
    prompts.savePaths = {file("r.txt")};
    form.SaveResults();
    EXPECT_EQ(ReadBytes(file("r.txt")), "a@b.c\t\r\n\thttp://x.y\r\n");
    EXPECT_EQ(form.strResultFile, file("r.txt"));
    EXPECT_FALSE(form.objWF);
    EXPECT_FALSE(form.rstWF);
    EXPECT_FALSE(form.rstKeyWord);
    EXPECT_EQ(prompts.lastFilter, "All Files(*.*)|*.*|Text Files(*.txt)|*.txt");
    EXPECT_EQ(prompts.lastFilterIndex, 2);
}

TEST_F(SaveFlow, NoOrCancelWritesNothingAndKeepsTheTable) {
    prompts.answers = {Answer::No};
    form.SaveResults();
    EXPECT_EQ(prompts.saveDialogs, 0);
    prompts.savePaths = {std::nullopt};
    form.SaveResults();
    EXPECT_EQ(prompts.saveDialogs, 1);
    ASSERT_TRUE(form.rstWF);
    EXPECT_EQ(form.rstWF->rowCount(), 2u);
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST_F(SaveFlow, ReplaceQuestionLoopsUntilYes) {
    const std::string first = write("old1.txt", "keep");
    const std::string second = write("old2.txt", "replace me");
    prompts.savePaths = {first, first, second};
    prompts.answers = {Answer::Yes, Answer::No, Answer::No, Answer::Yes};
    form.SaveResults();
    EXPECT_EQ(prompts.texts(),
              (std::vector<std::string>{
                  kQuestion, "The file " + first + " already exists, do you want to replace it?",
                  "The file " + first + " already exists, do you want to replace it?",
                  "The file " + second + " already exists, do you want to replace it?"}));
    EXPECT_EQ(ReadBytes(first), "keep");
    EXPECT_EQ(ReadBytes(second), "a@b.c\t\r\n\thttp://x.y\r\n");
}

TEST_F(SaveFlow, UnwritablePathEndsSilentlyAndTheGridKeepsItsRows) {
    form.DataGrid1 = form.rstWF;
    prompts.savePaths = {file("no/such/folder/r.txt")};
    form.SaveResults();
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{kQuestion});
    ASSERT_TRUE(form.DataGrid1);
    EXPECT_EQ(form.DataGrid1->rowCount(), 2u);
}

TEST_F(SaveFlow, SaveResultAfterASaveFindsNothingToWrite) {
    prompts.savePaths = {file("r.txt"), file("again.txt")};
    form.click("cmdSave");
    form.click("cmdSave");
    EXPECT_TRUE(std::filesystem::exists(file("r.txt")));
    EXPECT_FALSE(std::filesystem::exists(file("again.txt")));
}

}  // namespace
