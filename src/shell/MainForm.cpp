#include "MainForm.h"

#include <QDir>
#include <filesystem>
#include <map>

#include "Clipboard.h"
#include "Clock.h"
#include "EventPump.h"
#include "FileListing.h"
#include "Launcher.h"
#include "MailList.h"
#include "ResultTable.h"
#include "clsKeyWord.h"
#include "clsWF.h"

MainForm::MainForm(Ports ports)
    : intCancel(engine_.intCancel),
      ports_(ports),
      pbf_(controls, "PBFProgress"),
      engine_(ports.pump, pbf_, ports.clock),
      mail_(std::make_unique<MailList>(ports.pump, ports.clock)) {
    for (const ControlInfo& info : MainControls()) {
        Control c;
        c.caption = info.caption;
        c.tooltip = info.tooltip;
        controls.add(info.name, c);
    }
    // File1 does the listing behind the scenes; List1 shows it.
    controls["File1"].visible = false;
    controls["Combo1"].items = {"* (All File)", "html", "txt"};
}

MainForm::~MainForm() = default;

Prompts& MainForm::prompts() {
    if (beforeDialog) {
        beforeDialog();
    }
    return ports_.prompts;
}

// ---------------------------------------------------------------------------
// Dispatch of user actions

void MainForm::runHandler(const std::string& name) {
    using Handler = void (MainForm::*)();
    static const std::map<std::string, Handler> handlers = {
        {"CmdAdd", &MainForm::CmdAdd_Click},
        {"CmdDele", &MainForm::CmdDele_Click},
        {"CmdSelectAll1", &MainForm::CmdSelectAll1_Click},
        {"CmdSelectall2", &MainForm::CmdSelectall2_Click},
        {"CmdRfrs", &MainForm::CmdRfrs_Click},
        {"List2", &MainForm::List2_Click},
        {"ChkEmail", &MainForm::ChkEmail_Click},
        {"ChkWebsite", &MainForm::ChkWebsite_Click},
        {"ChkMailTo", &MainForm::ChkMailTo_Click},
        {"ChkStrip", &MainForm::ChkStrip_Click},
        {"ChkKeyword", &MainForm::ChkKeyword_Click},
        {"ChkSbD", &MainForm::ChkSbD_Click},
        {"chkHead", &MainForm::chkHead_Click},
        {"chkMailList", &MainForm::chkMailList_Click},
        {"cmdProcessAll", &MainForm::cmdProcessAll_Click},
        {"mnuProcess", &MainForm::cmdProcessAll_Click},
        {"CmdProcess", &MainForm::CmdProcess_Click},
        {"CmdDrctPrc", &MainForm::CmdDrctPrc_Click},
        {"cmdprocesskey", &MainForm::cmdprocesskey_Click},
        {"cmdprocessmail", &MainForm::cmdprocessmail_Click},
        {"cmdCancel", &MainForm::cmdCancel_Click},
        {"mnuCancel", &MainForm::cmdCancel_Click},
        {"cmdSave", &MainForm::cmdSave_Click},
        {"mnuSaveResult", &MainForm::cmdSave_Click},
        {"cmdClearResult", &MainForm::cmdClearResult_Click},
        {"CmdEnd", &MainForm::CmdEnd_Click},
        {"mnuExit", &MainForm::CmdEnd_Click},
        {"CmdAddKW", &MainForm::CmdAddKW_Click},
        {"mnuKeyNew", &MainForm::CmdAddKW_Click},
        {"CmdDeleKW", &MainForm::CmdDeleKW_Click},
        {"mnuKeyDelete", &MainForm::CmdDeleKW_Click},
        {"CmdPropertyKW", &MainForm::CmdPropertyKW_Click},
        {"mnuKeyProperty", &MainForm::CmdPropertyKW_Click},
        {"CmdOpenKW", &MainForm::CmdOpenKW_Click},
        {"mnuKeyOpen", &MainForm::CmdOpenKW_Click},
        {"CmdSaveKW", &MainForm::CmdSaveKW_Click},
        {"mnuKeySave", &MainForm::CmdSaveKW_Click},
        {"CmdKWClear", &MainForm::CmdKWClear_Click},
        {"mnuKeyClear", &MainForm::CmdKWClear_Click},
        {"CmdUP", &MainForm::CmdUP_Click},
        {"CmdDown", &MainForm::CmdDown_Click},
        {"mnuAbout", &MainForm::mnuAbout_Click},
        {"mnuContent", &MainForm::mnuContent_Click},
        {"mnuRsltCopy", &MainForm::mnuRsltCopy_Click},
        {"mnuRsltCut", &MainForm::mnuRsltCut_Click},
        {"mnuRsltPaste", &MainForm::mnuRsltPaste_Click},
        {"mnuRsltDelete", &MainForm::mnuRsltDelete_Click},
    };
    if (name == "chkFrom" || name == "chkTo" || name == "chkCC" || name == "chkFileName" ||
        name == "chkTime") {
        MailBoxClick(name);
        return;
    }
    if (name.rfind("Option", 0) == 0) {
        OptionClick(name);
        return;
    }
    if (name == "mnuHtml" || name == "mnuEmail" || name == "mnuWeb" || name == "mnuMailto") {
        mnuSetting_Click(name);
        return;
    }
    if (name == "mnuProcessWeb") {
        if (showWebWindow) {
            showWebWindow();
        }
        return;
    }
    if (name == "mnuHarvest") {
        if (showHarvestWindow) {
            showHarvestWindow();
        }
        return;
    }
    auto it = handlers.find(name);
    if (it != handlers.end()) {
        (this->*(it->second))();
    }
}

void MainForm::click(const std::string& name) {
    if (!controls.has(name)) {
        return;
    }
    const Control& c = ctl(name);
    if (!c.enabled || !c.visible) {
        return;
    }
    // While a run is under way only the Cancel commands, help and the about
    // box are accepted: nothing else may change the run's state.
    if (running_ && name != "cmdCancel" && name != "mnuCancel" && name != "mnuAbout" &&
        name != "mnuContent") {
        return;
    }
    const auto kind =
        std::find_if(MainControls().begin(), MainControls().end(), [&](const ControlInfo& s) {
            return name == s.name;
        })->kind;
    if (kind == ControlKind::CheckBox) {
        setCheck(name, c.value == 1 ? 0 : 1);
    } else if (kind == ControlKind::Option) {
        selectOption(name);
        OptionClick(name);  // a user's click runs it even on the selected option
    } else {
        runHandler(name);
    }
}

void MainForm::setCheck(const std::string& name, int value) {
    if (ctl(name).value == value) {
        return;
    }
    controls[name].value = value;
    runHandler(name);
}

void MainForm::selectOption(const std::string& name) {
    // Like any option button, the click handler runs when the option becomes
    // selected, not when it already was.
    const bool wasSelected = ctl(name).value == 1;
    for (const char* o : {"Option1", "Option2", "Option3", "Option4"}) {
        if (ctl(o).value != (name == o ? 1 : 0)) {
            controls[o].value = name == o ? 1 : 0;
        }
    }
    if (!wasSelected) {
        OptionClick(name);
    }
}

void MainForm::setSelection(const std::string& list, const std::vector<int>& selectedRows) {
    Control& c = controls[list];
    c.selected.assign(c.items.size(), false);
    for (int row : selectedRows) {
        if (row >= 0 && static_cast<size_t>(row) < c.items.size()) {
            c.selected[static_cast<size_t>(row)] = true;
        }
    }
}

void MainForm::setListIndex(const std::string& list, int index) {
    controls[list].listIndex = index;
    if (list == "List2") {
        List2_Click();
    }
}

void MainForm::setCaptionColour(const std::string& name, bool ticked) {
    controls[name].foreColour = ticked ? Colour::Black : Colour::AppWorkspace;
}

void MainForm::enable(std::initializer_list<const char*> names, bool on) {
    for (const char* n : names) {
        controls[n].enabled = on;
    }
}

void MainForm::Toolbar1_ButtonClick(const std::string& key) {
    if (key == "Process") {
        click("cmdProcessAll");
    } else if (key == "SaveResult") {
        click("cmdSave");
    } else if (key == "Cancel") {
        intCancel = 1;
    } else if (key == "Exit") {
        click("CmdEnd");
    } else if (key == "Harvest") {
        click("mnuHarvest");
    }
}

// ---------------------------------------------------------------------------
// Start-up and shut-down

void MainForm::Form_Load() {
    // 1. "Process Files".
    selectOption("Option2");
    // 2. The heading box decides whether the address boxes can be used.
    if (ctl("chkHead").value == 1) {
        enable({"chkFrom", "chkTo", "chkCC"}, true);
    }
    if (ctl("chkHead").value == 0) {
        enable({"chkFrom", "chkTo", "chkCC"}, false);
    }
    // 3.
    controls["Combo1"].caption = "*";
    // 4. A new, empty keyword set.
    objKeyWord = std::make_unique<clsKeyWord>();
    rstKeyWord = objKeyWord->rstKeyWord;
    // 5. The file panel shows the current working directory.
    const std::string cwd = QDir::currentPath().toStdString();
    controls["Drive1"].items = DriveList();
    controls["Drive1"].caption = DriveOf(cwd);
    controls["Dir1"].path = cwd;
    controls["File1"].path = cwd;
    // 6. The extension filter.
    const std::string& text = ctl("Combo1").caption;
    strCurExt = text.find('(') != std::string::npos ? text.substr(0, 1) : text;
    controls["File1"].pattern = "*." + strCurExt;
    // 7.
    controls["File1"].items = listFiles(cwd);
    fillList1();
    controls["Label3"].caption = "Total: " + std::to_string(ctl("List1").items.size());
    // 8.
    showKeywords();
    // 9. Every function off.
    for (const char* box : {"ChkStrip", "ChkEmail", "ChkWebsite", "ChkMailTo", "ChkKeyword"}) {
        setCheck(box, 0);
        controls[box].foreColour = Colour::AppWorkspace;
    }
    setCheck("ChkSbD", 0);
    // 10. The keyword controls wait for "Keywords.".
    controls["List3"].backColour = Colour::ScrollBar;
    controls["List3"].enabled = false;
    for (const char* b : kKeywordButtons) {
        controls[b].enabled = false;
    }
    enable({"cmdCancel"}, false);
    enable({"CmdProcess", "CmdDrctPrc", "CmdEnd"}, true);
    // 11.
    intUseEmail = intUseWebSite = intUseKeyword = intDirRun = 0;
    intCancel = 0;
    // 12.
    controls["PBProgress"].progress = 0;
    controls["PBFProgress"].progress = 0;
    // 13.
    controls["List2"].items.clear();
    controls["List2"].selected.clear();
    controls["Label5"].caption.clear();
    controls["LblProgress"].caption.clear();
}

void MainForm::Form_Unload() {
    if (rstKeyWord && !rstKeyWord->empty()) {
        if (prompts().message("Do you want to save the current KeyWords?", Prompts::Buttons::YesNo,
                              Prompts::Icon::Question) == Prompts::Answer::Yes) {
            if (auto path = prompts().saveFile(Prompts::FileDialog{})) {
                strKeyWordFile = *path;
                strKeySaveFile = strKeyWordFile;
                objKeyWord->WriteToFile(strKeySaveFile);
            }
        }
    }
    objKeyWord.reset();
    rstKeyWord.reset();
    objWF.reset();
}

void MainForm::CmdEnd_Click() {
    if (prompts().message("Do you want to exit the program?", Prompts::Buttons::YesNo,
                          Prompts::Icon::Question) == Prompts::Answer::Yes) {
        if (requestClose) {
            requestClose();
        }
    }
}

void MainForm::cmdCancel_Click() {
    intCancel = 1;
}

void MainForm::mnuAbout_Click() {
    prompts().message("Gleanmark 2.0 Brimwell Enterprises", Prompts::Buttons::OK,
                      Prompts::Icon::Information, "About");
}

void MainForm::mnuContent_Click() {
    // "help.chm" is looked for in the current working directory, not in the
    // program's own folder; without it, or when no viewer takes it, the user
    // guide opens in the desktop's browser.
    std::vector<std::string> pages;
    const auto chm = std::filesystem::path(QDir::currentPath().toStdString()) / "help.chm";
    std::error_code ec;
    if (std::filesystem::is_regular_file(chm, ec)) {
        pages.push_back(chm.string());
    }
    if (std::string guide = ports_.launcher.userGuide(); !guide.empty()) {
        pages.push_back(guide);
    }
    for (const std::string& page : pages) {
        if (ports_.launcher.openDocument(page)) {
            return;
        }
    }
    std::string text;
    if (pages.empty()) {
        text =
            "No help was found: there is no help.chm in the current folder and the user "
            "guide is not installed.";
    } else {
        text = "The help could not be opened: the desktop has no program to show " + pages[0];
        for (size_t i = 1; i < pages.size(); ++i) {
            text += " or " + pages[i];
        }
        text += ".";
    }
    prompts().message(text, Prompts::Buttons::OK, Prompts::Icon::Exclamation, "Help");
}

void MainForm::mnuSetting_Click(const std::string& entry) {
    static const std::map<std::string, std::string> boxes = {{"mnuHtml", "ChkStrip"},
                                                             {"mnuEmail", "ChkEmail"},
                                                             {"mnuWeb", "ChkWebsite"},
                                                             {"mnuMailto", "ChkMailTo"}};
    const std::string& box = boxes.at(entry);
    // These entries only ever switch their option on.
    setCheck(box, 1);
    controls[entry].value = 1;
    runHandler(box);
}
