#include "WebForm.h"

#include <QUrl>
#include <algorithm>
#include <map>

#include "MainWindowSide.h"
#include "WebControls.h"
#include "WebFiles.h"

namespace {

// Commands that wait while a crawl or a shortcut run is under way.
const char* const kWorkCommands[] = {"Process",   "mnuProcess", "ProcessShort",
                                     "mnuLoadSC", "Setting",    "mnuSetting"};

constexpr size_t kRememberedAddresses = 25;

}  // namespace

WebForm::WebForm(Ports ports)
    : settings(ports.settings),
      store({ports.fetcher, settings, ports.mainWindow, ports.pump}),
      crawler({store, ports.documents, settings, ports.mainWindow, ports.pump, ports.pointer,
               ports.clock}),
      ports_(ports) {
    AddControls(controls, WebControls());
    for (const char* name : {"cmdBack", "cmdForward", "cmdStop"}) {
        controls[name].enabled = false;
    }
    store.onStored = [this](const std::string&) {
        ++pagesStored_;
        controls["lblPages"].caption = "Pages stored: " + std::to_string(pagesStored_);
    };
    crawler.onVisit = [this](const std::string& address) {
        controls["lblVisiting"].caption = "Visiting: " + address;
    };
}

// ---------------------------------------------------------------------------
// Dispatch of user actions

void WebForm::click(const std::string& name) {
    using Handler = void (WebForm::*)();
    static const std::map<std::string, Handler> handlers = {
        {"Process", &WebForm::mnuProcess_Click},     {"mnuProcess", &WebForm::mnuProcess_Click},
        {"Terminate", &WebForm::Terminate_Click},    {"Setting", &WebForm::Setting_Click},
        {"mnuSetting", &WebForm::Setting_Click},     {"Filter", &WebForm::Filter_Click},
        {"SaveShort", &WebForm::mnuSave_Click},      {"mnuSave", &WebForm::mnuSave_Click},
        {"ProcessShort", &WebForm::mnuLoadSC_Click}, {"mnuLoadSC", &WebForm::mnuLoadSC_Click},
        {"Clear", &WebForm::ClearShortcut_Click},    {"cmdHome", &WebForm::cmdHome_Click},
        {"cmdSearch", &WebForm::cmdSearch_Click},
    };
    static const std::map<std::string, std::string> browserCommands = {{"cmdBack", "Back"},
                                                                       {"cmdForward", "Forward"},
                                                                       {"cmdStop", "Stop"},
                                                                       {"cmdRefresh", "Refresh"}};
    if (!controls.has(name) || !ctl(name).enabled) {
        return;
    }
    if (auto it = handlers.find(name); it != handlers.end()) {
        (this->*(it->second))();
    } else if (auto b = browserCommands.find(name); b != browserCommands.end() && browserCommand) {
        browserCommand(b->second);
    }
}

void WebForm::Toolbar1_ButtonClick(const std::string& key) {
    if (KindOf(WebControls(), key.c_str()) == WebControlKind::ToolButton) {
        click(key);
    }
}

void WebForm::beginWork() {
    busy_ = true;
    pagesStored_ = 0;
    pagesFailed_ = 0;
    controls["lblPages"].caption = "Pages stored: 0";
    controls["lblFailed"].caption.clear();
    for (const char* name : kWorkCommands) {
        controls[name].enabled = false;
    }
}

void WebForm::endWork() {
    busy_ = false;
    controls["lblVisiting"].caption.clear();
    for (const char* name : kWorkCommands) {
        controls[name].enabled = true;
    }
}

// ---------------------------------------------------------------------------
// Crawl and shortcuts

void WebForm::mnuProcess_Click() {
    if (busy_) {
        return;
    }
    beginWork();
    crawler.Lc2kEngine(ctl("cboAddress").caption, settings.depth(), settings.enableFilter(),
                       settings.online());
    endWork();
}

void WebForm::Terminate_Click() {
    crawler.stopRequested = true;
}

void WebForm::mnuSave_Click() {
    webfiles::AppendRecord(settings.shortcutFile(), ctl("cboAddress").caption);
}

void WebForm::ClearShortcut_Click() {
    webfiles::WriteRecord(settings.shortcutFile(), "");
}

void WebForm::mnuLoadSC_Click() {
    if (busy_) {
        return;
    }
    const auto lines = webfiles::ReadLines(settings.shortcutFile());
    if (!lines) {
        return;  // no shortcut file: nothing to fetch or process
    }
    beginWork();
    for (const std::string& line : *lines) {
        controls["lblVisiting"].caption = "Visiting: " + line;
        const std::string page = store.GetDocument(line);
        store.StoreInternetPage(page, line);
    }
    ports_.mainWindow.processAll();
    endWork();
}

void WebForm::Setting_Click() {
    if (showSettings) {
        showSettings();
    }
}

void WebForm::Filter_Click() {
    if (showFilter) {
        showFilter();
    }
}

// ---------------------------------------------------------------------------
// Browser

void WebForm::setAddressText(const std::string& text) {
    controls["cboAddress"].caption = text;
}

void WebForm::cboAddress_Click() {
    const QString text = QString::fromStdString(ctl("cboAddress").caption).trimmed();
    const QUrl url = QUrl::fromUserInput(text);
    if (text.isEmpty() || !url.isValid() || !navigate) {
        return;
    }
    navigate(url.toString(QUrl::FullyEncoded).toStdString());
}

void WebForm::cmdHome_Click() {
    if (navigate) {
        navigate(kHomeAddress);
    }
}

void WebForm::cmdSearch_Click() {
    const QString text = QString::fromStdString(ctl("cboAddress").caption).trimmed();
    if (text.isEmpty() || !navigate) {
        return;
    }
    navigate(searchAddress + QUrl::toPercentEncoding(text).toStdString());
}

void WebForm::navigationStarted(const std::string& url) {
    controls["cboAddress"].caption = url;
    controls["lblBusy"].caption = "Working...";
    controls["cmdStop"].enabled = true;
}

void WebForm::navigationFinished(const std::string& url, bool ok) {
    controls["lblBusy"].caption.clear();
    controls["cmdStop"].enabled = false;
    if (ok && !url.empty() && url != kHomeAddress) {
        rememberAddress(url);
    }
}

void WebForm::pageFailed(const std::string& address, const std::string& reason) {
    ++pagesFailed_;
    controls["lblFailed"].caption = "Pages failed: " + std::to_string(pagesFailed_) +
                                    " (last: " + address + ": " + reason + ")";
}

void WebForm::historyChanged(bool canGoBack, bool canGoForward) {
    controls["cmdBack"].enabled = canGoBack;
    controls["cmdForward"].enabled = canGoForward;
}

void WebForm::rememberAddress(const std::string& url) {
    auto& items = controls["cboAddress"].items;
    items.erase(std::remove(items.begin(), items.end(), url), items.end());
    items.insert(items.begin(), url);
    if (items.size() > kRememberedAddresses) {
        items.resize(kRememberedAddresses);
    }
}
