#include "QtPorts.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QUrl>

#include "ResultGrid.h"

void QtEventPump::yield() {
    if (sinceLast_.isValid() && sinceLast_.nsecsElapsed() < kIntervalNs) {
        return;
    }
    if (beforeYield) {
        beforeYield();
    }
    QCoreApplication::processEvents();
    sinceLast_.start();
}

void QtClipboard::clear() {
    QGuiApplication::clipboard()->clear();
}

void QtClipboard::setText(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

std::string QtClipboard::text() const {
    return QGuiApplication::clipboard()->text().toStdString();
}

bool QtFocusedEditor::available() const {
    QWidget* w = QApplication::focusWidget();
    return qobject_cast<QLineEdit*>(w) || qobject_cast<QTextEdit*>(w) ||
           qobject_cast<QPlainTextEdit*>(w) || qobject_cast<ResultGrid*>(w);
}

std::string QtFocusedEditor::selectedText() const {
    QWidget* w = QApplication::focusWidget();
    if (auto* line = qobject_cast<QLineEdit*>(w)) {
        return line->selectedText().toStdString();
    }
    if (auto* text = qobject_cast<QTextEdit*>(w)) {
        return text->textCursor().selectedText().toStdString();
    }
    if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
        return plain->textCursor().selectedText().toStdString();
    }
    if (auto* grid = qobject_cast<ResultGrid*>(w)) {
        return SelectedCellsText(*grid).toStdString();
    }
    return {};
}

void QtFocusedEditor::replaceSelection(const std::string& text) {
    QWidget* w = QApplication::focusWidget();
    const QString t = QString::fromStdString(text);
    if (auto* line = qobject_cast<QLineEdit*>(w)) {
        line->insert(t);
    } else if (auto* edit = qobject_cast<QTextEdit*>(w)) {
        edit->textCursor().insertText(t);
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
        plain->textCursor().insertText(t);
    } else if (auto* grid = qobject_cast<ResultGrid*>(w)) {
        ReplaceSelectedCells(*grid, t);
    }
}

bool DesktopLauncher::openDocument(const std::string& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(path)));
}

std::string DesktopLauncher::userGuide() const {
    return FindUserGuide(QCoreApplication::applicationDirPath());
}

std::string FindUserGuide(const QString& programDir) {
    const QString places[] = {QDir(programDir).filePath(GLEANMARK_GUIDE_FROM_PROGRAM_DIR),
                              QStringLiteral(GLEANMARK_GUIDE_IN_SOURCES)};
    for (const QString& page : places) {
        if (QFileInfo(page).isFile()) {
            return QDir::cleanPath(QFileInfo(page).absoluteFilePath()).toStdString();
        }
    }
    return {};
}
