#pragma once

#include <QDialog>

#include "Prompts.h"

class QComboBox;
class QLabel;
class QLineEdit;
class FolderTree;

// The problem dialog "Message": a text and four buttons, each closing the
// dialog with its result code (OK 0, Ignore 1, Ignore All 2, Cancel 3).
class dlgMsg : public QDialog {
    Q_OBJECT
public:
    explicit dlgMsg(QWidget* parent = nullptr);
    int ask(const std::string& text);

private:
    QLabel* Label1_;
};

// The strip-directory chooser "Stripping HTML Tags Directory": a drive list
// and a folder tree; OK stores the folder shown, Cancel stores nothing.
class FrmSHD : public QDialog {
    Q_OBJECT
public:
    explicit FrmSHD(QWidget* parent = nullptr);
    std::optional<std::string> choose(const std::string& startFolder);
    void showFolder(const QString& path);

private:
    QComboBox* Drive1_;
    FolderTree* Dir1_;
};

// The keyword entry dialog: keyword, positions and their checks on OK.
class FrmAddNewKW : public QDialog {
    Q_OBJECT
public:
    FrmAddNewKW(const QString& title, const Prompts::KeywordEntry& initial,
                Prompts::KeywordAccept accept, QWidget* parent = nullptr);
    Prompts::KeywordEntry entry() const;

private:
    QLineEdit* TxtKeyWord_;
    QLineEdit* TxtPosition_;
    Prompts::KeywordAccept accept_;
};
