#include "FilterDialog.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "WebControls.h"

FilterDialog::FilterDialog(WebSettings& settings, QWidget* parent)
    : QDialog(parent),
      form_(settings),
      binding_(form_.controls,
               {[this](const std::string& name) { form_.click(name); },
                [this](const std::string&, const std::string& text) { form_.setText(text); }}) {
    setObjectName("frmFilter");
    setWindowTitle(FilterForm::kTitle);
    setModal(true);
    form_.requestClose = [this] { accept(); };

    auto* column = new QVBoxLayout(this);
    column->addWidget(binding_.make(FilterControls(), "Text1", this), 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(binding_.make(FilterControls(), "Command1", this));
    column->addLayout(buttons);
    resize(420, 320);
}

void FilterDialog::run() {
    form_.Form_Load();
    binding_.syncAll();
    exec();
}
