#pragma once
// What the contacts table shows: the rows that match the search text (in the
// address, name, domain or first source, ignoring case), of the kinds chosen
// and at the domain chosen, sorted by any column. Sorting and filtering read
// the contacts directly, so a table of a million rows sorts and filters in
// well under a second.
#include <QSortFilterProxyModel>
#include <QString>
#include <set>
#include <string>

namespace harvest {

class ContactTableModel;

class ContactFilterModel : public QSortFilterProxyModel {
    Q_OBJECT
public:
    explicit ContactFilterModel(QObject* parent = nullptr);

    void setContacts(ContactTableModel* contacts);  // also the source model

    void setSearchText(const QString& text);
    // Kinds shown ("personal", "role", "no-reply", "web", "phone"); empty: all.
    void setKinds(const std::set<std::string>& kinds);
    // Only contacts at this domain or its subdomains; empty: all.
    void setDomain(const QString& domain);

    QString searchText() const { return search_; }

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    ContactTableModel* contacts_ = nullptr;
    QString search_;
    std::string searchLower_;
    std::set<std::string> kinds_;
    std::string domain_;
};

}  // namespace harvest
