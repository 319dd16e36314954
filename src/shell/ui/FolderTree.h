#pragma once

#include <QTreeWidget>

// A folder list in the manner of a classic directory box: the folders on the
// way from the root to the current folder, opened one inside the other, and
// the current folder's sub-folders below it. It is read synchronously, so it
// always shows the folder it was given.
class FolderTree : public QTreeWidget {
    Q_OBJECT
public:
    explicit FolderTree(QWidget* parent = nullptr);

    void setFolder(const QString& path);
    QString folder() const { return folder_; }

signals:
    // The user clicked a folder, or pressed Enter, Space or Right on it.
    void folderChosen(const QString& path);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString folder_;
};
