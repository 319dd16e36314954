#include "WebControls.h"

#include <algorithm>
#include <string>

#include "FormControls.h"

using K = WebControlKind;

const std::vector<WebControlInfo>& WebControls() {
    static const std::vector<WebControlInfo> infos = {
        {"mnuFile", K::Menu, "File", ""},
        {"mnuProcess", K::MenuEntry, "Process", ""},
        {"mnuSetting", K::MenuEntry, "Setting", ""},
        {"mnuShortCut", K::Menu, "ShortCut", ""},
        {"mnuSave", K::MenuEntry, "Save ShortCut", ""},
        {"mnuLoadSC", K::MenuEntry, "Process ShortCut", ""},
        // Tool bar, by key
        {"Process", K::ToolButton, "Process", "Crawl the site from the address in the box"},
        {"Terminate", K::ToolButton, "Terminate", "Stop the crawl after the page in hand"},
        {"Setting", K::ToolButton, "Setting", "Depth, download mode, filter and folders"},
        {"Filter", K::ToolButton, "Edit Filter", "Addresses that a filtered crawl does not follow"},
        {"SaveShort", K::ToolButton, "Save ShortCut", "Keep the address in the shortcut list"},
        {"ProcessShort", K::ToolButton, "Process ShortCut",
         "Fetch and process every address of the shortcut list"},
        {"Clear", K::ToolButton, "Clear  Shortcut", "Empty the shortcut list"},
        // Browser
        {"cmdBack", K::Button, "Back", "Go back one page"},
        {"cmdForward", K::Button, "Forward", "Go forward one page"},
        {"cmdStop", K::Button, "Stop", "Stop loading this page"},
        {"cmdRefresh", K::Button, "Refresh", "Load this page again"},
        {"cmdHome", K::Button, "Home", "Go to the start page"},
        {"cmdSearch", K::Button, "Search", "Search the web for the text in the box"},
        {"lblAddress", K::Label, "Address:", ""},
        {"cboAddress", K::Combo, "", ""},
        {"lblBusy", K::Label, "", ""},
        {"brwWebBrowser", K::Browser, "", ""},
        // Crawl display
        {"lblVisiting", K::Label, "", ""},
        {"lblPages", K::Label, "", ""},
        {"lblFailed", K::Label, "", ""},
    };
    return infos;
}

const std::vector<WebControlInfo>& SettingControls() {
    static const std::vector<WebControlInfo> infos = {
        {"Label1", K::Label, "Saving Directory", ""},
        {"txtSaveDir", K::TextBox, "", ""},
        {"cmdSaveDir", K::Button, "...", "Choose the saving directory"},
        {"Label2", K::Label, "Filter Directory", ""},
        {"txtFilterDir", K::TextBox, "", ""},
        {"cmdFilterDir", K::Button, "...", "Choose the folder of the filter file"},
        {"Label3", K::Label, "ShortCut Directory", ""},
        {"txtShortcutDir", K::TextBox, "", ""},
        {"cmdShortcutDir", K::Button, "...", "Choose the folder of the shortcut file"},
        {"fraProcess", K::Frame, "Process Option", ""},
        {"Label4", K::Label, "Depth", ""},
        {"txtDepth", K::TextBox, "", "Levels of pages to fetch"},
        {"UpDown1", K::UpDown, "", ""},
        {"chkFilter", K::CheckBox, "Enable Filter", ""},
        {"fraDownload", K::Frame, "Download Option", ""},
        {"optOnline", K::Option, "Online", "Process the pages as soon as the crawl is done"},
        {"optOffline", K::Option, "Offline", "Keep the pages in the chosen-file list"},
        {"Command5", K::Button, "OK", ""},
        {"Command6", K::Button, "Cancel", ""},
    };
    return infos;
}

const std::vector<WebControlInfo>& FilterControls() {
    static const std::vector<WebControlInfo> infos = {
        {"Text1", K::MultiLineText, "", ""},
        {"Command1", K::Button, "Save", ""},
    };
    return infos;
}

void AddControls(ControlSet& set, const std::vector<WebControlInfo>& infos) {
    for (const WebControlInfo& info : infos) {
        Control c;
        c.caption = info.caption;
        c.tooltip = info.tooltip;
        set.add(info.name, c);
    }
}

WebControlKind KindOf(const std::vector<WebControlInfo>& infos, const char* name) {
    const auto it = std::find_if(infos.begin(), infos.end(), [&](const WebControlInfo& i) {
        return std::string(i.name) == name;
    });
    return it == infos.end() ? K::Label : it->kind;
}
