#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Crawler.h"
#include "FormControls.h"
#include "PageStore.h"
#include "WebSettings.h"

class Clock;
class EventPump;
class Fetcher;
class HtmlDocumentSource;
class MainWindowSide;
class MousePointer;
class SettingsStore;

// The web window's behaviour without widgets (frmWeb): every control's state
// under its own name (see WebControls()), the page store, the crawl and every
// handler. The window shows this state and forwards user actions; the command
// line drives it the same way.
//
// Controls the window shows besides the tool bar and menus:
//   cboAddress   caption: the address text; items: addresses visited, newest first
//   lblBusy      "Working..." while the browser view loads, else ""
//   lblVisiting  "Visiting: " + the address in hand during a crawl, else ""
//   lblPages     "Pages stored: " + the pages stored by the current or last
//                crawl or shortcut run
//   lblFailed    "" or, once a page of the current or last crawl or shortcut
//                run failed to come, "Pages failed: " + their number + " (last: "
//                + its address + ": " + why + ")"
//   cmdBack, cmdForward  enabled as the browser's history allows
// While a crawl or a shortcut run is under way, Process, ProcessShort,
// Setting and their menu entries are disabled; Terminate is always enabled.
class WebForm {
public:
    struct Ports {
        Fetcher& fetcher;
        HtmlDocumentSource& documents;
        SettingsStore& settings;
        MainWindowSide& mainWindow;
        EventPump& pump;
        MousePointer& pointer;
        Clock& clock;
    };

    static constexpr const char* kTitle = "Extract Web";
    static constexpr const char* kHomeAddress = "about:blank";

    explicit WebForm(Ports ports);
    WebForm(const WebForm&) = delete;
    WebForm& operator=(const WebForm&) = delete;

    ControlSet controls;
    const Control& ctl(const std::string& name) const { return controls.get(name); }

    // ---- User actions, as the window forwards them ----
    // A click on a tool-bar button (by key), a menu entry or a button, by
    // control name. Disabled controls ignore clicks.
    void click(const std::string& name);
    void Toolbar1_ButtonClick(const std::string& key);
    // The address box's text was typed.
    void setAddressText(const std::string& text);
    // Enter in the address box, or an address chosen from its list: the
    // browser view is asked to go there.
    void cboAddress_Click();

    // ---- What the browser view reports ----
    void navigationStarted(const std::string& url);
    void navigationFinished(const std::string& url, bool ok);
    void historyChanged(bool canGoBack, bool canGoForward);

    // ---- What the page fetch reports ----
    // A page of a crawl or shortcut run did not come (it is stored empty).
    void pageFailed(const std::string& address, const std::string& reason);

    // ---- Requests to the window ----
    // Show this address in the browser view.
    std::function<void(const std::string& url)> navigate;
    // "Back", "Forward", "Stop" or "Refresh" for the browser view.
    std::function<void(const std::string& command)> browserCommand;
    // Open the settings dialog (SettingForm) / the filter dialog (FilterForm).
    std::function<void()> showSettings;
    std::function<void()> showFilter;

    // ---- Handlers ----
    void mnuProcess_Click();     // "Process": crawl from the address box
    void Terminate_Click();      // "Terminate": sets stopRequested
    void mnuSave_Click();        // "Save ShortCut"
    void mnuLoadSC_Click();      // "Process ShortCut"
    void ClearShortcut_Click();  // "Clear  Shortcut"
    void Setting_Click();
    void Filter_Click();
    void cmdHome_Click();
    void cmdSearch_Click();

    // True while a crawl or a shortcut run is under way.
    bool busy() const { return busy_; }

    // Search engine address; the box's text, percent-encoded, is appended.
    std::string searchAddress = "https://duckduckgo.com/?q=";

    WebSettings settings;
    PageStore store;
    Crawler crawler;

private:
    void beginWork();
    void endWork();
    void rememberAddress(const std::string& url);

    Ports ports_;
    bool busy_ = false;
    int pagesStored_ = 0;
    int pagesFailed_ = 0;
};
