#pragma once

#include "MainForm.h"
#include "MainWindowSide.h"

// The main window's side of the web window: a stored page joins List2, and
// Process is pressed unless a run is already under way.
class MainFormSide : public MainWindowSide {
public:
    explicit MainFormSide(MainForm& form) : form_(form) {}

    void addChosenFile(const std::string& path) override {
        Control& list2 = form_.controls["List2"];
        list2.items.push_back(path);
        list2.selected.push_back(false);
    }
    void processAll() override {
        if (!form_.running()) {
            form_.cmdProcessAll_Click();
        }
    }

private:
    MainForm& form_;
};
