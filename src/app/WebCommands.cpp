#include "WebCommands.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>

#include "Clock.h"
#include "EventPump.h"
#include "GumboDocument.h"
#include "MainFormSide.h"
#include "MousePointer.h"
#include "QtFetcher.h"
#include "QtSettingsStore.h"
#include "RunOptions.h"
#include "RunSession.h"
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
    "Exit status as for run; a crawl ended by Ctrl+C exits with 130. Ctrl+C stops\n"
    "the crawl after the page in hand, and cancels the run once it has started.\n";

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
            terminated = true;
            form->click("Terminate");
        }
    }
    WebForm* form = nullptr;
    bool terminated = false;
};

// The main window's side: once the crawl presses Process, Ctrl+C belongs to
// the run. Without a main window (shortcut save and clear) it does nothing.
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
        CatchInterrupts(true);
        if (form_) {
            MainFormSide(*form_).processAll();
        }
    }
    bool started = false;

private:
    MainForm* form_;
};

// The web window's form on the program's network, document and settings
// parts, with this command's settings laid over the stored ones.
struct WebSession {
    WebSession(MainForm* main, const std::map<std::string, std::string>& overrides) : side(main) {
        settings.overrides = overrides;
        pump.form = &web;
        // A page that does not come is stored empty and the crawl goes on;
        // the user is told why.
        fetcher.onTransferEnd = [](const TransferOutcome& o) {
            if (PageDidNotCome(o)) {
                std::cerr << "gleanmark: " << o.address << ": " << o.reason << "\n";
            }
        };
    }

    // Presses a button of the web window with Ctrl+C acting as Terminate.
    void press(const std::string& name) {
        std::signal(SIGINT, OnCrawlInterrupt);
        web.click(name);
        CatchInterrupts(false);
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

int Usage(const char* usage, const std::string& problem) {
    std::cerr << "gleanmark: " << problem << "\n\n" << usage;
    return exitstatus::kUsage;
}

// The command's own arguments after its name(s), parsed with run's options
// and `extra` ones. Returns a usage problem, "" when fine, or "help".
std::string Parse(QCommandLineParser& parser, int skip, const std::vector<const char*>& values,
                  const std::vector<const char*>& flags, bool runOptions) {
    if (runOptions) {
        AddRunOptions(parser);
    }
    for (const char* name : values) {
        parser.addOption(QCommandLineOption(name, {}, "value"));
    }
    for (const char* name : flags) {
        parser.addOption(QCommandLineOption(name));
    }
    parser.addOption(QCommandLineOption(QStringList{"h", "help"}));
    QStringList args = QCoreApplication::arguments();
    args.erase(args.begin() + 1, args.begin() + 1 + skip);
    if (!parser.parse(args)) {
        return parser.errorText().toStdString();
    }
    return parser.isSet("help") ? "help" : "";
}

std::vector<std::string> Positional(const QCommandLineParser& parser) {
    std::vector<std::string> out;
    for (const QString& a : parser.positionalArguments()) {
        out.push_back(a.toStdString());
    }
    return out;
}

// The settings this command lays over the stored ones; a usage problem in
// `problem`.
std::map<std::string, std::string> Overrides(const QCommandLineParser& parser,
                                             std::string& problem) {
    std::map<std::string, std::string> o;
    auto given = [&](const char* name) {
        return parser.optionNames().contains(name) && parser.isSet(name);
    };
    if (given("tmp-dir")) {
        o["TmpPath"] = FolderWithSeparator(parser.value("tmp-dir").toStdString());
    }
    if (given("shortcut-dir")) {
        o["ShortcutDir"] = Folder(parser.value("shortcut-dir").toStdString());
    }
    if (given("filter-dir")) {
        o["FilterDir"] = Folder(parser.value("filter-dir").toStdString());
    }
    if (given("enable-filter")) {
        o["EnableFilter"] = WebSettings::BoolText(true);
    }
    if (given("offline")) {
        o["Online"] = WebSettings::BoolText(false);
    }
    if (given("depth")) {
        bool ok = false;
        const QString text = parser.value("depth");
        const int depth = text.toInt(&ok);
        if (!ok || depth < 1 || depth > 32767) {
            problem = "--depth takes a whole number from 1 to 32767, not " + text.toStdString();
        }
        o["Depth"] = std::to_string(depth);
    }
    return o;
}

// A command built on run (crawl, shortcut process) as given: run's options,
// the command's own, the settings it lays over the stored ones and its
// arguments.
struct RunCommand {
    QCommandLineParser parser;
    RunOptions options;
    std::map<std::string, std::string> overrides;
    std::vector<std::string> args;
};

// Reads such a command after its `skip` names. Returns the exit status when
// the command ends here (help, a usage error); `checkArgs` gives the problem
// with the arguments, or "".
std::optional<int> ReadRunCommand(
    RunCommand& c, int skip, const char* usage, const std::vector<const char*>& values,
    const std::vector<const char*>& flags,
    const std::function<std::string(const std::vector<std::string>&)>& checkArgs) {
    std::string problem = Parse(c.parser, skip, values, flags, true);
    if (problem == "help") {
        std::cout << usage;
        return exitstatus::kCompleted;
    }
    if (problem.empty()) {
        c.overrides = Overrides(c.parser, problem);
    }
    if (problem.empty()) {
        c.args = Positional(c.parser);
        if (auto p = ReadRunOptions(c.parser, c.options)) {
            problem = *p;
        } else if (c.options.processFlag == "--directory") {
            // The folder run has no place here: the pages are chosen files.
            problem = "--directory does not apply to stored pages";
        } else {
            problem = checkArgs(c.args);
        }
    }
    if (!problem.empty()) {
        return Usage(usage, problem);
    }
    return std::nullopt;
}

int Crawl(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    RunCommand c;
    if (auto status = ReadRunCommand(
            c, 1, kCrawlUsage, {"depth", "filter-dir", "tmp-dir"}, {"enable-filter", "offline"},
            [](const std::vector<std::string>& args) -> std::string {
                if (args.empty()) {
                    return "no ADDRESS given";
                }
                return args.size() > 1 ? "more than one ADDRESS: " + args[1] : "";
            })) {
        return *status;
    }
    RunSession run(c.options);
    if (auto p = run.apply()) {
        return Usage(kCrawlUsage, *p);
    }
    WebSession session(&run.form(), c.overrides);
    session.web.setAddressText(c.args[0]);
    session.press("Process");
    if (session.side.started) {
        return run.finish();  // the run's results and status follow
    }
    if (!session.web.settings.online()) {
        for (const std::string& path : run.form().ctl("List2").items) {
            std::cout << path << "\n";
        }
    }
    return session.pump.terminated ? exitstatus::kInterrupted : exitstatus::kCompleted;
}

int ShortcutProcess(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    RunCommand c;
    if (auto status =
            ReadRunCommand(c, 2, kShortcutUsage, {"shortcut-dir", "tmp-dir"}, {},
                           [](const std::vector<std::string>& args) -> std::string {
                               return args.empty() ? "" : "process takes no ADDRESS: " + args[0];
                           })) {
        return *status;
    }
    RunSession run(c.options);
    if (auto p = run.apply()) {
        return Usage(kShortcutUsage, *p);
    }
    WebSession session(&run.form(), c.overrides);
    const std::string file = session.web.settings.shortcutFile();
    if (!webfiles::ReadLines(file)) {
        std::cerr << "gleanmark: cannot read the shortcut file " << file << "\n";
        return exitstatus::kRefused;
    }
    session.press("ProcessShort");
    return run.finish();
}

// `shortcut save ADDRESS` and `shortcut clear`: the web window's "Save
// ShortCut" and "Clear  Shortcut" buttons.
int ShortcutEdit(int argc, char* argv[], bool save) {
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    std::string problem = Parse(parser, 2, {"shortcut-dir"}, {}, false);
    if (problem == "help") {
        std::cout << kShortcutUsage;
        return exitstatus::kCompleted;
    }
    const auto overrides = Overrides(parser, problem);
    const auto args = Positional(parser);
    if (problem.empty() && args.size() != (save ? 1u : 0u)) {
        problem = save ? "save takes one ADDRESS" : "clear takes no ADDRESS";
    }
    if (!problem.empty()) {
        return Usage(kShortcutUsage, problem);
    }
    WebSession session(nullptr, overrides);
    const std::string folder = session.web.settings.shortcutDir();
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        std::cerr << "gleanmark: no shortcut folder " << folder << "\n";
        return exitstatus::kRefused;
    }
    if (save) {
        session.web.setAddressText(args[0]);
    }
    session.press(save ? "SaveShort" : "Clear");
    return exitstatus::kCompleted;
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
        return exitstatus::kCompleted;
    }
    return Usage(kShortcutUsage,
                 sub.empty() ? "no shortcut command given" : "unknown shortcut command " + sub);
}
