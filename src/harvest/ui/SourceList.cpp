#include "SourceList.h"

#include <QDropEvent>
#include <QHeaderView>
#include <QLocale>
#include <QMimeData>
#include <set>

namespace harvest {

QStringList LocalPaths(const QList<QUrl>& urls) {
    QStringList paths;
    for (const QUrl& url : urls) {
        if (url.isLocalFile() && !url.toLocalFile().isEmpty()) {
            paths << url.toLocalFile();
        }
    }
    return paths;
}

SourceList::SourceList(QWidget* parent) : QTableWidget(0, 3, parent) {
    setHorizontalHeaderLabels({"Location", "Kind", "Size"});
    horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    horizontalHeader()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    verticalHeader()->hide();
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);
    setAcceptDrops(true);
    setDropIndicatorShown(false);
    setDragDropMode(QAbstractItemView::DropOnly);
}

void SourceList::show(const std::vector<HarvestSource>& sources) {
    setRowCount(static_cast<int>(sources.size()));
    const QLocale locale;
    for (int row = 0; row < rowCount(); ++row) {
        const HarvestSource& s = sources[static_cast<std::size_t>(row)];
        const QString size = s.bytes < 0 ? QString() : locale.formattedDataSize(s.bytes);
        const QString cells[] = {QString::fromStdString(s.location), kindName(s.kind), size};
        for (int column = 0; column < 3; ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            if (column == 0) {
                item->setToolTip(cells[0]);
            }
            if (column == 2) {
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            }
            setItem(row, column, item);
        }
    }
}

std::vector<int> SourceList::selectedRows() const {
    std::set<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedIndexes()) {
        rows.insert(index.row());
    }
    return {rows.begin(), rows.end()};
}

void SourceList::dragEnterEvent(QDragEnterEvent* event) {
    if (!LocalPaths(event->mimeData()->urls()).isEmpty()) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void SourceList::dragMoveEvent(QDragMoveEvent* event) {
    if (!LocalPaths(event->mimeData()->urls()).isEmpty()) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void SourceList::dropEvent(QDropEvent* event) {
    const QStringList paths = LocalPaths(event->mimeData()->urls());
    if (paths.isEmpty()) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    emit pathsDropped(paths);
}

}  // namespace harvest
