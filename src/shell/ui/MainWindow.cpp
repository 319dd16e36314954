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
