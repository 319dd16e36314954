#pragma once

#include <QElapsedTimer>
#include <QString>
#include <functional>

#include "Clipboard.h"
#include "EventPump.h"
#include "Launcher.h"

// Hands control to Qt's event loop; `beforeYield` brings the widgets in step
// with the form first, so progress shows while a run goes on.
//
// A run over a big file yields hundreds of thousands of times a second, and
// each hand-over costs more than the scanning between two yields. Within
// kIntervalNs of the last hand-over a yield therefore returns at once: the
// window still answers 200 times a second and sees Cancel as soon.
class QtEventPump : public EventPump {
public:
    static constexpr qint64 kIntervalNs = 5'000'000;

    void yield() override;
    std::function<void()> beforeYield;

private:
    QElapsedTimer sinceLast_;
};

class QtClipboard : public Clipboard {
public:
    void clear() override;
    void setText(const std::string& text) override;
    std::string text() const override;
};

// The focused line or text editor of the application (the grid's cell editor
// while a cell is being edited), or the result grid itself, whose selected
// cells count as their whole texts selected.
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
