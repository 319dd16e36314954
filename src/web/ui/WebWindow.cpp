#include "WebWindow.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QWebEngineHistory>
#include <QWebEngineLoadingInfo>
#include <QWebEnginePage>
#include <QWebEngineView>

#include "FilterDialog.h"
#include "SettingDialog.h"
#include "WebControls.h"
#include "WebForm.h"

namespace {

QString CaptionOf(const std::string& name) {
    return QString::fromUtf8(FindControl(WebControls(), name)->caption);
}

// The menus' and entries' captions with the letter that Alt reaches marked.
const std::pair<const char*, const char*> kMenuLetters[] = {
    {"mnuFile", "&File"},         {"mnuProcess", "&Process"},    {"mnuSetting", "&Setting"},
    {"mnuShortCut", "&ShortCut"}, {"mnuSave", "&Save ShortCut"}, {"mnuLoadSC", "&Process ShortCut"},
};

// The shortcuts of the browser's commands, as in desktop browsers.
const std::pair<const char*, QKeySequence::StandardKey> kBrowserKeys[] = {
    {"cmdBack", QKeySequence::Back},
    {"cmdForward", QKeySequence::Forward},
    {"cmdRefresh", QKeySequence::Refresh},
};

}  // namespace

WebWindow::WebWindow(WebForm& form, QWidget* parent)
    : QMainWindow(parent),
      form_(form),
      binding_(form.controls, {[this](const std::string& name) { form_.click(name); },
                               [this](const std::string& name, const std::string& text) {
                                   if (name == "cboAddress") {
                                       form_.setAddressText(text);
                                   }
                               }}),
      view_(new QWebEngineView(this)) {
    setObjectName("frmWeb");
    setWindowTitle(WebForm::kTitle);
    binding_.add("brwWebBrowser", view_);
    setCentralWidget(view_);

    buildMenus();
    buildToolbar();
    addToolBarBreak();
    buildNavigation();
    buildStatusLine();
    buildKeys();
    connectBrowser();

    form_.showSettings = [this] { openSettings(); };
    form_.showFilter = [this] { openFilter(); };
    resize(1000, 700);
    syncAll();
}

QAction* WebWindow::addCommand(QToolBar* bar, const std::string& name, QStyle::StandardPixmap icon,
                               std::function<void()> handler) {
    const QString n = QString::fromStdString(name);
    QAction* a = bar->addAction(style()->standardIcon(icon), CaptionOf(name));
    a->setToolTip(QString::fromUtf8(FindControl(WebControls(), name)->tooltip));
    binding_.add(name, a);
    bar->widgetForAction(a)->setObjectName(n);
    connect(a, &QAction::triggered, this, [this, name, handler] { binding_.act(name, handler); });
    return a;
}

void WebWindow::buildMenus() {
    for (const auto& [name, marked] : kMenuLetters) {
        binding_.markLetter(name, QString::fromUtf8(marked));
    }
    QMenu* current = nullptr;
    for (const WebControlInfo& info : WebControls()) {
        const std::string name = info.name;
        if (info.kind == WebControlKind::Menu) {
            current = menuBar()->addMenu(QString::fromUtf8(info.caption));
            binding_.add(name, current);
        } else if (info.kind == WebControlKind::MenuEntry && current) {
            QAction* a = current->addAction(QString::fromUtf8(info.caption));
            binding_.add(name, a);
            connect(a, &QAction::triggered, this,
                    [this, name] { binding_.act(name, [&] { form_.click(name); }); });
        }
    }
}

QToolBar* WebWindow::addBar(const char* name, Qt::ToolButtonStyle look) {
    QToolBar* bar = addToolBar(name);
    bar->setObjectName(name);
    bar->setToolButtonStyle(look);
    bar->setMovable(false);
    return bar;
}

void WebWindow::buildToolbar() {
    QToolBar* bar = addBar("Toolbar1", Qt::ToolButtonTextBesideIcon);
    const std::pair<const char*, QStyle::StandardPixmap> buttons[] = {
        {"Process", QStyle::SP_MediaPlay},
        {"Terminate", QStyle::SP_MediaStop},
        {"Setting", QStyle::SP_FileDialogDetailedView},
        {"Filter", QStyle::SP_FileDialogListView},
        {"SaveShort", QStyle::SP_DialogSaveButton},
        {"ProcessShort", QStyle::SP_MediaSeekForward},
        {"Clear", QStyle::SP_DialogResetButton}};
    for (const auto& [key, icon] : buttons) {
        const std::string k = key;
        addCommand(bar, k, icon, [this, k] { form_.Toolbar1_ButtonClick(k); });
    }
}

void WebWindow::buildNavigation() {
    QToolBar* bar = addBar("Navigation", Qt::ToolButtonIconOnly);
    const std::pair<const char*, QStyle::StandardPixmap> buttons[] = {
        {"cmdBack", QStyle::SP_ArrowBack},   {"cmdForward", QStyle::SP_ArrowForward},
        {"cmdStop", QStyle::SP_BrowserStop}, {"cmdRefresh", QStyle::SP_BrowserReload},
        {"cmdHome", QStyle::SP_DirHomeIcon},
    };
    for (const auto& [name, icon] : buttons) {
        const std::string n = name;
        addCommand(bar, n, icon, [this, n] { form_.click(n); });
    }

    auto* label = new QLabel(CaptionOf("lblAddress"), bar);
    binding_.add("lblAddress", label);
    label->setContentsMargins(6, 0, 4, 0);
    bar->addWidget(label);

    auto* address = new QComboBox(bar);
    address_ = address;
    address->setEditable(true);
    address->setInsertPolicy(QComboBox::NoInsert);  // the form keeps the addresses visited
    address->setCompleter(nullptr);
    address->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    binding_.add("cboAddress", address);
    connect(address->lineEdit(), &QLineEdit::textEdited, this, [this](const QString& text) {
        binding_.act("cboAddress", [&] { form_.setAddressText(text.toStdString()); });
    });
    // Enter is taken before the box sees it. A key from the keyboard reaches
    // the combo box (its line edit's focus proxy), which hands it to the line
    // edit directly; a key sent to the line edit itself would travel up to
    // the box and be reported twice. So both are watched and the key ends
    // where it is first seen.
    address->installEventFilter(this);
    address->lineEdit()->installEventFilter(this);
    connect(address, &QComboBox::textActivated, this, [this](const QString& text) {
        binding_.act("cboAddress", [&] {
            form_.setAddressText(text.toStdString());
            form_.cboAddress_Click();
        });
    });
    bar->addWidget(address);

    QAction* search = addCommand(bar, "cmdSearch", QStyle::SP_FileDialogContentsView,
                                 [this] { form_.click("cmdSearch"); });
    static_cast<QToolButton*>(bar->widgetForAction(search))
        ->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);

    auto* busy = new QLabel(bar);
    binding_.add("lblBusy", busy);
    busy->setMinimumWidth(busy->fontMetrics().horizontalAdvance("Working...") + 12);
    busy->setAlignment(Qt::AlignCenter);
    bar->addWidget(busy);
}

void WebWindow::buildStatusLine() {
    auto* visiting = new QLabel(statusBar());
    binding_.add("lblVisiting", visiting);
    visiting->setTextInteractionFlags(Qt::TextSelectableByMouse);
    statusBar()->addWidget(visiting, 1);
    auto* failed = new QLabel(statusBar());
    binding_.add("lblFailed", failed);
    statusBar()->addPermanentWidget(failed);
    auto* pages = new QLabel(statusBar());
    binding_.add("lblPages", pages);
    statusBar()->addPermanentWidget(pages);
}

void WebWindow::buildKeys() {
    for (const auto& [name, key] : kBrowserKeys) {
        if (auto* a = qobject_cast<QAction*>(binding_.object(name))) {
            a->setShortcuts(key);
        }
    }
    // Escape stops loading; the Stop command is enabled only while the view
    // loads, so at other times Escape goes on to the widget that has focus.
    if (auto* stop = qobject_cast<QAction*>(binding_.object("cmdStop"))) {
        stop->setShortcut(Qt::Key_Escape);
    }
    auto* toAddress = new QAction(this);
    toAddress->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::Key_L), QKeySequence(Qt::ALT | Qt::Key_D)});
    connect(toAddress, &QAction::triggered, this, [this] {
        address_->setFocus(Qt::ShortcutFocusReason);
        address_->lineEdit()->selectAll();
    });
    addAction(toAddress);
    setTabOrder(address_, view_);
}

void WebWindow::connectBrowser() {
    form_.navigate = [this](const std::string& url) {
        view_->setUrl(QUrl(QString::fromStdString(url)));
    };
    form_.browserCommand = [this](const std::string& command) {
        if (command == "Back") {
            view_->back();
        } else if (command == "Forward") {
            view_->forward();
        } else if (command == "Stop") {
            view_->stop();
        } else if (command == "Refresh") {
            view_->reload();
        }
    };
    connect(view_->page(), &QWebEnginePage::loadingChanged, this,
            [this](const QWebEngineLoadingInfo& info) {
                const std::string url = info.url().toString().toStdString();
                binding_.act("brwWebBrowser", [&] {
                    if (info.status() == QWebEngineLoadingInfo::LoadStartedStatus) {
                        form_.navigationStarted(url);
                    } else {
                        form_.navigationFinished(
                            url, info.status() == QWebEngineLoadingInfo::LoadSucceededStatus);
                    }
                });
                reportHistory();
            });
    connect(view_, &QWebEngineView::urlChanged, this, [this] { reportHistory(); });
}

bool WebWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress &&
        (watched == address_ || watched == address_->lineEdit())) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            binding_.act("cboAddress", [&] { form_.cboAddress_Click(); });
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void WebWindow::reportHistory() {
    QWebEngineHistory* history = view_->history();
    binding_.act("brwWebBrowser",
                 [&] { form_.historyChanged(history->canGoBack(), history->canGoForward()); });
}

void WebWindow::openSettings() {
    binding_.sync();
    SettingDialog dialog(form_.settings, this);
    dialog.run();
}

void WebWindow::openFilter() {
    binding_.sync();
    FilterDialog dialog(form_.settings, this);
    dialog.run();
}
