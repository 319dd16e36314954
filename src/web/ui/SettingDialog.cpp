#include "SettingDialog.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include "WebControls.h"

SettingDialog::SettingDialog(WebSettings& settings, QWidget* parent)
    : QDialog(parent),
      folders_(this),
      form_(settings, folders_),
      binding_(form_.controls, {[this](const std::string& name) { form_.click(name); },
                                [this](const std::string& name, const std::string& text) {
                                    form_.setText(name, text);
                                }}) {
    setObjectName("frmSetting");
    setWindowTitle(SettingForm::kTitle);
    setModal(true);
    form_.requestClose = [this] { accept(); };
    folders_.beforeOpen = [this] { binding_.sync(); };

    auto* column = new QVBoxLayout(this);
    column->addWidget(buildFolders());
    auto* options = new QHBoxLayout;
    options->addWidget(buildProcessOption());
    options->addWidget(buildDownloadOption());
    column->addLayout(options);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (const char* name : {"Command5", "Command6"}) {
        buttons->addWidget(binding_.make(SettingControls(), name, this));
    }
    column->addLayout(buttons);
    auto* ok = findChild<QPushButton*>("Command5");
    ok->setDefault(true);
    resize(560, sizeHint().height());
}

QWidget* SettingDialog::buildFolders() {
    auto* box = new QWidget(this);
    auto* grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    const char* rows[][3] = {{"Label1", "txtSaveDir", "cmdSaveDir"},
                             {"Label2", "txtFilterDir", "cmdFilterDir"},
                             {"Label3", "txtShortcutDir", "cmdShortcutDir"}};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            grid->addWidget(binding_.make(SettingControls(), rows[r][c], box), r, c);
        }
    }
    grid->setColumnStretch(1, 1);
    return box;
}

QWidget* SettingDialog::buildProcessOption() {
    auto* frame = binding_.make(SettingControls(), "fraProcess", this);
    auto* l = new QVBoxLayout(frame);
    auto* depth = new QHBoxLayout;
    depth->addWidget(binding_.make(SettingControls(), "Label4", frame));
    auto* box = static_cast<QLineEdit*>(binding_.make(SettingControls(), "txtDepth", frame));
    box->setMaximumWidth(60);
    depth->addWidget(box);
    depth->addWidget(buildUpDown());
    depth->addStretch();
    l->addLayout(depth);
    l->addWidget(binding_.make(SettingControls(), "chkFilter", frame));
    return frame;
}

QWidget* SettingDialog::buildDownloadOption() {
    auto* frame = binding_.make(SettingControls(), "fraDownload", this);
    auto* l = new QVBoxLayout(frame);
    l->addWidget(binding_.make(SettingControls(), "optOnline", frame));
    l->addWidget(binding_.make(SettingControls(), "optOffline", frame));
    return frame;
}

// Two arrow buttons stacked, as the depth box's up-down control.
QWidget* SettingDialog::buildUpDown() {
    auto* updown = new QWidget(this);
    binding_.add("UpDown1", updown);
    auto* l = new QVBoxLayout(updown);
    l->setContentsMargins(0, 0, 0, 0);
    l->setSpacing(0);
    const std::pair<Qt::ArrowType, int> arrows[] = {{Qt::UpArrow, 1}, {Qt::DownArrow, -1}};
    for (const auto& [arrow, step] : arrows) {
        auto* b = new QToolButton(updown);
        b->setObjectName(step > 0 ? "UpDown1Up" : "UpDown1Down");
        b->setArrowType(arrow);
        b->setAutoRepeat(true);
        b->setFixedSize(20, 12);
        const int s = step;
        connect(b, &QToolButton::clicked, this,
                [this, s] { binding_.act("UpDown1", [&] { form_.UpDown1_Change(s); }); });
        l->addWidget(b);
    }
    return updown;
}

void SettingDialog::run() {
    form_.Form_Load();
    binding_.syncAll();
    exec();
}
