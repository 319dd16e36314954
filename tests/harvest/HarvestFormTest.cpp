// The Harvest window's form without its window: sources and their kinds,
// settings, runs over real files and a site on 127.0.0.1, exports read back,
// and how responsive the form's thread stays while a large run goes on.
#include "HarvestForm.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "ArchiveWriting.h"
#include "TempDir.h"
#include "TestSite.h"
#include "WebFakes.h"

using namespace harvest;
using Kind = HarvestSource::Kind;

namespace {

const std::string kMbox =
    "From dave@example.net Mon Jan  1 00:00:00 2024\nFrom: Dave <dave@example.net>\n"
    "Subject: a\n\nbody\n\nFrom erin@example.net Mon Jan  1 00:00:00 2024\n"
    "From: erin@example.net\nSubject: b\n\nwrite to frank@example.net\n";
const std::string kWarc =
    "WARC/1.0\r\nWARC-Type: warcinfo\r\nWARC-Record-ID: <urn:uuid:1>\r\n"
    "Content-Length: 0\r\n\r\n\r\n\r\n";

std::vector<std::string> addresses(ContactTableModel& table) {
    std::vector<std::string> out;
    for (int r = 0; r < table.rowCount(); ++r) {
        out.push_back(table.contact(r).address);
    }
    std::sort(out.begin(), out.end());
    return out;
}

bool finishes(HarvestForm& form, int ms = 15000) {
    QSignalSpy finished(&form, &HarvestForm::runFinished);
    return finished.wait(ms) && finished.front().front().toBool();
}

Sighting sightingOf(const std::string& address, const std::string& name) {
    Sighting s;
    s.address = address;
    s.name = name;
    s.domain = address.substr(address.find('@') + 1);
    s.kind = "personal";
    s.origin.source = "/data/list.txt";
    s.line = 3;
    return s;
}

// A member of a zip file (an XLSX), or "" when it is not there.
std::string zipMember(const std::string& path, const std::string& name) {
    archive* a = archive_read_new();
    archive_read_support_format_zip(a);
    std::string out;
    if (archive_read_open_filename(a, path.c_str(), 1 << 16) == ARCHIVE_OK) {
        archive_entry* entry = nullptr;
        while (archive_read_next_header(a, &entry) == ARCHIVE_OK) {
            if (archive_entry_pathname(entry) == name) {
                char buffer[8192];
                for (la_ssize_t n; (n = archive_read_data(a, buffer, sizeof buffer)) > 0;) {
                    out.append(buffer, static_cast<std::size_t>(n));
                }
            }
        }
    }
    archive_read_free(a);
    return out;
}

std::string sqliteAddresses(const std::string& path) {
    sqlite3* db = nullptr;
    std::string out;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db, "SELECT address FROM contacts ORDER BY rowid", -1, &s, nullptr);
        while (s && sqlite3_step(s) == SQLITE_ROW) {
            out += reinterpret_cast<const char*>(sqlite3_column_text(s, 0));
            out += "\n";
        }
        sqlite3_finalize(s);
    }
    sqlite3_close(db);
    return out;
}

class HarvestFormTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The site test's server is reached directly, never through a proxy.
        for (const char* name :
             {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"}) {
            unsetenv(name);
        }
    }
    TempDir dir;
    MemorySettings settings;
    HarvestForm form{settings};
};

TEST_F(HarvestFormTest, PathsAreRecognisedByContentAndKeptOnce) {
    dir.write("docs/a.txt", std::string(1000, 'a'));
    dir.write("docs/sub/b.html", std::string(234, 'b'));
    dir.write("maildir/cur/1", "From: x@example.org\n\nhi\n");
    dir.write("maildir/new/.keep", "");
    struct Case {
        std::string name, bytes;
        Kind kind;
        std::int64_t size;  // -2: the bytes' length
    } cases[] = {
        {"docs", "", Kind::Folder, 1234},
        {"maildir", "", Kind::MailArchive, 24},
        {"mail.box", kMbox, Kind::MailArchive, -2},
        {"named.txt", kWarc, Kind::WebArchive, -2},
        {"pages.warc.gz", harvest::testing::gzip(kWarc), Kind::WebArchive, -2},
        {"old.mbox.gz", harvest::testing::gzip(kMbox), Kind::MailArchive, -2},
        {"page.warc", "<html>not an archive</html>", Kind::File, -2},
        {"missing.txt", "", Kind::File, -1},
    };
    QStringList paths;
    for (const Case& c : cases) {
        if (!c.bytes.empty()) {
            dir.write(c.name, c.bytes);
        }
        paths << QString::fromStdString(dir.file(c.name));
    }
    QSignalSpy changed(&form, &HarvestForm::sourcesChanged);
    form.addPaths(paths);
    form.addPaths({QString::fromStdString(dir.file("docs") + "/"),
                   QString::fromStdString(dir.path() + "/docs/../mail.box")});
    EXPECT_EQ(changed.count(), 1);
    ASSERT_EQ(form.sources().size(), std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE(c.name);
        EXPECT_EQ(form.sources()[i].kind, c.kind);
        EXPECT_EQ(form.sources()[i].location, dir.file(c.name));
        EXPECT_EQ(form.sources()[i].bytes, c.size == -2 ? std::int64_t(c.bytes.size()) : c.size);
    }
    form.removeSources({7, 0, 7, 99});
    ASSERT_EQ(form.sources().size(), std::size(cases) - 2);
    EXPECT_EQ(form.sources()[0].location, dir.file("maildir"));
}

TEST_F(HarvestFormTest, OnlyHttpSitesAreTaken) {
    struct Case {
        const char* url;
        bool taken;
    } cases[] = {{"http://example.org/", true}, {" HTTPS://Example.org:443/a ", true},
                 {"ftp://example.org/", false}, {"mailto:a@example.org", false},
                 {"example.org", false},        {"", false},
                 {"http:///nohost", false}};
    for (const Case& c : cases) {
        QString problem;
        EXPECT_EQ(form.addSite(c.url, SitePoliteness{}, problem), c.taken) << c.url;
        EXPECT_EQ(problem.isEmpty(), c.taken) << c.url;
    }
    SitePoliteness slow;
    slow.delay = 5;
    QString problem;
    EXPECT_TRUE(form.addSite("http://EXAMPLE.org:80/", slow, problem));
    ASSERT_EQ(form.sources().size(), 2u);
    EXPECT_EQ(form.sources()[0].kind, Kind::Site);
    EXPECT_EQ(form.sources()[0].site.delay, 5);
    EXPECT_EQ(kindName(form.sources()[0].kind), "Web site");
}

TEST_F(HarvestFormTest, SettingsOutliveTheForm) {
    EXPECT_EQ(form.defaultPoliteness().maxPages, SitePoliteness{}.maxPages);
    SitePoliteness p;
    p.maxDepth = 0;
    p.maxPages = 7;
    p.scope = CrawlScope::Prefix;
    p.delay = 0.25;
    p.perHost = 3;
    p.obeyRobots = false;
    form.setDefaultPoliteness(p);
    form.setSetting("lastFolder", "/home/me/Mail");
    HarvestForm next(settings);
    const SitePoliteness q = next.defaultPoliteness();
    EXPECT_EQ(std::tie(q.maxDepth, q.maxPages, q.scope, q.delay, q.perHost, q.obeyRobots),
              std::tie(p.maxDepth, p.maxPages, p.scope, p.delay, p.perHost, p.obeyRobots));
    EXPECT_EQ(next.setting("lastFolder"), "/home/me/Mail");
    EXPECT_EQ(settings.values.at("Gleanmark/Harvest/scope"), "prefix");
    // Values spoilt outside the program fall back to the defaults.
    for (const char* key : {"maxDepth", "maxPages", "perHost", "delay", "scope"}) {
        settings.values[std::string("Gleanmark/Harvest/") + key] = "-3x";
    }
    const SitePoliteness d = HarvestForm(settings).defaultPoliteness();
    const SitePoliteness fresh;
    EXPECT_EQ(std::tie(d.maxDepth, d.maxPages, d.scope, d.delay, d.perHost),
              std::tie(fresh.maxDepth, fresh.maxPages, fresh.scope, fresh.delay, fresh.perHost));
}

TEST_F(HarvestFormTest, FolderOfMixedDocumentsFillsTheTable) {
    dir.write("in/a.txt", "Write to alice@example.com today.\n");
    dir.write("in/b.html", "<p><a href=\"mailto:bob@example.com\">Bob</a></p>");
    dir.write("in/c.eml", "From: Carol <carol@example.com>\nTo: x@example.com\nSubject: s\n\nhi\n");
    dir.write("in/d.mbox", kMbox);
    dir.write("in/e.txt.gz", harvest::testing::gzip("gina@example.com\n"));
    dir.write("in/broken.gz", std::string("\x1F\x8B\x08\x00", 4) + std::string(64, 'z'));
    form.addPaths({QString::fromStdString(dir.file("in"))});
    QSignalSpy problems(&form, &HarvestForm::problemsChanged);
    ASSERT_TRUE(form.harvest());
    EXPECT_FALSE(form.harvest());  // one run at a time
    ASSERT_TRUE(finishes(form));
    EXPECT_FALSE(form.running());
    const std::vector<std::string> want = {
        "alice@example.com", "bob@example.com",   "carol@example.com", "dave@example.net",
        "erin@example.net",  "frank@example.net", "gina@example.com",  "x@example.com"};
    EXPECT_EQ(addresses(form.contacts()), want);
    ASSERT_FALSE(form.problems().empty());
    EXPECT_NE(form.problems().front().source.find("broken.gz"), std::string::npos);
    EXPECT_GE(problems.count(), 1);
    const HarvestRunProgress p = form.progress();
    EXPECT_TRUE(p.walked);
    EXPECT_EQ(p.sourcesDone, p.sourcesTotal);
    EXPECT_EQ(p.bytesDone, p.bytesTotal);
    EXPECT_TRUE(form.progressText().startsWith(QString("%1/%1 sources").arg(p.sourcesTotal)))
        << form.progressText().toStdString();

    // A second run adds to the table: the same addresses count up.
    ASSERT_TRUE(form.harvest());
    ASSERT_TRUE(finishes(form));
    EXPECT_EQ(addresses(form.contacts()), want);
    EXPECT_EQ(form.contacts().contact(form.contacts().rowOf("alice@example.com")).sightings, 2);
}

TEST_F(HarvestFormTest, SiteIsCrawledThroughItsPages) {
    TestSite site;
    site.route("/", TestSite::Reply::page(
                        "text/html", "<a href=/team>team</a> <a href=/gone>x</a> info@site.test"));
    site.route("/team", TestSite::Reply::page("text/html", "<p>ann@site.test</p>"));
    SitePoliteness quick;
    quick.delay = 0;
    QString problem;
    ASSERT_TRUE(form.addSite(site.url("/").toString(), quick, problem));
    ASSERT_TRUE(form.harvest());
    ASSERT_TRUE(finishes(form));
    const auto found = addresses(form.contacts());
    EXPECT_EQ(found, (std::vector<std::string>{"ann@site.test", "info@site.test"}));
    EXPECT_EQ(form.progress().pages, 2);
    EXPECT_TRUE(form.progressText().contains("2 pages")) << form.progressText().toStdString();
    ASSERT_EQ(form.problems().size(), 1u);
    EXPECT_NE(form.problems()[0].source.find("/gone"), std::string::npos);
}

TEST_F(HarvestFormTest, FormGoneMidCrawlEndsItsThreads) {
    TestSite site;
    site.route("/", TestSite::Reply::silence());
    auto doomed = std::make_unique<HarvestForm>(settings);
    SitePoliteness direct;
    direct.obeyRobots = false;
    QString problem;
    ASSERT_TRUE(doomed->addSite(site.url("/").toString(), direct, problem));
    ASSERT_TRUE(doomed->harvest());
    QTest::qWait(300);
    doomed.reset();  // returns once the crawl and the run have stopped
    EXPECT_EQ(site.count("/"), 1);
}

class HarvestFormExportTest : public HarvestFormTest {
protected:
    void SetUp() override {
        form.contacts().addSightings({sightingOf("zed@example.org", "Zed"),
                                      sightingOf("amy@example.org", "Amy\tLee"),
                                      sightingOf("kim@example.org", "Kim")});
    }
};

TEST_F(HarvestFormExportTest, EachFormatHoldsTheChosenRowsInTableOrder) {
    struct Case {
        Format format;
        const char* name;
        std::function<std::string(const std::string&)> read;
    } cases[] = {
        {Format::Csv, "out.csv", ReadBytes},
        {Format::Tsv, "out.tsv", ReadBytes},
        {Format::Jsonl, "out.jsonl", ReadBytes},
        {Format::VCard, "out.vcf", ReadBytes},
        {Format::Sqlite, "out.sqlite", sqliteAddresses},
        {Format::Xlsx, "out.xlsx",
         [](const std::string& p) {
             return zipMember(p, "xl/sharedStrings.xml") + zipMember(p, "xl/worksheets/sheet1.xml");
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QString error;
        int last = -1;
        ASSERT_TRUE(form.exportTo(QString::fromStdString(dir.file(c.name)), c.format, {2, 0, 2},
                                  error,
                                  [&](int done, int total) {
                                      last = done;
                                      return total == 2;
                                  }))
            << error.toStdString();
        EXPECT_EQ(last, 2);
        const std::string text = c.read(dir.file(c.name));
        const auto zed = text.find("zed@example.org"), kim = text.find("kim@example.org");
        EXPECT_NE(zed, std::string::npos);
        EXPECT_NE(kim, std::string::npos);
        EXPECT_LT(zed, kim);
        EXPECT_EQ(text.find("amy@example.org"), std::string::npos);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 6);
}

TEST_F(HarvestFormExportTest, StoppedOrFailedExportLeavesNoFile) {
    const std::string earlier = dir.write("kept.csv", "earlier\n");
    for (Format format : {Format::Csv, Format::Sqlite, Format::Xlsx}) {
        QString error;
        EXPECT_FALSE(form.exportTo(QString::fromStdString(earlier), format, {}, error,
                                   [](int, int) { return false; }));
        EXPECT_FALSE(error.isEmpty());
        QString fresh;
        EXPECT_FALSE(form.exportTo(QString::fromStdString(dir.file("new.csv")), format, {}, fresh,
                                   [](int done, int) { return done == 0; }));
    }
    EXPECT_EQ(ReadBytes(earlier), "earlier\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
    QString error;
    EXPECT_FALSE(form.exportTo(QString::fromStdString(dir.file("no/such/folder.csv")), Format::Csv,
                               {}, error));
    EXPECT_TRUE(error.contains("folder.csv")) << error.toStdString();
}

TEST_F(HarvestFormExportTest, CopiedRowsAreTabSeparatedWithAHeader) {
    const QStringList lines = form.copyText({1}).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].startsWith("address\tname\tkind\tdomain"));
    EXPECT_TRUE(lines[1].startsWith("amy@example.org\tAmy Lee\tpersonal\texample.org"))
        << lines[1].toStdString();
    EXPECT_EQ(form.copyText({}).count('\n'), 4);
}

// Large text files with addresses spread through them, written quickly.
void writeLargeFolder(const std::string& folder, int files, int megabytesEach) {
    std::filesystem::create_directories(folder);
    std::string block;
    while (block.size() < (64 << 10)) {
        block += "<p>Lorem ipsum dolor sit amet, write to desk@example.com or call us.</p>\n";
        block += std::string(400, 'x') + "\n";
    }
    for (int f = 0; f < files; ++f) {
        std::ofstream out(folder + "/part" + std::to_string(f) + ".html", std::ios::binary);
        for (int m = 0; m < megabytesEach * 16; ++m) {
            const std::string unique =
                " person" + std::to_string(f * megabytesEach * 16 + m) + "@example.com ";
            out.write(unique.data(), static_cast<std::streamsize>(unique.size()));
            out.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
    }
}

TEST_F(HarvestFormTest, WindowThreadStaysResponsiveAndCancelIsPrompt) {
    const std::string folder = dir.file("big");
    writeLargeFolder(folder, 8, 128);
    form.view().sort(ContactTableModel::Address);
    form.addPaths({QString::fromStdString(folder)});
    ASSERT_GT(form.sources().front().bytes, 1000000000);

    QElapsedTimer clock;
    qint64 last = 0, longest = 0;
    QTimer ticker;
    ticker.setInterval(10);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        longest = std::max(longest, clock.elapsed() - last);
        last = clock.elapsed();
    });
    QSignalSpy finished(&form, &HarvestForm::runFinished);
    clock.start();
    ticker.start();
    ASSERT_TRUE(form.harvest());
    QTest::qWait(1500);
    ASSERT_TRUE(form.running()) << "the run ended before it could be cancelled";
    EXPECT_EQ(form.progress().bytesTotal, form.sources().front().bytes);
    EXPECT_GT(form.contacts().rowCount(), 0);

    QElapsedTimer stop;
    stop.start();
    form.cancel();
    ASSERT_TRUE(finished.wait(5000));
    const qint64 stopMs = stop.elapsed();
    ticker.stop();
    EXPECT_FALSE(finished.front().front().toBool());
    EXPECT_LT(stopMs, 200);
    EXPECT_LT(longest, 100);
    EXPECT_GT(form.contacts().rowCount(), 1);
    EXPECT_FALSE(form.progress().walked);
    EXPECT_EQ(form.progress().bytesTotal, form.sources().front().bytes);
    std::filesystem::remove_all(folder);
}

}  // namespace
