// The web window through its widgets, opened from the main window as the
// program does: browsing with the address box, crawls of a loopback site
// that feed the main window, Terminate, and addresses that lead nowhere.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QTableView>
#include <QTcpServer>
#include <QTest>
#include <QToolButton>
#include <QWebEngineProfile>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineView>
#include <mutex>
#include <set>

#include "Fakes.h"
#include "FormBinding.h"
#include "LoopbackServer.h"
#include "MainForm.h"
#include "MainFormSide.h"
#include "MainWindow.h"
#include "QtPorts.h"
#include "QtSettingsStore.h"
#include "ScriptedPrompts.h"
#include "TempDir.h"
#include "UiSteps.h"
#include "UserInput.h"
#include "WebControls.h"
#include "WebForm.h"
#include "WebWindow.h"
#include "WebWindowHost.h"

namespace {

// A small club site: two pages below the start page, and two more a level
// further down that a depth-2 crawl must not fetch.
std::map<std::string, std::string> ClubSite() {
    auto page = [](const std::string& title, const std::string& contact, const std::string& links) {
        return "<html><head><title>" + title + "</title></head><body><h1>" + title +
               "</h1><p>Contact: " + contact + " </p><ul>" + links + "</ul></body></html>";
    };
    return {
        {"/index.html", page("Harbour Rowing Club", "secretary@harbour-rowing.test",
                             "<li><a href=\"members.html\">Members</a></li>"
                             "<li><a href=\"events.htm\">Events</a></li>"
                             "<li><a href=\"mailto:info@harbour-rowing.test\">Write to us</a></li>"
                             "<li><a href=\"notes.txt\">Notes</a></li>")},
        {"/members.html", page("Members", "captain@harbour-rowing.test",
                               "<li><a href=\"index.html\">Home</a></li>"
                               "<li><a href=\"roster.html\">Roster</a></li>")},
        {"/events.htm", page("Events", "regatta@harbour-rowing.test",
                             "<li><a href=\"index.html\">Home</a></li>"
                             "<li><a href=\"archive.html\">Archive</a></li>")},
        {"/roster.html", page("Roster", "coach@harbour-rowing.test", "")},
        {"/archive.html", page("Archive", "history@harbour-rowing.test", "")},
    };
}

// The club site on a loopback server of the test's own.
struct ClubServer : LoopbackServer {
    ClubServer() {
        maxRequests = 100;
        for (const auto& [path, html] : ClubSite()) {
            page(path, html);
        }
    }
    QString at(const std::string& path) const { return QString::fromStdString(url(path)); }
};

// A loopback port that nothing listens on: connections to it are refused.
quint16 ClosedLoopbackPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

// Lets the browser view reach the loopback servers of the tests only, and
// records anything else it tries.
class LoopbackOnly : public QWebEngineUrlRequestInterceptor {
public:
    void interceptRequest(QWebEngineUrlRequestInfo& info) override {
        const QUrl url = info.requestUrl();
        if (url.scheme() == "about" || url.scheme() == "data" || url.host() == "127.0.0.1") {
            return;
        }
        info.block(true);
        std::lock_guard<std::mutex> lock(mutex);
        blocked.push_back(url.toString().toStdString());
    }
    std::mutex mutex;
    std::vector<std::string> blocked;
};

// Takes the addresses that the browser hands to the desktop.
class DesktopHandler : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void open(const QUrl& url) { opened.push_back(url.toString()); }
    QStringList opened;
};

// What the widgets showed whenever the crawl asked the site for a page.
struct Seen {
    std::set<std::string> visiting;
    std::set<int> chosenCounts;
    bool hourglass = false;
    bool processEnabled = false;
    bool terminateDisabled = false;
};

class WebWindowTest : public ::testing::Test {
protected:
    WebWindowTest()
        : savedDir_(QDir::currentPath()),
          savedTmp_(qEnvironmentVariableIsSet("TMPDIR") ? qgetenv("TMPDIR") : QByteArray()) {
        // Stored pages go to the system temporary folder + "Gleanmark/": a
        // folder of the test's own, or, for the pictures of the documentation,
        // the caller's, with a working folder named as a user's might be.
        if (std::getenv("GLEANMARK_SCREENSHOTS")) {
            tmpFolder = QDir::tempPath().toStdString();
            workFolder = tmpFolder + "/harbour-club";
        } else {
            tmpFolder = dir.file("tmp");
            workFolder = dir.path();
            qputenv("TMPDIR", QByteArray::fromStdString(tmpFolder));
        }
        QDir().mkpath(QString::fromStdString(tmpFolder));
        QDir().mkpath(QString::fromStdString(workFolder));
        QDir::setCurrent(QString::fromStdString(workFolder));
        QWebEngineProfile::defaultProfile()->setUrlRequestInterceptor(&guard);
    }
    ~WebWindowTest() override {
        host.reset();
        mainWindow.reset();
        QWebEngineProfile::defaultProfile()->setUrlRequestInterceptor(nullptr);
        QDir::setCurrent(savedDir_);
        if (savedTmp_.isNull()) {
            qunsetenv("TMPDIR");
        } else {
            qputenv("TMPDIR", savedTmp_);
        }
    }

    void SetUp() override {
        form.Form_Load();
        mainWindow = std::make_unique<MainWindow>(form);
        host = std::make_unique<WebWindowHost>(
            WebWindowHost::Ports{side, pump, clock, settingsStore}, mainWindow.get());
        host->limits.timeMs = 5000;
        // As the program wires them: "Extract Web" opens the one web window,
        // and every yield brings both windows in step.
        form.showWebWindow = [this] { host->show(); };
        host->syncMainWindow = [this] { mainWindow->sync(); };
        pump.beforeYield = [this] { host->syncWindows(); };
        mainWindow->syncAll();
        mainWindow->show();
    }

    void TearDown() override { EXPECT_TRUE(guard.blocked.empty()) << guard.blocked.front(); }

    WebWindow* openWebWindow() {
        mainWindow->findChild<QAction*>("mnuProcessWeb")->trigger();
        QObject::connect(view(), &QWebEngineView::loadFinished, view(),
                         [this] { finished.push_back(view()->url().toString()); });
        EXPECT_TRUE(ShowActive(host->window()));
        return host->window();
    }
    template <typename T>
    T* web(const char* name) {
        return Child<T>(host->window(), name);
    }
    template <typename T>
    T* inMain(const char* name) {
        return Child<T>(mainWindow.get(), name);
    }
    QWebEngineView* view() { return host->window()->browser(); }
    QLineEdit* addressBox() { return web<QComboBox>("cboAddress")->lineEdit(); }

    // Types into the address box as a user does, replacing its text: a
    // click in the box, then keys from the keyboard.
    void type(const QString& text, bool enter) {
        QTest::mouseClick(addressBox(), Qt::LeftButton);
        PressKey(Qt::Key_A, Qt::ControlModifier);
        PressKey(Qt::Key_Backspace);
        TypeText(text);
        if (enter) {
            PressKey(Qt::Key_Return);
        }
    }
    // True when the keyboard focus is in the browser view's page.
    bool pageHasFocus() {
        QWidget* focus = QApplication::focusWidget();
        return focus && (focus == view() || view()->isAncestorOf(focus));
    }
    // Waits until the view's last finished load is `url` and it is no longer busy.
    bool shows(const QString& url) {
        return WaitUntil(
            [&] {
                return !finished.isEmpty() && finished.last() == url &&
                       web<QLabel>("lblBusy")->text().isEmpty();
            },
            10000);
    }
    void press(const char* key) { QTest::mouseClick(web<QToolButton>(key), Qt::LeftButton); }

    // Sets depth and download option through the settings dialog.
    void configure(int depth, bool online, std::function<void(QWidget*)> alsoSee = {}) {
        WhenModal("frmSetting", [=](QWidget* d) {
            auto* box = d->findChild<QLineEdit*>("txtDepth");
            box->selectAll();
            QTest::keyClicks(box, QString::number(depth));
            Tick(d->findChild<QRadioButton*>(online ? "optOnline" : "optOffline"));
            if (alsoSee) {
                alsoSee(d);
            }
            QTest::mouseClick(d->findChild<QPushButton*>("Command5"), Qt::LeftButton);
        });
        press("Setting");
    }

    // Presses Process and notes what the widgets show at every request.
    Seen crawl(LoopbackServer* site = nullptr) {
        Seen seen;
        if (site) {
            site->onRequest = [&] {
                seen.visiting.insert(web<QLabel>("lblVisiting")->text().toStdString());
                seen.chosenCounts.insert(inMain<QListWidget>("List2")->count());
                seen.hourglass |= host->window()->cursor().shape() == Qt::WaitCursor;
                seen.processEnabled |= web<QToolButton>("Process")->isEnabled();
                seen.terminateDisabled |= !web<QToolButton>("Terminate")->isEnabled();
            };
        }
        press("Process");
        if (site) {
            site->onRequest = nullptr;
        }
        return seen;
    }
    std::vector<std::string> chosenFiles() {
        std::vector<std::string> out;
        auto* list = inMain<QListWidget>("List2");
        for (int i = 0; i < list->count(); ++i) {
            out.push_back(list->item(i)->text().toStdString());
        }
        return out;
    }
    std::string storedPage(int n) const {
        return tmpFolder + "/Gleanmark/" + std::to_string(n) + ".html";
    }

    // Saves a picture when GLEANMARK_SCREENSHOTS names a folder.
    void screenshot(const char* name, QWidget* first, QWidget* second = nullptr) {
        const char* folder = std::getenv("GLEANMARK_SCREENSHOTS");
        if (!folder) {
            return;
        }
        if (second) {
            second->resize(920, first->height());
        }
        WaitUntil([] { return false; }, 500);  // let the browser view draw
        QPixmap left = first->grab();
        if (second) {
            // The two windows side by side, as on a desktop.
            const QPixmap right = second->grab();
            QPixmap both(left.width() + right.width() + 24,
                         std::max(left.height(), right.height()) + 16);
            both.fill(QColor(0x4a, 0x55, 0x68));
            QPainter p(&both);
            p.drawPixmap(8, 8, left);
            p.drawPixmap(left.width() + 16, 8, right);
            p.end();
            left = both;
        }
        left.save(QString(folder) + "/" + name);
    }

    TempDir dir;
    std::string tmpFolder, workFolder;
    LoopbackOnly guard;
    ScriptedPrompts prompts;
    QtEventPump pump;
    FixedClock clock;
    RecordingLauncher launcher;
    FakeEditing editing;
    MainForm form{{prompts, pump, clock, launcher, editing, editing}};
    MainFormSide side{form};
    QtSettingsStore settingsStore{dir.file("settings")};
    std::unique_ptr<MainWindow> mainWindow;
    std::unique_ptr<WebWindowHost> host;
    QStringList finished;  // the addresses the view finished loading

private:
    QString savedDir_;
    QByteArray savedTmp_;
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

TEST_F(WebWindowTest, TheKeysOfABrowser) {
    ClubServer site;
    LoopbackServer::Reply slow;
    slow.body = "<p>at last</p>";
    slow.delayMs = 8000;
    site.route("/slow.html", slow);
    openWebWindow();
    type(site.at("/index.html"), true);
    ASSERT_TRUE(shows(site.at("/index.html")));

    // Tab goes from the address box to the page; Ctrl+L and Alt+D come back
    // to the box with its text selected, ready to be typed over.
    const std::pair<Qt::Key, Qt::KeyboardModifier> toTheBox[] = {{Qt::Key_L, Qt::ControlModifier},
                                                                 {Qt::Key_D, Qt::AltModifier}};
    for (const auto& [key, modifier] : toTheBox) {
        PressKey(Qt::Key_Tab);
        EXPECT_TRUE(WaitUntil([&] { return pageHasFocus(); }, 3000));
        PressKey(key, modifier);
        EXPECT_TRUE(web<QComboBox>("cboAddress")->hasFocus());
        EXPECT_EQ(addressBox()->selectedText(), site.at("/index.html"));
    }
    // F5 loads the page again.
    PressKey(Qt::Key_F5);
    EXPECT_TRUE(WaitUntil([&] { return site.hits("/index.html") == 2; }));
    ASSERT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text().isEmpty(); }));

    // Alt+Left goes back, Alt+Right forward.
    type(site.at("/members.html"), true);
    ASSERT_TRUE(shows(site.at("/members.html")));
    ASSERT_TRUE(WaitUntil([&] { return web<QToolButton>("cmdBack")->isEnabled(); }));
    PressKey(Qt::Key_Left, Qt::AltModifier);
    ASSERT_TRUE(shows(site.at("/index.html")));
    ASSERT_TRUE(WaitUntil([&] { return web<QToolButton>("cmdForward")->isEnabled(); }));
    PressKey(Qt::Key_Right, Qt::AltModifier);
    ASSERT_TRUE(shows(site.at("/members.html")));

    // Escape stops a page that is slow to come.
    type(site.at("/slow.html"), true);
    ASSERT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text() == "Working..."; }));
    PressKey(Qt::Key_Escape);
    EXPECT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text().isEmpty(); }, 3000));
}

TEST_F(WebWindowTest, EveryMenuOpensWithAltAndItsLetter) {
    WebWindow* w = openWebWindow();
    ExpectAltOpensMenus(w, {{Qt::Key_F, "mnuFile"}, {Qt::Key_S, "mnuShortCut"}});
    ExpectMenuLetters(w->menuBar(), [](const std::string& name) {
        const WebControlInfo* info = FindControl(WebControls(), name);
        return std::string(info ? info->caption : "(no control)");
    });
    // Alt+F, then S: the settings dialog.
    WhenModal("frmSetting", [](QWidget* d) {
        QTest::mouseClick(d->findChild<QPushButton*>("Command6"), Qt::LeftButton);
    });
    PressKey(Qt::Key_F, Qt::AltModifier);
    PressKey(Qt::Key_S);
    EXPECT_FALSE(QApplication::activeModalWidget());
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
