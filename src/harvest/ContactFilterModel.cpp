#include "ContactFilterModel.h"

#include "ContactTableModel.h"

namespace harvest {

namespace {

std::string lowered(const QString& text) {
    return text.trimmed().toLower().toStdString();
}

}  // namespace

ContactFilterModel::ContactFilterModel(QObject* parent) : QSortFilterProxyModel(parent) {}

void ContactFilterModel::setContacts(ContactTableModel* contacts) {
    contacts_ = contacts;
    setSourceModel(contacts);
}

// The filter changes with a layout change rather than invalidateFilter(),
// which would announce every run of rows that appears or goes on its own
// and update its whole mapping for each: quadratic on a large table. A
// layout change filters and sorts the table once, and views and selections
// keep what still shows.
void ContactFilterModel::setSearchText(const QString& text) {
    if (text == search_) {
        return;
    }
    search_ = text;
    std::string lower = lowered(text);
    if (lower == searchLower_) {
        return;
    }
    searchLower_ = std::move(lower);
    invalidate();
}

void ContactFilterModel::setKinds(const std::set<std::string>& kinds) {
    if (kinds == kinds_) {
        return;
    }
    kinds_ = kinds;
    invalidate();
}

void ContactFilterModel::setDomain(const QString& domain) {
    std::string lower = lowered(domain);
    // "@acme.com" and ".acme.com" mean acme.com as well.
    while (!lower.empty() && (lower.front() == '@' || lower.front() == '.')) {
        lower.erase(0, 1);
    }
    if (lower == domain_) {
        return;
    }
    domain_ = std::move(lower);
    invalidate();
}

bool ContactFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const {
    if (contacts_ == nullptr || sourceParent.isValid()) {
        return true;
    }
    if (!kinds_.empty() && kinds_.count(contacts_->contact(sourceRow).kind) == 0) {
        return false;
    }
    if (!domain_.empty()) {
        const std::string_view domain =
            contacts_->lowerTextOf(sourceRow, ContactTableModel::Domain);
        if (domain.size() < domain_.size() ||
            domain.substr(domain.size() - domain_.size()) != domain_) {
            return false;
        }
        if (domain.size() > domain_.size() && domain[domain.size() - domain_.size() - 1] != '.') {
            return false;
        }
    }
    return searchLower_.empty() ||
           contacts_->searchTextOf(sourceRow).find(searchLower_) != std::string_view::npos;
}

bool ContactFilterModel::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    if (contacts_ == nullptr) {
        return QSortFilterProxyModel::lessThan(left, right);
    }
    const int l = left.row();
    const int r = right.row();
    const int order =
        contacts_->compareRows(l, r, static_cast<ContactTableModel::Column>(left.column()));
    if (order != 0) {
        return order < 0;
    }
    // Equal rows keep the table's order in either direction: a descending
    // sort asks lessThan(right, left), so the tie-break turns with it.
    return sortOrder() == Qt::AscendingOrder ? l < r : l > r;
}

}  // namespace harvest
