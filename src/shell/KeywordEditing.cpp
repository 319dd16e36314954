// The keyword list of the "Settings" frame: add, change, delete, move, open,
// save and clear keywords.
#include <algorithm>

#include "KeywordEntryCheck.h"
#include "MainForm.h"
#include "clsKeyWord.h"

namespace {

// The keyword as the user typed it: the stored name less the one space added
// on each side.
std::string TypedKeyword(const std::string& stored) {
    if (stored.size() >= 2 && stored.front() == ' ' && stored.back() == ' ') {
        return stored.substr(1, stored.size() - 2);
    }
    return stored;
}

}  // namespace

void MainForm::showKeywords() {
    Control& list3 = controls["List3"];
    list3.items.clear();
    if (rstKeyWord) {
        for (const auto& k : rstKeyWord->records()) {
            list3.items.push_back(k.Name);
        }
    }
    list3.selected.assign(list3.items.size(), false);
    if (list3.listIndex >= static_cast<int>(list3.items.size())) {
        list3.listIndex = -1;
    }
}

void MainForm::CmdAddKW_Click() {
    auto source = prompts().choose("Add KeyWord", {"New Keyword", "Keywords from saved file"});
    if (!source) {
        return;
    }
    if (*source == 1) {
        auto path = prompts().openFile(Prompts::FileDialog{});
        if (!path) {
            return;
        }
        clsKeyWord saved(*path);
        for (const auto& k : saved.rstKeyWord->records()) {
            rstKeyWord->add(k.Name, k.Position);
        }
        showKeywords();
        return;
    }
    auto accept = [this](const Prompts::KeywordEntry& e) {
        if (auto problem = CheckKeywordEntry(e.keyword, e.positions)) {
            prompts().message(*problem, Prompts::Buttons::OK, Prompts::Icon::Critical);
            return false;
        }
        return true;
    };
    if (auto entry = prompts().keywordEntry("New KeyWord", {}, accept)) {
        rstKeyWord->add(StoredKeywordName(entry->keyword), entry->positions);
        showKeywords();
        controls["List3"].listIndex = static_cast<int>(rstKeyWord->size()) - 1;
    }
}

void MainForm::CmdPropertyKW_Click() {
    const int i = ctl("List3").listIndex;
    if (i < 0 || static_cast<size_t>(i) >= rstKeyWord->size()) {
        return;
    }
    const KeywordRecord& k = (*rstKeyWord)[static_cast<size_t>(i)];
    auto accept = [this](const Prompts::KeywordEntry& e) {
        if (auto problem = CheckKeywordEntry(e.keyword, e.positions)) {
            prompts().message(*problem, Prompts::Buttons::OK, Prompts::Icon::Critical);
            return false;
        }
        return true;
    };
    if (auto entry = prompts().keywordEntry("KeyWord Property", {TypedKeyword(k.Name), k.Position},
                                            accept)) {
        rstKeyWord->set(static_cast<size_t>(i), StoredKeywordName(entry->keyword),
                        entry->positions);
        showKeywords();
        controls["List3"].listIndex = i;
    }
}

void MainForm::CmdDeleKW_Click() {
    const int i = ctl("List3").listIndex;
    if (i < 0 || static_cast<size_t>(i) >= rstKeyWord->size()) {
        return;
    }
    const std::string name = ctl("List3").items[static_cast<size_t>(i)];
    if (prompts().message("Are you ready to delete the Keyword " + name + " ?",
                          Prompts::Buttons::YesNo, Prompts::Icon::Question,
                          "Delete KeyWord") != Prompts::Answer::Yes) {
        return;
    }
    rstKeyWord->remove(static_cast<size_t>(i));
    controls["List3"].listIndex = -1;
    showKeywords();
}

void MainForm::CmdUP_Click() {
    const int i = ctl("List3").listIndex;
    if (i < 1 || static_cast<size_t>(i) >= rstKeyWord->size()) {
        return;
    }
    rstKeyWord->swap(static_cast<size_t>(i), static_cast<size_t>(i - 1));
    showKeywords();
    selectKeyword(i - 1);
}

void MainForm::CmdDown_Click() {
    const int i = ctl("List3").listIndex;
    if (i < 0 || static_cast<size_t>(i) + 1 >= rstKeyWord->size()) {
        return;
    }
    rstKeyWord->swap(static_cast<size_t>(i), static_cast<size_t>(i + 1));
    showKeywords();
    selectKeyword(i + 1);
}

void MainForm::selectKeyword(int row) {
    // The moved keyword stays the highlighted one, so the next press of up
    // or down moves it on.
    Control& list3 = controls["List3"];
    list3.listIndex = row;
    list3.selected.assign(list3.items.size(), false);
    list3.selected[static_cast<size_t>(row)] = true;
}

void MainForm::CmdOpenKW_Click() {
    auto path = prompts().openFile(Prompts::FileDialog{});
    if (!path) {
        return;
    }
    strKeyOpenFile = *path;
    objKeyWord = std::make_unique<clsKeyWord>(strKeyOpenFile);
    rstKeyWord = objKeyWord->rstKeyWord;
    showKeywords();
}

void MainForm::CmdSaveKW_Click() {
    auto path = chooseSaveFile();
    if (!path) {
        return;
    }
    strKeySaveFile = *path;
    if (!objKeyWord->WriteToFile(strKeySaveFile)) {
        prompts().message("The file '" + strKeySaveFile + "' can not be written.",
                          Prompts::Buttons::OK, Prompts::Icon::Critical);
    }
}

void MainForm::CmdKWClear_Click() {
    rstKeyWord->clear();
    controls["List3"].listIndex = -1;
    showKeywords();
}
