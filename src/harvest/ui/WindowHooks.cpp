#include "WindowHooks.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace harvest {

WindowHooks WindowHooks::desktop() {
    WindowHooks h;
    h.chooseFiles = [](QWidget* parent, const QString& folder) {
        return QFileDialog::getOpenFileNames(parent, "Add Files", folder);
    };
    h.chooseFolder = [](QWidget* parent, const QString& folder) {
        return QFileDialog::getExistingDirectory(parent, "Add Folder", folder);
    };
    h.chooseSaveFile = [](QWidget* parent, const QString& folder, const QStringList& filters,
                          QString& chosenFilter) {
        return QFileDialog::getSaveFileName(parent, "Export Contacts", folder, filters.join(";;"),
                                            &chosenFilter);
    };
    h.askSelectedOnly = [](QWidget* parent, int selected, int all) -> std::optional<bool> {
        QMessageBox box(
            QMessageBox::Question, "Export Contacts",
            QString("Export the %1 selected rows or all %2 rows?").arg(selected).arg(all),
            QMessageBox::Cancel, parent);
        QPushButton* some = box.addButton("&Selected Rows", QMessageBox::AcceptRole);
        QPushButton* every = box.addButton("&All Rows", QMessageBox::AcceptRole);
        box.setDefaultButton(some);
        box.exec();
        if (box.clickedButton() == some) {
            return true;
        }
        if (box.clickedButton() == every) {
            return false;
        }
        return std::nullopt;
    };
    h.confirm = [](QWidget* parent, const QString& question) {
        return QMessageBox::question(parent, "Gleanmark - Harvest", question) == QMessageBox::Yes;
    };
    h.showError = [](QWidget* parent, const QString& message) {
        QMessageBox::warning(parent, "Gleanmark - Harvest", message);
    };
    h.openUrl = [](const QUrl& url) { return QDesktopServices::openUrl(url); };
    return h;
}

}  // namespace harvest
