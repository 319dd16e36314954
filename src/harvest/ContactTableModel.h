#pragma once
// The contacts of a harvest as a table for views: one row per contact, filled
// from the sightings that a running harvest hands over in batches. Columns:
// address, name, kind, domain, sightings, first source. Each row keeps its
// first kKeptSightings sightings (all are counted), for the panel that shows
// where the selected contact was found, so memory grows with the contacts,
// not with how often each was seen. Rows can be deleted; the table never
// holds the same address twice.
#include <QAbstractTableModel>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

class ContactTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Address, Name, Kind, Domain, Sightings, FirstSource, ColumnCount };
    // The role that gives a cell's value for sorting: text for text columns,
    // a number for Sightings.
    static constexpr int SortRole = Qt::UserRole + 1;
    static constexpr std::size_t kKeptSightings = 50;

    explicit ContactTableModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    // As the base class does, without its virtual calls: a sort of a million
    // rows asks for tens of millions of indexes.
    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;
    // Removes the rows given, in any order, in one pass however many there
    // are and however they are spread; rows out of range are ignored.
    void removeRowSet(std::vector<int> rows);

    // Adds a batch of sightings: new addresses become rows at the end (one
    // insertion for the batch), known ones count up (one change signal).
    void addSightings(const std::vector<Sighting>& sightings);
    void clear();

    // Direct access for the filter and sort model and for exports, without
    // going through QVariant.
    const Contact& contact(int row) const;
    // The sightings kept of a row (contact(row).sightings counts them all).
    const std::vector<Sighting>& sightingsOf(int row) const;
    // The row of an address, or -1.
    int rowOf(const std::string& address) const;
    // A row's address, name, domain and first source in lower case, each
    // followed by U+001F, for searching without case and without allocating.
    std::string_view searchTextOf(int row) const;
    // A text column of a row in lower case (Kind as it is), for sorting.
    std::string_view lowerTextOf(int row, Column column) const;
    // Orders two rows by a column as the table sorts: text by its lower case
    // (byte order, the same in every locale), sightings by number; -1, 0 or
    // 1. Once many comparisons follow a change, the whole column is ranked
    // at once and rows compare by rank, so a sort of a million rows reads
    // two numbers a comparison rather than two rows' texts.
    int compareRows(int left, int right, Column column) const;

private:
    struct Row {
        Contact contact;
        std::vector<Sighting> sightings;
        std::string lower;  // searchTextOf
        std::uint32_t nameAt = 0, domainAt = 0, sourceAt = 0, endAt = 0;
    };
    static void lowerRow(Row& row);
    void mergeInto(Row& row, const Sighting& sighting, bool& nameChanged);
    void reindexFrom(int row);
    void compactRows(const std::vector<int>& rows);
    void changed();
    void rank(Column column) const;

    // Per column: the rank of each row, valid when ranked_, and how many
    // comparisons were made since the last change without ranks.
    mutable std::vector<std::uint32_t> ranks_[ColumnCount];
    mutable bool ranked_[ColumnCount] = {};
    mutable std::int64_t unrankedCompares_[ColumnCount] = {};
    std::vector<Row> rows_;
    std::unordered_map<std::string, int> byAddress_;
};

}  // namespace harvest
