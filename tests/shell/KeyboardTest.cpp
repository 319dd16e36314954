// The main window driven as a user drives it: keys go where the keyboard
// sends them (the open menu, else the focused widget) and clicks land on
// the widgets under the pointer. Menus, shortcuts, the folder tree, the
// grid's Tab and "Edit Result", the layout under "Mailto" and the keyword
// order buttons.
#include <gtest/gtest.h>
#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTreeWidget>
#include <set>

#include "Fakes.h"
#include "MainForm.h"
#include "MainWindow.h"
#include "QtPorts.h"
#include "ResultTable.h"
#include "ScriptedPrompts.h"
#include "TempDir.h"
#include "UserInput.h"

namespace {

class Keyboard : public ::testing::Test {
protected:
    Keyboard() : saved_(QDir::currentPath()) {
        dir.write("a.txt", "Write to ann@x.org today\n");
        dir.write("b.txt", "and bob@y.org\n");
        QDir().mkpath(QString::fromStdString(dir.file("letters")));
        dir.write("letters/c.txt", "carol@z.org\n");
        QDir::setCurrent(QString::fromStdString(dir.path()));
    }
    ~Keyboard() override { QDir::setCurrent(saved_); }

    void SetUp() override {
        form.Form_Load();
        window = std::make_unique<MainWindow>(form);
        ASSERT_TRUE(ShowActive(window.get()));
    }

    template <typename T>
    T* widget(const char* name) {
        T* w = window->findChild<T*>(name);
        EXPECT_TRUE(w) << name;
        return w;
    }
    QTableView* grid() { return widget<QTableView>("DataGrid1"); }
    QStringList items(const char* list) {
        QStringList out;
        auto* w = widget<QListWidget>(list);
        for (int i = 0; i < w->count(); ++i) {
            out << w->item(i)->text();
        }
        return out;
    }
    // Shows a table of `rows` in the grid, as a keyword run leaves it.
    void showResults(const std::vector<std::vector<std::string>>& rows) {
        auto table = std::make_shared<ResultTable>();
        for (const char* c : {"Email", "FileName"}) {
            table->appendColumn(c);
        }
        for (const auto& row : rows) {
            const size_t r = table->addRow();
            for (size_t c = 0; c < row.size(); ++c) {
                table->setValue(r, c, row[c]);
            }
        }
        form.DataGrid1 = table;
        ++form.gridBindings;
        window->sync();
    }
    std::string cell(int row, int column) {
        return grid()->model()->index(row, column).data().toString().toStdString();
    }
    void focusGridAt(int row, int column) {
        ClickCell(grid(), grid()->model()->index(row, column));
        ASSERT_TRUE(grid()->hasFocus());
    }

    TempDir dir;
    ScriptedPrompts prompts;
    ScriptedPump pump;
    FixedClock clock;
    RecordingLauncher launcher;
    QtClipboard clipboard;
    QtFocusedEditor editor;
    MainForm form{{prompts, pump, clock, launcher, clipboard, editor}};
    std::unique_ptr<MainWindow> window;

private:
    QString saved_;
};

// ---------------------------------------------------------------------------
// Menus

TEST_F(Keyboard, EveryMenuOpensWithAltAndShowsItsCaptionWithALetterOfItsOwn) {
    ExpectAltOpensMenus(window.get(), {{Qt::Key_F, "mnuFile"},
                                       {Qt::Key_S, "mnuSetting"},
                                       {Qt::Key_K, "mnuKeyS"},
                                       {Qt::Key_E, "mnuEditRslt"},
                                       {Qt::Key_H, "mnuHelp"}});
    ExpectMenuLetters(window->menuBar(), [](const std::string& name) {
        for (const ControlInfo& info : MainControls()) {
            if (name == info.name) {
                return std::string(info.caption);
            }
        }
        return std::string("(no control)");
    });
}

TEST_F(Keyboard, MenuEntriesAnswerTheirLettersAndShortcuts) {
    // Alt+F then P: Process, which finds no file chosen.
    PressKey(Qt::Key_F, Qt::AltModifier);
    PressKey(Qt::Key_P);
    EXPECT_EQ(prompts.texts().back(), "There is no file to be processed");
    // Ctrl+S: Save Result asks its question.
    prompts.answers.push_back(Prompts::Answer::No);
    PressKey(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(prompts.texts().back(),
              "The processing is finished, do you want to save the results?");
    // Ctrl+Q: Exit still asks; No keeps the window.
    prompts.answers.push_back(Prompts::Answer::No);
    PressKey(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(prompts.texts().back(), "Do you want to exit the program?");
    EXPECT_TRUE(window->isVisible());
    // F1: the user guide.
    launcher.guide = "/usr/share/doc/gleanmark/guide/index.html";
    PressKey(Qt::Key_F1);
    EXPECT_EQ(launcher.opened, std::vector<std::string>{launcher.guide});
    // Escape outside a run cancels nothing.
    PressKey(Qt::Key_Escape);
    EXPECT_EQ(form.intCancel, 0);
}

TEST_F(Keyboard, EscapeCancelsARunUnderWay) {
    ClickCell(widget<QListWidget>("List1"), widget<QListWidget>("List1")->model()->index(0, 0));
    PressKey(Qt::Key_A, Qt::ControlModifier);
    QTest::mouseClick(widget<QPushButton>("CmdAdd"), Qt::LeftButton);
    QApplication::processEvents();
    ASSERT_EQ(items("List2").size(), 2);
    QTest::mouseClick(widget<QCheckBox>("ChkEmail"), Qt::LeftButton, {}, QPoint(8, 8));
    ASSERT_EQ(form.intUseEmail, 1);
    // As the program does, every yield brings the window in step with the
    // run; at the first, the user presses Escape.
    int seenCancel = -1;
    pump.every = [&](long n) {
        window->sync();
        if (n == 1) {
            PressKey(Qt::Key_Escape);
            seenCancel = form.intCancel;
        }
    };
    prompts.answers.push_back(Prompts::Answer::No);  // don't save
    QTest::mouseClick(widget<QPushButton>("cmdProcessAll"), Qt::LeftButton);
    EXPECT_EQ(seenCancel, 1);
}

// ---------------------------------------------------------------------------
// The folder tree

TEST_F(Keyboard, EnterRightOrSpaceOnAFolderListsItsFiles) {
    for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Right, Qt::Key_Space}) {
        SCOPED_TRACE(key);
        form.setFolder(dir.path());
        window->sync();
        auto* tree = widget<QTreeWidget>("Dir1");
        tree->setFocus();
        ASSERT_EQ(items("List1"), (QStringList{"a.txt", "b.txt"}));
        PressKey(Qt::Key_Down);  // from the folder to its sub-folder "letters"
        ASSERT_EQ(tree->currentItem()->text(0), "letters");
        EXPECT_EQ(items("List1"), (QStringList{"a.txt", "b.txt"}));  // arrows only move
        PressKey(key);
        EXPECT_EQ(items("List1"), QStringList{"c.txt"});
        EXPECT_EQ(form.ctl("Dir1").path, dir.file("letters"));
        EXPECT_EQ(tree->currentItem()->text(0), "letters");
        EXPECT_TRUE(tree->hasFocus());
    }
}

// ---------------------------------------------------------------------------
// The result grid

TEST_F(Keyboard, TabLeavesTheGridAfterItsLastCell) {
    showResults({{"ann@x.org", "a.txt"}, {"bob@y.org", "b.txt"}});
    struct Case {
        const char* name;
        int row, column;
        Qt::KeyboardModifiers modifiers;
        bool leaves;
    };
    const Case cases[] = {{"TabMovesWithinTheGrid", 0, 0, Qt::NoModifier, false},
                          {"TabAfterTheLastCell", 1, 1, Qt::NoModifier, true},
                          {"CtrlTabAtOnce", 0, 0, Qt::ControlModifier, true},
                          {"ShiftTabBeforeTheFirstCell", 0, 0, Qt::ShiftModifier, true},
                          {"ShiftTabWithinTheGrid", 1, 0, Qt::ShiftModifier, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        focusGridAt(c.row, c.column);
        PressKey(c.modifiers & Qt::ShiftModifier ? Qt::Key_Backtab : Qt::Key_Tab, c.modifiers);
        EXPECT_EQ(!grid()->hasFocus(), c.leaves);
    }
    // An empty grid lets Tab through at once.
    showResults({});
    grid()->setFocus();
    PressKey(Qt::Key_Tab);
    EXPECT_FALSE(grid()->hasFocus());
}

TEST_F(Keyboard, EditResultWorksOnTheSelectedCells) {
    struct Case {
        const char* name;
        std::vector<std::pair<int, int>> cells;  // clicked, the later ones with Ctrl
        Qt::Key letter;                          // of the entry in "Edit Result"
        std::string clipboardBefore, clipboardAfter;
        std::vector<std::string> firstRowAfter, secondRowAfter;
    };
    const Case cases[] = {
        {"CopyOneCell",
         {{0, 0}},
         Qt::Key_C,
         "",
         "ann@x.org",
         {"ann@x.org", "a.txt"},
         {"bob@y.org", "b.txt"}},
        {"CopyRowsAsTabSeparatedLines",
         {{0, 0}, {0, 1}, {1, 0}, {1, 1}},
         Qt::Key_C,
         "",
         "ann@x.org\ta.txt\nbob@y.org\tb.txt",
         {"ann@x.org", "a.txt"},
         {"bob@y.org", "b.txt"}},
        {"CutOneCell", {{1, 0}}, Qt::Key_T, "", "bob@y.org", {"ann@x.org", "a.txt"}, {"", "b.txt"}},
        {"DeleteTwoCells",
         {{0, 1}, {1, 1}},
         Qt::Key_D,
         "kept",
         "kept",
         {"ann@x.org", ""},
         {"bob@y.org", ""}},
        {"PasteIntoOneCell",
         {{1, 1}},
         Qt::Key_P,
         "c.txt",
         "c.txt",
         {"ann@x.org", "a.txt"},
         {"bob@y.org", "c.txt"}},
        {"PasteRowsFromTheSelectedCell",
         {{0, 0}},
         Qt::Key_P,
         "x@a.org\t1.txt\ny@b.org\t2.txt",
         "x@a.org\t1.txt\ny@b.org\t2.txt",
         {"x@a.org", "1.txt"},
         {"y@b.org", "2.txt"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        showResults({{"ann@x.org", "a.txt"}, {"bob@y.org", "b.txt"}});
        QGuiApplication::clipboard()->setText(QString::fromStdString(c.clipboardBefore));
        for (size_t i = 0; i < c.cells.size(); ++i) {
            ClickCell(grid(), grid()->model()->index(c.cells[i].first, c.cells[i].second),
                      i == 0 ? Qt::NoModifier : Qt::ControlModifier);
        }
        PressKey(Qt::Key_E, Qt::AltModifier);
        ASSERT_EQ(QApplication::activePopupWidget(), widget<QMenu>("mnuEditRslt"));
        PressKey(c.letter);
        EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), c.clipboardAfter);
        EXPECT_EQ((std::vector<std::string>{cell(0, 0), cell(0, 1)}), c.firstRowAfter);
        EXPECT_EQ((std::vector<std::string>{cell(1, 0), cell(1, 1)}), c.secondRowAfter);
        EXPECT_EQ(std::string(form.DataGrid1->cell(0, 0).value_or("")),
                  c.firstRowAfter[0]);  // the table itself
    }
}

// ---------------------------------------------------------------------------
// Layout and keyword order

TEST_F(Keyboard, TickingEmailMovesNothingUnderThePointer) {
    const char* below[] = {"ChkKeyword", "ChkStrip", "Option1", "Option4", "ChkSbD"};
    std::map<std::string, QRect> before;
    for (const char* name : below) {
        before[name] = widget<QWidget>(name)->geometry();
    }
    for (int i = 0; i < 2; ++i) {  // ticked, then unticked
        QTest::mouseClick(widget<QCheckBox>("ChkEmail"), Qt::LeftButton, {}, QPoint(8, 8));
        EXPECT_FALSE(widget<QCheckBox>("ChkMailTo")->isVisible());
        QApplication::processEvents();
        for (const char* name : below) {
            EXPECT_EQ(widget<QWidget>(name)->geometry(), before[name])
                << name << " after click " << i;
        }
    }
}

TEST_F(Keyboard, AMovedKeywordStaysSelectedSoRepeatedPressesKeepMovingIt) {
    dir.write("keys.txt", " Phone: \t1\r\n Fax: \t1\r\n Mail: \t1\r\n");
    QTest::mouseClick(widget<QCheckBox>("ChkKeyword"), Qt::LeftButton, {}, QPoint(8, 8));
    prompts.openPaths.push_back(dir.file("keys.txt"));
    QTest::mouseClick(widget<QPushButton>("CmdOpenKW"), Qt::LeftButton);
    auto* list = widget<QListWidget>("List3");
    ASSERT_EQ(list->count(), 3);
    ClickCell(list, list->model()->index(2, 0));

    auto press = [&](const char* button) {
        QTest::mouseClick(widget<QPushButton>(button), Qt::LeftButton);
        QApplication::processEvents();
    };
    auto selected = [&] {
        QStringList out;
        for (auto* item : list->selectedItems()) {
            out << item->text();
        }
        return out;
    };
    press("CmdUP");
    press("CmdUP");
    EXPECT_EQ(items("List3"), (QStringList{" Mail: ", " Phone: ", " Fax: "}));
    EXPECT_EQ(selected(), QStringList{" Mail: "});
    EXPECT_EQ(list->currentRow(), 0);
    press("CmdUP");  // at the top it stays
    EXPECT_EQ(items("List3"), (QStringList{" Mail: ", " Phone: ", " Fax: "}));
    press("CmdDown");
    EXPECT_EQ(items("List3"), (QStringList{" Phone: ", " Mail: ", " Fax: "}));
    EXPECT_EQ(selected(), QStringList{" Mail: "});
    // The keys move the highlight the buttons then move.
    list->setFocus();
    PressKey(Qt::Key_Down);
    press("CmdUP");
    EXPECT_EQ(items("List3"), (QStringList{" Phone: ", " Fax: ", " Mail: "}));
    EXPECT_EQ(selected(), QStringList{" Fax: "});
}

}  // namespace
