// The batch runs: chosen files, a folder (tree), the keyword run and the
// mail-list run, with their shared per-file frame.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "BigMemory.h"
#include "EventPump.h"
#include "FileListing.h"
#include "MailList.h"
#include "MainForm.h"
#include "ResultTable.h"
#include "RunErrors.h"
#include "RunText.h"
#include "clsKeyWord.h"
#include "clsWF.h"

namespace fs = std::filesystem;

namespace {

constexpr uintmax_t kMaxText = 2147483647;  // the largest signed 32-bit count

const char* const kRunButtons[] = {"CmdProcess",    "CmdDrctPrc",     "CmdEnd",  "cmdProcessAll",
                                   "cmdprocesskey", "cmdprocessmail", "cmdSave", "cmdClearResult"};

// The error number and description for a file that cannot be opened.
std::pair<int, std::string> OpenError(int err) {
    switch (err) {
        case ENOENT:
        case ENOTDIR:
            return {53, "File not found"};
        case EACCES:
        case EPERM:
            return {70, "Permission denied"};
        default:
            return {75, "Path/File access error"};
    }
}

}  // namespace

void MainForm::beginRun() {
    running_ = true;
    runRefused = false;
    intIgnoreAll = 0;
    intCancel = 0;  // both flags live for one run
    controls["cmdCancel"].enabled = true;
    for (const char* b : kRunButtons) {
        controls[b].enabled = false;
    }
    engine_.intUseKeyword = intUseKeyword;
    engine_.chkStrip = ctl("ChkStrip").value == 1;
    engine_.chkFileName = ctl("chkFileName").value == 1;
    engine_.chkTime = ctl("chkTime").value == 1;
}

void MainForm::endRun() {
    running_ = false;
    for (const char* b : kRunButtons) {
        controls[b].enabled = true;
    }
    controls["cmdCancel"].enabled = false;
}

void MainForm::reportFailure(const std::string& path, int number, const std::string& description,
                             const FrameWording& w) {
    prompts().message(
        "The file '" + path + "' has problem: " + std::to_string(number) + "," + description +
            "\r\n" +
            (w.lowerCaseSo ? "so, it can not be processed!" : " So, it can not be processed!"),
        Prompts::Buttons::OK, Prompts::Icon::Critical);
}

void MainForm::reportNotAppropriate(const std::string& path, const FrameWording& w, bool& stopRun) {
    const std::string text =
        "The file '" + path + "' is not appropriate to be processed, \r\n" +
        (w.lowerCaseSo ? " so, it will be skipped!" : " So, it will be skipped!");
    if (!w.problemDialog) {
        prompts().message(text, Prompts::Buttons::OK, Prompts::Icon::Critical);
        return;
    }
    if (intIgnoreAll != 0) {
        return;  // "Ignore All" was chosen: skip quietly
    }
    const int result = prompts().problem(text);
    if (result == Prompts::ProblemIgnoreAll) {
        intIgnoreAll = -1;
    } else if (result == Prompts::ProblemCancel) {
        stopRun = true;
    }
}

MainForm::FileText MainForm::readFile(const std::string& path, const FrameWording& w,
                                      bool& stopRun) {
    std::error_code ec;
    const uintmax_t size = fs::file_size(path, ec);
    controls["LblProgress"].caption = path + " ( " + KiloText(ec ? 0 : size) + "k )";
    // A folder, a device or a pipe cannot be read as a file: opening a pipe
    // would wait for a writer, and a device may never end.
    const fs::file_status status = fs::status(path, ec);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        reportFailure(path, 75, "Path/File access error", w);
        return FileText::Failed;
    }
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        auto [number, description] = OpenError(errno);
        reportFailure(path, number, description, w);
        return FileText::Failed;
    }
    std::string& text = engine_.strScanText;
    text.clear();
    // The file is read straight into the text, with room for the space the
    // engine appends; a big text gets huge pages before it is first written.
    const size_t expected = static_cast<size_t>(ec ? 0 : std::min<uintmax_t>(size, kMaxText));
    if (text.capacity() < expected + 1) {
        text.reserve(expected + 1);
        bigmemory::PreferHugePages(text.data(), text.capacity());
    }
    text.resize(expected);
    text.resize(std::fread(text.data(), 1, expected, f));
    bool truncated = false;
    if (text.size() == expected) {
        // More may follow: the file grew, or its size was not known.
        char buffer[1 << 16];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) {
            if (text.size() + n > kMaxText) {
                text.append(buffer, kMaxText - text.size());
                truncated = true;
                break;
            }
            text.append(buffer, n);
        }
    }
    const bool failed = std::ferror(f) != 0;
    std::fclose(f);
    if (failed) {
        reportFailure(path, 57, "Device I/O error", w);
        return FileText::Failed;
    }
    if (truncated) {
        prompts().message("Sorry, the file '" + path + "' is too large, it will be truncated!",
                          Prompts::Buttons::OK, Prompts::Icon::Critical);
    }
    if (text.empty()) {
        reportNotAppropriate(path, w, stopRun);
        return FileText::Skipped;
    }
    return FileText::Read;
}

void MainForm::processFile(const std::string& path, bool keywordRun, const FrameWording& w,
                           bool& stopRun) {
    if (readFile(path, w, stopRun) != FileText::Read) {
        return;
    }
    engine_.strCurFile = path;
    try {
        if (stripping_) {
            engine_.StripTags();
            if (!WriteStrippedFile(strStripDir, path, engine_.strScanText)) {
                reportFailure(JoinPath(strStripDir, StrippedFileName(fs::path(path).filename())),
                              75, "Path/File access error", w);
            }
            return;
        }
        if (intUseMailTo != 1) {
            engine_.StripTags();
        }
        if (keywordRun) {
            engine_.RecordKeywordResults(arrColumns, *rstWF, *rstKeyWord);
        } else {
            engine_.RecordFileResults(arrColumns, *rstWF, *rstKeyWord);
        }
    } catch (const RunError& e) {
        reportFailure(path, e.number(), e.description(), w);
    }
}

void MainForm::forEachChosenFile(
    const std::function<void(const std::string& path, bool& stopRun)>& process) {
    const std::vector<std::string> files = ctl("List2").items;
    bool stopRun = false;
    for (size_t i = 0; i < files.size() && !stopRun; ++i) {
        ports_.pump.yield();
        if (intCancel == 1) {
            break;
        }
        controls["PBProgress"].progress = Percent(i, files.size());
        process(files[i], stopRun);
    }
}

void MainForm::processList(bool keywordRun, const FrameWording& w) {
    forEachChosenFile(
        [&](const std::string& path, bool& stopRun) { processFile(path, keywordRun, w, stopRun); });
}

bool MainForm::startListRun() {
    beginRun();
    if (ctl("List2").items.empty()) {
        prompts().message("There is no file to be processed", Prompts::Buttons::OK,
                          Prompts::Icon::None);
    } else {
        PrepareRun();
        if (intSetupFailed != 1) {
            return true;
        }
    }
    endRun();
    runRefused = true;
    Form_Load();
    return false;
}

void MainForm::CmdProcess_Click() {
    if (!startListRun()) {
        return;
    }
    if (ctl("ChkStrip").value == 1) {
        if (!strStripDir.empty()) {
            stripping_ = true;
            processList(false, {});
            stripping_ = false;
            if (intCancel != 1) {
                prompts().message("Stripping HTML Tags processing is finished!",
                                  Prompts::Buttons::OK, Prompts::Icon::Information);
            }
        }
        endRun();
        Form_Load();
        return;
    }
    processList(false, {});
    endRun();
    SaveResults();
    Form_Load();
}

void MainForm::cmdprocesskey_Click() {
    if (!startListRun()) {
        return;
    }
    FrameWording w;
    w.problemDialog = true;
    processList(true, w);
    endRun();
    bindGrid(rstWF);
    controls["cmdProcessAll"].enabled = true;
    Form_Load();
}

void MainForm::CmdDrctPrc_Click() {
    visitedFolders_.clear();
    if (ctl("Combo1").caption.empty()) {
        prompts().message("Please set the file extension!", Prompts::Buttons::OK,
                          Prompts::Icon::Exclamation);
        runRefused = true;
        Form_Load();
        return;
    }
    beginRun();
    const std::string start = ctl("Dir1").path;
    PrepareRun();
    if (intSetupFailed == 1 || (ctl("ChkStrip").value == 1 && strStripDir.empty())) {
        endRun();
        runRefused = intSetupFailed == 1;
        Form_Load();
        return;
    }
    stripping_ = ctl("ChkStrip").value == 1;
    intDirRun = 1;
    if (intSubDirs != 1) {
        Dir1_Change();
    } else {
        walkFolder(start);
    }
    intDirRun = 0;
    const bool stripped = stripping_;
    stripping_ = false;
    endRun();
    setFolder(start);
    if (stripped) {
        prompts().message("Stripping HTML Tags processing is finished!", Prompts::Buttons::OK,
                          Prompts::Icon::Information);
    }
    Form_Load();
}

void MainForm::walkFolder(const std::string& folder) {
    // Depth first: a folder's own files (done by the folder change), then each
    // of its sub-folders in name order.
    controls["Dir1"].path = folder;
    Dir1_Change();
    for (const std::string& sub : ListSubFolders(folder)) {
        ports_.pump.yield();
        if (intCancel == 1) {
            return;
        }
        walkFolder(sub);
        if (intCancel == 1) {
            return;
        }
    }
}

void MainForm::processFolderFiles() {
    const std::string folder = ctl("Dir1").path;
    const std::vector<std::string> names = ctl("File1").items;
    FrameWording w;
    w.lowerCaseSo = true;
    bool stopRun = false;
    for (size_t i = 0; i < names.size(); ++i) {
        ports_.pump.yield();
        if (intCancel == 1) {
            return;
        }
        controls["PBProgress"].progress = Percent(i, names.size());
        const std::string path = JoinPath(folder, names[i]);
        processFile(path, false, w, stopRun);
    }
}

void MainForm::cmdprocessmail_Click() {
    runRefused = false;
    if (ctl("List2").items.empty()) {
        prompts().message("There is no file to be processed", Prompts::Buttons::OK,
                          Prompts::Icon::None);
        runRefused = true;
        return;
    }
    beginRun();
    MailListOptions options;
    options.chkFrom = ctl("chkFrom").value == 1;
    options.chkTo = ctl("chkTo").value == 1;
    options.chkCC = ctl("chkCC").value == 1;
    options.chkFileName = ctl("chkFileName").value == 1;
    options.chkTime = ctl("chkTime").value == 1;
    options.intEveryOccurrence = intEveryOccurrence;
    options.intUseFileName = intUseFileName;
    options.intUseTime = intUseTime;
    intSetupFailed = 0;
    if (!mail_->SetUpMailListRun(options, arrColumns, objWF)) {
        prompts().message(
            "Some Keywords are same, please check the current Keywords and make sure they are "
            "unique.",
            Prompts::Buttons::OK, Prompts::Icon::Critical);
        intSetupFailed = 1;
        endRun();
        runRefused = true;
        return;
    }
    rstWF = objWF->rstWF;
    FrameWording w;
    w.problemDialog = true;
    forEachChosenFile([&](const std::string& path, bool& stopRun) {
        if (!IsMailFileName(path)) {
            reportNotAppropriate(path, w, stopRun);
            return;
        }
        if (readFile(path, w, stopRun) != FileText::Read) {
            return;
        }
        engine_.strCurFile = path;
        try {
            mail_->ProcessMailFile(engine_.strScanText, path, *rstWF, intCancel);
        } catch (const OverflowError& e) {
            // A counter ran past 32,767: the run stops, keeping what it found.
            prompts().message(e.description(), Prompts::Buttons::OK, Prompts::Icon::Critical);
            stopRun = true;
            return;
        } catch (const RunError& e) {
            reportFailure(path, e.number(), e.description(), w);
            return;
        }
        controls["PBFProgress"].progress = 100;
    });
    endRun();
    bindGrid(rstWF);
    controls["cmdProcessAll"].enabled = true;
    Form_Load();
}

void MainForm::bindGrid(const std::shared_ptr<ResultTable>& table) {
    DataGrid1 = table;
    ++gridBindings;
    controls["DataGrid1"];  // mark for the window
}
