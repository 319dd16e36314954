#pragma once

#include <QDialog>

#include "FilterForm.h"
#include "FormBinding.h"

// The filter dialog frmFilter "Edit Filter": the filter file's lines in one
// text box and Save.
class FilterDialog : public QDialog {
    Q_OBJECT
public:
    FilterDialog(WebSettings& settings, QWidget* parent = nullptr);

    // Fills the box from the filter file and waits until Save or the
    // window's close button ends the dialog.
    void run();

private:
    FilterForm form_;
    FormBinding binding_;
};
