#include "FilterForm.h"

#include "WebControls.h"
#include "WebFiles.h"

FilterForm::FilterForm(WebSettings& settings) : settings_(settings) {
    AddControls(controls, FilterControls());
}

void FilterForm::Form_Load() {
    std::string text;
    for (const std::string& line :
         webfiles::ReadLines(settings_.filterFile()).value_or(std::vector<std::string>{})) {
        text += line + "\r\n";
    }
    controls["Text1"].caption = text;
}

void FilterForm::setText(const std::string& text) {
    controls["Text1"].caption = text;
}

void FilterForm::click(const std::string& name) {
    if (name == "Command1") {
        Command1_Click();
    }
}

void FilterForm::Command1_Click() {
    webfiles::WriteRecord(settings_.filterFile(), ctl("Text1").caption);
    if (requestClose) {
        requestClose();
    }
}
