#include "FilterForm.h"

FilterForm::FilterForm(WebSettings& settings) : settings_(settings) {}
void FilterForm::Form_Load() {}
void FilterForm::setText(const std::string&) {}
void FilterForm::click(const std::string&) {}
void FilterForm::Command1_Click() {
    (void)settings_;
}
