// The function boxes keep each other consistent, pick the process option, and
// the run set-up builds its columns or refuses.
#include "FormFixture.h"
#include "ResultTable.h"

namespace {

class Interlock : public FormFixture {
protected:
    void SetUp() override { load(); }
};

struct BoxCase {
    const char* name;
    std::vector<std::string> clicks;
    std::vector<std::string> enabled;
    std::vector<std::string> disabled;
    std::vector<std::string> checked;
    const char* option;
};

class BoxInterlocks : public Interlock, public ::testing::WithParamInterface<BoxCase> {};

TEST_P(BoxInterlocks, ClicksLeaveTheBoxesAndOptionAsExpected) {
    const BoxCase& c = GetParam();
    for (const auto& name : c.clicks) {
        form.click(name);
    }
    for (const auto& n : c.enabled) {
        EXPECT_TRUE(form.ctl(n).enabled) << n;
    }
    for (const auto& n : c.disabled) {
        EXPECT_FALSE(form.ctl(n).enabled) << n;
    }
    for (const auto& n : c.checked) {
        EXPECT_EQ(form.ctl(n).value, 1) << n;
        EXPECT_EQ(form.ctl(n).foreColour, Colour::Black) << n;
    }
    EXPECT_EQ(form.ctl(c.option).value, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BoxInterlocks,
    ::testing::Values(BoxCase{"EmailTurnsMailtoOnAndFallsToProcessFiles",
                              {"ChkEmail"},
                              {},
                              {"ChkKeyword", "ChkWebsite", "ChkStrip", "Option3", "Option4"},
                              {"ChkEmail", "ChkMailTo"},
                              "Option2"},
                      BoxCase{"WebsiteLocksKeywordEmailAndStrip",
                              {"ChkWebsite"},
                              {"ChkMailTo"},
                              {"ChkKeyword", "ChkEmail", "ChkStrip", "Option3", "Option4"},
                              {"ChkWebsite"},
                              "Option2"},
                      BoxCase{"KeywordAloneSelectsProcessSelectedFiles",
                              {"ChkKeyword"},
                              {"List3", "CmdAddKW", "CmdDown", "Option3", "Option4", "chkFileName",
                               "chkTime"},
                              {"ChkStrip", "ChkEmail", "ChkWebsite", "ChkMailTo", "Option2"},
                              {"ChkKeyword"},
                              "Option3"},
                      BoxCase{"StripLocksTheOthers",
                              {"ChkStrip"},
                              {"ChkMailTo"},
                              {"ChkEmail", "ChkKeyword", "ChkWebsite"},
                              {"ChkStrip"},
                              "Option2"},
                      BoxCase{"KeywordOffAgainFreesEverything",
                              {"ChkKeyword", "ChkKeyword"},
                              {"ChkStrip", "ChkEmail", "ChkWebsite", "ChkMailTo", "Option2"},
                              {"List3", "CmdAddKW"},
                              {},
                              "Option3"},
                      BoxCase{"MailListOptionEnablesHeadingAndBody",
                              {"Option4", "chkHead"},
                              {"chkHead", "chkMailList", "chkFrom", "chkTo", "chkCC"},
                              {"ChkKeyword"},
                              {},
                              "Option4"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Interlock, EmailOffLeavesMailtoHiddenUntilTheSettingMenu) {
    form.click("ChkEmail");
    form.click("ChkEmail");
    EXPECT_EQ(form.ctl("ChkMailTo").value, 0);
    EXPECT_FALSE(form.ctl("ChkMailTo").visible);
    EXPECT_EQ(form.intUseMailTo, 0);
    form.click("ChkMailTo");  // hidden: the click cannot happen
    EXPECT_EQ(form.intUseMailTo, 0);
    form.click("mnuMailto");
    EXPECT_EQ(form.intUseMailTo, 1);
    load();
    EXPECT_FALSE(form.ctl("ChkMailTo").visible) << "re-initialisation does not show it again";
}

TEST_F(Interlock, BodyTextSetsEveryOccurrence) {
    form.click("Option4");
    form.click("chkMailList");
    EXPECT_EQ(form.intEveryOccurrence, 1);
    EXPECT_EQ(form.ctl("chkMailList").foreColour, Colour::Black);
    form.click("chkMailList");
    EXPECT_EQ(form.intEveryOccurrence, 0);
    EXPECT_FALSE(form.ctl("chkTo").enabled);
}

// One run set-up: the boxes clicked and keywords entered, then either the
// columns built or the refusal shown (with its icon).
struct SetUpCase {
    const char* name;
    std::vector<std::string> clicks;
    std::vector<std::pair<std::string, std::string>> keywords;
    std::vector<std::string> columns;  // empty: refused
    std::string refusal = {};
    Prompts::Icon icon = Prompts::Icon::None;
};

class RunSetUp : public Interlock, public ::testing::WithParamInterface<SetUpCase> {};

TEST_P(RunSetUp, PrepareRunBuildsTheColumnsInOrderOrRefuses) {
    const SetUpCase& c = GetParam();
    for (const auto& name : c.clicks) {
        form.click(name);
    }
    for (const auto& [n, p] : c.keywords) {
        form.rstKeyWord->add(n, p);
    }
    form.PrepareRun();
    if (c.columns.empty()) {
        EXPECT_EQ(form.intSetupFailed, 1);
        EXPECT_EQ(form.intDupField, 0) << "cleared by the set-up that reports it";
        ASSERT_EQ(prompts.shown.size(), 1u);
        EXPECT_EQ(prompts.shown[0].text, c.refusal);
        EXPECT_EQ(prompts.shown[0].icon, c.icon);
        return;
    }
    EXPECT_EQ(form.intSetupFailed, 0);
    EXPECT_EQ(form.arrColumns, c.columns);
    ASSERT_TRUE(form.rstWF);
    EXPECT_EQ(form.rstWF->columns(), c.columns);
}

const std::string kSame =
    "Some Keywords are same, please check the current Keywords and make sure they are unique.";

INSTANTIATE_TEST_SUITE_P(
    Cases, RunSetUp,
    ::testing::Values(
        SetUpCase{"EmailBringsMailto", {"ChkEmail"}, {}, {"Email", "MailTo"}},
        SetUpCase{"AllAddressKinds",
                  {"Option3", "chkFileName", "chkTime", "ChkWebsite", "mnuMailto"},
                  {},
                  {"WebSite", "MailTo", "FileName", "ProcessTime"}},
        SetUpCase{"KeywordsThenFileNameAndTime",
                  {"ChkKeyword", "chkFileName", "chkTime"},
                  {{"A", "1"}, {"B", "2"}},
                  {"A", "B", "FileName", "ProcessTime"}},
        SetUpCase{
            "OnlyTimeTicked", {"ChkKeyword", "chkTime"}, {{" k ", "1"}}, {" k ", "ProcessTime"}},
        SetUpCase{"NothingTicked",
                  {},
                  {},
                  {},
                  "There is no process setting, so the files can not be process."},
        SetUpCase{
            "KeywordsWithoutAny",
            {"ChkKeyword"},
            {},
            {},
            "While you want to have the files processed by KeyWord, there should have KeyWord."},
        SetUpCase{"TwoEqualKeywords",
                  {"ChkKeyword"},
                  {{" a ", "1"}, {" a ", "2"}},
                  {},
                  kSame,
                  Prompts::Icon::Critical},
        SetUpCase{"KeywordNamedLikeTheFileNameColumn",
                  {"ChkKeyword", "chkFileName"},
                  {{"FileName", "1"}},
                  {},
                  kSame,
                  Prompts::Icon::Critical}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Interlock, StripAsksForTheOutputFolderAndBuildsNoTable) {
    form.click("ChkStrip");
    prompts.stripDir = file("out");
    form.PrepareRun();
    EXPECT_EQ(form.intSetupFailed, 0);
    EXPECT_EQ(form.strStripDir, file("out"));
    EXPECT_FALSE(form.rstWF);

    prompts.answers = {Prompts::Answer::Cancel};
    form.PrepareRun();
    EXPECT_EQ(form.intSetupFailed, 0);
    EXPECT_EQ(form.strStripDir, "");
    EXPECT_EQ(prompts.stripDialogs, 1);
}

TEST_F(Interlock, ProcessWithoutAnOptionSaysSo) {
    for (const char* o : {"Option1", "Option2", "Option3", "Option4"}) {
        form.controls[o].value = 0;
    }
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(),
              std::vector<std::string>{"You must select a function at Main Page."});
}

}  // namespace
