#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fetcher.h"
#include "FolderBrowser.h"
#include "HtmlDocument.h"
#include "MainWindowSide.h"
#include "MousePointer.h"
#include "SettingsStore.h"

// Settings held in memory; every write is recorded in order.
class MemorySettings : public SettingsStore {
public:
    std::optional<std::string> value(const std::string& application, const std::string& section,
                                     const std::string& key) const override {
        auto it = values.find(application + "/" + section + "/" + key);
        if (it == values.end()) {
            return std::nullopt;
        }
        return it->second;
    }
    void setValue(const std::string& application, const std::string& section,
                  const std::string& key, const std::string& value) override {
        values[application + "/" + section + "/" + key] = value;
        writes.push_back(key + "=" + value);
    }
    // Sets a key of "Gleanmark"/"Setting" without recording it as a write.
    void preset(const std::string& key, const std::string& value) {
        values["Gleanmark/Setting/" + key] = value;
    }

    std::map<std::string, std::string> values;
    std::vector<std::string> writes;
};

// Pages by address; an address without a page fails (empty text). Each
// transfer reports itself executing for `polls` polls first.
class ScriptedFetcher : public Fetcher {
public:
    void open(const std::string& address) override {
        requests.push_back(address);
        current_ = address;
        left_ = polls;
    }
    bool executing() override { return left_-- > 0; }
    std::string text() const override {
        auto it = pages.find(current_);
        return it == pages.end() ? std::string() : it->second;
    }

    std::map<std::string, std::string> pages;
    std::vector<std::string> requests;
    int polls = 0;

private:
    std::string current_;
    int left_ = 0;
};

// Link lists by address; an address listed in `failing` raises an error
// while its links are read.
class ScriptedDocuments : public HtmlDocumentSource {
public:
    std::unique_ptr<HtmlDocument> create() override { return std::make_unique<Document>(*this); }

    std::map<std::string, std::vector<std::string>> links;
    std::vector<std::string> failing;
    std::vector<std::string> requests;

private:
    class Document : public HtmlDocument {
    public:
        explicit Document(ScriptedDocuments& source) : source_(source) {}
        void createDocumentFromUrl(const std::string& address) override {
            source_.requests.push_back(address);
            address_ = address;
        }
        bool complete() override { return true; }
        std::vector<std::string> links() const override {
            for (const auto& f : source_.failing) {
                if (f == address_) {
                    throw std::runtime_error("document error");
                }
            }
            auto it = source_.links.find(address_);
            return it == source_.links.end() ? std::vector<std::string>{} : it->second;
        }

    private:
        ScriptedDocuments& source_;
        std::string address_;
    };
};

// The main window's side: its List2 and how often Process was pressed.
class RecordingMainSide : public MainWindowSide {
public:
    void addChosenFile(const std::string& path) override {
        list2.push_back(path);
        if (onAdd) {
            onAdd();
        }
    }
    void processAll() override {
        ++processCalls;
        if (onProcess) {
            onProcess();
        }
    }

    std::vector<std::string> list2;
    int processCalls = 0;
    std::function<void()> onAdd;
    std::function<void()> onProcess;
};

// Answers the folder browser from a script (nothing: Cancel) and records
// the titles it was shown with.
class ScriptedFolders : public FolderBrowser {
public:
    std::optional<std::string> browseFolder(const std::string& title, const std::string&) override {
        titles.push_back(title);
        if (answers.empty()) {
            return std::nullopt;
        }
        auto a = answers.front();
        answers.pop_front();
        return a;
    }

    std::deque<std::optional<std::string>> answers;
    std::vector<std::string> titles;
};

class RecordingPointer : public MousePointer {
public:
    void setShape(Shape shape) override { shapes.push_back(shape); }
    std::vector<Shape> shapes;
};
