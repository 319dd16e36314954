#include "SettingForm.h"

#include <QDir>
#include <algorithm>
#include <cctype>

#include "FolderBrowser.h"
#include "WebControls.h"

SettingForm::SettingForm(WebSettings& settings, FolderBrowser& folders)
    : settings_(settings), folders_(folders) {
    AddControls(controls, SettingControls());
}

void SettingForm::Form_Load() {
    if (settings_.once()) {
        controls["txtSaveDir"].caption = settings_.saveDir();
        controls["txtFilterDir"].caption = settings_.filterDir();
        controls["txtShortcutDir"].caption = settings_.shortcutDir();
        controls["txtDepth"].caption = settings_.text("Depth");
        selectOnline(settings_.online());
        controls["chkFilter"].value = settings_.enableFilter() ? 1 : 0;
        return;
    }
    const std::string current = QDir::toNativeSeparators(QDir::currentPath()).toStdString();
    for (const char* box : {"txtSaveDir", "txtFilterDir", "txtShortcutDir"}) {
        controls[box].caption = current;
    }
    controls["txtDepth"].caption = "1";
    controls["chkFilter"].value = 0;
    selectOnline(true);
}

void SettingForm::click(const std::string& name) {
    if (!controls.has(name) || !ctl(name).enabled) {
        return;
    }
    if (name == "cmdSaveDir") {
        browse("txtSaveDir");
    } else if (name == "cmdFilterDir") {
        browse("txtFilterDir");
    } else if (name == "cmdShortcutDir") {
        browse("txtShortcutDir");
    } else if (name == "chkFilter") {
        controls[name].value = ctl(name).value == 1 ? 0 : 1;
    } else if (name == "optOnline" || name == "optOffline") {
        selectOnline(name == "optOnline");
    } else if (name == "Command5") {
        Command5_Click();
    } else if (name == "Command6") {
        Command6_Click();
    }
}

void SettingForm::setText(const std::string& name, const std::string& text) {
    if (!controls.has(name)) {
        return;
    }
    std::string kept = text;
    if (name == "txtDepth") {
        kept.erase(std::remove_if(kept.begin(), kept.end(),
                                  [](unsigned char c) { return !std::isdigit(c); }),
                   kept.end());
    }
    controls[name].caption = kept;
}

void SettingForm::UpDown1_Change(int step) {
    int depth = kMinDepth;
    try {
        depth = std::stoi(ctl("txtDepth").caption);
    } catch (...) {
    }
    depth = std::clamp(depth + step, kMinDepth, kMaxDepth);
    controls["txtDepth"].caption = std::to_string(depth);
}

void SettingForm::Command5_Click() {
    settings_.write("SaveDir", ctl("txtSaveDir").caption);
    settings_.write("FilterDir", ctl("txtFilterDir").caption);
    settings_.write("ShortcutDir", ctl("txtShortcutDir").caption);
    settings_.write("Depth", ctl("txtDepth").caption);
    settings_.write("Online", WebSettings::BoolText(ctl("optOnline").value == 1));
    settings_.write("EnableFilter", WebSettings::BoolText(ctl("chkFilter").value == 1));
    settings_.write("Once", WebSettings::BoolText(true));
    settings_.write("TmpPath", WebSettings::SystemTmpPath());
    if (requestClose) {
        requestClose();
    }
}

void SettingForm::Command6_Click() {
    if (requestClose) {
        requestClose();
    }
}

void SettingForm::browse(const std::string& box) {
    const auto folder = folders_.browseFolder(kBrowseTitle, ctl(box).caption);
    if (folder) {
        controls[box].caption = *folder;
    }
}

void SettingForm::selectOnline(bool online) {
    controls["optOnline"].value = online ? 1 : 0;
    controls["optOffline"].value = online ? 0 : 1;
}
