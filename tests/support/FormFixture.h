#pragma once

#include <gtest/gtest.h>
#include <QDir>

#include "Fakes.h"
#include "MainForm.h"
#include "ScriptedPrompts.h"
#include "TempDir.h"

// A main-window form on scripted ports, loaded with a temporary folder as the
// working directory.
class FormFixture : public ::testing::Test {
protected:
    FormFixture() : saved_(QDir::currentPath()) {
        QDir::setCurrent(QString::fromStdString(dir.path()));
    }
    ~FormFixture() override { QDir::setCurrent(saved_); }

    void load() { form.Form_Load(); }
    std::string file(const std::string& name) const { return dir.file(name); }
    std::string write(const std::string& name, const std::string& bytes) const {
        return dir.write(name, bytes);
    }
    void choose(const std::vector<std::string>& paths) {
        auto& list2 = form.controls["List2"];
        list2.items = paths;
        list2.selected.assign(paths.size(), false);
    }

    TempDir dir;
    ScriptedPrompts prompts;
    ScriptedPump pump;
    FixedClock clock;
    RecordingLauncher launcher;
    FakeEditing editing;
    MainForm form{{prompts, pump, clock, launcher, editing, editing}};

private:
    QString saved_;
};
