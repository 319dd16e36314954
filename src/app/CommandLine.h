#pragma once

#include <functional>
#include <optional>
#include <string>

class MainForm;

// A command built on `run` (crawl, shortcut process): run's options apply,
// and in place of listing PATHs and pressing Process it does its own work.
struct RunVariant {
    const char* usage = nullptr;  // shown in place of run's usage text
    int firstArg = 2;             // index of its first argument in argv
    // Takes one of its own arguments at argv[i] (moving i past a value);
    // false when the argument is not its own. Sets `problem` for a usage error.
    std::function<bool(int argc, char* argv[], int& i, std::string& problem)> option;
    // A usage problem once every argument is read, or "".
    std::function<std::string()> check;
    // Works on the loaded form with run's options applied. Returns the exit
    // status to end with, or nothing when the form's run went ahead and its
    // results are written and its status given as run's are.
    std::function<std::optional<int>(MainForm& form)> run;
};

// `gleanmark run [OPTIONS] PATH...`: runs the main window's processing
// headless and writes the result file to standard output or a file. Returns
// the exit status.
int RunCommandLine(int argc, char* argv[], const RunVariant* variant = nullptr);
