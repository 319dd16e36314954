#pragma once
// The questions the Harvest window asks the user through standard dialogs,
// and the desktop program that opens a place where a contact was found, as
// functions a test can replace, so that no real dialog waits for a click and
// nothing is launched.
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

class QWidget;

namespace harvest {

struct WindowHooks {
    // Files to add, starting in `folder`; empty when cancelled.
    std::function<QStringList(QWidget* parent, const QString& folder)> chooseFiles;
    // A folder to add, starting in `folder`; empty when cancelled.
    std::function<QString(QWidget* parent, const QString& folder)> chooseFolder;
    // Where to export: a path and the name filter chosen (one of `filters`);
    // an empty path when cancelled.
    std::function<QString(QWidget* parent, const QString& folder, const QStringList& filters,
                          QString& chosenFilter)>
        chooseSaveFile;
    // Whether to export only the selected rows (true), all rows (false), or
    // nothing (no value).
    std::function<std::optional<bool>(QWidget* parent, int selected, int all)> askSelectedOnly;
    // A yes/no question; true for yes.
    std::function<bool(QWidget* parent, const QString& question)> confirm;
    // A message that something failed.
    std::function<void(QWidget* parent, const QString& message)> showError;
    // Opens a file or web page in the desktop's program for it.
    std::function<bool(const QUrl& url)> openUrl;

    // The standard dialogs and the desktop's opener.
    static WindowHooks desktop();
};

}  // namespace harvest
