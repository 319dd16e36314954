#include "QtPrompts.h"

#include <QButtonGroup>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QMessageBox>
#include <QRadioButton>
#include <QVBoxLayout>

#include "Dialogs.h"

QtPrompts::~QtPrompts() {
    delete problemDialog_.data();
    delete stripDialog_.data();
}

Prompts::Answer QtPrompts::message(const std::string& text, Buttons buttons, Icon icon,
                                   const std::string& title) {
    QMessageBox box(parent_);
    box.setWindowTitle(title.empty() ? QString("Gleanmark") : QString::fromStdString(title));
    box.setText(QString::fromStdString(text));
    switch (icon) {
        case Icon::Information:
            box.setIcon(QMessageBox::Information);
            break;
        case Icon::Exclamation:
            box.setIcon(QMessageBox::Warning);
            break;
        case Icon::Critical:
            box.setIcon(QMessageBox::Critical);
            break;
        case Icon::Question:
            box.setIcon(QMessageBox::Question);
            break;
        case Icon::None:
            break;
    }
    switch (buttons) {
        case Buttons::OK:
            box.setStandardButtons(QMessageBox::Ok);
            break;
        case Buttons::OKCancel:
            box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
            break;
        case Buttons::YesNo:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
            break;
    }
    switch (box.exec()) {
        case QMessageBox::Ok:
            return Answer::OK;
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        default:
            return buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
    }
}

QStringList QtNameFilters(const std::string& filter) {
    const QStringList parts = QString::fromStdString(filter).split('|');
    QStringList out;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString pattern = parts[i + 1];
        if (pattern == "*.*") {
            pattern = "*";
        }
        out << parts[i] + " (" + pattern + ")";
    }
    return out;
}

namespace {

std::optional<std::string> RunFileDialog(QWidget* parent, const Prompts::FileDialog& d,
                                         QFileDialog::AcceptMode mode) {
    QFileDialog dialog(parent);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptSave ? QFileDialog::AnyFile
                                                       : QFileDialog::ExistingFile);
    // The form asks its own replace question.
    dialog.setOption(QFileDialog::DontConfirmOverwrite, true);
    const QStringList filters = QtNameFilters(d.filter);
    dialog.setNameFilters(filters);
    if (d.filterIndex >= 1 && d.filterIndex <= filters.size()) {
        dialog.selectNameFilter(filters[d.filterIndex - 1]);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return dialog.selectedFiles().first().toStdString();
}

}  // namespace

std::optional<std::string> QtPrompts::openFile(const FileDialog& dialog) {
    return RunFileDialog(parent_, dialog, QFileDialog::AcceptOpen);
}

std::optional<std::string> QtPrompts::saveFile(const FileDialog& dialog) {
    return RunFileDialog(parent_, dialog, QFileDialog::AcceptSave);
}

std::optional<std::string> QtPrompts::stripDirectory(const std::string& startFolder) {
    if (!stripDialog_) {
        stripDialog_ = new FrmSHD(parent_);
    }
    return stripDialog_->choose(startFolder);
}

int QtPrompts::problem(const std::string& text) {
    if (!problemDialog_) {
        problemDialog_ = new dlgMsg(parent_);
    }
    return problemDialog_->ask(text);
}

std::optional<Prompts::KeywordEntry> QtPrompts::keywordEntry(const std::string& title,
                                                             const KeywordEntry& initial,
                                                             const KeywordAccept& accept) {
    FrmAddNewKW dialog(QString::fromStdString(title), initial, accept, parent_);
    if (dialog.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return dialog.entry();
}

std::optional<int> QtPrompts::choose(const std::string& title,
                                     const std::vector<std::string>& options) {
    QDialog dialog(parent_);
    dialog.setObjectName("FrmPreAdd");
    dialog.setWindowTitle(QString::fromStdString(title));
    auto* layout = new QVBoxLayout(&dialog);
    QButtonGroup group;
    for (size_t i = 0; i < options.size(); ++i) {
        auto* b = new QRadioButton(QString::fromStdString(options[i]), &dialog);
        b->setChecked(i == 0);
        group.addButton(b, static_cast<int>(i));
        layout->addWidget(b);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return group.checkedId();
}
