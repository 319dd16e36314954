#include "RunSession.h"

#include <QDir>
#include <QFile>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

#include "Clipboard.h"
#include "EventPump.h"
#include "Launcher.h"
#include "MainForm.h"
#include "OutputFile.h"
#include "clsWF.h"

namespace fs = std::filesystem;

namespace {

volatile std::sig_atomic_t interrupted = 0;

void OnInterrupt(int) {
    interrupted = 1;
}

// Cancels the run at the next yield once Ctrl+C was pressed.
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

std::string Absolute(const std::string& path) {
    return path.empty() ? path : fs::absolute(path).lexically_normal().string();
}

// Copies the result file to standard output, or over `output` in one step,
// so that a result file is never left half-written. False when it cannot.
bool CopyResult(const std::string& from, const std::string& output, QString& error) {
    QFile in(QString::fromStdString(from));
    if (!in.open(QIODevice::ReadOnly)) {
        error = in.errorString();
        return false;
    }
    // In pieces: a result of many rows need not be held in memory at once.
    constexpr qint64 kPiece = 1 << 20;
    if (output == "-") {
        for (QByteArray piece = in.read(kPiece); !piece.isEmpty(); piece = in.read(kPiece)) {
            std::cout.write(piece.constData(), piece.size());
        }
        std::cout.flush();
        return true;
    }
    OutputFile out(output);
    if (!out.open()) {
        error = out.errorString();
        return false;
    }
    for (QByteArray piece = in.read(kPiece); !piece.isEmpty(); piece = in.read(kPiece)) {
        if (out.write(piece.constData(), piece.size()) != piece.size()) {
            break;  // commit() reports the error
        }
    }
    if (!out.commit()) {
        error = out.errorString();
        return false;
    }
    return true;
}

}  // namespace

void CatchInterrupts(bool on) {
    std::signal(SIGINT, on ? OnInterrupt : SIG_DFL);
}

bool Interrupted() {
    return interrupted != 0;
}

// No help viewer and no clipboard without a window.
struct RunSession::Desktop : Launcher, Clipboard, FocusedEditor {
    bool openDocument(const std::string&) override { return false; }
    std::string userGuide() const override { return {}; }
    void clear() override {}
    void setText(const std::string&) override {}
    std::string text() const override { return {}; }
    bool available() const override { return false; }
    std::string selectedText() const override { return {}; }
    void replaceSelection(const std::string&) override {}
};

RunSession::RunSession(const RunOptions& options)
    : options_(options),
      resultFile_(QDir(temp_.path()).filePath("results.txt").toStdString()),
      desktop_(std::make_unique<Desktop>()) {
    // A folder run makes that folder the working one: a relative result path
    // means the folder the command was given in.
    outputPath_ = options_.output == "-" ? options_.output : Absolute(options_.output);
    const std::string stripDir = Absolute(options_.strip.value_or(""));
    if (!stripDir.empty()) {
        // The window's chooser offers existing folders only; here the folder
        // is made when it is missing.
        std::error_code ec;
        fs::create_directories(stripDir, ec);
    }
    std::string keywordFile = Absolute(options_.keywords.value_or(""));
    if (options_.keywords) {
        // A keyword file that is no readable regular file (a pipe, a device,
        // a folder) is not read: it could block or never end.
        std::error_code ec;
        if (!fs::is_regular_file(keywordFile, ec) || !std::ifstream(keywordFile)) {
            std::cerr << "The keyword file '" << *options_.keywords << "' can not be read.\n";
            keywordFile.clear();
        }
    }
    prompts_ = std::make_unique<CliPrompts>(std::cerr, resultFile_, stripDir, keywordFile);
    pump_ = std::make_unique<CliPump>(cancel_);
    form_ = std::make_unique<MainForm>(
        MainForm::Ports{*prompts_, *pump_, clock_, *desktop_, *desktop_, *desktop_});
    cancel_ = &form_->intCancel;
    // No one can press Cancel here: a file that would be processed for ever
    // counts as a Cancel press.
    form_->engine().onEndlessLoop = [this] {
        std::cerr << "gleanmark: the file '" << form_->engine().strCurFile
                  << "' would be processed for ever; the run is cancelled there.\n";
        form_->intCancel = 1;
    };
    form_->Form_Load();
}

RunSession::~RunSession() = default;

EventPump& RunSession::pump() {
    return *pump_;
}

std::optional<std::string> RunSession::apply() {
    MainForm& form = *form_;
    std::string given;
    // The functions are ticked the way a user would: through the "Setting"
    // menu.
    const std::pair<bool, const char*> functions[] = {{options_.strip.has_value(), "--strip"},
                                                      {options_.email, "--email"},
                                                      {options_.website, "--website"},
                                                      {options_.mailto, "--mailto"}};
    const char* entries[] = {"mnuHtml", "mnuEmail", "mnuWeb", "mnuMailto"};
    for (size_t i = 0; i < std::size(functions); ++i) {
        if (functions[i].first) {
            form.click(entries[i]);
            given += std::string(" ") + functions[i].second;
        }
    }
    if (options_.keywords) {
        if (!form.ctl("ChkKeyword").enabled) {
            return "--keywords conflicts with" + given;
        }
        form.setCheck("ChkKeyword", 1);
        form.click("CmdOpenKW");
        given += " --keywords";
    }
    for (const std::string& box : options_.boxes) {
        form.setCheck(box, 1);
    }
    form.Combo1_Change(options_.ext);

    if (!options_.processFlag.empty()) {
        static const std::map<std::string, std::string> optionOf = {{"--directory", "Option1"},
                                                                    {"--files", "Option2"},
                                                                    {"--selected", "Option3"},
                                                                    {"--mail", "Option4"}};
        const std::string& option = optionOf.at(options_.processFlag);
        if (!form.ctl(option).enabled) {
            return options_.processFlag + " conflicts with" + given;
        }
        form.selectOption(option);
    }
    return std::nullopt;
}

std::optional<std::string> RunSession::choose(const std::vector<std::string>& paths) {
    MainForm& form = *form_;
    for (const std::string& p : paths) {
        if (p.empty()) {
            return "an empty PATH";
        }
    }
    if (form.ctl("Option1").value == 1) {
        if (paths.size() != 1) {
            return "--directory takes exactly one folder";
        }
        std::error_code ec;
        if (!fs::is_directory(paths[0], ec)) {
            return "not a folder: " + paths[0];
        }
        fs::path folder = fs::absolute(paths[0]).lexically_normal();
        if (folder.has_relative_path() && !folder.has_filename()) {
            folder = folder.parent_path();  // no trailing separator
        }
        form.setFolder(folder.string());
        return std::nullopt;
    }
    auto& list2 = form.controls["List2"];
    for (const std::string& p : paths) {
        list2.items.push_back(Absolute(p));
    }
    list2.selected.assign(list2.items.size(), false);
    return std::nullopt;
}

void RunSession::process() {
    CatchInterrupts(true);
    form_->click("cmdProcessAll");
    CatchInterrupts(false);
}

int RunSession::finish() {
    MainForm& form = *form_;
    if (form.runRefused) {
        return exitstatus::kRefused;  // a refused run writes nothing
    }
    // Runs that keep their table (folder, keyword and mail runs) write it now;
    // the chosen-files run has written it through its save question.
    if (form.objWF) {
        form.strResultFile = resultFile_;
        form.objWF->WriteToFile(resultFile_, *pump_);
    }
    std::error_code ec;
    if (fs::exists(resultFile_, ec)) {
        QString error;
        if (!CopyResult(resultFile_, outputPath_, error)) {
            std::cerr << "gleanmark: the result file '" << options_.output
                      << "' can not be written: " << error.toStdString() << '\n';
            return exitstatus::kUnwritable;
        }
    }
    return Interrupted() ? exitstatus::kInterrupted : exitstatus::kCompleted;
}
