#include "Dialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "FileListing.h"
#include "FolderTree.h"

dlgMsg::dlgMsg(QWidget* parent) : QDialog(parent) {
    setObjectName("dlgMsg");
    setWindowTitle("Message");
    auto* layout = new QVBoxLayout(this);
    Label1_ = new QLabel(this);
    Label1_->setObjectName("Label1");
    Label1_->setWordWrap(true);
    Label1_->setMinimumWidth(420);
    layout->addWidget(Label1_);
    auto* row = new QHBoxLayout;
    const std::pair<const char*, const char*> buttons[] = {{"cmdOK", "OK"},
                                                           {"cmdIgnore", "Ignore"},
                                                           {"cmdIgnoreAll", "Ignore All"},
                                                           {"cmdCancel", "Cancel"}};
    int code = 0;
    for (const auto& [name, caption] : buttons) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(name);
        connect(b, &QPushButton::clicked, this, [this, code] { done(code); });
        row->addWidget(b);
        ++code;
    }
    layout->addLayout(row);
}

int dlgMsg::ask(const std::string& text) {
    Label1_->setText(QString::fromStdString(text));
    const int r = exec();
    return (r >= 0 && r <= 3) ? r : Prompts::ProblemCancel;
}

FrmSHD::FrmSHD(QWidget* parent) : QDialog(parent) {
    setObjectName("FrmSHD");
    setWindowTitle("Stripping HTML Tags Directory");
    resize(420, 420);
    auto* layout = new QVBoxLayout(this);
    Drive1_ = new QComboBox(this);
    Drive1_->setObjectName("Drive1");
    for (const auto& d : DriveList()) {
        Drive1_->addItem(QString::fromStdString(d));
    }
    layout->addWidget(Drive1_);
    auto* frame = new QFrame(this);
    frame->setFrameShape(QFrame::StyledPanel);
    auto* frameLayout = new QVBoxLayout(frame);
    Dir1_ = new FolderTree(frame);
    Dir1_->setObjectName("Dir1");
    frameLayout->addWidget(Dir1_);
    layout->addWidget(frame, 1);
    auto* row = new QHBoxLayout;
    auto* ok = new QPushButton("OK", this);
    ok->setObjectName("Command1");
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setObjectName("Command2");
    row->addStretch();
    row->addWidget(ok);
    row->addWidget(cancel);
    layout->addLayout(row);
    connect(Drive1_, &QComboBox::activated, this,
            [this](int i) { showFolder(Drive1_->itemText(i)); });
    connect(Dir1_, &FolderTree::folderChosen, this, &FrmSHD::showFolder);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void FrmSHD::showFolder(const QString& path) {
    Dir1_->setFolder(path);
}

std::optional<std::string> FrmSHD::choose(const std::string& startFolder) {
    showFolder(QString::fromStdString(startFolder));
    if (exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return Dir1_->folder().toStdString();
}

FrmAddNewKW::FrmAddNewKW(const QString& title, const Prompts::KeywordEntry& initial,
                         Prompts::KeywordAccept accept, QWidget* parent)
    : QDialog(parent), accept_(std::move(accept)) {
    // `accept` names the checks here; the dialog's own accept() closes it.
    setObjectName("FrmAddNewKW");
    setWindowTitle(title);
    auto* grid = new QGridLayout(this);
    grid->addWidget(new QLabel("KeyWord:", this), 0, 0);
    TxtKeyWord_ = new QLineEdit(QString::fromStdString(initial.keyword), this);
    TxtKeyWord_->setObjectName("TxtKeyWord");
    grid->addWidget(TxtKeyWord_, 0, 1);
    grid->addWidget(new QLabel("(Keywords are not case sensitive.)", this), 1, 1);
    grid->addWidget(new QLabel("Positions:", this), 2, 0);
    TxtPosition_ = new QLineEdit(QString::fromStdString(initial.positions), this);
    TxtPosition_->setObjectName("TxtPosition");
    grid->addWidget(TxtPosition_, 2, 1);
    auto* hint = new QLabel(
        "(For example: 1, 2, 3,  6, 10" + QString(25, ' ') +
            "No quotation marks, no comma at the end of last position number. Position numbers "
            "must be in small to big order.)",
        this);
    hint->setWordWrap(true);
    hint->setMaximumWidth(360);
    grid->addWidget(hint, 3, 1);
    auto* row = new QHBoxLayout;
    auto* ok = new QPushButton("OK", this);
    ok->setObjectName("Command1");
    ok->setDefault(true);
    auto* cancel = new QPushButton("Cancel", this);
    cancel->setObjectName("Command2");
    row->addStretch();
    row->addWidget(ok);
    row->addWidget(cancel);
    grid->addLayout(row, 4, 0, 1, 2);
    connect(ok, &QPushButton::clicked, this, [this] {
        if (accept_(entry())) {
            QDialog::accept();
        }
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

Prompts::KeywordEntry FrmAddNewKW::entry() const {
    return {TxtKeyWord_->text().toStdString(), TxtPosition_->text().toStdString()};
}
