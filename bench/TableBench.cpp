// Times the Harvest window's contacts table with a million contacts: filling
// it in batches as a run hands them over, sorting by each column, filtering
// as a search box does (one change a keystroke), a kind filter, and
// deleting rows, a block and rows spread over the table.
#include <QElapsedTimer>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "ContactFilterModel.h"
#include "ContactTableModel.h"

namespace {

using harvest::ContactFilterModel;
using harvest::ContactTableModel;
using harvest::Sighting;

constexpr int kBatch = 10'000;
constexpr int kDomains = 3'000;

const char* const kKinds[] = {"personal", "role", "no-reply", "web", "phone"};
const char* const kFirst[] = {"anna", "Bruno", "chloé", "David", "eve",   "Farid", "grace",
                              "Hugo", "ines",  "Jonas", "kim",   "Lucía", "max",   "Nora"};
const char* const kLast[] = {"Meyer", "smith", "Ôzil", "garcia", "Nakamura", "olsen", "Park"};
const char* const kWords[] = {"north", "blue", "acorn", "delta", "river", "stone", "maple"};

std::string domainName(int n) {
    return std::string(kWords[n % 7]) + kWords[(n / 7) % 7] + std::to_string(n) +
           (n % 3 == 0   ? ".com"
            : n % 3 == 1 ? ".org"
                         : ".co.uk");
}

// A contact for each number: its address, name, kind and domain follow from
// it, so the same number always gives the same contact.
Sighting contactSighting(int n) {
    Sighting s;
    const int domain = static_cast<int>((static_cast<std::uint32_t>(n) * 2654435761u) % kDomains);
    const char* kind = kKinds[n % 5];
    s.kind = kind;
    s.domain = domainName(domain);
    const std::string first = kFirst[n % 14];
    const std::string last = kLast[(n / 14) % 7];
    if (s.kind == "web") {
        s.address = "https://www." + s.domain + "/people/" + std::to_string(n);
    } else if (s.kind == "phone") {
        s.address = "+4930" + std::to_string(1'000'000 + n);
        s.domain.clear();
    } else {
        s.address = first + "." + last + std::to_string(n) + "@" + s.domain;
        if (n % 4 != 0) {
            s.name = first + " " + last;
        }
    }
    s.origin.source = "/home/user/archive/" + std::to_string(domain % 97) + "/mail" +
                      std::to_string(n % 1000) + ".mbox";
    s.line = n;
    return s;
}

double seconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

void report(const char* what, const QElapsedTimer& timer, int rows) {
    std::printf("  %-34s %8.3f s  %8d rows shown\n", what, seconds(timer), rows);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    // The number of contacts may be given, for a quicker look.
    const int kContacts = argc > 1 ? std::max(kBatch, std::atoi(argv[1])) : 1'000'000;
    std::mt19937 random(7);
    std::printf("Contacts table, %d contacts\n", kContacts);

    ContactTableModel table;
    ContactFilterModel view;
    view.setContacts(&table);

    // A run hands over batches; some sightings repeat contacts already seen.
    // Only adding the batches is timed, not making them.
    QElapsedTimer timer;
    std::int64_t fillNanoseconds = 0;
    for (int start = 0; start < kContacts; start += kBatch) {
        std::vector<Sighting> batch;
        batch.reserve(kBatch + kBatch / 5);
        for (int n = start; n < start + kBatch; ++n) {
            batch.push_back(contactSighting(n));
            if (n % 5 == 0 && start > 0) {
                batch.push_back(contactSighting(static_cast<int>(random() % start)));
            }
        }
        timer.start();
        table.addSightings(batch);
        fillNanoseconds += timer.nsecsElapsed();
    }
    std::printf("  %-34s %8.3f s  %8d rows shown\n", "fill in batches of 10,000",
                static_cast<double>(fillNanoseconds) / 1e9, view.rowCount());

    const char* const columns[] = {"address", "name",      "kind",
                                   "domain",  "sightings", "first source"};
    for (int column = 0; column < ContactTableModel::ColumnCount; ++column) {
        for (Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            timer.start();
            view.sort(column, order);
            const std::string what = std::string("sort by ") + columns[column] +
                                     (order == Qt::AscendingOrder ? " up" : " down");
            report(what.c_str(), timer, view.rowCount());
        }
    }

    view.sort(ContactTableModel::Address, Qt::AscendingOrder);
    for (const char* typed : {"a", "ac", "acm", "acme", ""}) {
        timer.start();
        view.setSearchText(QString::fromUtf8(typed));
        const std::string what = std::string("search \"") + typed + "\"";
        report(what.c_str(), timer, view.rowCount());
    }
    timer.start();
    view.setKinds({"role", "no-reply"});
    report("kinds role and no-reply", timer, view.rowCount());
    timer.start();
    view.setKinds({});
    report("all kinds", timer, view.rowCount());

    timer.start();
    table.removeRows(kContacts / 2, 10'000);
    report("delete 10,000 rows in a block", timer, view.rowCount());
    std::vector<int> spread;
    for (int row = 0; row < table.rowCount() && spread.size() < 10'000; row += 97) {
        spread.push_back(row);
    }
    timer.start();
    table.removeRowSet(spread);
    report("delete 10,000 rows spread out", timer, view.rowCount());
    return 0;
}
