// The web window through its widgets, opened from the main window as the
// program does: browsing with the address box, crawls of a loopback site
// that feed the main window, Terminate, and addresses that lead nowhere.
#include <QDesktopServices>

#include "WebWindowRig.h"

namespace {

// Takes the addresses that the browser hands to the desktop.
class DesktopHandler : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void open(const QUrl& url) { opened.push_back(url.toString()); }
    QStringList opened;
};

TEST_F(WebWindowTest, ExtractWebOpensOneWindowWithEveryControl) {
    WebWindow* w = openWebWindow();
    ASSERT_TRUE(w);
    EXPECT_TRUE(w->isVisible());
    EXPECT_EQ(w->objectName(), "frmWeb");
    EXPECT_EQ(w->windowTitle(), "Extract Web");
    for (const WebControlInfo& info : WebControls()) {
        EXPECT_TRUE(w->findChild<QObject*>(info.name)) << info.name;
    }
    EXPECT_EQ(web<QToolButton>("Clear")->text(), "Clear  Shortcut");
    EXPECT_EQ(web<QAction>("mnuLoadSC")->text(), "&Process ShortCut");  // P underlined
    EXPECT_FALSE(web<QToolButton>("cmdBack")->isEnabled());
    EXPECT_TRUE(web<QToolButton>("Terminate")->isEnabled());

    w->close();
    EXPECT_EQ(openWebWindow(), w);
    EXPECT_TRUE(w->isVisible());
}

TEST_F(WebWindowTest, AddressBoxBrowsesAndRemembersTheAddressesVisited) {
    ClubServer site;
    openWebWindow();
    type(site.at("/index.html"), true);
    ASSERT_TRUE(shows(site.at("/index.html")));
    type(site.at("/members.html"), true);
    ASSERT_TRUE(shows(site.at("/members.html")));
    auto* box = web<QComboBox>("cboAddress");
    ASSERT_EQ(box->count(), 2);
    EXPECT_EQ(box->itemText(0), site.at("/members.html"));  // newest first

    ASSERT_TRUE(WaitUntil([&] { return web<QToolButton>("cmdBack")->isEnabled(); }));
    press("cmdBack");
    ASSERT_TRUE(shows(site.at("/index.html")));
    EXPECT_EQ(addressBox()->text(), site.at("/index.html"));
    EXPECT_TRUE(WaitUntil([&] { return web<QToolButton>("cmdForward")->isEnabled(); }));

    // An address chosen from the list with the keys is visited again.
    QTest::mouseClick(addressBox(), Qt::LeftButton);
    PressKey(Qt::Key_Down, Qt::AltModifier);
    ASSERT_TRUE(WaitUntil([&] { return box->view()->isVisible(); }));
    for (int i = 0; i < 3 && box->view()->currentIndex().data() != site.at("/members.html"); ++i) {
        PressKey(Qt::Key_Down);
    }
    PressKey(Qt::Key_Return);
    ASSERT_TRUE(shows(site.at("/members.html")));
    press("cmdHome");
    EXPECT_TRUE(shows("about:blank"));
    EXPECT_EQ(site.hits("/index.html"), 1);
}

TEST_F(WebWindowTest, AddressesThatLeadNowhereNeitherHangNorCrash) {
    // An address of a scheme the browser hands to the desktop stays here.
    DesktopHandler desktop;
    QDesktopServices::setUrlHandler("gopher", &desktop, "open");
    const QString closed = QString("127.0.0.1:%1").arg(ClosedLoopbackPort());
    // The empty address counts as visited already, so its crawl stores nothing.
    // Only a page that a server should have sent counts as failed.
    const std::tuple<QString, const char*, QString> cases[] = {
        {"", "Pages stored: 0", ""},
        {"   ", "Pages stored: 1", ""},
        {"no address", "Pages stored: 1", ""},
        {"gopher://" + closed + "/x.html", "Pages stored: 1", ""},
        {"http://" + closed + "/index.html", "Pages stored: 1",
         "Pages failed: 1 (last: http://" + closed + "/index.html: network error: "}};
    openWebWindow();
    for (const auto& [text, pages, failed] : cases) {
        SCOPED_TRACE(text.toStdString());
        type(text, true);
        QTest::qWait(200);
        EXPECT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text().isEmpty(); }, 10000));
        EXPECT_EQ(web<QComboBox>("cboAddress")->count(), 0);  // nothing was visited

        // A crawl from it stores one empty page and ends; the main window
        // then refuses to process with nothing ticked.
        prompts.shown.clear();
        crawl();
        EXPECT_EQ(web<QLabel>("lblPages")->text(), pages);
        EXPECT_EQ(web<QLabel>("lblFailed")->text().left(failed.size()), failed);
        EXPECT_EQ(web<QLabel>("lblFailed")->text().isEmpty(), failed.isEmpty());
        EXPECT_TRUE(web<QToolButton>("Process")->isEnabled());
        EXPECT_EQ(prompts.shown.size(), 1u);
    }
    QDesktopServices::unsetUrlHandler("gopher");
}

TEST_F(WebWindowTest, OnlineCrawlOfDepthTwoFillsTheGridThenOfflineKeepsThePages) {
    ClubServer site;
    // A keyword run: the word after "Contact:" of every stored page.
    Tick(inMain<QCheckBox>("ChkKeyword"));
    prompts.choices.push_back(0);  // "New Keyword"
    prompts.keywordEntries.push_back({"Contact:", "1"});
    inMain<QPushButton>("CmdAddKW")->click();
    Tick(inMain<QCheckBox>("chkFileName"));

    openWebWindow();
    type(site.at("/index.html"), true);
    ASSERT_TRUE(shows(site.at("/index.html")));
    configure(2, true);
    const Seen online = crawl(&site);
    EXPECT_TRUE(online.hourglass);
    EXPECT_FALSE(online.processEnabled);
    EXPECT_FALSE(online.terminateDisabled);
    EXPECT_TRUE(online.visiting.count("Visiting: " + site.url("/members.html")));
    EXPECT_TRUE(online.chosenCounts.count(4));  // the pages joined "Chosen Files"

    auto* grid = inMain<QTableView>("DataGrid1");
    std::set<std::string> found;
    for (int r = 0; r < grid->model()->rowCount(); ++r) {
        const QString word = grid->model()->index(r, 0).data().toString();
        if (!word.isEmpty()) {
            found.insert(word.toStdString());
        }
    }
    EXPECT_EQ(found,
              (std::set<std::string>{"secretary@harbour-rowing.test", "regatta@harbour-rowing.test",
                                     "captain@harbour-rowing.test"}));
    EXPECT_EQ(site.hits("/roster.html") + site.hits("/archive.html"), 0);
    EXPECT_EQ(inMain<QListWidget>("List2")->count(), 0);  // the run starts the window afresh

    // Offline, the stored pages wait in "Chosen Files" for a later run.
    configure(2, false, [&](QWidget* d) { screenshot("web-settings.png", d); });
    const Seen offline = crawl();
    const std::vector<std::string> expected = {storedPage(4), storedPage(5), storedPage(6),
                                               storedPage(7)};
    EXPECT_EQ(chosenFiles(), expected);
    EXPECT_EQ(ReadBytes(storedPage(4)), ClubSite()["/index.html"] + "\r\n");
    EXPECT_EQ(web<QLabel>("lblPages")->text(), "Pages stored: 4");
    EXPECT_EQ(web<QLabel>("lblVisiting")->text(), "");
    EXPECT_NE(host->window()->cursor().shape(), Qt::WaitCursor);
    grid->resizeColumnsToContents();
    screenshot("web-window.png", mainWindow.get(), host->window());
}

TEST_F(WebWindowTest, OnlineCrawlWithEmailTickedSavesTheAddressesOfThePages) {
    ClubServer site;
    Tick(inMain<QCheckBox>("ChkEmail"));
    form.setCheck("chkFileName", 1);
    form.setCheck("chkTime", 1);
    mainWindow->sync();
    prompts.savePaths.push_back(dir.file("results.txt"));

    openWebWindow();
    type(site.at("/index.html"), false);
    configure(2, true);
    crawl();
    ASSERT_FALSE(prompts.texts().empty());
    EXPECT_EQ(prompts.texts().back(),
              "The processing is finished, do you want to save the results?");
    const std::string results = ReadBytes(dir.file("results.txt"));
    for (const char* address : {"secretary@harbour-rowing.test", "regatta@harbour-rowing.test",
                                "captain@harbour-rowing.test"}) {
        EXPECT_NE(results.find(address), std::string::npos) << address;
    }
    EXPECT_NE(results.find(storedPage(3)), std::string::npos);
}

TEST_F(WebWindowTest, TerminateStopsTheCrawlAfterThePageInHand) {
    ClubServer site;
    openWebWindow();
    type(site.at("/index.html"), false);
    configure(3, true);
    bool pressed = false;
    site.onRequest = [&] {
        if (site.log.back() == "/events.htm" && !pressed) {
            pressed = true;
            EXPECT_TRUE(web<QToolButton>("Terminate")->isEnabled());
            press("Terminate");
        }
    };
    crawl();
    EXPECT_TRUE(pressed);
    EXPECT_EQ(site.hits("/members.html"), 0);
    EXPECT_EQ(site.hits("/archive.html"), 0);
    EXPECT_EQ(chosenFiles(),
              (std::vector<std::string>{storedPage(0), storedPage(1), storedPage(2)}));
    EXPECT_TRUE(prompts.shown.empty());  // the batch run did not start
    EXPECT_TRUE(web<QToolButton>("Process")->isEnabled());
    EXPECT_EQ(web<QLabel>("lblVisiting")->text(), "");
}

}  // namespace

#include "WebWindowTest.moc"
