#include "SettingForm.h"

SettingForm::SettingForm(WebSettings& settings, FolderBrowser& folders)
    : settings_(settings), folders_(folders) {}
void SettingForm::Form_Load() {}
void SettingForm::click(const std::string&) {}
void SettingForm::setText(const std::string&, const std::string&) {}
void SettingForm::UpDown1_Change(int) {}
void SettingForm::Command5_Click() {}
void SettingForm::Command6_Click() {}
void SettingForm::browse(const std::string&) {
    (void)folders_;
}
void SettingForm::selectOnline(bool) {
    (void)settings_;
}
