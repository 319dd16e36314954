#pragma once

#include <string>

// What the web window asks of the main window: a stored page joins the
// chosen-file list, and Process is pressed. The main window's form implements
// it, so the web library does not depend on the main window.
class MainWindowSide {
public:
    virtual ~MainWindowSide() = default;
    // Adds `path` as a new entry at the end of the chosen-file list (List2).
    virtual void addChosenFile(const std::string& path) = 0;
    // The main window's Process button (cmdProcessAll).
    virtual void processAll() = 0;
};
