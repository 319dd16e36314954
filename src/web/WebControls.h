#pragma once

#include <vector>

class ControlSet;

// What kind of widget shows a control of the web window or its dialogs.
enum class WebControlKind {
    Menu,
    MenuEntry,
    ToolButton,  // a tool-bar button, named after its key
    Button,
    Combo,
    Label,
    TextBox,
    MultiLineText,
    UpDown,
    CheckBox,
    Option,
    Frame,
    Browser
};

struct WebControlInfo {
    const char* name;
    WebControlKind kind;
    const char* caption;
    const char* tooltip;
};

// The controls of the web window, its settings dialog and its filter dialog,
// in the order the windows lay them out. A menu's entries follow it; a
// frame's controls follow it.
const std::vector<WebControlInfo>& WebControls();
const std::vector<WebControlInfo>& SettingControls();
const std::vector<WebControlInfo>& FilterControls();

// Adds each control with its caption and tooltip.
void AddControls(ControlSet& set, const std::vector<WebControlInfo>& infos);
// The kind of a named control of `infos`.
WebControlKind KindOf(const std::vector<WebControlInfo>& infos, const char* name);
