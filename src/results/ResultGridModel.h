#pragma once

#include <QAbstractTableModel>
#include <memory>

#include "ResultTable.h"

// Shows a result table in the grid: one column per table column headed by its
// name, one row per table row. Cells can be edited in place.
class ResultGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    void setTable(std::shared_ptr<ResultTable> table);
    const std::shared_ptr<ResultTable>& table() const { return table_; }
    // Re-reads the table when it has changed since the last look.
    void refresh();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    std::shared_ptr<ResultTable> table_;
    uint64_t seenRevision_ = 0;
};
