// The main window's frames, run buttons, progress display, menus and tool
// bar, laid out and wired to the form.
#include <QAction>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QStyle>
#include <QToolBar>
#include <QVBoxLayout>
#include <cstring>

#include "MainForm.h"
#include "MainWindow.h"

namespace {

// How each menu and entry is reached from the keyboard: its caption with the
// underlined letter marked, and a shortcut where desktop programs have one.
struct MenuKeys {
    const char* name;
    const char* text;
    QKeySequence shortcut;
};

const std::vector<MenuKeys>& MenuKeyTable() {
    static const std::vector<MenuKeys> table = {
        {"mnuFile", "&File", {}},
        {"mnuProcessWeb", "Extract &Web", {}},
        {"mnuHarvest", "&Harvest Contacts...", {}},
        {"mnuProcess", "&Process", {}},
        {"mnuSaveResult", "&Save Result", QKeySequence::Save},
        {"mnuCancel", "&Cancel", {}},  // Escape, while a run is under way
        {"mnuExit", "E&xit", QKeySequence(Qt::CTRL | Qt::Key_Q)},
        {"mnuSetting", "&Setting", {}},
        {"mnuHtml", "&StripHtml", {}},
        {"mnuEmail", "&ExtractEmail", {}},
        {"mnuWeb", "Extract &Web", {}},
        {"mnuMailto", "Extract &Mailto", {}},
        {"mnuKeyS", "&Keys", {}},
        {"mnuKeyNew", "&New", {}},
        {"mnuKeyOpen", "&Open", {}},
        {"mnuKeyProperty", "&Property", {}},
        {"mnuKeySave", "&Save", {}},
        {"mnuKeyClear", "&Clear", {}},
        {"mnuKeyDelete", "&Delete", {}},
        {"mnuEditRslt", "&Edit Result", {}},
        {"mnuRsltCopy", "&Copy", {}},
        {"mnuRsltCut", "Cu&t", {}},
        {"mnuRsltPaste", "&Paste", {}},
        {"mnuRsltDelete", "&Delete", {}},
        {"mnuHelp", "&Help", {}},
        {"mnuAbout", "&About", {}},
        {"mnuContent", "&Content", QKeySequence(Qt::Key_F1)},
    };
    return table;
}

// The menu text of a control: its caption with its letter marked, or the
// caption alone when the table has no entry for it.
QString MenuText(const ControlInfo& info, QKeySequence* shortcut) {
    for (const MenuKeys& k : MenuKeyTable()) {
        if (std::strcmp(k.name, info.name) == 0) {
            *shortcut = k.shortcut;
            return QString::fromUtf8(k.text);
        }
    }
    return QString::fromUtf8(info.caption);
}

}  // namespace

QWidget* MainWindow::buildChoosingFiles() {
    auto* box = new QGroupBox("Choosing Files", this);
    auto* l = new QVBoxLayout(box);
    l->addWidget(make("Drive1", box));
    l->addWidget(make("Dir1", box), 2);
    auto* ext = new QHBoxLayout;
    ext->addWidget(make("Label4", box));
    ext->addWidget(make("Combo1", box), 1);
    l->addLayout(ext);
    l->addWidget(make("File1", box));
    l->addWidget(make("List1", box), 2);
    l->addWidget(make("Label3", box));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(make("CmdSelectAll1", box));
    buttons->addWidget(make("CmdRfrs", box));
    buttons->addWidget(make("CmdAdd", box));
    l->addLayout(buttons);
    return box;
}

QWidget* MainWindow::buildChosenFiles() {
    auto* box = new QGroupBox("Chosen Files", this);
    auto* l = new QVBoxLayout(box);
    l->addWidget(make("List2", box), 1);
    l->addWidget(make("Label5", box));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(make("CmdDele", box));
    buttons->addWidget(make("CmdSelectall2", box));
    l->addLayout(buttons);
    return box;
}

QWidget* MainWindow::buildFunctionSelection() {
    auto* box = new QGroupBox("Function Selection", this);
    auto* l = new QVBoxLayout(box);
    for (const char* n : {"ChkEmail", "ChkWebsite", "ChkMailTo", "ChkKeyword", "ChkStrip"}) {
        l->addWidget(make(n, box));
    }
    auto* line = new QFrame(box);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    l->addWidget(line);
    for (const char* n : {"Option1", "Option2", "Option3", "Option4"}) {
        l->addWidget(make(n, box));
    }
    auto* sub = new QHBoxLayout;
    sub->addWidget(make("ChkSbD", box));
    sub->addWidget(make("Label6", box), 1);
    l->addLayout(sub);
    l->addStretch();
    return box;
}

QWidget* MainWindow::buildSettings() {
    auto* box = new QGroupBox("Settings", this);
    auto* l = new QHBoxLayout(box);
    l->addWidget(make("List3", box), 1);
    auto* buttons = new QGridLayout;
    const char* names[] = {"CmdAddKW",  "CmdDeleKW",  "CmdPropertyKW", "CmdOpenKW",
                           "CmdSaveKW", "CmdKWClear", "CmdUP",         "CmdDown"};
    for (int i = 0; i < 8; ++i) {
        buttons->addWidget(make(names[i], box), i / 2, i % 2);
    }
    l->addLayout(buttons);
    return box;
}

QWidget* MainWindow::buildAdvancedSetting() {
    auto* box = new QGroupBox("Advanced Setting", this);
    auto* l = new QVBoxLayout(box);
    for (const char* n :
         {"chkHead", "chkMailList", "chkFrom", "chkTo", "chkCC", "chkFileName", "chkTime"}) {
        l->addWidget(make(n, box));
    }
    l->addStretch();
    return box;
}

QWidget* MainWindow::buildRunButtons() {
    auto* row = new QWidget(this);
    auto* l = new QHBoxLayout(row);
    l->setContentsMargins(0, 0, 0, 0);
    for (const char* n : {"cmdProcessAll", "CmdProcess", "CmdDrctPrc", "cmdprocesskey",
                          "cmdprocessmail", "cmdCancel", "cmdSave", "cmdClearResult"}) {
        l->addWidget(make(n, row));
    }
    l->addStretch();
    l->addWidget(make("CmdEnd", row));
    return row;
}

QWidget* MainWindow::buildProgress() {
    auto* row = new QWidget(this);
    auto* l = new QGridLayout(row);
    l->setContentsMargins(0, 0, 0, 0);
    l->addWidget(make("LblProgress", row), 0, 0, 1, 2);
    l->addWidget(new QLabel("Files:", row), 1, 0);
    l->addWidget(make("PBProgress", row), 1, 1);
    l->addWidget(new QLabel("File:", row), 2, 0);
    l->addWidget(make("PBFProgress", row), 2, 1);
    return row;
}

void MainWindow::buildMenus() {
    QMenu* current = nullptr;
    for (const ControlInfo& info : MainControls()) {
        const std::string name = info.name;
        if (info.kind == ControlKind::Menu) {
            QKeySequence none;
            current = menuBar()->addMenu(MenuText(info, &none));
            current->setObjectName(QString::fromUtf8(info.name));
            widgets_[name] = current;
        } else if (info.kind == ControlKind::MenuEntry && current) {
            QKeySequence shortcut;
            QAction* a = current->addAction(MenuText(info, &shortcut));
            a->setObjectName(QString::fromUtf8(info.name));
            a->setShortcut(shortcut);
            a->setCheckable(name == "mnuHtml" || name == "mnuEmail" || name == "mnuWeb" ||
                            name == "mnuMailto");
            connect(a, &QAction::triggered, this,
                    [this, name] { act(name, [&] { form_.click(name); }); });
            widgets_[name] = a;
        }
    }
}

void MainWindow::buildToolbar() {
    QToolBar* bar = addToolBar("Toolbar1");
    bar->setObjectName("Toolbar1");
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setMovable(false);
    const std::pair<const char*, QStyle::StandardPixmap> buttons[] = {
        {"Process", QStyle::SP_MediaPlay},
        {"SaveResult", QStyle::SP_DialogSaveButton},
        {"Cancel", QStyle::SP_BrowserStop},
        {"Harvest", QStyle::SP_FileDialogContentsView},
        {"Exit", QStyle::SP_DialogCloseButton}};
    for (const auto& [key, icon] : buttons) {
        QAction* a = bar->addAction(style()->standardIcon(icon), key);
        a->setData(QString(key));
        a->setObjectName(QString("Toolbar1_") + key);
        const std::string k = key;
        connect(a, &QAction::triggered, this,
                [this, k] { act("Toolbar1", [&] { form_.Toolbar1_ButtonClick(k); }); });
    }
}
