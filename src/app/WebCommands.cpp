#include "WebCommands.h"

#include <QCoreApplication>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>

#include "Clock.h"
#include "CommandLine.h"
#include "EventPump.h"
#include "GumboDocument.h"
#include "MainFormSide.h"
#include "MousePointer.h"
#include "QtFetcher.h"
#include "QtSettingsStore.h"
#include "WebFiles.h"
#include "WebForm.h"

namespace {

const char* const kCrawlUsage =
    "usage: gleanmark crawl [OPTIONS] ADDRESS\n"
    "\n"
    "Crawls from ADDRESS as the web window's Process button does, storing each\n"
    "page as a numbered file. Online, the stored pages are then processed as\n"
    "`gleanmark run` processes files; offline, their paths are printed.\n"
    "\n"
    "Crawl options (this crawl only; the rest comes from the web settings):\n"
    "  --depth N          levels of pages to fetch\n"
    "  --enable-filter    skip links that match the filter file\n"
    "  --filter-dir DIR   folder of the filter file\n"
    "  --offline          print the stored pages' paths instead of processing them\n"
    "  --tmp-dir DIR      folder for the stored pages\n"
    "Run options: those of `gleanmark run --help` (functions, boxes, -o, and the\n"
    "process options --files, --selected, --mail).\n"
    "\n"
    "Exit status as for run. Ctrl+C stops the crawl after the page in hand, and\n"
    "cancels the run once it has started.\n";

const char* const kShortcutUsage =
    "usage: gleanmark shortcut save ADDRESS [--shortcut-dir DIR]\n"
    "       gleanmark shortcut clear [--shortcut-dir DIR]\n"
    "       gleanmark shortcut process [--shortcut-dir DIR] [--tmp-dir DIR] [run options]\n"
    "\n"
    "save adds ADDRESS as a line of the shortcut file; clear leaves one empty\n"
    "line in it; process fetches every line's page, stores it and processes\n"
    "the stored pages as `gleanmark run` does (see its --help for the run\n"
    "options). The shortcut file is DIR//shortcut, DIR being --shortcut-dir or\n"
    "the web settings' ShortcutDir.\n";

volatile std::sig_atomic_t stopCrawl = 0;

// The first Ctrl+C asks the crawl to stop; a second one ends the program.
void OnCrawlInterrupt(int) {
    stopCrawl = 1;
    std::signal(SIGINT, SIG_DFL);
}

// The stored settings with this command's values laid over them.
class OverlaySettings : public SettingsStore {
public:
    std::optional<std::string> value(const std::string& application, const std::string& section,
                                     const std::string& key) const override {
        if (auto it = overrides.find(key); it != overrides.end() &&
                                           application == WebSettings::kApplication &&
                                           section == WebSettings::kSection) {
            return it->second;
        }
        return stored_.value(application, section, key);
    }
    void setValue(const std::string& application, const std::string& section,
                  const std::string& key, const std::string& value) override {
        stored_.setValue(application, section, key, value);
    }

    std::map<std::string, std::string> overrides;

private:
    QtSettingsStore stored_;
};

// Terminate is pressed at the first yield after Ctrl+C.
class CrawlPump : public EventPump {
public:
    void yield() override {
        if (stopCrawl && form) {
            stopCrawl = 0;
            form->click("Terminate");
        }
    }
    WebForm* form = nullptr;
};

// The main window's side: once the crawl presses Process, Ctrl+C belongs to
// the run again. Without a main window (shortcut save and clear) it does
// nothing.
class CliMainSide : public MainWindowSide {
public:
    explicit CliMainSide(MainForm* form) : form_(form) {}
    void addChosenFile(const std::string& path) override {
        if (form_) {
            MainFormSide(*form_).addChosenFile(path);
        }
    }
    void processAll() override {
        started = true;
        std::signal(SIGINT, runHandler);
        if (form_) {
            MainFormSide(*form_).processAll();
        }
    }
    bool started = false;
    void (*runHandler)(int) = SIG_DFL;

private:
    MainForm* form_;
};

// The web window's form on the program's network, document and settings
// parts, with this command's settings laid over the stored ones.
struct WebSession {
    WebSession(MainForm* main, const std::map<std::string, std::string>& overrides) : side(main) {
        settings.overrides = overrides;
        pump.form = &web;
    }

    // Presses a button of the web window with Ctrl+C acting as Terminate.
    void press(const std::string& name) {
        side.runHandler = std::signal(SIGINT, OnCrawlInterrupt);
        web.click(name);
        if (!side.started) {
            std::signal(SIGINT, side.runHandler);
        }
    }

    OverlaySettings settings;
    QtFetcher fetcher;
    GumboDocumentSource documents;
    CliMainSide side;
    CrawlPump pump;
    NoPointer pointer;
    SystemClock clock;
    WebForm web{{fetcher, documents, settings, side, pump, pointer, clock}};
};

std::string Folder(const std::string& dir) {
    return std::filesystem::absolute(dir).lexically_normal().string();
}

// A folder as TmpPath wants it: ending with a separator.
std::string FolderWithSeparator(const std::string& dir) {
    std::string folder = Folder(dir);
    if (folder.empty() || folder.back() != '/') {
        folder += '/';
    }
    return folder;
}

// Takes "--name VALUE" at argv[i] into `into`; false when argv[i] is not it.
bool TakeValue(int argc, char* argv[], int& i, const char* name, std::string& into,
               std::string& problem) {
    if (std::strcmp(argv[i], name) != 0) {
        return false;
    }
    if (i + 1 >= argc || !*argv[i + 1]) {
        problem = std::string("missing value for ") + name;
    } else {
        into = argv[++i];
    }
    return true;
}

struct WebOptions {
    std::map<std::string, std::string> overrides;
    std::vector<std::string> args;  // positional
    std::string depth, filterDir, tmpDir, shortcutDir;
};

// The options that the crawl and the shortcut commands share, and the
// refusal of the folder run, which has no place here.
bool SharedOption(int argc, char* argv[], int& i, WebOptions& o, std::string& problem, bool crawl) {
    const std::string a = argv[i];
    if (a == "--directory") {
        problem = "--directory does not apply to stored pages";
        return true;
    }
    if (TakeValue(argc, argv, i, "--tmp-dir", o.tmpDir, problem)) {
        o.overrides["TmpPath"] = FolderWithSeparator(o.tmpDir);
        return true;
    }
    if (!crawl) {
        if (TakeValue(argc, argv, i, "--shortcut-dir", o.shortcutDir, problem)) {
            o.overrides["ShortcutDir"] = Folder(o.shortcutDir);
            return true;
        }
        if (a.empty() || a[0] != '-') {
            o.args.push_back(a);
            return true;
        }
        return false;
    }
    if (TakeValue(argc, argv, i, "--filter-dir", o.filterDir, problem)) {
        o.overrides["FilterDir"] = Folder(o.filterDir);
    } else if (TakeValue(argc, argv, i, "--depth", o.depth, problem)) {
        try {
            size_t used = 0;
            const int depth = std::stoi(o.depth, &used);
            if (used != o.depth.size() || depth < 1 || depth > 32767) {
                throw std::out_of_range(o.depth);
            }
            o.overrides["Depth"] = std::to_string(depth);
        } catch (const std::exception&) {
            problem = "--depth takes a whole number from 1 to 32767, not " + o.depth;
        }
    } else if (a == "--enable-filter") {
        o.overrides["EnableFilter"] = WebSettings::BoolText(true);
    } else if (a == "--offline") {
        o.overrides["Online"] = WebSettings::BoolText(false);
    } else if (a.empty() || a[0] != '-') {
        o.args.push_back(a);
    } else {
        return false;
    }
    return true;
}

int Crawl(int argc, char* argv[]) {
    WebOptions o;
    RunVariant variant;
    variant.usage = kCrawlUsage;
    variant.firstArg = 2;
    variant.option = [&](int n, char* v[], int& i, std::string& problem) {
        return SharedOption(n, v, i, o, problem, true);
    };
    variant.check = [&]() -> std::string {
        if (o.args.empty()) {
            return "no ADDRESS given";
        }
        return o.args.size() > 1 ? "more than one ADDRESS: " + o.args[1] : "";
    };
    variant.run = [&](MainForm& form) -> std::optional<int> {
        WebSession session(&form, o.overrides);
        session.web.setAddressText(o.args[0]);
        session.press("Process");
        if (session.side.started) {
            return std::nullopt;  // the run's results and status follow
        }
        if (!session.web.settings.online()) {
            for (const std::string& path : form.ctl("List2").items) {
                std::cout << path << "\n";
            }
        }
        return 0;
    };
    return RunCommandLine(argc, argv, &variant);
}

int ShortcutProcess(int argc, char* argv[]) {
    WebOptions o;
    RunVariant variant;
    variant.usage = kShortcutUsage;
    variant.firstArg = 3;
    variant.option = [&](int n, char* v[], int& i, std::string& problem) {
        return SharedOption(n, v, i, o, problem, false);
    };
    variant.check = [&]() -> std::string {
        return o.args.empty() ? "" : "process takes no ADDRESS: " + o.args[0];
    };
    variant.run = [&](MainForm& form) -> std::optional<int> {
        WebSession session(&form, o.overrides);
        const std::string file = session.web.settings.shortcutFile();
        if (!webfiles::ReadLines(file)) {
            std::cerr << "gleanmark: cannot read the shortcut file " << file << "\n";
            return 1;
        }
        session.press("ProcessShort");
        return std::nullopt;
    };
    return RunCommandLine(argc, argv, &variant);
}

int ShortcutUsage(const std::string& problem) {
    std::cerr << "gleanmark: " << problem << "\n\n" << kShortcutUsage;
    return 2;
}

// `shortcut save ADDRESS` and `shortcut clear`: the web window's "Save
// ShortCut" and "Clear  Shortcut" buttons.
int ShortcutEdit(int argc, char* argv[], bool save) {
    WebOptions o;
    for (int i = 3; i < argc; ++i) {
        std::string problem;
        if (TakeValue(argc, argv, i, "--shortcut-dir", o.shortcutDir, problem)) {
            if (!problem.empty()) {
                return ShortcutUsage(problem);
            }
            o.overrides["ShortcutDir"] = Folder(o.shortcutDir);
        } else if (argv[i][0] == '-') {
            return ShortcutUsage("unknown option " + std::string(argv[i]));
        } else {
            o.args.push_back(argv[i]);
        }
    }
    if (o.args.size() != (save ? 1u : 0u)) {
        return ShortcutUsage(save ? "save takes one ADDRESS" : "clear takes no ADDRESS");
    }
    QCoreApplication app(argc, argv);
    WebSession session(nullptr, o.overrides);
    const std::string folder = session.web.settings.shortcutDir();
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        std::cerr << "gleanmark: no shortcut folder " << folder << "\n";
        return 1;
    }
    if (save) {
        session.web.setAddressText(o.args[0]);
    }
    session.press(save ? "SaveShort" : "Clear");
    return 0;
}

}  // namespace

int WebCommandLine(int argc, char* argv[]) {
    if (std::strcmp(argv[1], "crawl") == 0) {
        return Crawl(argc, argv);
    }
    const std::string sub = argc > 2 ? argv[2] : "";
    if (sub == "process") {
        return ShortcutProcess(argc, argv);
    }
    if (sub == "save" || sub == "clear") {
        return ShortcutEdit(argc, argv, sub == "save");
    }
    if (sub == "-h" || sub == "--help") {
        std::cout << kShortcutUsage;
        return 0;
    }
    return ShortcutUsage(sub.empty() ? "no shortcut command given"
                                     : "unknown shortcut command " + sub);
}
