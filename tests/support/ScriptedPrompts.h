#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Clipboard.h"
#include "Launcher.h"
#include "Prompts.h"

// Answers the form's questions from scripts and records what was asked.
// Unscripted questions get: Yes / OK, no file (cancel), Ignore.
class ScriptedPrompts : public Prompts {
public:
    struct Shown {
        std::string text;
        Buttons buttons;
        Icon icon;
        std::string title;
    };

    Answer message(const std::string& text, Buttons buttons, Icon icon,
                   const std::string& title) override {
        shown.push_back({text, buttons, icon, title});
        if (onShow) {
            onShow(text);
        }
        if (buttons == Buttons::OK) {
            return Answer::OK;
        }
        if (!answers.empty()) {
            Answer a = answers.front();
            answers.pop_front();
            return a;
        }
        return buttons == Buttons::YesNo ? Answer::Yes : Answer::OK;
    }
    std::optional<std::string> openFile(const FileDialog&) override { return next(openPaths); }
    std::optional<std::string> saveFile(const FileDialog& d) override {
        ++saveDialogs;
        lastFilter = d.filter;
        lastFilterIndex = d.filterIndex;
        return next(savePaths);
    }
    std::optional<std::string> stripDirectory(const std::string&) override {
        ++stripDialogs;
        return stripDir;
    }
    int problem(const std::string& text) override {
        problems.push_back(text);
        if (onShow) {
            onShow(text);
        }
        if (problemAnswers.empty()) {
            return ProblemIgnore;
        }
        int r = problemAnswers.front();
        problemAnswers.pop_front();
        return r;
    }
    std::optional<KeywordEntry> keywordEntry(const std::string&, const KeywordEntry& initial,
                                             const KeywordAccept& accept) override {
        keywordInitial.push_back(initial);
        // Each scripted entry is typed and OK pressed; a refused entry leaves
        // the dialog open for the next one; when the script ends, Cancel.
        while (!keywordEntries.empty()) {
            KeywordEntry e = keywordEntries.front();
            keywordEntries.pop_front();
            if (accept(e)) {
                return e;
            }
        }
        return std::nullopt;
    }
    std::optional<int> choose(const std::string&,
                              const std::vector<std::string>& options) override {
        chooseOptions = options;
        if (choices.empty()) {
            return std::nullopt;
        }
        auto c = choices.front();
        choices.pop_front();
        return c;
    }

    // The texts of every message box, in order.
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const auto& s : shown) {
            out.push_back(s.text);
        }
        return out;
    }

    // Runs as a message box or the problem dialog opens, with its text.
    std::function<void(const std::string&)> onShow;
    std::vector<Shown> shown;
    std::deque<Answer> answers;
    std::deque<std::optional<std::string>> openPaths;
    std::deque<std::optional<std::string>> savePaths;
    std::optional<std::string> stripDir;
    std::deque<int> problemAnswers;
    std::vector<std::string> problems;
    std::deque<KeywordEntry> keywordEntries;
    std::vector<KeywordEntry> keywordInitial;
    std::deque<std::optional<int>> choices;
    std::vector<std::string> chooseOptions;
    int saveDialogs = 0;
    int stripDialogs = 0;
    std::string lastFilter;
    int lastFilterIndex = 0;

private:
    static std::optional<std::string> next(std::deque<std::optional<std::string>>& q) {
        if (q.empty()) {
            return std::nullopt;
        }
        auto v = q.front();
        q.pop_front();
        return v;
    }
};

// Records what was opened; `opens` says whether the desktop has a viewer,
// `guide` where the user guide is (empty: not installed).
class RecordingLauncher : public Launcher {
public:
    bool openDocument(const std::string& path) override {
        opened.push_back(path);
        return opens;
    }
    std::string userGuide() const override { return guide; }
    std::vector<std::string> opened;
    bool opens = true;
    std::string guide;
};

// A clipboard and a focused editor holding text with a selection [start, end).
class FakeEditing : public Clipboard, public FocusedEditor {
public:
    void clear() override { clip.clear(); }
    void setText(const std::string& t) override { clip = t; }
    std::string text() const override { return clip; }
    bool available() const override { return hasFocus; }
    std::string selectedText() const override { return content.substr(start, end - start); }
    void replaceSelection(const std::string& t) override {
        content = content.substr(0, start) + t + content.substr(end);
        end = start + t.size();
    }

    std::string clip;
    std::string content;
    size_t start = 0, end = 0;
    bool hasFocus = true;
};
