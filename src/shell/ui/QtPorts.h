#pragma once

#include <QString>
#include <functional>

#include "Clipboard.h"
#include "EventPump.h"
#include "Launcher.h"

// Hands control to Qt's event loop; `beforeYield` brings the widgets in step
// with the form first, so progress shows while a run goes on.
class QtEventPump : public EventPump {
public:
    void yield() override;
    std::function<void()> beforeYield;
};

class QtClipboard : public Clipboard {
public:
    void clear() override;
    void setText(const std::string& text) override;
    std::string text() const override;
};

// The focused line or text editor of the application (the grid's cell editor
// while a cell is being edited).
class QtFocusedEditor : public FocusedEditor {
public:
    bool available() const override;
    std::string selectedText() const override;
    void replaceSelection(const std::string& text) override;
};

// Opens documents with the desktop's default viewer, without waiting. The
// user guide is the installed one beside the program (share/doc/gleanmark
// under the program's prefix) or, for a program run from its build folder,
// the one in the source tree.
class DesktopLauncher : public Launcher {
public:
    bool openDocument(const std::string& path) override;
    std::string userGuide() const override;
};

// The user guide's first page for a program in `programDir`: the installed
// guide when there is one, else the source tree's; empty when neither exists.
std::string FindUserGuide(const QString& programDir);
