#include "CommandLine.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

#include "CliPrompts.h"
#include "Clipboard.h"
#include "Clock.h"
#include "EventPump.h"
#include "Launcher.h"
#include "MainForm.h"
#include "clsWF.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

void OnInterrupt(int) {
    interrupted = 1;
}

const char* const kUsage =
    "usage: gleanmark run [OPTIONS] PATH...\n"
    "\n"
    "Functions (ticked in this order):\n"
    "  --strip DIR        strip HTML tags, writing .txt files into DIR\n"
    "  --email            extract e-mail addresses (switches mailto on too)\n"
    "  --website          extract web addresses\n"
    "  --mailto           extract mailto addresses\n"
    "  --keywords FILE    extract the words after the keywords of FILE\n"
    "Boxes:\n"
    "  --subdirs          walk sub-folders too (with --directory)\n"
    "  --ext WORD         file extension filter (default *)\n"
    "  --file-name        FileName box\n"
    "  --process-time     ProcessTime box\n"
    "  --heading --from --to --cc --body   mail-list boxes\n"
    "Process option (default: the one the window selects):\n"
    "  --directory        PATH is the one folder to process\n"
    "  --files            process the files given\n"
    "  --selected         keyword run over the files given\n"
    "  --mail             mail list from the messages given\n"
    "Output:\n"
    "  -o, --output FILE  result file (default or \"-\": standard output)\n"
    "\n"
    "Messages go to standard error. Exit status: 0 run completed, 1 run refused,\n"
    "2 usage error. Ctrl+C cancels; what was found so far is still written.\n";

int Usage(const std::string& problem) {
    std::cerr << "gleanmark: " << problem << "\n\n" << kUsage;
    return 2;
}

// Cancels the run when Ctrl+C was pressed, at the next yield.
class CliPump : public EventPump {
public:
    explicit CliPump(int16_t*& cancel) : cancel_(cancel) {}
    void yield() override {
        if (interrupted && cancel_) {
            *cancel_ = 1;
        }
    }

private:
    int16_t*& cancel_;
};

class NoLauncher : public Launcher {
public:
    void openDocument(const std::string&) override {}
};

class NoClipboard : public Clipboard, public FocusedEditor {
public:
    void clear() override {}
    void setText(const std::string&) override {}
    std::string text() const override { return {}; }
    bool available() const override { return false; }
    std::string selectedText() const override { return {}; }
    void replaceSelection(const std::string&) override {}
};

struct Options {
    std::string strip, keywords, ext = "*", output = "-";
    bool email = false, website = false, mailto = false;
    std::map<std::string, bool> boxes;  // control name -> ticked
    std::vector<std::string> process;   // option flags given
    std::vector<std::string> paths;
};

}  // namespace

int RunCommandLine(int argc, char* argv[]) {
    Options o;
    static const std::map<std::string, std::string> boxFlags = {
        {"--subdirs", "ChkSbD"},  {"--file-name", "chkFileName"}, {"--process-time", "chkTime"},
        {"--heading", "chkHead"}, {"--from", "chkFrom"},          {"--to", "chkTo"},
        {"--cc", "chkCC"},        {"--body", "chkMailList"}};
    static const std::map<std::string, std::string> optionFlags = {{"--directory", "Option1"},
                                                                   {"--files", "Option2"},
                                                                   {"--selected", "Option3"},
                                                                   {"--mail", "Option4"}};
    for (int i = 2; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](std::string& into) {
            if (i + 1 >= argc) {
                return false;
            }
            into = argv[++i];
            return true;
        };
        if (a == "--strip" || a == "--keywords" || a == "--ext" || a == "-o" || a == "--output") {
            std::string& into = a == "--strip"      ? o.strip
                                : a == "--keywords" ? o.keywords
                                : a == "--ext"      ? o.ext
                                                    : o.output;
            if (!value(into) || into.empty()) {
                return Usage("missing value for " + a);
            }
        } else if (a == "--email") {
            o.email = true;
        } else if (a == "--website") {
            o.website = true;
        } else if (a == "--mailto") {
            o.mailto = true;
        } else if (boxFlags.count(a)) {
            o.boxes[boxFlags.at(a)] = true;
        } else if (optionFlags.count(a)) {
            o.process.push_back(a);
        } else if (a == "-h" || a == "--help") {
            std::cout << kUsage;
            return 0;
        } else if (a.size() > 1 && a[0] == '-') {
            return Usage("unknown option " + a);
        } else {
            o.paths.push_back(a);
        }
    }
    if (o.paths.empty()) {
        return Usage("no PATH given");
    }
    if (o.process.size() > 1) {
        return Usage("conflicting options " + o.process[0] + " and " + o.process[1]);
    }

    QCoreApplication app(argc, argv);
    QTemporaryDir temp;
    const bool toStdout = o.output == "-";
    const std::string resultFile = toStdout
                                       ? QDir(temp.path()).filePath("results.txt").toStdString()
                                       : std::filesystem::absolute(o.output).string();
    std::string stripDir = o.strip.empty() ? "" : std::filesystem::absolute(o.strip).string();
    if (!stripDir.empty()) {
        // The window's chooser offers existing folders only; here the folder
        // is made when it is missing.
        std::error_code ec;
        std::filesystem::create_directories(stripDir, ec);
    }
    std::string keywordFile =
        o.keywords.empty() ? "" : std::filesystem::absolute(o.keywords).string();

    CliPrompts prompts(std::cerr, resultFile, stripDir, keywordFile);
    int16_t* cancel = nullptr;
    CliPump pump(cancel);
    SystemClock clock;
    NoLauncher launcher;
    NoClipboard clipboard;
    MainForm form({prompts, pump, clock, launcher, clipboard, clipboard});
    cancel = &form.intCancel;
    // No one can press Cancel here: a file that would be processed for ever
    // counts as a Cancel press.
    form.engine().onEndlessLoop = [&form] {
        std::cerr << "gleanmark: the file '" << form.engine().strCurFile
                  << "' would be processed for ever; the run is cancelled there.\n";
        form.intCancel = 1;
    };
    form.Form_Load();

    // Tick the functions the way a user would: through the "Setting" menu.
    std::vector<std::string> given;
    if (!o.strip.empty()) {
        form.click("mnuHtml");
        given.push_back("--strip");
    }
    if (o.email) {
        form.click("mnuEmail");
        given.push_back("--email");
    }
    if (o.website) {
        form.click("mnuWeb");
        given.push_back("--website");
    }
    if (o.mailto) {
        form.click("mnuMailto");
        given.push_back("--mailto");
    }
    if (!o.keywords.empty()) {
        if (!form.ctl("ChkKeyword").enabled) {
            std::string names;
            for (const auto& g : given) {
                names += " " + g;
            }
            return Usage("--keywords conflicts with" + names);
        }
        form.setCheck("ChkKeyword", 1);
        form.click("CmdOpenKW");
    }
    for (const auto& [box, ticked] : o.boxes) {
        form.setCheck(box, ticked ? 1 : 0);
    }
    form.Combo1_Change(o.ext);

    if (!o.process.empty()) {
        const std::string option = optionFlags.at(o.process[0]);
        if (!form.ctl(option).enabled) {
            std::string names;
            for (const auto& g : given) {
                names += " " + g;
            }
            if (!o.keywords.empty()) {
                names += " --keywords";
            }
            return Usage(o.process[0] + " conflicts with" + names);
        }
        form.selectOption(option);
    }

    if (form.ctl("Option1").value == 1) {
        if (o.paths.size() != 1) {
            return Usage("--directory takes exactly one folder");
        }
        std::error_code ec;
        if (!std::filesystem::is_directory(o.paths[0], ec)) {
            return Usage("not a folder: " + o.paths[0]);
        }
        std::filesystem::path folder = std::filesystem::absolute(o.paths[0]).lexically_normal();
        if (folder.has_relative_path() && !folder.has_filename()) {
            folder = folder.parent_path();  // no trailing separator
        }
        form.setFolder(folder.string());
    } else {
        auto& list2 = form.controls["List2"];
        for (const auto& p : o.paths) {
            list2.items.push_back(std::filesystem::absolute(p).lexically_normal().string());
        }
        list2.selected.assign(list2.items.size(), false);
    }

    std::signal(SIGINT, OnInterrupt);
    form.click("cmdProcessAll");
    std::signal(SIGINT, SIG_DFL);

    // Runs that keep their table (folder, keyword and mail runs) write it now;
    // the chosen-files run has written it through its save question.
    if (form.objWF) {
        form.strResultFile = resultFile;
        form.objWF->WriteToFile(resultFile, pump);
    }
    if (toStdout) {
        std::ifstream in(resultFile, std::ios::binary);
        std::cout << in.rdbuf();
        std::cout.flush();
    }
    return form.runRefused ? 1 : 0;
}
