#include "ContactTableModel.h"

#include <QString>
#include <algorithm>
#include <numeric>

namespace harvest {

namespace {

// Separates the fields of a row's search text, so that a search never
// matches across two fields.
constexpr char kFieldEnd = '\x1f';
// Above this many changed rows in a batch, one dataChanged covers them all.
constexpr std::size_t kRowsSignalledOneByOne = 32;
// Above this many rows, a removal is one compaction announced as a layout
// change: a sorted view would otherwise handle each removed row on its own,
// with a pass over the whole table for each.
constexpr int kRowsRemovedWithSignals = 1000;

const Contact kNoContact{};
const std::vector<Sighting> kNoSightings{};

// Appends text in lower case: ASCII directly, anything else through
// QString, the same way the filter lowers what the user types.
void appendLower(std::string& out, const std::string& text) {
    const bool ascii = std::all_of(text.begin(), text.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (ascii) {
        for (char c : text) {
            out.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
        }
        return;
    }
    out += QString::fromStdString(text).toLower().toStdString();
}

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

}  // namespace

ContactTableModel::ContactTableModel(QObject* parent) : QAbstractTableModel(parent) {}

int ContactTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QModelIndex ContactTableModel::index(int row, int column, const QModelIndex& parent) const {
    if (row < 0 || column < 0 || column >= ColumnCount ||
        static_cast<std::size_t>(row) >= rows_.size() || parent.isValid()) {
        return {};
    }
    return createIndex(row, column);
}

int ContactTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ContactTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= ColumnCount) {
        return {};
    }
    const Contact& c = rows_[static_cast<std::size_t>(index.row())].contact;
    const auto column = static_cast<Column>(index.column());
    switch (role) {
        case Qt::DisplayRole:
        case SortRole:
            switch (column) {
                case Address:
                    return text(c.address);
                case Name:
                    return text(c.name);
                case Kind:
                    return text(c.kind);
                case Domain:
                    return text(c.domain);
                case Sightings:
                    return QVariant::fromValue<qlonglong>(c.sightings);
                case FirstSource:
                    return text(c.firstSource);
                case ColumnCount:
                    break;
            }
            return {};
        case Qt::ToolTipRole:
            return column == FirstSource ? text(c.firstSource) : QVariant();
        case Qt::TextAlignmentRole:
            if (column == Sightings) {
                return QVariant::fromValue<int>(Qt::AlignRight | Qt::AlignVCenter);
            }
            return {};
        default:
            return {};
    }
}

QVariant ContactTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    switch (section) {
        case Address:
            return tr("Address");
        case Name:
            return tr("Name");
        case Kind:
            return tr("Kind");
        case Domain:
            return tr("Domain");
        case Sightings:
            return tr("Sightings");
        case FirstSource:
            return tr("First source");
        default:
            return {};
    }
}

// Builds the lower-case search text of a row and notes where each field
// starts in it.
void ContactTableModel::lowerRow(Row& row) {
    const Contact& c = row.contact;
    std::string& lower = row.lower;
    lower.clear();
    appendLower(lower, c.address);
    lower.push_back(kFieldEnd);
    row.nameAt = static_cast<std::uint32_t>(lower.size());
    appendLower(lower, c.name);
    lower.push_back(kFieldEnd);
    row.domainAt = static_cast<std::uint32_t>(lower.size());
    appendLower(lower, c.domain);
    lower.push_back(kFieldEnd);
    row.sourceAt = static_cast<std::uint32_t>(lower.size());
    appendLower(lower, c.firstSource);
    lower.push_back(kFieldEnd);
    row.endAt = static_cast<std::uint32_t>(lower.size());
}

void ContactTableModel::mergeInto(Row& row, const Sighting& sighting, bool& nameChanged) {
    Contact& c = row.contact;
    ++c.sightings;
    if (!sighting.name.empty()) {
        if (c.name.empty()) {
            c.name = sighting.name;
            nameChanged = true;
        }
        if (std::find(c.names.begin(), c.names.end(), sighting.name) == c.names.end()) {
            c.names.push_back(sighting.name);
        }
    }
    if (row.sightings.size() < kKeptSightings) {
        row.sightings.push_back(sighting);
    }
}

void ContactTableModel::addSightings(const std::vector<Sighting>& sightings) {
    const auto oldCount = static_cast<int>(rows_.size());
    std::vector<Row> fresh;
    std::vector<int> changed;
    std::vector<int> renamed;
    for (const Sighting& s : sightings) {
        if (s.address.empty()) {
            continue;
        }
        const auto [at, added] =
            byAddress_.try_emplace(s.address, oldCount + static_cast<int>(fresh.size()));
        const int row = at->second;
        if (added) {
            Row& r = fresh.emplace_back();
            r.contact.address = s.address;
            r.contact.kind = s.kind;
            r.contact.domain = s.domain;
            r.contact.reserved = s.reserved;
            r.contact.firstSource = s.origin.source;
            bool unused = false;
            mergeInto(r, s, unused);
            continue;
        }
        if (row >= oldCount) {
            bool unused = false;
            mergeInto(fresh[static_cast<std::size_t>(row - oldCount)], s, unused);
            continue;
        }
        Row& r = rows_[static_cast<std::size_t>(row)];
        bool nameChanged = false;
        mergeInto(r, s, nameChanged);
        if (nameChanged) {
            lowerRow(r);
            renamed.push_back(row);
        }
        changed.push_back(row);
    }

    if (!changed.empty() || !fresh.empty()) {
        this->changed();
    }
    if (!changed.empty()) {
        std::sort(changed.begin(), changed.end());
        changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
        // A name changes at most once a row, so renamed is short and sorted.
        if (changed.size() <= kRowsSignalledOneByOne) {
            for (int row : changed) {
                const bool named = std::find(renamed.begin(), renamed.end(), row) != renamed.end();
                emit dataChanged(index(row, named ? Name : Sightings), index(row, Sightings));
            }
        } else {
            const int first = renamed.empty() ? Sightings : Name;
            emit dataChanged(index(changed.front(), first), index(changed.back(), Sightings));
        }
    }
    if (!fresh.empty()) {
        for (Row& r : fresh) {
            lowerRow(r);
        }
        beginInsertRows({}, oldCount, oldCount + static_cast<int>(fresh.size()) - 1);
        std::move(fresh.begin(), fresh.end(), std::back_inserter(rows_));
        endInsertRows();
    }
}

void ContactTableModel::clear() {
    beginResetModel();
    rows_.clear();
    byAddress_.clear();
    changed();
    endResetModel();
}

// Points the index of every row from `row` on at its place again.
void ContactTableModel::reindexFrom(int row) {
    for (auto i = static_cast<std::size_t>(row); i < rows_.size(); ++i) {
        byAddress_.find(rows_[i].contact.address)->second = static_cast<int>(i);
    }
}

bool ContactTableModel::removeRows(int row, int count, const QModelIndex& parent) {
    if (parent.isValid() || row < 0 || count <= 0 || count > rowCount() - row) {
        return false;
    }
    if (count > kRowsRemovedWithSignals) {
        std::vector<int> rows(static_cast<std::size_t>(count));
        std::iota(rows.begin(), rows.end(), row);
        compactRows(rows);
        return true;
    }
    beginRemoveRows({}, row, row + count - 1);
    const auto first = rows_.begin() + row;
    for (auto it = first; it != first + count; ++it) {
        byAddress_.erase(it->contact.address);
    }
    rows_.erase(first, first + count);
    reindexFrom(row);
    // The rows left keep their order, so the ranks of each column still hold.
    for (auto& ranks : ranks_) {
        if (!ranks.empty()) {
            ranks.erase(ranks.begin() + row, ranks.begin() + row + count);
        }
    }
    endRemoveRows();
    return true;
}

void ContactTableModel::removeRowSet(std::vector<int> rows) {
    const int total = rowCount();
    rows.erase(
        std::remove_if(rows.begin(), rows.end(), [total](int r) { return r < 0 || r >= total; }),
        rows.end());
    if (rows.empty()) {
        return;
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    const auto count = static_cast<int>(rows.size());
    if (rows.back() - rows.front() + 1 == count && count <= kRowsRemovedWithSignals) {
        removeRows(rows.front(), count);
    } else {
        compactRows(rows);
    }
}

// Removes rows, given sorted and each once, in one pass.
void ContactTableModel::compactRows(const std::vector<int>& rows) {
    const int total = rowCount();
    // Rows spread over the table go in one compaction announced as a layout
    // change: a removal signal per run of rows would cost every listener a
    // pass over the whole table for each run.
    emit layoutAboutToBeChanged();
    std::vector<int> newRow(static_cast<std::size_t>(total));
    int kept = 0;
    auto next = rows.begin();
    for (int r = 0; r < total; ++r) {
        if (next != rows.end() && *next == r) {
            newRow[static_cast<std::size_t>(r)] = -1;
            byAddress_.erase(rows_[static_cast<std::size_t>(r)].contact.address);
            ++next;
        } else {
            if (kept != r) {
                rows_[static_cast<std::size_t>(kept)] =
                    std::move(rows_[static_cast<std::size_t>(r)]);
            }
            newRow[static_cast<std::size_t>(r)] = kept++;
        }
    }
    rows_.resize(static_cast<std::size_t>(kept));
    reindexFrom(rows.front());
    for (auto& ranks : ranks_) {
        if (!ranks.empty()) {
            for (std::size_t r = 0; r < newRow.size(); ++r) {
                if (newRow[r] >= 0) {
                    ranks[static_cast<std::size_t>(newRow[r])] = ranks[r];
                }
            }
            ranks.resize(static_cast<std::size_t>(kept));
        }
    }

    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& i : before) {
        const int moved = newRow[static_cast<std::size_t>(i.row())];
        after.push_back(moved < 0 ? QModelIndex() : index(moved, i.column()));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged();
}

const Contact& ContactTableModel::contact(int row) const {
    if (row < 0 || row >= rowCount()) {
        return kNoContact;
    }
    return rows_[static_cast<std::size_t>(row)].contact;
}

const std::vector<Sighting>& ContactTableModel::sightingsOf(int row) const {
    if (row < 0 || row >= rowCount()) {
        return kNoSightings;
    }
    return rows_[static_cast<std::size_t>(row)].sightings;
}

int ContactTableModel::rowOf(const std::string& address) const {
    const auto it = byAddress_.find(address);
    return it == byAddress_.end() ? -1 : it->second;
}

std::string_view ContactTableModel::searchTextOf(int row) const {
    if (row < 0 || row >= rowCount()) {
        return {};
    }
    return rows_[static_cast<std::size_t>(row)].lower;
}

std::string_view ContactTableModel::lowerTextOf(int row, Column column) const {
    if (row < 0 || row >= rowCount()) {
        return {};
    }
    const Row& r = rows_[static_cast<std::size_t>(row)];
    const std::string_view all = r.lower;
    switch (column) {
        case Address:
            return all.substr(0, r.nameAt - 1);
        case Name:
            return all.substr(r.nameAt, r.domainAt - 1 - r.nameAt);
        case Domain:
            return all.substr(r.domainAt, r.sourceAt - 1 - r.domainAt);
        case FirstSource:
            return all.substr(r.sourceAt, r.endAt - 1 - r.sourceAt);
        case Kind:
            return r.contact.kind;
        default:
            return {};
    }
}

}  // namespace harvest
