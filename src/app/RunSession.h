#pragma once

#include <QTemporaryDir>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CliPrompts.h"
#include "Clock.h"
#include "RunOptions.h"

class MainForm;
class EventPump;

// Ctrl+C: once caught, the next yield of a run counts it as a Cancel press.
void CatchInterrupts(bool on);
bool Interrupted();

// The main window without its widgets, driven the way the command line
// drives it: options tick the same boxes, paths fill the same lists, and the
// result file is written when the run is over. Messages and questions go to
// standard error.
class RunSession {
public:
    explicit RunSession(const RunOptions& options);
    ~RunSession();
    RunSession(const RunSession&) = delete;
    RunSession& operator=(const RunSession&) = delete;

    MainForm& form() { return *form_; }
    EventPump& pump();

    // Ticks the functions through the "Setting" menu, ticks the boxes, sets
    // the extension and selects the process option, as a user would. The
    // problem when the options cannot go together.
    std::optional<std::string> apply();
    // The chosen files (List2), or the folder of a folder run.
    std::optional<std::string> choose(const std::vector<std::string>& paths);
    // Presses "Process"; Ctrl+C cancels the run.
    void process();
    // Writes the result file of the run (unless it was refused) and returns
    // the exit status: refused 1, result file not written 3, interrupted 130,
    // else 0.
    int finish();

private:
    RunOptions options_;
    QTemporaryDir temp_;
    std::string outputPath_;  // -o made absolute, or "-"
    std::string resultFile_;  // where the run's own save goes; copied out at the end
    std::unique_ptr<CliPrompts> prompts_;
    int16_t* cancel_ = nullptr;  // the form's cancel flag, once the form exists
    std::unique_ptr<EventPump> pump_;
    SystemClock clock_;
    struct Desktop;
    std::unique_ptr<Desktop> desktop_;
    std::unique_ptr<MainForm> form_;
};
