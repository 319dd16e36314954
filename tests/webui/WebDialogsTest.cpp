// The settings and filter dialogs: their widgets show the forms' state and
// hand clicks and typing to them.
#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QToolButton>

#include "FilterDialog.h"
#include "SettingDialog.h"
#include "TempDir.h"
#include "UiSteps.h"
#include "WebFakes.h"

namespace {

class Dialogs : public ::testing::Test {
protected:
    Dialogs() : saved_(QDir::currentPath()) {
        QDir::setCurrent(QString::fromStdString(dir.path()));
    }
    ~Dialogs() override { QDir::setCurrent(saved_); }

    // Opens the settings dialog, runs `steps` on it and waits until it closes.
    void withSettings(std::function<void(QWidget*)> steps) {
        WhenModal("frmSetting", std::move(steps));
        SettingDialog(settings).run();
    }

    TempDir dir;
    MemorySettings store;
    WebSettings settings{store};

private:
    QString saved_;
};

TEST_F(Dialogs, SettingsShowFirstTimeValuesAndOnlyOkWrites) {
    const QString here = QDir::toNativeSeparators(QDir::currentPath());
    // Each way out but OK leaves the settings untouched.
    const std::function<void(QWidget*)> leave[] = {
        [](QWidget* d) { Child<QPushButton>(d, "Command6")->click(); },
        [](QWidget* d) { QTest::keyClick(d, Qt::Key_Escape); },
    };
    for (const auto& way : leave) {
        withSettings([&](QWidget* d) {
            EXPECT_EQ(d->windowTitle(), "Setting");
            for (const char* box : {"txtSaveDir", "txtFilterDir", "txtShortcutDir"}) {
                EXPECT_EQ(Child<QLineEdit>(d, box)->text(), here) << box;
            }
            EXPECT_EQ(Child<QLineEdit>(d, "txtDepth")->text(), "1");
            EXPECT_FALSE(Child<QCheckBox>(d, "chkFilter")->isChecked());
            EXPECT_TRUE(Child<QRadioButton>(d, "optOnline")->isChecked());
            EXPECT_FALSE(Child<QRadioButton>(d, "optOffline")->isChecked());
            QTest::mouseClick(Child<QToolButton>(d, "UpDown1Up"), Qt::LeftButton);
            EXPECT_EQ(Child<QLineEdit>(d, "txtDepth")->text(), "2");
            way(d);
        });
        EXPECT_TRUE(store.writes.empty());
    }

    withSettings([&](QWidget* d) {
        auto* depth = Child<QLineEdit>(d, "txtDepth");
        QTest::mouseClick(Child<QToolButton>(d, "UpDown1Up"), Qt::LeftButton);
        QTest::mouseClick(Child<QToolButton>(d, "UpDown1Up"), Qt::LeftButton);
        QTest::mouseClick(Child<QToolButton>(d, "UpDown1Down"), Qt::LeftButton);
        QTest::keyClicks(depth, "x");  // the box keeps digits only
        EXPECT_EQ(depth->text(), "2");
        Tick(Child<QRadioButton>(d, "optOffline"));
        EXPECT_FALSE(Child<QRadioButton>(d, "optOnline")->isChecked());
        Tick(Child<QCheckBox>(d, "chkFilter"));
        QTest::mouseClick(Child<QPushButton>(d, "Command5"), Qt::LeftButton);
    });
    std::vector<std::string> written;  // the keys in order, with the values set here
    for (const std::string& w : store.writes) {
        const std::string key = w.substr(0, w.find('='));
        written.push_back(key == "Depth" || key == "Online" || key == "EnableFilter" ? w : key);
    }
    EXPECT_EQ(written,
              (std::vector<std::string>{"SaveDir", "FilterDir", "ShortcutDir", "Depth=2",
                                        "Online=False", "EnableFilter=True", "Once", "TmpPath"}));

    withSettings([&](QWidget* d) {
        EXPECT_EQ(Child<QLineEdit>(d, "txtDepth")->text(), "2");
        EXPECT_TRUE(Child<QRadioButton>(d, "optOffline")->isChecked());
        EXPECT_TRUE(Child<QCheckBox>(d, "chkFilter")->isChecked());
        Child<QPushButton>(d, "Command6")->click();
    });
}

TEST_F(Dialogs, BrowseButtonsOpenTheFolderBrowserWithItsTitle) {
    const std::string chosen = dir.write("filters/keep.txt", "");
    const QString folder = QFileInfo(QString::fromStdString(chosen)).absolutePath();
    auto isBrowser = [](QWidget* w) { return qobject_cast<QFileDialog*>(w) != nullptr; };
    withSettings([&](QWidget* d) {
        auto* box = Child<QLineEdit>(d, "txtFilterDir");
        const QString before = box->text();
        // Cancel leaves the box as it was; a chosen folder goes into it.
        WhenModal(isBrowser,
                  [](QWidget* browser) { static_cast<QFileDialog*>(browser)->reject(); });
        QTest::mouseClick(Child<QPushButton>(d, "cmdFilterDir"), Qt::LeftButton);
        EXPECT_EQ(box->text(), before);

        WhenModal(isBrowser, [&](QWidget* browser) {
            EXPECT_EQ(browser->windowTitle(), QString::fromUtf8("请选择文件夹："));
            auto* files = static_cast<QFileDialog*>(browser);
            files->setDirectory(folder);
            static_cast<QDialog*>(files)->accept();
        });
        QTest::mouseClick(Child<QPushButton>(d, "cmdFilterDir"), Qt::LeftButton);
        EXPECT_EQ(box->text(), QDir::toNativeSeparators(folder));
        Child<QPushButton>(d, "Command6")->click();
    });
}

TEST_F(Dialogs, FilterShowsTheFileAndSaveWritesTheBox) {
    store.preset("FilterDir", dir.path());  // the filter file is FilterDir + "//filter"
    dir.write("filter", "ads\r\nbanner\r\n");
    WhenModal("frmFilter", [](QWidget* d) {
        EXPECT_EQ(d->windowTitle(), "Edit Filter");
        auto* text = Child<QPlainTextEdit>(d, "Text1");
        EXPECT_EQ(text->toPlainText(), "ads\nbanner\n");
        text->moveCursor(QTextCursor::End);
        QTest::keyClicks(text, "track");
        QTest::keyClick(text, Qt::Key_Return);
        QTest::mouseClick(Child<QPushButton>(d, "Command1"), Qt::LeftButton);
    });
    FilterDialog(settings).run();
    EXPECT_EQ(ReadBytes(dir.file("filter")), "ads\r\nbanner\r\ntrack\r\n\r\n");
}

}  // namespace
