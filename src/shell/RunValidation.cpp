// The function boxes and their interlocks, the process options, the Process
// command's dispatch and the run set-up.
#include "Clipboard.h"
#include "MainForm.h"
#include "ResultTable.h"
#include "clsKeyWord.h"
#include "clsWF.h"

void MainForm::ChkEmail_Click() {
    if (ctl("ChkEmail").value == 1) {
        intUseEmail = 1;
        setCaptionColour("ChkEmail", true);
        enable({"ChkKeyword"}, false);
        controls["ChkMailTo"].visible = false;
        setCheck("ChkMailTo", 1);
        enable({"ChkWebsite", "ChkStrip"}, false);
    } else {
        intUseEmail = 0;
        setCaptionColour("ChkEmail", false);
        enable({"ChkKeyword"}, true);
        // Mailto goes off with e-mail but stays hidden: only the "Setting"
        // menu can bring it back.
        setCheck("ChkMailTo", 0);
        enable({"ChkWebsite", "ChkStrip"}, true);
    }
    UpdateRunOptions();
}

void MainForm::ChkWebsite_Click() {
    const bool on = ctl("ChkWebsite").value == 1;
    intUseWebSite = on ? 1 : 0;
    setCaptionColour("ChkWebsite", on);
    enable({"ChkKeyword", "ChkEmail", "ChkStrip"}, !on);
    UpdateRunOptions();
}

void MainForm::ChkMailTo_Click() {
    const bool on = ctl("ChkMailTo").value == 1;
    intUseMailTo = on ? 1 : 0;
    setCaptionColour("ChkMailTo", on);
    enable({"ChkKeyword"}, !on);
    UpdateRunOptions();
}

void MainForm::ChkStrip_Click() {
    if (ctl("ChkStrip").value == 1) {
        setCaptionColour("ChkStrip", true);
        for (const char* box : {"ChkEmail", "ChkKeyword", "ChkWebsite"}) {
            setCheck(box, 0);
            controls[box].enabled = false;
        }
        intUseEmail = intUseKeyword = intUseWebSite = 0;
        intUseStrip = 1;
    } else {
        intUseStrip = 0;
        setCaptionColour("ChkStrip", false);
        enable({"ChkEmail", "ChkKeyword", "ChkWebsite"}, true);
    }
    UpdateRunOptions();
}

void MainForm::ChkKeyword_Click() {
    const bool on = ctl("ChkKeyword").value == 1;
    intUseKeyword = on ? 1 : 0;
    setCaptionColour("ChkKeyword", on);
    controls["List3"].backColour = on ? Colour::WindowBackground : Colour::ScrollBar;
    controls["List3"].enabled = on;
    for (const char* b : kKeywordButtons) {
        controls[b].enabled = on;
    }
    if (on) {
        enable({"ChkStrip", "ChkEmail", "ChkWebsite"}, false);
        setCheck("ChkEmail", 0);
        setCheck("ChkWebsite", 0);
        enable({"ChkEmail", "ChkWebsite", "ChkMailTo", "Option2"}, false);
    } else {
        enable({"ChkStrip", "ChkEmail", "ChkWebsite", "ChkMailTo", "Option2"}, true);
    }
    UpdateRunOptions();
}

void MainForm::ChkSbD_Click() {
    intSubDirs = ctl("ChkSbD").value == 1 ? 1 : 0;
}

void MainForm::OptionClick(const std::string& option) {
    if (option == "Option1") {
        enable({"ChkKeyword"}, true);
    } else if (option == "Option2") {
        enable({"ChkKeyword"}, true);
        enable({"chkMailList", "chkHead", "chkFileName", "chkTime"}, false);
    } else if (option == "Option3") {
        enable({"ChkKeyword"}, true);
        enable({"chkMailList", "chkHead"}, false);
        enable({"chkFileName", "chkTime"}, true);
    } else if (option == "Option4") {
        enable({"ChkKeyword"}, false);
        enable({"chkMailList", "chkHead"}, true);
    }
}

void MainForm::UpdateRunOptions() {
    if (intUseKeyword == 1 && intUseStrip == 0 && intUseEmail == 0 && intUseWebSite == 0 &&
        intUseMailTo == 0) {
        enable({"Option3", "Option4"}, true);
        selectOption("Option3");
        return;
    }
    if (intUseKeyword != 0 && intUseKeyword != 1) {
        return;
    }
    if (intUseStrip != 1 && intUseEmail != 1 && intUseWebSite != 1 && intUseMailTo != 1) {
        return;
    }
    enable({"Option3", "Option4"}, false);
    selectOption("Option2");
}

void MainForm::chkHead_Click() {
    const int v = ctl("chkHead").value;
    enable({"chkFrom", "chkTo", "chkCC"}, v == 1);
}

void MainForm::chkMailList_Click() {
    const bool on = ctl("chkMailList").value == 1;
    enable({"chkFrom", "chkTo", "chkCC"}, on);
    intEveryOccurrence = on ? 1 : 0;
    setCaptionColour("chkMailList", on);
}

void MainForm::MailBoxClick(const std::string& box) {
    const bool on = ctl(box).value == 1;
    const int16_t v = on ? 1 : 0;
    if (box == "chkFrom") {
        intUseFrom = v;
    } else if (box == "chkTo") {
        intUseTo = v;
    } else if (box == "chkCC") {
        intUseCC = v;
    } else if (box == "chkFileName") {
        intUseFileName = v;
    } else if (box == "chkTime") {
        intUseTime = v;
    }
    setCaptionColour(box, on);
}

void MainForm::cmdProcessAll_Click() {
    if (ctl("Option1").value == 1) {
        CmdDrctPrc_Click();
    } else if (ctl("Option2").value == 1) {
        CmdProcess_Click();
    } else if (ctl("Option3").value == 1) {
        cmdprocesskey_Click();
    } else if (ctl("Option4").value == 1) {
        cmdprocessmail_Click();
    } else {
        prompts().message("You must select a function at Main Page.", Prompts::Buttons::OK,
                          Prompts::Icon::None);
        runRefused = true;
        return;
    }
    enable({"cmdProcessAll"}, true);
    enable({"cmdCancel"}, false);
}

void MainForm::PrepareRun() {
    intSetupFailed = 0;
    if (intUseEmail + intUseWebSite + intUseKeyword + intUseStrip + intUseMailTo == 0) {
        prompts().message("There is no process setting, so the files can not be process.",
                          Prompts::Buttons::OK, Prompts::Icon::None);
        intSetupFailed = 1;
        return;
    }
    if (ctl("ChkStrip").value == 1) {
        if (prompts().message("When Stripping HTML Tags processing is finished, please "
                              "select a directory to save the results.",
                              Prompts::Buttons::OKCancel,
                              Prompts::Icon::None) == Prompts::Answer::OK) {
            strStripDir = prompts().stripDirectory(ctl("Dir1").path).value_or("");
        } else {
            // No output directory chosen: the run strips nothing.
            strStripDir.clear();
        }
        return;
    }
    if (intUseKeyword > 0 && rstKeyWord->empty()) {
        prompts().message(
            "While you want to have the files processed by KeyWord, there should have KeyWord.",
            Prompts::Buttons::OK, Prompts::Icon::None);
        intSetupFailed = 1;
        return;
    }
    arrColumns.assign(1, std::string());
    auto addColumn = [this](const std::string& name) {
        if (arrColumns[0].empty()) {
            arrColumns[0] = name;
        } else {
            arrColumns.push_back(name);
        }
    };
    if (intUseEmail == 1) {
        addColumn("Email");
    }
    if (intUseWebSite == 1) {
        addColumn("WebSite");
    }
    if (intUseMailTo == 1) {
        addColumn("MailTo");
    }
    if (intUseKeyword == 1) {
        for (const auto& k : rstKeyWord->records()) {
            addColumn(k.Name);
        }
    }
    if (ctl("chkFileName").value == 1) {
        arrColumns.push_back("FileName");
    }
    if (ctl("chkTime").value == 1) {
        arrColumns.push_back("ProcessTime");
    }
    objWF = std::make_unique<clsWF>(arrColumns, intDupField);
    rstWF = objWF->rstWF;
    if (intDupField != 1) {
        controls["PBProgress"].progress = 0;
        return;
    }
    intDupField = 0;
    prompts().message(
        "Some Keywords are same, please check the current Keywords and make sure they are "
        "unique.",
        Prompts::Buttons::OK, Prompts::Icon::Critical);
    intSetupFailed = 1;
}
