// The result table's commands: saving, clearing, sorting and the "Edit
// Result" menu.
#include <filesystem>

#include "Clipboard.h"
#include "EventPump.h"
#include "MainForm.h"
#include "ResultTable.h"
#include "clsKeyWord.h"
#include "clsWF.h"

namespace {

// True when a file (not a folder) of that name exists.
bool FileExists(const std::string& path) {
    std::error_code ec;
    return std::filesystem::exists(path, ec) && !std::filesystem::is_directory(path, ec);
}

}  // namespace

std::optional<std::string> MainForm::chooseSaveFile() {
    for (;;) {
        auto path = prompts().saveFile(Prompts::FileDialog{});
        if (!path) {
            return std::nullopt;
        }
        if (!FileExists(*path)) {
            return path;
        }
        if (prompts().message("The file " + *path + " already exists, do you want to replace it?",
                              Prompts::Buttons::YesNo,
                              Prompts::Icon::Question) == Prompts::Answer::Yes) {
            return path;
        }
    }
}

void MainForm::SaveResults() {
    if (prompts().message("The processing is finished, do you want to save the results?",
                          Prompts::Buttons::YesNo,
                          Prompts::Icon::Question) != Prompts::Answer::Yes) {
        return;
    }
    auto path = chooseSaveFile();
    if (!path) {
        return;
    }
    strResultFile = *path;
    if (!objWF) {
        return;  // nothing to write: the flow ends as on any other error
    }
    objWF->WriteToFile(strResultFile, ports_.pump);
    objWF.reset();
    rstWF.reset();
    objKeyWord.reset();
    rstKeyWord.reset();
}

void MainForm::cmdSave_Click() {
    SaveResults();
    Form_Load();
}

void MainForm::cmdClearResult_Click() {
    if (rstWF) {
        rstWF->clearRows();
    }
}

void MainForm::DataGrid1_HeadClick(int column) {
    if (DataGrid1 && column >= 0) {
        DataGrid1->sortBy(static_cast<size_t>(column));
    }
}

void MainForm::mnuRsltCopy_Click() {
    if (!ports_.editor.available()) {
        return;
    }
    ports_.clipboard.clear();
    ports_.clipboard.setText(ports_.editor.selectedText());
}

void MainForm::mnuRsltCut_Click() {
    if (!ports_.editor.available()) {
        return;
    }
    mnuRsltCopy_Click();
    ports_.editor.replaceSelection("");
}

void MainForm::mnuRsltPaste_Click() {
    if (ports_.editor.available()) {
        ports_.editor.replaceSelection(ports_.clipboard.text());
    }
}

void MainForm::mnuRsltDelete_Click() {
    if (ports_.editor.available()) {
        ports_.editor.replaceSelection("");
    }
}
