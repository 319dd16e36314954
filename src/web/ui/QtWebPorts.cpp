#include "QtWebPorts.h"

#include <QDir>
#include <QFileDialog>

void WindowPointer::setShape(Shape shape) {
    if (!window_) {
        return;
    }
    if (shape == Hourglass) {
        window_->setCursor(Qt::WaitCursor);
    } else {
        window_->unsetCursor();
    }
}

std::optional<std::string> QtFolderBrowser::browseFolder(const std::string& title,
                                                         const std::string& startFolder) {
    if (beforeOpen) {
        beforeOpen();
    }
    const QString folder = QFileDialog::getExistingDirectory(parent_, QString::fromStdString(title),
                                                             QString::fromStdString(startFolder));
    if (folder.isEmpty()) {
        return std::nullopt;
    }
    return QDir::toNativeSeparators(folder).toStdString();
}
