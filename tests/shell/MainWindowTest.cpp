// The widgets: one per control name, and user actions reach the form.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTest>

#include "FormFixture.h"
#include "MainWindow.h"

namespace {

class Window : public FormFixture {
protected:
    void SetUp() override {
        write("a.txt", "Write to ann@x.org today\n");
        write("b.txt", "and bob@y.org\n");
        load();
        window = std::make_unique<MainWindow>(form);
        window->syncAll();
        window->show();
    }
    template <typename T>
    T* widget(const char* name) {
        T* w = window->findChild<T*>(name);
        EXPECT_TRUE(w) << name;
        return w;
    }
    void trigger(const char* action) { widget<QAction>(action)->trigger(); }

    // Saves a picture of the window when GLEANMARK_SCREENSHOTS names a folder.
    void screenshot(const char* name) {
        if (const char* folder = std::getenv("GLEANMARK_SCREENSHOTS")) {
            QApplication::processEvents();
            window->grab().save(QString(folder) + "/" + name);
        }
    }

    std::unique_ptr<MainWindow> window;
};

TEST_F(Window, EveryControlHasAWidgetOfItsName) {
    EXPECT_EQ(window->windowTitle(), "Main Page");
    for (const ControlInfo& info : MainControls()) {
        EXPECT_TRUE(window->findChild<QObject*>(info.name)) << info.name;
    }
    EXPECT_TRUE(window->findChild<QObject*>("Toolbar1"));
    EXPECT_EQ(widget<QLabel>("Label3")->text(), "Total: 2");
    EXPECT_FALSE(widget<QPushButton>("cmdCancel")->isEnabled());
}

TEST_F(Window, ClicksReachTheHandlersAndTheWidgetsFollow) {
    QTest::mouseClick(widget<QCheckBox>("ChkEmail"), Qt::LeftButton);
    EXPECT_EQ(form.ctl("ChkEmail").value, 1);
    EXPECT_TRUE(widget<QCheckBox>("ChkEmail")->isChecked());
    EXPECT_FALSE(widget<QCheckBox>("ChkMailTo")->isVisible());
    EXPECT_FALSE(widget<QCheckBox>("ChkKeyword")->isEnabled());
    EXPECT_FALSE(widget<QRadioButton>("Option3")->isEnabled());

    widget<QPushButton>("CmdSelectAll1")->click();
    QTest::mouseClick(widget<QPushButton>("CmdAdd"), Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_EQ(widget<QListWidget>("List2")->count(), 2);
    EXPECT_EQ(widget<QListWidget>("List1")->count(), 0);
    EXPECT_EQ(widget<QLabel>("Label5")->text(), "Total: 2");

    screenshot("email-ticked.png");
    trigger("mnuAbout");
    EXPECT_EQ(prompts.texts().back(), "Gleanmark 2.0 Brimwell Enterprises");
    trigger("Toolbar1_Cancel");
    EXPECT_EQ(form.intCancel, 1);
    trigger("mnuHtml");
    EXPECT_TRUE(widget<QAction>("mnuHtml")->isChecked());
}

TEST_F(Window, AKeywordRunFillsTheGrid) {
    widget<QCheckBox>("ChkKeyword")->click();
    form.rstKeyWord->add(" to ", "1");
    form.setCheck("chkFileName", 1);
    widget<QPushButton>("CmdSelectAll1")->click();
    widget<QPushButton>("CmdAdd")->click();
    widget<QPushButton>("cmdProcessAll")->click();
    auto* grid = widget<QTableView>("DataGrid1");
    ASSERT_EQ(grid->model()->columnCount(), 2);
    EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), " to ");
    ASSERT_EQ(grid->model()->rowCount(), 2);
    EXPECT_EQ(grid->model()->index(0, 0).data().toString(), "ann@x.org");
    screenshot("keyword-run.png");
}

TEST_F(Window, AMailListFromTheSampleMessages) {
    form.setFolder(SAMPLES_DIR "/mail");
    window->sync();
    widget<QPushButton>("CmdSelectAll1")->click();
    widget<QPushButton>("CmdAdd")->click();
    widget<QRadioButton>("Option4")->click();
    for (const char* box : {"chkHead", "chkFrom", "chkTo", "chkCC"}) {
        widget<QCheckBox>(box)->click();
    }
    widget<QPushButton>("cmdProcessAll")->click();
    auto* grid = widget<QTableView>("DataGrid1");
    ASSERT_EQ(grid->model()->columnCount(), 4);
    EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), "KeyWord");
    EXPECT_GT(grid->model()->rowCount(), 10);
    EXPECT_TRUE(prompts.shown.empty());
    grid->resizeColumnsToContents();
    screenshot("mail-list.png");
}

// The widgets must show the form's state after every action, also where Qt
// has already changed a widget on its own (a click the form ignored, keys
// that moved a list's highlight) or where the form yields to the event loop
// in the middle of a handler.
class WindowState : public Window {
protected:
    void SetUp() override {
        Window::SetUp();
        // Like the program's own pump, yields deliver the window's events.
        pump.every = [](long) { QApplication::processEvents(); };
    }
    // A mouse click on a check box or option button, on its indicator.
    void tick(const char* name) {
        auto* b = widget<QAbstractButton>(name);
        QTest::mouseClick(b, Qt::LeftButton, {}, QPoint(8, b->height() / 2));
    }
    void chooseFiles(int count) {
        for (int i = 0; i < count; ++i) {
            write("f" + std::to_string(i) + ".txt", "x" + std::to_string(i) + "@y.org\n");
        }
        form.CmdRfrs_Click();
        window->sync();
        widget<QPushButton>("CmdSelectAll1")->click();
        QTest::mouseClick(widget<QPushButton>("CmdAdd"), Qt::LeftButton);
    }
};

TEST_F(WindowState, DeselectCountsTheFilesLeftAfterTheRemoval) {
    chooseFiles(2);  // with a.txt and b.txt: four chosen files
    auto* list2 = widget<QListWidget>("List2");
    ASSERT_EQ(list2->count(), 4);
    EXPECT_EQ(widget<QLabel>("Label5")->text(), "Total: 4");
    QTest::mouseClick(list2->viewport(), Qt::LeftButton, {},
                      list2->visualItemRect(list2->item(1)).center());
    QTest::mouseClick(widget<QPushButton>("CmdDele"), Qt::LeftButton);
    QApplication::processEvents();
    EXPECT_EQ(list2->count(), 3);
    EXPECT_EQ(widget<QLabel>("Label5")->text(), "Total: 3");
    EXPECT_EQ(form.intChosenIndex, 2);
}

TEST_F(WindowState, ArrowKeysChooseTheKeywordThatTheButtonsActOn) {
    tick("ChkKeyword");
    prompts.openPaths = {write("keys.txt", " Name: \t1\r\n Phone: \t1\r\n Mail: \t1\r\n")};
    widget<QPushButton>("CmdOpenKW")->click();
    auto* list3 = widget<QListWidget>("List3");
    list3->setFocus();
    QTest::mouseClick(list3->viewport(), Qt::LeftButton, {},
                      list3->visualItemRect(list3->item(0)).center());
    QTest::keyClick(list3, Qt::Key_Down);
    QApplication::processEvents();
    EXPECT_EQ(list3->currentRow(), 1);
    EXPECT_EQ(form.ctl("List3").listIndex, 1);

    // "down" moves the highlighted keyword, then "up" brings it back.
    widget<QPushButton>("CmdDown")->click();
    EXPECT_EQ(form.rstKeyWord->records()[2].Name, " Phone: ");
    EXPECT_EQ(list3->currentRow(), 2);
    QTest::keyClick(list3, Qt::Key_Up);
    widget<QPushButton>("CmdUP")->click();
    EXPECT_EQ(form.rstKeyWord->records()[0].Name, " Mail: ");

    // "Remove" asks about the keyword under the highlight.
    QTest::keyClick(list3, Qt::Key_End);
    prompts.answers = {Prompts::Answer::No};
    widget<QPushButton>("CmdDeleKW")->click();
    EXPECT_EQ(prompts.texts().back(), "Are you ready to delete the Keyword  Phone:  ?");
}

TEST_F(WindowState, TheSelectedOptionClickedAgainKeepsItsDot) {
    auto* option2 = widget<QRadioButton>("Option2");
    ASSERT_TRUE(option2->isChecked());
    tick("Option2");
    EXPECT_TRUE(option2->isChecked());
    EXPECT_EQ(form.ctl("Option2").value, 1);
}

TEST_F(WindowState, ClicksIgnoredDuringARunLeaveTheWidgetsAsTheFormIs) {
    chooseFiles(3);
    tick("ChkWebsite");
    prompts.answers = {Prompts::Answer::No};  // do not save
    bool clicked = false;
    pump.every = [&](long) {
        QApplication::processEvents();
        if (!clicked && form.running()) {
            clicked = true;
            tick("ChkSbD");
            tick("ChkEmail");
            widget<QAction>("mnuMailto")->trigger();
            tick("Option1");
            EXPECT_FALSE(widget<QCheckBox>("ChkSbD")->isChecked());
            EXPECT_FALSE(widget<QAction>("mnuMailto")->isChecked());
            EXPECT_FALSE(widget<QRadioButton>("Option1")->isChecked());
        }
    };
    QTest::mouseClick(widget<QPushButton>("cmdProcessAll"), Qt::LeftButton);
    ASSERT_TRUE(clicked);
    EXPECT_EQ(form.intSubDirs, 0);
    // After the run the window is back at its start state, widgets included.
    for (const char* box : {"ChkSbD", "ChkEmail", "ChkWebsite", "ChkMailTo"}) {
        EXPECT_FALSE(widget<QCheckBox>(box)->isChecked()) << box;
    }
    EXPECT_FALSE(widget<QAction>("mnuMailto")->isChecked());
    EXPECT_TRUE(widget<QRadioButton>("Option2")->isChecked());
    EXPECT_FALSE(widget<QRadioButton>("Option1")->isChecked());
    EXPECT_EQ(widget<QListWidget>("List2")->count(), 0);
    EXPECT_FALSE(widget<QPushButton>("cmdCancel")->isEnabled());
}

TEST_F(WindowState, ADialogOpensOverTheFormsPresentState) {
    chooseFiles(1);  // three chosen files
    tick("ChkWebsite");
    form.controls["List2"].items.insert(form.controls["List2"].items.begin() + 1,
                                        file("missing.txt"));
    window->sync();
    std::vector<std::string> mismatches;
    prompts.onShow = [&](const std::string& text) {
        const auto label = widget<QLabel>("LblProgress")->text().toStdString();
        const auto files = widget<QProgressBar>("PBProgress")->value();
        const auto cancel = widget<QPushButton>("cmdCancel")->isEnabled();
        if (label != form.ctl("LblProgress").caption ||
            files != static_cast<int>(form.ctl("PBProgress").progress) ||
            cancel != form.ctl("cmdCancel").enabled) {
            mismatches.push_back(text);
        }
    };
    prompts.answers = {Prompts::Answer::No};
    QTest::mouseClick(widget<QPushButton>("cmdProcessAll"), Qt::LeftButton);
    ASSERT_EQ(prompts.shown.size(), 2u);  // the missing file, then the save question
    EXPECT_TRUE(mismatches.empty()) << mismatches.front();
}

}  // namespace
