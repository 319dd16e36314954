// The window's pieces that decide something on their own: what an export's
// path and filter mean, what a sighting's double-click opens, which dropped
// URLs count, and the summary's counts.
#include <gtest/gtest.h>
#include <QFile>

#include "ExportChoice.h"
#include "HarvestRig.h"
#include "SightingsPanel.h"
#include "SourceList.h"
#include "SummaryView.h"

namespace harvest {
namespace {

TEST(ExportChoice, TheTypedExtensionWinsElseTheFilterAddsItsOwn) {
    struct Case {
        const char* path;
        const char* filter;
        const char* expectedPath;
        Format format;
    };
    const Case cases[] = {
        {"/t/out", "TSV (*.tsv)", "/t/out.tsv", Format::Tsv},
        {"/t/out", "vCard (*.vcf)", "/t/out.vcf", Format::VCard},
        {"/t/out.xlsx", "CSV (*.csv)", "/t/out.xlsx", Format::Xlsx},
        {"/t/out.db", "", "/t/out.db", Format::Sqlite},
        {"/t/out.v2", "JSON Lines (*.jsonl)", "/t/out.v2.jsonl", Format::Jsonl},
        {"/t/out", "", "/t/out.csv", Format::Csv},
        {"/t.d/out", "SQLite database (*.sqlite)", "/t.d/out.sqlite", Format::Sqlite},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        const ExportChoice choice = ChooseExport(c.path, c.filter);
        EXPECT_EQ(choice.path, c.expectedPath);
        EXPECT_EQ(choice.format, c.format);
    }
    EXPECT_EQ(ExportFilters().size(), 6);
}

TEST(SightingsPanel, ADoubleClickOpensTheFileTheContainerOrThePage) {
    TempDir dir;
    const QString zip = QString::fromStdString(dir.write("a!b.zip", "PK"));
    const QString plain = QString::fromStdString(dir.write("c.txt", "x"));
    struct Case {
        QString source;
        QUrl expected;
    };
    const Case cases[] = {
        {"https://www.lakeside.net/team", QUrl("https://www.lakeside.net/team")},
        {"HTTP://lakeside.net/", QUrl("HTTP://lakeside.net/")},
        {plain, QUrl::fromLocalFile(plain)},
        {zip + "!inner/d.pdf", QUrl::fromLocalFile(zip)},  // a "!" in the container's own name
        {"/nowhere/x.zip!y.txt", QUrl::fromLocalFile("/nowhere/x.zip!y.txt")},
        {"", QUrl()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source.toStdString());
        EXPECT_EQ(PlaceToOpen(c.source.toStdString()), c.expected);
    }
}

TEST(SightingsPanel, PlaceInSourceNamesThePageOrTheMessage) {
    Origin page, message, none;
    page.page = 3;
    message.message = 12;
    EXPECT_EQ(PlaceInSource(page), "page 3");
    EXPECT_EQ(PlaceInSource(message), "message 12");
    EXPECT_EQ(PlaceInSource(none), "");
}

TEST(SourceList, OnlyLocalFilesCountAmongDroppedUrls) {
    const QList<QUrl> urls = {QUrl::fromLocalFile("/data/a.txt"), QUrl("https://x.org/b"),
                              QUrl("file:///data/dir"), QUrl()};
    EXPECT_EQ(LocalPaths(urls), QStringList({"/data/a.txt", "/data/dir"}));
}

Sighting Seen(const std::string& address, const std::string& domain, const std::string& kind) {
    Sighting s;
    s.address = address;
    s.domain = domain;
    s.kind = kind;
    s.what = kind == "phone" ? FindKind::Phone : FindKind::Email;
    s.origin.source = "/d/a.txt";
    return s;
}

class Summary : public HarvestRig {};

TEST_F(Summary, CountsFollowTheFilterAndRankTheDomains) {
    std::vector<Sighting> batch;
    for (int i = 0; i < 25; ++i) {
        // Domain d<i> has i+1 contacts, so the ranking is known.
        for (int j = 0; j <= i; ++j) {
            batch.push_back(Seen("p" + std::to_string(j) + "@d" + std::to_string(i) + ".org",
                                 "d" + std::to_string(i) + ".org", j == 0 ? "role" : "personal"));
        }
    }
    batch.push_back(Seen("+441632960001", "", "phone"));
    form->contacts().addSightings(batch);
    const std::vector<SourceInfo> read = {
        {"a.txt", "text", 1}, {"b.txt", "text", 1}, {"c.pdf", "pdf", 1}};

    SummaryCounts all = CountSummary(form->view(), form->contacts(), read, 2);
    EXPECT_EQ(all.contacts, 25 * 26 / 2 + 1);
    ASSERT_EQ(all.domains.size(), 20u);
    EXPECT_EQ(all.domains.front(), std::make_pair(QString("d24.org"), 25));
    EXPECT_EQ(all.domains.back(), std::make_pair(QString("d5.org"), 6));
    EXPECT_EQ(all.kinds.at("role"), 25);
    EXPECT_EQ(all.kinds.at("phone"), 1);
    EXPECT_EQ(all.sources.at("text"), 2);
    EXPECT_EQ(all.sources.at("pdf"), 1);
    EXPECT_EQ(all.problems, 2);

    form->view().setKinds({"role"});
    const SummaryCounts roles = CountSummary(form->view(), form->contacts(), read, 0);
    EXPECT_EQ(roles.contacts, 25);
    EXPECT_EQ(roles.kinds.size(), 1u);
    EXPECT_EQ(roles.domains.front().second, 1);
    EXPECT_EQ(roles.domains.front().first, "d0.org");  // ties go by name
}

}  // namespace
}  // namespace harvest
