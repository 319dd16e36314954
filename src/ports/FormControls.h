#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

// Colours that the window's logic gives captions and list backgrounds.
enum class Colour {
    Default,
    Black,             // a ticked option's caption
    AppWorkspace,      // the system's application-workspace grey: an option that is off
    WindowBackground,  // a usable list
    ScrollBar          // a list that is not usable
};

// The state of one control of the window, kept under the control's name. The
// window's widgets show this state; logic reads and changes it.
struct Control {
    std::string caption;  // caption or text
    std::string tooltip;
    bool enabled = true;
    bool visible = true;
    int value = 0;       // check box and menu check: 0/1; option: 1 when selected
    float progress = 0;  // progress bars, 0 to 100
    Colour foreColour = Colour::Default;
    Colour backColour = Colour::Default;
    std::vector<std::string> items;  // list entries
    std::vector<bool> selected;      // per entry, for multi-select lists
    int listIndex = -1;              // the current entry of a list
    std::string path;                // folder and file lists: the folder shown
    std::string pattern;             // file list: the name pattern
};

// Every control of a window by name, with a record of which ones changed
// since the widgets were last brought in step.
class ControlSet {
public:
    Control& operator[](const std::string& name) {
        dirty_.insert(name);
        return controls_.at(name);
    }
    const Control& get(const std::string& name) const { return controls_.at(name); }
    bool has(const std::string& name) const { return controls_.count(name) != 0; }
    void add(const std::string& name, Control control) { controls_[name] = std::move(control); }
    std::vector<std::string> names() const {
        std::vector<std::string> out;
        for (const auto& [name, control] : controls_) {
            out.push_back(name);
        }
        return out;
    }

    // The names changed since the last call.
    std::set<std::string> takeDirty() {
        std::set<std::string> out;
        out.swap(dirty_);
        return out;
    }

private:
    std::map<std::string, Control> controls_;
    std::set<std::string> dirty_;
};
