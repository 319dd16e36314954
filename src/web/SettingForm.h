#pragma once

#include <functional>
#include <string>

#include "FormControls.h"
#include "WebSettings.h"

class FolderBrowser;

// The settings dialog's behaviour (frmSetting). Controls (see
// SettingControls()): txtSaveDir, txtFilterDir, txtShortcutDir with their
// browse buttons cmdSaveDir, cmdFilterDir, cmdShortcutDir; txtDepth with the
// up-down control UpDown1 (1 to 15); optOnline / optOffline (value 1 when
// selected); chkFilter "Enable Filter"; Command5 "OK", Command6 "Cancel".
class SettingForm {
public:
    static constexpr const char* kTitle = "Setting";
    static constexpr const char* kBrowseTitle = "请选择文件夹：";
    static constexpr int kMinDepth = 1;
    static constexpr int kMaxDepth = 15;

    SettingForm(WebSettings& settings, FolderBrowser& folders);

    ControlSet controls;
    const Control& ctl(const std::string& name) const { return controls.get(name); }

    // Fills the controls: the stored values once the dialog has been
    // confirmed, else the first-time values.
    void Form_Load();
    // A click on a button, check box or option button.
    void click(const std::string& name);
    // Text typed into a box; the depth box keeps digits only.
    void setText(const std::string& name, const std::string& text);
    // The up-down control's arrows: +1 or -1, kept within 1..15.
    void UpDown1_Change(int step);

    void Command5_Click();  // OK: writes every value, then closes
    void Command6_Click();  // Cancel: closes without writing

    // Called when the dialog is to close.
    std::function<void()> requestClose;

private:
    void browse(const std::string& box);
    void selectOnline(bool online);

    WebSettings& settings_;
    FolderBrowser& folders_;
};
