#pragma once
// The list of sources to harvest: location, kind and size, one row each.
// Files and folders dropped on it from the desktop's file manager are handed
// on as local paths.
#include <QStringList>
#include <QTableWidget>
#include <vector>

#include "HarvestForm.h"

namespace harvest {

class SourceList : public QTableWidget {
    Q_OBJECT
public:
    explicit SourceList(QWidget* parent = nullptr);

    void show(const std::vector<HarvestSource>& sources);
    // The selected rows, in order.
    std::vector<int> selectedRows() const;

signals:
    void pathsDropped(const QStringList& paths);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
};

// The local paths among the URLs of dragged data.
QStringList LocalPaths(const QList<QUrl>& urls);

}  // namespace harvest
