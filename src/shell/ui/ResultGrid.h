#pragma once

#include <QTableView>

class QAbstractItemView;

// The result grid. Tab and Shift+Tab move from cell to cell and then on to
// the next or previous control after the last or before the first cell;
// Ctrl+Tab and Ctrl+Shift+Tab leave the grid at once.
class ResultGrid : public QTableView {
    Q_OBJECT
public:
    using QTableView::QTableView;

protected:
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
};

// The selected cells of an item view seen as selected text, as spreadsheets
// see them: the rows that hold a selected cell, one line each, with the
// selected columns' texts separated by tabs.
QString SelectedCellsText(const QAbstractItemView& view);
// Puts `text` in place of the selected cells' texts. Text of one field goes
// into every selected cell; tab-separated lines are spread over the cells
// from the first selected one, as far as the table reaches.
void ReplaceSelectedCells(QAbstractItemView& view, const QString& text);
