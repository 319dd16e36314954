// The keyword list: the entry dialog's checks, property, delete, moves, open,
// save and clear.
#include "FormFixture.h"

namespace {

using Answer = Prompts::Answer;

class KeywordEdit : public FormFixture {
protected:
    void SetUp() override {
        load();
        form.click("ChkKeyword");
    }
    std::vector<std::string> names() const { return form.ctl("List3").items; }
};

TEST_F(KeywordEdit, EntryChecksRunInOrderAndKeepTheDialogOpen) {
    const std::string format = "The format of the positions' number is not correct!";
    prompts.choices = {0};
    prompts.keywordEntries = {{"", ""},
                              {"Price:", ""},
                              {std::string(101, 'k'), "1"},
                              {"Price:", "1, 2,"},
                              {"Price:", "1, x, 3"},
                              {"Price:", "1, 11, 3"},
                              {"Price:", "1, 2, 3,  6, 10"}};
    form.click("CmdAddKW");
    EXPECT_EQ(prompts.texts(),
              (std::vector<std::string>{"Please entry key word", "Please entry position numbers.",
                                        "The keyword you 've entered is too big to be accepted",
                                        format, format, format}));
    for (const auto& s : prompts.shown) {
        EXPECT_EQ(s.icon, Prompts::Icon::Critical);
    }
    EXPECT_EQ(names(), std::vector<std::string>{" Price: "});
    EXPECT_EQ((*form.rstKeyWord)[0].Position, "1, 2, 3,  6, 10");
}

TEST_F(KeywordEdit, PropertyEditsTheSelectedKeywordWithTheSameChecks) {
    form.rstKeyWord->add(" Name: ", "1");
    form.rstKeyWord->add(" Phone: ", "1, 2");
    form.setListIndex("List3", 1);
    prompts.keywordEntries = {{"Tel:", "1,"}, {"Tel:", "2"}};
    form.click("CmdPropertyKW");
    ASSERT_EQ(prompts.keywordInitial.size(), 1u);
    EXPECT_EQ(prompts.keywordInitial[0].keyword, "Phone:");
    EXPECT_EQ(prompts.keywordInitial[0].positions, "1, 2");
    EXPECT_EQ(names(), (std::vector<std::string>{" Name: ", " Tel: "}));
    EXPECT_EQ((*form.rstKeyWord)[1].Position, "2");
}

TEST_F(KeywordEdit, DeleteAsksAndMovesSwapNeighbours) {
    for (const char* n : {" a ", " b ", " c "}) {
        form.rstKeyWord->add(n, "1");
    }
    form.click("CmdKWClear");
    EXPECT_TRUE(form.rstKeyWord->empty());
    EXPECT_TRUE(names().empty());
    for (const char* n : {" a ", " b ", " c "}) {
        form.rstKeyWord->add(n, "1");
    }
    form.setListIndex("List3", 0);
    form.click("CmdUP");  // already first: nothing
    form.click("CmdDown");
    EXPECT_EQ(names(), (std::vector<std::string>{" b ", " a ", " c "}));
    EXPECT_EQ(form.ctl("List3").listIndex, 1);
    form.click("CmdDown");
    form.click("CmdDown");  // already last: nothing
    EXPECT_EQ(names(), (std::vector<std::string>{" b ", " c ", " a "}));

    prompts.answers = {Answer::No, Answer::Yes};
    form.click("CmdDeleKW");
    EXPECT_EQ(names().size(), 3u);
    form.click("CmdDeleKW");
    EXPECT_EQ(names(), (std::vector<std::string>{" b ", " c "}));
    EXPECT_EQ(prompts.shown[0].text, "Are you ready to delete the Keyword  a  ?");
    EXPECT_EQ(prompts.shown[0].title, "Delete KeyWord");
}

TEST_F(KeywordEdit, SaveAndOpenRoundTripInFileOrder) {
    form.rstKeyWord->add(" Price: ", "1, 2");
    form.rstKeyWord->add(" Name: ", "1");
    const std::string path = write("keys.txt", "old");
    prompts.savePaths = {path};
    prompts.answers = {Answer::Yes};
    form.click("CmdSaveKW");
    EXPECT_EQ(prompts.texts(),
              std::vector<std::string>{"The file " + path +
                                       " already exists, do you want to replace it?"});
    EXPECT_EQ(ReadBytes(path), " Price: \t1, 2\r\n Name: \t1\r\n");

    form.click("CmdKWClear");
    prompts.openPaths = {path};
    form.click("CmdOpenKW");
    EXPECT_EQ(names(), (std::vector<std::string>{" Price: ", " Name: "}));
    EXPECT_EQ(form.strKeyOpenFile, path);

    // Cancelling the dialog changes nothing.
    prompts.openPaths = {std::nullopt};
    form.click("CmdOpenKW");
    EXPECT_EQ(names().size(), 2u);

    // The source chooser can add a saved file's keywords to the set.
    prompts.choices = {1};
    prompts.openPaths = {path};
    form.click("CmdAddKW");
    EXPECT_EQ(names().size(), 4u);
    EXPECT_EQ(prompts.chooseOptions,
              (std::vector<std::string>{"New Keyword", "Keywords from saved file"}));
}

}  // namespace
