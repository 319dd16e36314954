// The Harvest window from the keyboard, its site dialog, and its place in the
// main window.
#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTimer>
#include <QToolBar>

#include "FormFixture.h"
#include "HarvestRig.h"
#include "HarvestWindowHost.h"
#include "MainWindow.h"
#include "SiteDialog.h"

namespace {

// The named control that a focused widget belongs to: a box's line edit, a
// tab widget's bar.
QString Named(QWidget* focus) {
    while (focus && (focus->objectName().isEmpty() || focus->objectName().startsWith("qt_"))) {
        focus = focus->parentWidget();
    }
    return focus ? focus->objectName() : QString("(none)");
}

// A button's letter clicks it the way a mouse would be seen to: pressed, then
// released a moment later. This waits until `done` holds or a generous bound
// passes.
bool WaitFor(const std::function<bool()>& done) {
    for (int i = 0; i < 500 && !done(); ++i) {
        QTest::qWait(10);
    }
    return done();
}

class Keys : public HarvestRig {
protected:
    // Runs `keys` on the modal dialog once the button has opened it.
    void onDialog(const std::function<void(QWidget*)>& keys) {
        QTimer::singleShot(0, [keys] {
            QWidget* dialog = QApplication::activeModalWidget();
            ASSERT_TRUE(dialog);
            keys(dialog);
        });
    }
};

TEST_F(Keys, TabReachesEveryControlInOrder) {
    form->addPaths({docs});
    w<QWidget>("sources")->setFocus();
    const QStringList expected = {
        "addFiles", "addFolder", "addSite",    "removeSources", "clearSources", "harvest",
        "tabs",     "search",    "kindFilter", "domainFilter",  "export",       "deleteRows",
        "contacts", "sightings", "sources"};  // Cancel is off between runs
    QStringList reached;
    for (int i = 0; i < expected.size(); ++i) {
        PressKey(Qt::Key_Tab);
        reached << Named(QApplication::focusWidget());
    }
    EXPECT_EQ(reached, expected);
}

TEST_F(Keys, MnemonicsReachTheirControls) {
    form->addPaths({docs});
    struct Case {
        Qt::Key key;
        const char* focused;  // the widget that gets the focus, or none
        const char* asked;    // the hook the key reaches, or none
    };
    const Case cases[] = {
        {Qt::Key_A, "search", nullptr},       {Qt::Key_K, "kindFilter", nullptr},
        {Qt::Key_I, "domainFilter", nullptr}, {Qt::Key_F, nullptr, "files:"},
        {Qt::Key_O, nullptr, "folder:"},      {Qt::Key_E, nullptr, "save"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(QKeySequence(c.key).toString().toStdString());
        asked.clear();
        w<QWidget>("sources")->setFocus();
        PressKey(c.key, Qt::AltModifier);
        if (c.focused) {
            EXPECT_EQ(Named(QApplication::focusWidget()), c.focused);
        }
        if (c.asked) {
            ASSERT_TRUE(WaitFor([this] { return !asked.isEmpty(); }));
            ASSERT_EQ(asked.size(), 1);
            EXPECT_TRUE(asked.front().startsWith(c.asked));
        }
    }
    auto* tabs = w<QTabWidget>("tabs");
    for (const auto& [key, page] : {std::pair{Qt::Key_M, 1}, {Qt::Key_P, 2}, {Qt::Key_N, 0}}) {
        PressKey(key, Qt::AltModifier);
        EXPECT_EQ(tabs->currentIndex(), page);
    }
    QSignalSpy started(form.get(), &harvest::HarvestForm::runStarted);
    QSignalSpy finished(form.get(), &harvest::HarvestForm::runFinished);
    PressKey(Qt::Key_H, Qt::AltModifier);
    EXPECT_TRUE(WaitFor([&started] { return started.count() == 1; }));
    EXPECT_TRUE(finished.wait(60000));
}

TEST_F(Keys, TheSiteDialogAcceptsWithEnterAndCancelsWithEscape) {
    struct Case {
        const char* typed;
        Qt::Key key;
        std::size_t sites;
    };
    const Case cases[] = {
        {"https://www.lakeside.net/", Qt::Key_Escape, 0},
        {"https://www.lakeside.net/", Qt::Key_Return, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key == Qt::Key_Escape ? "Escape" : "Enter");
        onDialog([&c](QWidget* dialog) {
            auto* url = dialog->findChild<QLineEdit*>("siteUrl");
            ASSERT_TRUE(url);
            EXPECT_EQ(dialog->focusWidget(), url);
            QTest::keyClicks(url, c.typed);
            auto* depth = dialog->findChild<QSpinBox*>("siteDepth");
            depth->setValue(5);
            QTest::keyClick(url, c.key);
        });
        click("addSite");
        EXPECT_EQ(form->sources().size(), c.sites);
    }
    const harvest::HarvestSource& site = form->sources().at(0);
    EXPECT_EQ(site.kind, harvest::HarvestSource::Kind::Site);
    EXPECT_EQ(site.site.maxDepth, 5);
    EXPECT_EQ(form->defaultPoliteness().maxDepth, 5);  // offered to the next site
    EXPECT_TRUE(errors.isEmpty());
}

TEST_F(Keys, AnAddressThatIsNotAWebSiteIsToldAndAskedAgain) {
    onDialog([this](QWidget* dialog) {
        QTest::keyClicks(dialog->findChild<QLineEdit*>("siteUrl"), "ftp://files.lakeside.net/");
        QTest::keyClick(dialog->findChild<QLineEdit*>("siteUrl"), Qt::Key_Return);
        // The dialog comes back after the message.
        onDialog([](QWidget* again) { QTest::keyClick(again, Qt::Key_Escape); });
    });
    click("addSite");
    EXPECT_EQ(errors.size(), 1);
    EXPECT_TRUE(form->sources().empty());
}

TEST(SiteDialog, ShowsAndGivesBackThePoliteness) {
    harvest::SitePoliteness p;
    p.maxDepth = 2;
    p.maxPages = 40;
    p.scope = harvest::CrawlScope::Prefix;
    p.delay = 2.5;
    p.perHost = 3;
    p.obeyRobots = false;
    harvest::SiteDialog dialog(p);
    const harvest::SitePoliteness back = dialog.politeness();
    EXPECT_EQ(back.maxDepth, 2);
    EXPECT_EQ(back.maxPages, 40);
    EXPECT_EQ(back.scope, harvest::CrawlScope::Prefix);
    EXPECT_DOUBLE_EQ(back.delay, 2.5);
    EXPECT_EQ(back.perHost, 3);
    EXPECT_FALSE(back.obeyRobots);
}

// The main window's File menu entry and tool button open one Harvest window
// and keep it.
class MainWindowHarvest : public FormFixture {};

TEST_F(MainWindowHarvest, TheMenuEntryAndToolButtonOpenOneWindow) {
    load();
    MainWindow main(form);
    MemoryStore settings;
    harvest::HarvestWindowHost host(settings, &main);
    form.showHarvestWindow = [&host] { host.show(); };
    main.show();

    auto* entry = main.findChild<QAction*>("mnuHarvest");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->text(), "&Harvest Contacts...");
    auto* tool = main.findChild<QAction*>("Toolbar1_Harvest");
    ASSERT_TRUE(tool);
    EXPECT_EQ(host.window(), nullptr);

    entry->trigger();
    harvest::HarvestWindow* first = host.window();
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(first->windowTitle(), "Gleanmark - Harvest");
    first->close();
    tool->trigger();
    EXPECT_EQ(host.window(), first);
    EXPECT_TRUE(first->isVisible());
}

}  // namespace
