#include "FolderTree.h"

#include <QDir>
#include <QHeaderView>
#include <QKeyEvent>
#include <QStyle>

#include "FileListing.h"

namespace {

constexpr int kPathRole = Qt::UserRole;

}  // namespace

FolderTree::FolderTree(QWidget* parent) : QTreeWidget(parent) {
    setHeaderHidden(true);
    setColumnCount(1);
    setRootIsDecorated(false);
    setIndentation(12);
    connect(this, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
        emit folderChosen(item->data(0, kPathRole).toString());
    });
}

void FolderTree::setFolder(const QString& path) {
    folder_ = path;
    clear();
    const QIcon open = style()->standardIcon(QStyle::SP_DirOpenIcon);
    const QIcon closed = style()->standardIcon(QStyle::SP_DirClosedIcon);

    // The chain from the root down to the folder itself.
    QStringList parts = QDir::cleanPath(path).split('/', Qt::SkipEmptyParts);
    auto* item = new QTreeWidgetItem(this, QStringList{"/"});
    item->setData(0, kPathRole, "/");
    item->setIcon(0, open);
    QString walked;
    for (const QString& part : parts) {
        walked += "/" + part;
        auto* child = new QTreeWidgetItem(item, QStringList{part});
        child->setData(0, kPathRole, walked);
        child->setIcon(0, open);
        item->setExpanded(true);
        item = child;
    }
    QFont bold = item->font(0);
    bold.setBold(true);
    item->setFont(0, bold);
    // Its sub-folders.
    for (const std::string& sub : ListSubFolders(path.toStdString())) {
        const QString subPath = QString::fromStdString(sub);
        auto* child = new QTreeWidgetItem(item, QStringList{QDir(subPath).dirName()});
        child->setData(0, kPathRole, subPath);
        child->setIcon(0, closed);
    }
    item->setExpanded(true);
    setCurrentItem(item);
    scrollToItem(item, QAbstractItemView::PositionAtTop);
}

void FolderTree::keyPressEvent(QKeyEvent* event) {
    QTreeWidgetItem* item = currentItem();
    const QString path = item ? item->data(0, kPathRole).toString() : QString();
    const int key = event->key();
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    // As in the desktop's file dialogs: Enter and Space open the folder under
    // the highlight; Right opens it too, and in the folder already open goes
    // on down into its sub-folders as usual.
    const bool opens = key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space ||
                       (key == Qt::Key_Right && path != folder_);
    if (plain && opens && item) {
        event->accept();
        emit folderChosen(path);
        return;
    }
    QTreeWidget::keyPressEvent(event);
}
