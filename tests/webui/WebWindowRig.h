#pragma once

// The web window opened from the main window as the program does, over a
// loopback site of the test's own, for the web window's tests.
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

// A small club site: two pages below the start page, and two more a level
// further down that a depth-2 crawl must not fetch.
inline std::map<std::string, std::string> ClubSite() {
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
inline quint16 ClosedLoopbackPort() {
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
