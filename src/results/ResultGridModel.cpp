#include "ResultGridModel.h"

#include "DisplayText.h"

void ResultGridModel::setTable(std::shared_ptr<ResultTable> table) {
    beginResetModel();
    table_ = std::move(table);
    seenRevision_ = table_ ? table_->revision() : 0;
    endResetModel();
}

void ResultGridModel::refresh() {
    if (table_ && table_->revision() != seenRevision_) {
        beginResetModel();
        seenRevision_ = table_->revision();
        endResetModel();
    }
}

int ResultGridModel::rowCount(const QModelIndex& parent) const {
    return (parent.isValid() || !table_) ? 0 : static_cast<int>(table_->rowCount());
}

int ResultGridModel::columnCount(const QModelIndex& parent) const {
    return (parent.isValid() || !table_) ? 0 : static_cast<int>(table_->columnCount());
}

QVariant ResultGridModel::data(const QModelIndex& index, int role) const {
    if (!table_ || !index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole)) {
        return {};
    }
    return DisplayText(
        table_->value(static_cast<size_t>(index.row()), static_cast<size_t>(index.column())));
}

QVariant ResultGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole) {
        return {};
    }
    if (orientation == Qt::Vertical) {
        return section + 1;
    }
    if (!table_ || section < 0 || static_cast<size_t>(section) >= table_->columnCount()) {
        return {};
    }
    return DisplayText(table_->columns()[static_cast<size_t>(section)]);
}

Qt::ItemFlags ResultGridModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable;
}

bool ResultGridModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!table_ || !index.isValid() || role != Qt::EditRole) {
        return false;
    }
    table_->setValue(static_cast<size_t>(index.row()), static_cast<size_t>(index.column()),
                     StoredText(value.toString()));
    seenRevision_ = table_->revision();
    emit dataChanged(index, index);
    return true;
}
