// The widgets: one per control name, and user actions reach the form.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
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
    EXPECT_EQ(widget<QPushButton>("CmdAdd")->toolTip(),
              "Add the files you have selected to be processed");
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

}  // namespace
