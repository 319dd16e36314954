#pragma once

#include <functional>
#include <string>

#include "FormControls.h"
#include "WebSettings.h"

// The filter dialog's behaviour (frmFilter): the text box Text1 holds the
// filter file's lines, each followed by CR LF (a widget that shows plain
// line feeds converts both ways); Command1 "Save" writes it back.
class FilterForm {
public:
    static constexpr const char* kTitle = "Edit Filter";

    explicit FilterForm(WebSettings& settings);

    ControlSet controls;
    const Control& ctl(const std::string& name) const { return controls.get(name); }

    void Form_Load();
    void setText(const std::string& text);  // typed into Text1
    void click(const std::string& name);
    // Writes Text1's whole content as one record, replacing the file; closes.
    void Command1_Click();

    std::function<void()> requestClose;

private:
    WebSettings& settings_;
};
