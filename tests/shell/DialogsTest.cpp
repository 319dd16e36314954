// The program's own dialogs answer with the right codes and run the checks.
#include <gtest/gtest.h>
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include "Dialogs.h"
#include "QtPrompts.h"

namespace {

// Clicks a button of the next modal dialog once it is showing.
void ClickLater(const char* button, std::function<void(QWidget*)> before = {}) {
    QTimer::singleShot(0, [button, before] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_TRUE(dialog);
        if (before) {
            before(dialog);
        }
        dialog->findChild<QPushButton*>(button)->click();
    });
}

TEST(Dialogs, ProblemDialogReturnsOneCodePerButton) {
    QtPrompts prompts;
    const std::pair<const char*, int> cases[] = {
        {"cmdOK", 0}, {"cmdIgnore", 1}, {"cmdIgnoreAll", 2}, {"cmdCancel", 3}};
    for (const auto& [button, code] : cases) {
        ClickLater(button);
        EXPECT_EQ(prompts.problem("The file 'x' is not appropriate"), code) << button;
    }
}

TEST(Dialogs, KeywordDialogStaysOpenUntilTheChecksPass) {
    QtPrompts prompts;
    int checks = 0;
    auto accept = [&](const Prompts::KeywordEntry& e) {
        ++checks;
        return !e.positions.empty();
    };
    QTimer::singleShot(0, [] {
        QWidget* d = QApplication::activeModalWidget();
        ASSERT_TRUE(d);
        d->findChild<QLineEdit*>("TxtKeyWord")->setText("Price:");
        d->findChild<QPushButton*>("Command1")->click();  // refused: stays open
        d->findChild<QLineEdit*>("TxtPosition")->setText("1, 2");
        d->findChild<QPushButton*>("Command1")->click();
    });
    auto entry = prompts.keywordEntry("New KeyWord", {}, accept);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->keyword, "Price:");
    EXPECT_EQ(entry->positions, "1, 2");
    EXPECT_EQ(checks, 2);

    ClickLater("Command2");
    EXPECT_FALSE(prompts.keywordEntry("New KeyWord", {"a", "1"}, accept));
}

TEST(Dialogs, StripDirectoryChooserAcceptsTheFolderShownOrNothing) {
    QtPrompts prompts;
    const std::string tmp = QDir::tempPath().toStdString();
    ClickLater("Command1");
    EXPECT_EQ(prompts.stripDirectory(tmp), tmp);
    ClickLater("Command2");
    EXPECT_FALSE(prompts.stripDirectory(tmp));
}

TEST(Dialogs, FileFiltersBecomeQtNameFilters) {
    EXPECT_EQ(QtNameFilters("All Files(*.*)|*.*|Text Files(*.txt)|*.txt"),
              (QStringList{"All Files(*.*) (*)", "Text Files(*.txt) (*.txt)"}));
}

}  // namespace
