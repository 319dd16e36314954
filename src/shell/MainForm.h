#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FormControls.h"
#include "ProgressBar.h"
#include "Prompts.h"
#include "ScanEngine.h"

class Clipboard;
class Clock;
class EventPump;
class FocusedEditor;
class Launcher;
class MailList;
class ResultTable;
class clsKeyWord;
class clsWF;
class KeywordTable;

// What kind of widget shows a control.
enum class ControlKind {
    Button,
    CheckBox,
    Option,
    Label,
    List,
    Combo,
    Drive,
    Folder,
    Files,
    Progress,
    Grid,
    Menu,
    MenuEntry
};

struct ControlInfo {
    const char* name;
    ControlKind kind;
    const char* caption;
    const char* tooltip;
};

// The controls of the main window, in the order the window lays them out.
const std::vector<ControlInfo>& MainControls();

// The main window's behaviour without widgets: every control's state under its
// own name, the run flags and run state, the keyword set and the result table,
// and every handler. The window shows this state and forwards user actions;
// the command line drives it the same way.
class MainForm {
public:
    struct Ports {
        Prompts& prompts;
        EventPump& pump;
        Clock& clock;
        Launcher& launcher;
        Clipboard& clipboard;
        FocusedEditor& editor;
    };

    explicit MainForm(Ports ports);
    ~MainForm();
    MainForm(const MainForm&) = delete;
    MainForm& operator=(const MainForm&) = delete;

    ControlSet controls;
    const Control& ctl(const std::string& name) const { return controls.get(name); }

    // ---- User actions, as the window forwards them ----
    // A click on a button, check box, option or menu entry, by control name.
    // Disabled or hidden controls ignore clicks. A check box toggles and runs
    // its handler; an option is selected.
    void click(const std::string& name);
    // The program (or the user) sets a check box; its handler runs when the
    // value changes.
    void setCheck(const std::string& name, int value);
    // Selects an option button; its handler runs when the selection changes.
    void selectOption(const std::string& name);
    // A list's selected entries (multi-select lists) and its current entry.
    void setSelection(const std::string& list, const std::vector<int>& selectedRows);
    void setListIndex(const std::string& list, int index);
    // The extension box's text was typed or an item chosen.
    void Combo1_Change(const std::string& text);
    // The user picked a drive or a folder.
    void Drive1_Change(const std::string& drive);
    void Dir1_Change();
    void setFolder(const std::string& path);
    // Mouse released on ">>" / "Deselect": the counts are brought up to date.
    void CmdAdd_MouseUp();
    void CmdDele_MouseUp();
    // A click on the grid's column head.
    void DataGrid1_HeadClick(int column);
    // A tool-bar button, by key.
    void Toolbar1_ButtonClick(const std::string& key);

    // ---- Start-up and shut-down ----
    void Form_Load();
    void Form_Unload();
    // Called when the form wants the window closed (Exit answered Yes).
    std::function<void()> requestClose;
    // Called by "Extract Web" of the File menu.
    std::function<void()> showWebWindow;
    // Called by "Harvest Contacts..." of the File menu and the tool bar.
    std::function<void()> showHarvestWindow;
    // Called before any message box or dialog opens, so the window can show
    // the form's present state behind it.
    std::function<void()> beforeDialog;

    // ---- Handlers ----
    void cmdSave_Click();
    void CmdEnd_Click();
    void cmdCancel_Click();
    void cmdClearResult_Click();
    void mnuAbout_Click();
    void mnuContent_Click();
    void mnuSetting_Click(const std::string& entry);
    void mnuRsltCopy_Click();
    void mnuRsltCut_Click();
    void mnuRsltPaste_Click();
    void mnuRsltDelete_Click();

    void CmdAdd_Click();
    void CmdDele_Click();
    void CmdSelectAll1_Click();
    void CmdSelectall2_Click();
    void CmdRfrs_Click();
    void List2_Click();

    void ChkEmail_Click();
    void ChkWebsite_Click();
    void ChkMailTo_Click();
    void ChkStrip_Click();
    void ChkKeyword_Click();
    void ChkSbD_Click();
    void OptionClick(const std::string& option);
    void UpdateRunOptions();
    void cmdProcessAll_Click();
    void PrepareRun();

    void CmdProcess_Click();
    void CmdDrctPrc_Click();
    void cmdprocesskey_Click();
    void cmdprocessmail_Click();

    void chkHead_Click();
    void chkMailList_Click();
    void MailBoxClick(const std::string& box);

    void CmdAddKW_Click();
    void CmdPropertyKW_Click();
    void CmdDeleKW_Click();
    void CmdUP_Click();
    void CmdDown_Click();
    void CmdOpenKW_Click();
    void CmdSaveKW_Click();
    void CmdKWClear_Click();

    // The save flow at the end of a file run and behind "Save Result".
    void SaveResults();

    // ---- State ----
    int16_t& intCancel;  // lives in the engine, which polls it
    std::string strCurExt = "*";
    int16_t intDirRun = 0;
    int16_t intUseEmail = 0, intUseWebSite = 0, intUseKeyword = 0, intUseMailTo = 0,
            intUseStrip = 0, intSubDirs = 0;
    int16_t intSetupFailed = 0;
    int16_t intDupField = 0;
    int16_t intIgnoreAll = 0;
    int16_t intChosenIndex = 0;
    int16_t intEveryOccurrence = 0;
    int16_t intUseFrom = 0, intUseTo = 0, intUseCC = 0, intUseFileName = 0, intUseTime = 0;

    std::vector<std::string> arrColumns;
    std::unique_ptr<clsWF> objWF;
    std::shared_ptr<ResultTable> rstWF;
    std::unique_ptr<clsKeyWord> objKeyWord;
    std::shared_ptr<KeywordTable> rstKeyWord;

    std::string strKeyOpenFile, strKeySaveFile, strKeyWordFile;
    std::string strResultFile;
    std::string strStripDir;

    // The table the grid shows, and a count that goes up whenever the grid is
    // given a data source.
    std::shared_ptr<ResultTable> DataGrid1;
    uint64_t gridBindings = 0;

    // True when the last run was refused by one of its checks.
    bool runRefused = false;

    ScanEngine& engine() { return engine_; }
    bool running() const { return running_; }

private:
    class ControlProgress : public ProgressBar {
    public:
        ControlProgress(ControlSet& controls, const char* name)
            : controls_(controls), name_(name) {}
        float value() const override { return controls_.get(name_).progress; }
        void setValue(float value) override { controls_[name_].progress = value; }

    private:
        ControlSet& controls_;
        const char* name_;
    };

    // The keyword list's buttons, usable only while "Keywords." is ticked.
    static constexpr std::array<const char*, 8> kKeywordButtons = {
        "CmdAddKW",  "CmdDeleKW", "CmdKWClear", "CmdPropertyKW",
        "CmdOpenKW", "CmdSaveKW", "CmdUP",      "CmdDown"};

    // The prompts port, after the window has been brought up to date.
    Prompts& prompts();
    void runHandler(const std::string& name);
    void setCaptionColour(const std::string& name, bool ticked);
    void enable(std::initializer_list<const char*> names, bool on);
    void fillList1();
    void updateCounts();
    void showKeywords();
    void selectKeyword(int row);
    // The save dialog with its replace question; nothing when cancelled.
    std::optional<std::string> chooseSaveFile();

    // The per-file frame shared by the runs.
    enum class FileText { Read, Failed, Skipped };
    struct FrameWording {
        bool lowerCaseSo = false;    // the folder run's wording
        bool problemDialog = false;  // keyword and mail runs report through dlgMsg
    };
    FileText readFile(const std::string& path, const FrameWording& w, bool& stopRun);
    void reportFailure(const std::string& path, int number, const std::string& description,
                       const FrameWording& w);
    void reportNotAppropriate(const std::string& path, const FrameWording& w, bool& stopRun);
    void processFile(const std::string& path, bool keywordRun, const FrameWording& w,
                     bool& stopRun);
    // The file loop over the chosen files: yield, cancel test, progress, then
    // `process` for each file; `process` may stop the run.
    void forEachChosenFile(
        const std::function<void(const std::string& path, bool& stopRun)>& process);
    void processList(bool keywordRun, const FrameWording& w);
    void bindGrid(const std::shared_ptr<ResultTable>& table);
    void beginRun();
    void endRun();
    // Starts a run over the chosen files: false (window re-initialised) when
    // there is none or the set-up refuses.
    bool startListRun();
    void walkFolder(const std::string& folder);
    void processFolderFiles();
    std::vector<std::string> listFiles(const std::string& folder) const;

    Ports ports_;
    ControlProgress pbf_;
    ScanEngine engine_;
    std::unique_ptr<MailList> mail_;
    std::vector<std::string> visitedFolders_;
    bool running_ = false;
    bool stripping_ = false;
};
