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
#include "SettingsStore.h"
#include "TempDir.h"
#include "UiSteps.h"

namespace {

// Settings in memory, with the keys in the order they were written.
class MemorySettings : public SettingsStore {
public:
    std::optional<std::string> value(const std::string&, const std::string&,
                                     const std::string& key) const override {
        const auto it = values.find(key);
        return it == values.end() ? std::nullopt : std::optional<std::string>(it->second);
    }
    void setValue(const std::string&, const std::string&, const std::string& key,
                  const std::string& value) override {
        values[key] = value;
        written.push_back(key);
    }
    std::map<std::string, std::string> values;
    std::vector<std::string> written;
};

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
        EXPECT_TRUE(store.written.empty());
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
    const std::vector<std::string> order = {"SaveDir", "FilterDir",    "ShortcutDir", "Depth",
                                            "Online",  "EnableFilter", "Once",        "TmpPath"};
    EXPECT_EQ(store.written, order);
    EXPECT_EQ(store.values["Depth"], "2");
    EXPECT_EQ(store.values["Online"], "False");
    EXPECT_EQ(store.values["EnableFilter"], "True");

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
    store.values["FilterDir"] = dir.path();  // the filter file is FilterDir + "//filter"
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
