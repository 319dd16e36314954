// The file-selection panel: drive, folder and extension filter, the visible
// file list and the list of chosen files.
#include <QDir>

#include "EventPump.h"
#include "FileListing.h"
#include "MainForm.h"

std::vector<std::string> MainForm::listFiles(const std::string& folder) const {
    return ListFiles(folder, ctl("File1").pattern);
}

void MainForm::fillList1() {
    Control& list1 = controls["List1"];
    list1.items.clear();
    for (const auto& name : ctl("File1").items) {
        list1.items.push_back(name);
    }
    list1.selected.assign(list1.items.size(), false);
}

void MainForm::Drive1_Change(const std::string& drive) {
    if (running_) {
        return;  // the folder stays put while a run is under way
    }
    controls["Drive1"].caption = drive;
    if (!QDir::setCurrent(QString::fromStdString(drive))) {
        prompts().message("The drive is not ready.", Prompts::Buttons::OK,
                          Prompts::Icon::Exclamation);
        controls["Drive1"].caption = DriveOf(QDir::currentPath().toStdString());
        return;
    }
    setFolder(drive);
}

void MainForm::setFolder(const std::string& path) {
    if (running_ || ctl("Dir1").path == path) {
        return;
    }
    controls["Dir1"].path = path;
    Dir1_Change();
}

void MainForm::CmdRfrs_Click() {
    Dir1_Change();
}

void MainForm::Dir1_Change() {
    ports_.pump.yield();
    const std::string folder = ctl("Dir1").path;
    QDir::setCurrent(QString::fromStdString(folder));
    controls["File1"].path = folder;
    controls["File1"].items = listFiles(folder);
    fillList1();
    if (intDirRun == 1) {
        // The folder run does its per-folder work here; a folder is processed
        // only the first time it is reached.
        if (std::find(visitedFolders_.begin(), visitedFolders_.end(), folder) !=
            visitedFolders_.end()) {
            return;
        }
        visitedFolders_.push_back(folder);
        processFolderFiles();
    }
}

void MainForm::Combo1_Change(const std::string& text) {
    if (running_) {
        return;
    }
    controls["Combo1"].caption = text;
    strCurExt = text.find('(') != std::string::npos ? text.substr(0, 1) : text;
    controls["File1"].pattern = "*." + strCurExt;
    Dir1_Change();
}

void MainForm::CmdAdd_Click() {
    Control& list1 = controls["List1"];
    Control& list2 = controls["List2"];
    list1.selected.resize(list1.items.size(), false);
    for (;;) {
        auto it = std::find(list1.selected.begin(), list1.selected.end(), true);
        if (it == list1.selected.end()) {
            break;
        }
        const size_t i = static_cast<size_t>(it - list1.selected.begin());
        list2.items.push_back(JoinPath(ctl("Dir1").path, list1.items[i]));
        list2.selected.push_back(false);
        list1.items.erase(list1.items.begin() + static_cast<std::ptrdiff_t>(i));
        list1.selected.erase(it);
    }
}

void MainForm::updateCounts() {
    controls["Label5"].caption = "Total: " + std::to_string(ctl("List2").items.size());
    intChosenIndex = static_cast<int16_t>(ctl("List2").items.size() - 1);
}

void MainForm::CmdAdd_MouseUp() {
    controls["Label3"].caption = "Total: " + std::to_string(ctl("List1").items.size());
    updateCounts();
}

void MainForm::CmdDele_Click() {
    for (;;) {
        Control& list2 = controls["List2"];
        list2.selected.resize(list2.items.size(), false);
        auto it = std::find(list2.selected.begin(), list2.selected.end(), true);
        if (it == list2.selected.end()) {
            break;
        }
        ports_.pump.yield();
        Control& again = controls["List2"];
        auto first = std::find(again.selected.begin(), again.selected.end(), true);
        if (first == again.selected.end()) {
            break;
        }
        const auto i = first - again.selected.begin();
        again.items.erase(again.items.begin() + i);
        again.selected.erase(first);
    }
}

void MainForm::CmdDele_MouseUp() {
    updateCounts();
}

void MainForm::CmdSelectAll1_Click() {
    Control& list1 = controls["List1"];
    list1.selected.assign(list1.items.size(), true);
}

void MainForm::CmdSelectall2_Click() {
    controls["List2"].items.clear();
    controls["List2"].selected.clear();
    controls["Label5"].caption = "Total: 0";
}

void MainForm::List2_Click() {
    if (ctl("List2").listIndex >= 0) {
        intChosenIndex = static_cast<int16_t>(ctl("List2").listIndex);
    }
}
