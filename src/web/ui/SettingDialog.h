#pragma once

#include <QDialog>

#include "FormBinding.h"
#include "QtWebPorts.h"
#include "SettingForm.h"

// The settings dialog frmSetting: the three folders with their browse
// buttons, the depth box with its up-down arrows, "Enable Filter", the
// download option, OK and Cancel. SettingForm decides everything it shows.
class SettingDialog : public QDialog {
    Q_OBJECT
public:
    SettingDialog(WebSettings& settings, QWidget* parent = nullptr);

    // Fills the controls, shows them and waits until OK, Cancel or the
    // window's close button ends the dialog.
    void run();

private:
    QWidget* buildFolders();
    QWidget* buildProcessOption();
    QWidget* buildDownloadOption();
    QWidget* buildUpDown();

    QtFolderBrowser folders_;
    SettingForm form_;
    FormBinding binding_;
};
