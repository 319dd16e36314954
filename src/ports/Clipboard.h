#pragma once

#include <string>

// The system clipboard, as plain text.
class Clipboard {
public:
    virtual ~Clipboard() = default;
    virtual void clear() = 0;
    virtual void setText(const std::string& text) = 0;
    virtual std::string text() const = 0;
};

// The window's control that has the keyboard focus, seen through its selected
// text (normally the result grid's cell editor).
class FocusedEditor {
public:
    virtual ~FocusedEditor() = default;
    // False when no control with editable text has the focus.
    virtual bool available() const = 0;
    virtual std::string selectedText() const = 0;
    virtual void replaceSelection(const std::string& text) = 0;
};
