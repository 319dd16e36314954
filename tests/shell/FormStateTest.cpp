// Start state, re-initialisation, menus, toolbar and the exit and close
// questions of the main window.
#include "FormFixture.h"
#include "ResultTable.h"
#include "clsWF.h"

namespace {

using Answer = Prompts::Answer;

class FormState : public FormFixture {};

void ExpectStartState(const MainForm& f) {
    EXPECT_EQ(f.ctl("Option2").value, 1);
    for (const char* o : {"Option1", "Option3", "Option4"}) {
        EXPECT_EQ(f.ctl(o).value, 0) << o;
    }
    for (const char* box : {"ChkStrip", "ChkEmail", "ChkWebsite", "ChkMailTo", "ChkKeyword"}) {
        EXPECT_EQ(f.ctl(box).value, 0) << box;
        EXPECT_EQ(f.ctl(box).foreColour, Colour::AppWorkspace) << box;
    }
    EXPECT_EQ(f.ctl("ChkSbD").value, 0);
    EXPECT_EQ(f.ctl("Combo1").caption, "*");
    EXPECT_EQ(f.ctl("File1").pattern, "*.*");
    EXPECT_FALSE(f.ctl("List3").enabled);
    EXPECT_EQ(f.ctl("List3").backColour, Colour::ScrollBar);
    for (const char* b : {"CmdAddKW", "CmdDeleKW", "CmdKWClear", "CmdPropertyKW", "CmdOpenKW",
                          "CmdSaveKW", "CmdUP", "CmdDown", "cmdCancel"}) {
        EXPECT_FALSE(f.ctl(b).enabled) << b;
    }
    for (const char* b : {"CmdProcess", "CmdDrctPrc", "CmdEnd"}) {
        EXPECT_TRUE(f.ctl(b).enabled) << b;
    }
    // Heading unticked: the address boxes cannot be used; Process Files
    // disables the mail boxes.
    for (const char* b :
         {"chkFrom", "chkTo", "chkCC", "chkHead", "chkMailList", "chkFileName", "chkTime"}) {
        EXPECT_FALSE(f.ctl(b).enabled) << b;
    }
    EXPECT_TRUE(f.ctl("List2").items.empty());
    EXPECT_EQ(f.ctl("Label5").caption, "");
    EXPECT_EQ(f.ctl("LblProgress").caption, "");
    EXPECT_EQ(f.ctl("PBProgress").progress, 0);
    EXPECT_EQ(f.ctl("PBFProgress").progress, 0);
    EXPECT_EQ(f.intUseEmail + f.intUseWebSite + f.intUseKeyword + f.intUseMailTo + f.intUseStrip +
                  f.intDirRun + f.intCancel,
              0);
    ASSERT_TRUE(f.rstKeyWord);
    EXPECT_TRUE(f.rstKeyWord->empty());
    EXPECT_TRUE(f.ctl("List3").items.empty());
}

TEST_F(FormState, LoadListsTheWorkingFolderAndStartsWithEverythingOff) {
    load();
    EXPECT_EQ(form.ctl("Label3").caption, "Total: 0");
    write("b.txt", "x");
    write("a.html", "x");
    write("noext", "x");
    load();  // safe to run twice
    ExpectStartState(form);
    EXPECT_EQ(form.ctl("List1").items, (std::vector<std::string>{"a.html", "b.txt", "noext"}));
    EXPECT_EQ(form.ctl("Label3").caption, "Total: 3");
    EXPECT_EQ(form.ctl("Dir1").path, QDir::currentPath().toStdString());
}

TEST_F(FormState, SaveResultResetsOptionsAndListsButKeepsGridRows) {
    load();
    form.click("ChkKeyword");
    form.rstKeyWord->add(" a ", "1");
    form.selectOption("Option1");
    form.setCheck("ChkSbD", 1);
    choose({file("x.txt")});
    int16_t dup = 0;
    form.objWF = std::make_unique<clsWF>(std::vector<std::string>{"Email", "FileName"}, dup);
    form.rstWF = form.objWF->rstWF;
    form.rstWF->setValue(form.rstWF->addRow(), 0, "a@b.c");
    form.DataGrid1 = form.rstWF;
    auto shown = form.DataGrid1;

    prompts.answers = {Answer::No};  // do not save
    form.click("cmdSave");
    ExpectStartState(form);
    EXPECT_EQ(shown->rowCount(), 1u);
    EXPECT_EQ(form.DataGrid1, shown);
}

TEST_F(FormState, SettingMenuOnlyEverSwitchesOn) {
    load();
    struct Case {
        const char* entry;
        const char* box;
    };
    for (const Case& c : {Case{"mnuEmail", "ChkEmail"}, Case{"mnuWeb", "ChkWebsite"},
                          Case{"mnuMailto", "ChkMailTo"}, Case{"mnuHtml", "ChkStrip"}}) {
        load();
        form.click(c.entry);
        form.click(c.entry);
        EXPECT_EQ(form.ctl(c.box).value, 1) << c.entry;
        EXPECT_EQ(form.ctl(c.entry).value, 1) << c.entry;
        EXPECT_EQ(form.ctl(c.box).foreColour, Colour::Black) << c.entry;
    }
    // The check mark stays even when the box is switched off again.
    load();
    form.click("mnuEmail");
    form.click("ChkEmail");
    EXPECT_EQ(form.ctl("ChkEmail").value, 0);
    EXPECT_EQ(form.ctl("mnuEmail").value, 1);
}

TEST_F(FormState, ToolbarDispatchesOnItsCaseSensitiveKey) {
    load();
    form.Toolbar1_ButtonClick("Cancel");
    EXPECT_EQ(form.intCancel, 1);
    form.intCancel = 0;
    form.click("mnuCancel");
    EXPECT_EQ(form.intCancel, 1);
    form.intCancel = 0;

    for (const char* key : {"cancel", "process", "Unknown", ""}) {
        form.Toolbar1_ButtonClick(key);
    }
    EXPECT_EQ(form.intCancel, 0);
    EXPECT_TRUE(prompts.shown.empty());

    form.Toolbar1_ButtonClick("Process");  // no functions ticked
    form.Toolbar1_ButtonClick("Exit");
    form.Toolbar1_ButtonClick("SaveResult");
    form.click("mnuAbout");
    EXPECT_EQ(prompts.texts(),
              (std::vector<std::string>{
                  "There is no file to be processed", "Do you want to exit the program?",
                  "The processing is finished, do you want to save the results?",
                  "Gleanmark 2.0 Brimwell Enterprises"}));
    EXPECT_EQ(prompts.shown.back().buttons, Prompts::Buttons::OK);
}

TEST_F(FormState, ExitAsksAndClosesOnlyOnYes) {
    load();
    int closes = 0;
    form.requestClose = [&] { ++closes; };
    prompts.answers = {Answer::No, Answer::Yes};
    form.click("CmdEnd");
    EXPECT_EQ(closes, 0);
    form.click("mnuExit");
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(prompts.shown[0].buttons, Prompts::Buttons::YesNo);
}

TEST_F(FormState, CloseAsksToSaveKeywordsOnlyWhenThereAreSome) {
    load();
    form.Form_Unload();
    EXPECT_TRUE(prompts.shown.empty()) << "an empty keyword list asks nothing";

    load();
    form.rstKeyWord->add(" Price: ", "1, 2");
    prompts.savePaths = {file("keys.txt")};
    form.Form_Unload();
    EXPECT_EQ(prompts.texts(),
              std::vector<std::string>{"Do you want to save the current KeyWords?"});
    EXPECT_EQ(ReadBytes(file("keys.txt")), " Price: \t1, 2\r\n");
    EXPECT_EQ(form.strKeyWordFile, file("keys.txt"));
    EXPECT_EQ(prompts.lastFilterIndex, 2);

    // No, or a cancelled dialog: nothing written.
    for (auto script : {std::pair<Answer, bool>{Answer::No, true}, {Answer::Yes, false}}) {
        load();
        form.rstKeyWord->add(" k ", "1");
        prompts.answers = {script.first};
        prompts.savePaths = {std::nullopt};
        form.Form_Unload();
        EXPECT_FALSE(form.rstKeyWord);
    }
    EXPECT_EQ(ReadBytes(file("keys.txt")), " Price: \t1, 2\r\n");
}

TEST_F(FormState, EditResultWorksOnTheFocusedSelection) {
    load();
    editing.content = "abc@def";
    editing.start = 0;
    editing.end = 3;
    form.click("mnuRsltCopy");
    EXPECT_EQ(editing.clip, "abc");
    EXPECT_EQ(editing.content, "abc@def");
    form.click("mnuRsltCut");
    EXPECT_EQ(editing.content, "@def");
    editing.start = editing.end = 4;
    form.click("mnuRsltPaste");
    EXPECT_EQ(editing.content, "@defabc");
    editing.start = 0;
    editing.end = 1;
    form.click("mnuRsltDelete");
    EXPECT_EQ(editing.content, "defabc");
    EXPECT_EQ(editing.clip, "abc");
    editing.hasFocus = false;
    form.click("mnuRsltCut");
    EXPECT_EQ(editing.content, "defabc");
}

TEST_F(FormState, ClearAndSortWithAndWithoutATable) {
    load();
    EXPECT_NO_THROW(form.click("cmdClearResult"));
    EXPECT_NO_THROW(form.DataGrid1_HeadClick(0));

    int16_t dup = 0;
    form.objWF = std::make_unique<clsWF>(std::vector<std::string>{"Email", "No"}, dup);
    form.rstWF = form.objWF->rstWF;
    form.DataGrid1 = form.rstWF;
    for (const char* e : {"b@x", "a@x"}) {
        form.rstWF->setValue(form.rstWF->addRow(), 0, e);
    }
    form.DataGrid1_HeadClick(0);
    EXPECT_EQ(form.rstWF->value(0, 0), "a@x");
    form.DataGrid1_HeadClick(7);  // no such column: ignored
    form.click("cmdClearResult");
    EXPECT_EQ(form.rstWF->rowCount(), 0u);
    EXPECT_EQ(form.rstWF->columnCount(), 2u);
}

}  // namespace
