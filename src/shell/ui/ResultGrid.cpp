#include "ResultGrid.h"

#include <QKeyEvent>
#include <algorithm>
#include <set>

namespace {

// The selected cells as sorted row and column numbers.
void SelectedRowsAndColumns(const QAbstractItemView& view, std::set<int>& rows,
                            std::set<int>& columns) {
    if (!view.selectionModel()) {
        return;
    }
    for (const QModelIndex& index : view.selectionModel()->selectedIndexes()) {
        rows.insert(index.row());
        columns.insert(index.column());
    }
}

}  // namespace

bool ResultGrid::focusNextPrevChild(bool next) {
    const QAbstractItemModel* m = model();
    const QModelIndex current = currentIndex();
    bool atEdge = !m || m->rowCount() == 0 || m->columnCount() == 0 || !current.isValid();
    if (!atEdge) {
        atEdge =
            next ? current.row() == m->rowCount() - 1 && current.column() == m->columnCount() - 1
                 : current.row() == 0 && current.column() == 0;
    }
    // Past the last cell, or before the first, the focus moves on.
    return atEdge ? QWidget::focusNextPrevChild(next) : QTableView::focusNextPrevChild(next);
}

void ResultGrid::keyPressEvent(QKeyEvent* event) {
    const bool tab = event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab;
    if (tab && (event->modifiers() & Qt::ControlModifier)) {
        const bool back =
            event->key() == Qt::Key_Backtab || (event->modifiers() & Qt::ShiftModifier);
        QWidget::focusNextPrevChild(!back);
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}

QString SelectedCellsText(const QAbstractItemView& view) {
    std::set<int> rows, columns;
    SelectedRowsAndColumns(view, rows, columns);
    QStringList lines;
    for (int row : rows) {
        QStringList fields;
        for (int column : columns) {
            const QModelIndex index = view.model()->index(row, column);
            fields << (view.selectionModel()->isSelected(index) ? index.data().toString()
                                                                : QString());
        }
        lines << fields.join('\t');
    }
    return lines.join('\n');
}

void ReplaceSelectedCells(QAbstractItemView& view, const QString& text) {
    std::set<int> rows, columns;
    SelectedRowsAndColumns(view, rows, columns);
    if (rows.empty()) {
        return;
    }
    QAbstractItemModel* model = view.model();
    QStringList lines = QString(text).remove('\r').split('\n');
    if (lines.size() > 1 && lines.back().isEmpty()) {
        lines.removeLast();  // the line end after the last row
    }
    if (lines.size() == 1 && !lines.front().contains('\t')) {
        for (const QModelIndex& index : view.selectionModel()->selectedIndexes()) {
            model->setData(index, lines.front(), Qt::EditRole);
        }
        return;
    }
    const int top = *rows.begin();
    const int left = *columns.begin();
    for (int r = 0; r < lines.size() && top + r < model->rowCount(); ++r) {
        const QStringList fields = lines[r].split('\t');
        for (int c = 0; c < fields.size() && left + c < model->columnCount(); ++c) {
            model->setData(model->index(top + r, left + c), fields[c], Qt::EditRole);
        }
    }
}
