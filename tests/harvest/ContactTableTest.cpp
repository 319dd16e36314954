#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <set>

#include "ContactFilterModel.h"
#include "ContactTableModel.h"

using harvest::ContactFilterModel;
using harvest::ContactTableModel;
using harvest::Sighting;

namespace {

Sighting seen(const std::string& address, const std::string& name = {},
              const std::string& source = "a.txt", const std::string& kind = "personal",
              const std::string& domain = {}) {
    Sighting s;
    s.address = address;
    s.name = name;
    s.kind = kind;
    s.origin.source = source;
    s.domain = domain.empty() && address.find('@') != std::string::npos
                   ? address.substr(address.find('@') + 1)
                   : domain;
    return s;
}

// A table and its filter model, both watched for wrong signals.
struct Models {
    ContactTableModel table;
    ContactFilterModel view;
    std::unique_ptr<QAbstractItemModelTester> tableTester, viewTester;
    Models() {
        view.setContacts(&table);
        using Mode = QAbstractItemModelTester::FailureReportingMode;
        tableTester = std::make_unique<QAbstractItemModelTester>(&table, Mode::Fatal);
        viewTester = std::make_unique<QAbstractItemModelTester>(&view, Mode::Fatal);
    }
    std::vector<std::string> shown() const {
        std::vector<std::string> out;
        for (int r = 0; r < view.rowCount(); ++r) {
            out.push_back(view.index(r, 0).data().toString().toStdString());
        }
        return out;
    }
    std::vector<std::string> all() const {
        std::vector<std::string> out;
        for (int r = 0; r < table.rowCount(); ++r) {
            out.push_back(table.contact(r).address);
        }
        return out;
    }
};

struct Expected {
    std::string address, name;
    std::int64_t sightings;
    std::string firstSource;
    std::vector<std::string> names;
};

struct MergeCase {
    const char* what;
    std::vector<std::vector<Sighting>> batches;
    std::vector<Expected> rows;
};

TEST(ContactTableTest, BatchesMergeIntoRows) {
    const std::vector<MergeCase> cases = {
        {"repeats in one batch",
         {{seen("a@x.org", "", "1"), seen("b@x.org", "B", "2"), seen("a@x.org", "A", "3")}},
         {{"a@x.org", "A", 2, "1", {"A"}}, {"b@x.org", "B", 1, "2", {"B"}}}},
        {"first name wins across batches, names kept in order",
         {{seen("a@x.org", "", "1")},
          {seen("a@x.org", "Ann", "2"), seen("a@x.org", "Anna", "3")},
          {seen("a@x.org", "Ann", "4")}},
         {{"a@x.org", "Ann", 4, "1", {"Ann", "Anna"}}}},
        {"addresses differ by case of the local part",
         {{seen("Bob@x.org"), seen("bob@x.org")}},
         {{"Bob@x.org", "", 1, "a.txt", {}}, {"bob@x.org", "", 1, "a.txt", {}}}},
        {"empty address is ignored",
         {{seen(""), seen("c@x.org")}, {}},
         {{"c@x.org", "", 1, "a.txt", {}}}},
    };
    for (const MergeCase& c : cases) {
        SCOPED_TRACE(c.what);
        Models m;
        for (const auto& batch : c.batches) {
            m.table.addSightings(batch);
        }
        ASSERT_EQ(m.table.rowCount(), static_cast<int>(c.rows.size()));
        for (std::size_t i = 0; i < c.rows.size(); ++i) {
            const auto& got = m.table.contact(static_cast<int>(i));
            EXPECT_EQ(got.address, c.rows[i].address);
            EXPECT_EQ(got.name, c.rows[i].name);
            EXPECT_EQ(got.sightings, c.rows[i].sightings);
            EXPECT_EQ(got.firstSource, c.rows[i].firstSource);
            EXPECT_EQ(got.names, c.rows[i].names);
            EXPECT_EQ(m.table.rowOf(got.address), static_cast<int>(i));
            EXPECT_EQ(m.table.index(static_cast<int>(i), ContactTableModel::Sightings).data(),
                      QVariant::fromValue<qlonglong>(c.rows[i].sightings));
        }
    }
}

TEST(ContactTableTest, KeepsTheFirstSightingsAndCountsAll) {
    ContactTableModel table;
    const auto cap = static_cast<int>(ContactTableModel::kKeptSightings);
    for (int batch = 0; batch < 3; ++batch) {
        std::vector<Sighting> sightings;
        for (int i = 0; i < cap; ++i) {
            sightings.push_back(seen("a@x.org", {}, std::to_string(batch * cap + i)));
        }
        table.addSightings(sightings);
    }
    ASSERT_EQ(table.rowCount(), 1);
    EXPECT_EQ(table.contact(0).sightings, 3 * cap);
    ASSERT_EQ(table.sightingsOf(0).size(), ContactTableModel::kKeptSightings);
    EXPECT_EQ(table.sightingsOf(0).back().origin.source, std::to_string(cap - 1));
    EXPECT_TRUE(table.sightingsOf(5).empty());
    EXPECT_TRUE(table.contact(-1).address.empty());
}

TEST(ContactTableTest, SignalsOneInsertPerBatchAndNarrowChanges) {
    Models m;
    std::vector<Sighting> first;
    for (int i = 0; i < 100; ++i) {
        first.push_back(seen("p" + std::to_string(i) + "@x.org"));
    }
    m.table.addSightings(first);
    QSignalSpy inserted(&m.table, &QAbstractItemModel::rowsInserted);
    QSignalSpy changed(&m.table, &QAbstractItemModel::dataChanged);

    struct Case {
        const char* what;
        std::vector<Sighting> batch;
        int inserts;
        std::vector<std::array<int, 4>> changes;  // top, left, bottom, right
    };
    const std::vector<Case> cases = {
        {"two known rows, one new",
         {seen("p3@x.org"), seen("n@x.org"), seen("p7@x.org", "P")},
         1,
         {{3, 4, 3, 4}, {7, 1, 7, 4}}},
        {"many known rows: one range", first, 0, {{0, 4, 99, 4}}},
        {"only new rows", {seen("m1@x.org"), seen("m2@x.org"), seen("m1@x.org")}, 1, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        inserted.clear();
        changed.clear();
        m.table.addSightings(c.batch);
        EXPECT_EQ(inserted.size(), c.inserts);
        ASSERT_EQ(changed.size(), static_cast<int>(c.changes.size()));
        for (std::size_t i = 0; i < c.changes.size(); ++i) {
            const auto tl = changed[static_cast<int>(i)][0].toModelIndex();
            const auto br = changed[static_cast<int>(i)][1].toModelIndex();
            EXPECT_EQ((std::array<int, 4>{tl.row(), tl.column(), br.row(), br.column()}),
                      c.changes[i]);
        }
    }
    EXPECT_EQ(m.table.rowCount(), 103);
}

TEST(ContactTableTest, RemovesRowsAndKeepsAddressesFindable) {
    struct Case {
        const char* what;
        std::vector<int> rows;  // empty: removeRows(1, 2)
        std::vector<std::string> left;
    };
    const std::vector<Case> cases = {
        {"a block", {}, {"a", "d", "e", "f"}},
        {"spread, unordered, repeated, out of range", {5, 0, 3, 3, -1, 9}, {"b", "c", "e"}},
        {"one row", {4}, {"a", "b", "c", "d", "f"}},
        {"every row", {0, 1, 2, 3, 4, 5}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Models m;
        m.table.addSightings({seen("a"), seen("b"), seen("c"), seen("d"), seen("e"), seen("f")});
        m.view.sort(ContactTableModel::Address, Qt::DescendingOrder);
        const QPersistentModelIndex keptE(m.table.index(4, 0));
        const QPersistentModelIndex viewOfE(m.view.mapFromSource(keptE));
        if (c.rows.empty()) {
            EXPECT_TRUE(m.table.removeRows(1, 2));
            EXPECT_FALSE(m.table.removeRows(3, 2));
        } else {
            m.table.removeRowSet(c.rows);
        }
        EXPECT_EQ(m.all(), c.left);
        for (int r = 0; r < m.table.rowCount(); ++r) {
            EXPECT_EQ(m.table.rowOf(m.table.contact(r).address), r);
        }
        EXPECT_EQ(m.view.rowCount(), m.table.rowCount());
        const bool eKept = std::find(c.left.begin(), c.left.end(), "e") != c.left.end();
        EXPECT_EQ(keptE.isValid(), eKept);
        EXPECT_EQ(viewOfE.isValid(), eKept);
        if (eKept) {
            EXPECT_EQ(m.table.contact(keptE.row()).address, "e");
            EXPECT_EQ(viewOfE.data().toString(), "e");
        }
        m.table.addSightings({seen("a"), seen("z")});
        EXPECT_EQ(m.table.rowOf("z"), m.table.rowCount() - 1);
        EXPECT_EQ(m.table.contact(m.table.rowOf("a")).address, "a");
    }
}

TEST(ContactFilterModelTest, FiltersByTextKindAndDomain) {
    struct Case {
        const char* what;
        QString search;
        std::set<std::string> kinds;
        QString domain;
        std::vector<std::string> shown;
    };
    const std::vector<Case> cases = {
        {"nothing set",
         "",
         {},
         "",
         {"ann@acme.com", "info@mail.acme.com", "x@notacme.com", "https://web.example/",
          "+4930123"}},
        {"address, any case", "ANN@", {}, "", {"ann@acme.com"}},
        {"name, non-ASCII case", "  éLODIE ", {}, "", {"x@notacme.com"}},
        {"first source", "Inbox", {}, "", {"info@mail.acme.com"}},
        {"not across fields", "comann", {}, "", {}},
        {"domain and subdomains", "", {}, "@ACME.com", {"ann@acme.com", "info@mail.acme.com"}},
        {"kinds", "", {"role", "phone"}, "", {"info@mail.acme.com", "+4930123"}},
        {"all three",
         "acme",
         {"personal", "role"},
         "acme.com",
         {"ann@acme.com", "info@mail.acme.com"}},
        {"kind excludes", "ann", {"web"}, "", {}},
    };
    Models m;
    m.table.addSightings({seen("ann@acme.com", "Ann Lee", "/d/a.txt"),
                          seen("info@mail.acme.com", "", "/mail/INBOX.mbox", "role"),
                          seen("x@notacme.com", "ÉLODIE", "b.pdf"),
                          seen("https://web.example/", "", "c.html", "web", "web.example"),
                          seen("+4930123", "", "d.txt", "phone")});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m.view.setSearchText(c.search);
        m.view.setKinds(c.kinds);
        m.view.setDomain(c.domain);
        EXPECT_EQ(m.shown(), c.shown);
    }
    m.view.setSearchText("acme");
    m.view.setKinds({});
    m.table.addSightings({seen("late@acme.com"), seen("late@other.org")});
    EXPECT_EQ(m.view.rowCount(), 4);
}

TEST(ContactFilterModelTest, SortsEachColumnBothWaysWithStableTies) {
    Models m;
    m.table.addSightings({seen("b@y.org", "bob", "2", "role"), seen("A@x.org", "", "1"),
                          seen("c@x.org", "Bob", "1"), seen("b@y.org"), seen("a@z.org", "al", "3"),
                          seen("c@x.org")});
    // Rows: 0 b@y.org, 1 A@x.org, 2 c@x.org, 3 a@z.org.
    struct Case {
        int column;
        std::vector<std::string> ascending, descending;
    };
    const std::vector<Case> cases = {
        {ContactTableModel::Address,
         {"A@x.org", "a@z.org", "b@y.org", "c@x.org"},
         {"c@x.org", "b@y.org", "a@z.org", "A@x.org"}},
        {ContactTableModel::Name,
         {"A@x.org", "a@z.org", "b@y.org", "c@x.org"},
         {"b@y.org", "c@x.org", "a@z.org", "A@x.org"}},
        {ContactTableModel::Kind,
         {"A@x.org", "c@x.org", "a@z.org", "b@y.org"},
         {"b@y.org", "A@x.org", "c@x.org", "a@z.org"}},
        {ContactTableModel::Domain,
         {"A@x.org", "c@x.org", "b@y.org", "a@z.org"},
         {"a@z.org", "b@y.org", "A@x.org", "c@x.org"}},
        {ContactTableModel::Sightings,
         {"A@x.org", "a@z.org", "b@y.org", "c@x.org"},
         {"b@y.org", "c@x.org", "A@x.org", "a@z.org"}},
        {ContactTableModel::FirstSource,
         {"A@x.org", "c@x.org", "b@y.org", "a@z.org"},
         {"a@z.org", "b@y.org", "A@x.org", "c@x.org"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.column);
        m.view.sort(c.column, Qt::AscendingOrder);
        EXPECT_EQ(m.shown(), c.ascending);
        m.view.sort(c.column, Qt::DescendingOrder);
        EXPECT_EQ(m.shown(), c.descending);
    }
    EXPECT_EQ(m.table.headerData(ContactTableModel::FirstSource, Qt::Horizontal), "First source");
    EXPECT_EQ(m.table.index(0, ContactTableModel::FirstSource).data(Qt::ToolTipRole), "2");
    EXPECT_EQ(m.table.index(0, ContactTableModel::Sightings).data(ContactTableModel::SortRole),
              QVariant::fromValue<qlonglong>(2));
}

// Large sorts compare rows by ranks made for the whole column; they must
// order exactly as comparing the texts does, also where texts share long
// beginnings, end on a 16-byte boundary, differ only in case or past ASCII.
TEST(ContactFilterModelTest, RankedSortsAgreeWithTextOrder) {
    const std::vector<std::string> stems = {"/home/user/archive/2024/",
                                            "/home/user/archive/2024/mail/",
                                            "0123456789abcdef",
                                            "0123456789ABCDEF0123456789abcdef",
                                            "Zoë",
                                            "zoe",
                                            "ZOË",
                                            "",
                                            "é"};
    Models m;
    std::vector<Sighting> batch;
    for (int i = 0; i < 300; ++i) {
        const std::string& stem = stems[static_cast<std::size_t>(i) % stems.size()];
        const std::string tail = i % 3 == 0 ? "" : std::to_string(i % 7);
        Sighting s = seen("r" + std::to_string(i), stem + tail, stem + tail);
        batch.insert(batch.end(), static_cast<std::size_t>(1 + i % 4), s);
    }
    m.table.addSightings(batch);
    // Removing rows keeps the ranks of the rows left, so a second round sorts
    // with ranks compacted rather than made anew.
    for (int round = 0; round < 2; ++round) {
        if (round == 1) {
            m.table.removeRowSet({0, 5, 17, 18, 19, 200, 299});
            m.table.removeRows(40, 30);
        }
        for (int column : {ContactTableModel::Name, ContactTableModel::FirstSource,
                           ContactTableModel::Sightings, ContactTableModel::Address}) {
            SCOPED_TRACE(column);
            std::vector<int> expected(static_cast<std::size_t>(m.table.rowCount()));
            std::iota(expected.begin(), expected.end(), 0);
            const auto key = [&](int row) {
                return column == ContactTableModel::Sightings
                           ? QString::number(m.table.contact(row).sightings).rightJustified(3, '0')
                           : m.table.index(row, column).data().toString().toLower();
            };
            std::stable_sort(expected.begin(), expected.end(),
                             [&](int a, int b) { return key(a).toUtf8() < key(b).toUtf8(); });
            m.view.sort(column, Qt::AscendingOrder);
            std::vector<int> got;
            for (int r = 0; r < m.view.rowCount(); ++r) {
                got.push_back(m.view.mapToSource(m.view.index(r, 0)).row());
            }
            EXPECT_EQ(got, expected);
        }
    }
    EXPECT_EQ(m.table.rowCount(), 263);
}

}  // namespace
