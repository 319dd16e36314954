#include "MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <cstring>

#include "DisplayText.h"
#include "FolderTree.h"
#include "MainForm.h"
#include "ResultGrid.h"

namespace {

const ControlInfo& InfoOf(const std::string& name) {
    for (const auto& s : MainControls()) {
        if (name == s.name) {
            return s;
        }
    }
    throw std::out_of_range(name);
}

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

QColor ColourOf(Colour c, const QPalette& palette, bool background) {
    switch (c) {
        case Colour::Black:
            return Qt::black;
        case Colour::AppWorkspace:
            return QColor(0xAB, 0xAB, 0xAB);
        case Colour::WindowBackground:
            return palette.color(QPalette::Base);
        case Colour::ScrollBar:
            return QColor(0xC8, 0xC8, 0xC8);
        case Colour::Default:
            break;
    }
    return background ? palette.color(QPalette::Base) : palette.color(QPalette::WindowText);
}

}  // namespace

template <typename F>
void MainWindow::act(const std::string& source, F&& action) {
    if (syncing_) {
        return;
    }
    action();
    // The widget the user touched may already show a state the form did not
    // take (a click ignored during a run, a selected option clicked again), so
    // it is brought back to the form's state along with what changed.
    if (form_.controls.has(source)) {
        form_.controls[source];
    }
    sync();
}

MainWindow::MainWindow(MainForm& form, QWidget* parent) : QMainWindow(parent), form_(form) {
    setObjectName("Main");
    setWindowTitle("Main Page");

    auto* central = new QWidget(this);
    auto* column = new QVBoxLayout(central);
    auto* top = new QHBoxLayout;
    top->addWidget(buildChoosingFiles(), 3);
    top->addWidget(buildChosenFiles(), 3);
    auto* options = new QVBoxLayout;
    auto* optionsRow = new QHBoxLayout;
    optionsRow->addWidget(buildFunctionSelection());
    optionsRow->addWidget(buildAdvancedSetting());
    options->addLayout(optionsRow);
    options->addWidget(buildSettings(), 1);
    top->addLayout(options, 4);
    column->addLayout(top, 3);
    column->addWidget(buildRunButtons());
    column->addWidget(buildProgress());

    auto* grid = new ResultGrid(central);
    grid->setObjectName("DataGrid1");
    grid->setModel(&gridModel_);
    grid->horizontalHeader()->setSectionsClickable(true);
    grid->horizontalHeader()->setStretchLastSection(true);
    grid->setAlternatingRowColors(true);
    widgets_["DataGrid1"] = grid;
    connect(grid->horizontalHeader(), &QHeaderView::sectionClicked, this,
            [this](int column) { act("DataGrid1", [&] { form_.DataGrid1_HeadClick(column); }); });
    column->addWidget(grid, 2);
    setCentralWidget(central);

    buildMenus();
    buildToolbar();
    resize(1180, 820);

    form_.requestClose = [this] { close(); };
    form_.beforeDialog = [this] { sync(); };
    syncAll();
}

void MainWindow::mouseUp(const std::string& name) {
    if (name == "CmdAdd") {
        form_.CmdAdd_MouseUp();
    } else {
        form_.CmdDele_MouseUp();
    }
}

QWidget* MainWindow::make(const std::string& name, QWidget* parent) {
    const ControlInfo& info = InfoOf(name);
    const QString caption = QString::fromUtf8(info.caption);
    QWidget* w = nullptr;
    switch (info.kind) {
        case ControlKind::Button: {
            auto* b = new QPushButton(caption, parent);
            connect(b, &QPushButton::clicked, this, [this, name] {
                act(name, [&] {
                    inClick_ = true;
                    form_.click(name);
                    inClick_ = false;
                    // The mouse-up work of ">>" and "Deselect" comes after
                    // their click has moved the files.
                    if (mouseUpPending_ == name) {
                        mouseUpPending_.clear();
                        mouseUp(name);
                    }
                });
            });
            if (name == "CmdAdd" || name == "CmdDele") {
                // Qt reports the release before the click; a release without
                // a click (the pointer left the button) still counts.
                connect(b, &QPushButton::released, this, [this, name] {
                    mouseUpPending_ = name;
                    QTimer::singleShot(0, this, [this, name] {
                        if (mouseUpPending_ == name && !inClick_) {
                            mouseUpPending_.clear();
                            act(name, [&] { mouseUp(name); });
                        }
                    });
                });
            }
            w = b;
            break;
        }
        case ControlKind::CheckBox: {
            auto* b = new QCheckBox(caption, parent);
            connect(b, &QCheckBox::clicked, this,
                    [this, name] { act(name, [&] { form_.click(name); }); });
            w = b;
            break;
        }
        case ControlKind::Option: {
            auto* b = new QRadioButton(caption, parent);
            b->setAutoExclusive(false);
            connect(b, &QRadioButton::clicked, this,
                    [this, name] { act(name, [&] { form_.click(name); }); });
            w = b;
            break;
        }
        case ControlKind::Label:
            w = new QLabel(caption, parent);
            break;
        case ControlKind::List:
        case ControlKind::Files: {
            auto* list = new QListWidget(parent);
            list->setSelectionMode(name == "List3" ? QAbstractItemView::SingleSelection
                                                   : QAbstractItemView::ExtendedSelection);
            list->setMouseTracking(true);
            // The tooltip shows the whole entry under the pointer.
            connect(list, &QListWidget::itemEntered, list,
                    [list](QListWidgetItem* item) { list->setToolTip(item->text()); });
            // A key or a click moves the selection and the current row
            // together; the form takes both at once, so showing its state
            // after the first signal cannot put the old current row back.
            connect(list, &QListWidget::itemSelectionChanged, this, [this, list, name] {
                act(name, [&] {
                    std::vector<int> rows;
                    for (auto* item : list->selectedItems()) {
                        rows.push_back(list->row(item));
                    }
                    form_.setSelection(name, rows);
                    if (list->currentRow() != form_.ctl(name).listIndex) {
                        form_.setListIndex(name, list->currentRow());
                    }
                });
            });
            connect(list, &QListWidget::currentRowChanged, this, [this, name](int row) {
                if (row != form_.ctl(name).listIndex) {
                    act(name, [&] { form_.setListIndex(name, row); });
                }
            });
            w = list;
            break;
        }
        case ControlKind::Combo: {
            auto* combo = new QComboBox(parent);
            combo->setEditable(true);
            connect(combo, &QComboBox::textActivated, this, [this](const QString& text) {
                act("Combo1", [&] { form_.Combo1_Change(text.toStdString()); });
            });
            connect(combo->lineEdit(), &QLineEdit::textEdited, this, [this](const QString& text) {
                act("Combo1", [&] { form_.Combo1_Change(text.toStdString()); });
            });
            w = combo;
            break;
        }
        case ControlKind::Drive: {
            auto* combo = new QComboBox(parent);
            connect(combo, &QComboBox::textActivated, this, [this](const QString& text) {
                act("Drive1", [&] { form_.Drive1_Change(text.toStdString()); });
            });
            w = combo;
            break;
        }
        case ControlKind::Folder: {
            auto* tree = new FolderTree(parent);
            connect(tree, &FolderTree::folderChosen, this, [this](const QString& path) {
                act("Dir1", [&] { form_.setFolder(path.toStdString()); });
            });
            w = tree;
            break;
        }
        case ControlKind::Progress: {
            auto* bar = new QProgressBar(parent);
            bar->setRange(0, 100);
            w = bar;
            break;
        }
        case ControlKind::Grid:
        case ControlKind::Menu:
        case ControlKind::MenuEntry:
            return nullptr;
    }
    w->setObjectName(QString::fromUtf8(info.name));
    if (info.kind != ControlKind::Files) {
        // A control the form hides keeps its place, so nothing below it moves
        // under the pointer. The file listing is never shown at all.
        QSizePolicy policy = w->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        w->setSizePolicy(policy);
    }
    if (*info.tooltip) {
        w->setToolTip(QString::fromUtf8(info.tooltip));
    }
    widgets_[name] = w;
    return w;
}

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

void MainWindow::sync() {
    syncing_ = true;
    for (const std::string& name : form_.controls.takeDirty()) {
        apply(name);
    }
    // Escape cancels a run under way and means nothing otherwise.
    if (auto* cancel = qobject_cast<QAction*>(widgets_["mnuCancel"])) {
        const QKeySequence key = form_.running() ? QKeySequence(Qt::Key_Escape) : QKeySequence();
        if (cancel->shortcut() != key) {
            cancel->setShortcut(key);
        }
    }
    gridModel_.refresh();
    if (form_.gridBindings != seenBindings_) {
        seenBindings_ = form_.gridBindings;
        gridModel_.setTable(form_.DataGrid1);
    }
    syncing_ = false;
}

void MainWindow::syncAll() {
    for (const std::string& name : form_.controls.names()) {
        form_.controls[name];
    }
    sync();
}

void MainWindow::apply(const std::string& name) {
    auto it = widgets_.find(name);
    if (it == widgets_.end()) {
        return;
    }
    const Control& c = form_.ctl(name);
    if (auto* a = qobject_cast<QAction*>(it->second)) {
        a->setEnabled(c.enabled);
        a->setVisible(c.visible);
        if (a->isCheckable()) {
            a->setChecked(c.value == 1);
        }
        return;
    }
    auto* w = qobject_cast<QWidget*>(it->second);
    if (!w || qobject_cast<QMenu*>(w)) {
        return;
    }
    w->setEnabled(c.enabled);
    w->setVisible(c.visible);
    QPalette palette = w->palette();
    if (c.foreColour != Colour::Default) {
        palette.setColor(QPalette::WindowText, ColourOf(c.foreColour, palette, false));
        palette.setColor(QPalette::ButtonText, ColourOf(c.foreColour, palette, false));
    }
    if (c.backColour != Colour::Default) {
        palette.setColor(QPalette::Base, ColourOf(c.backColour, QApplication::palette(), true));
    }
    w->setPalette(palette);

    if (auto* check = qobject_cast<QCheckBox*>(w)) {
        check->setChecked(c.value == 1);
    } else if (auto* radio = qobject_cast<QRadioButton*>(w)) {
        radio->setChecked(c.value == 1);
    } else if (auto* label = qobject_cast<QLabel*>(w)) {
        label->setText(DisplayText(c.caption));
    } else if (auto* bar = qobject_cast<QProgressBar*>(w)) {
        bar->setValue(static_cast<int>(c.progress));
    } else if (auto* list = qobject_cast<QListWidget*>(w)) {
        QSignalBlocker block(list);
        bool same = list->count() == static_cast<int>(c.items.size());
        for (int i = 0; same && i < list->count(); ++i) {
            same = list->item(i)->text() == DisplayText(c.items[static_cast<size_t>(i)]);
        }
        if (!same) {
            list->clear();
            for (const auto& item : c.items) {
                list->addItem(DisplayText(item));
            }
        }
        for (int i = 0; i < list->count(); ++i) {
            const auto idx = static_cast<size_t>(i);
            list->item(i)->setSelected(idx < c.selected.size() && c.selected[idx]);
        }
        if (c.listIndex >= 0 && c.listIndex < list->count() && list->currentRow() != c.listIndex) {
            list->setCurrentRow(c.listIndex, QItemSelectionModel::NoUpdate);
            list->scrollToItem(list->currentItem());
        }
    } else if (auto* combo = qobject_cast<QComboBox*>(w)) {
        QSignalBlocker block(combo);
        if (combo->count() != static_cast<int>(c.items.size())) {
            combo->clear();
            for (const auto& item : c.items) {
                combo->addItem(DisplayText(item));
            }
        }
        if (combo->isEditable()) {
            if (combo->currentText() != DisplayText(c.caption)) {
                combo->setEditText(DisplayText(c.caption));
            }
        } else {
            combo->setCurrentIndex(combo->findText(DisplayText(c.caption)));
        }
    } else if (auto* tree = qobject_cast<FolderTree*>(w)) {
        if (tree->folder() != QString::fromStdString(c.path)) {
            tree->setFolder(QString::fromStdString(c.path));
        }
    }
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (form_.running()) {
        // Closing during a run stops the run first; the window stays.
        form_.intCancel = 1;
        event->ignore();
        return;
    }
    form_.Form_Unload();
    event->accept();
}
