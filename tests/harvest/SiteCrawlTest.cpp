// Site harvests against servers on 127.0.0.1 that the tests run: what is
// fetched, how politely, what hostile servers cost, the archive read back,
// and a crawl resumed from its state.
#include "SiteCrawl.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>
#include <algorithm>
#include <map>
#include <set>

#include "ArchiveWriting.h"
#include "Harvester.h"
#include "TestSite.h"

using namespace harvest;

namespace {

struct Result {
    std::map<std::string, std::string> contacts;  // address -> first source
    std::vector<std::string> problems;            // "source: reason"
    CrawlCounts counts;
    std::optional<std::string> failure;
};

Result harvestSite(SiteCrawlOptions options, const std::atomic<bool>& cancel) {
    Result result;
    HarvestOptions harvestOptions;
    harvestOptions.jobs = 2;
    if (!options.stateDir.empty()) {
        harvestOptions.paths = SiteCrawl::earlierArchives(options.stateDir);
    }
    SiteCrawl crawl(std::move(options), cancel);
    harvestOptions.documents = [&](FetchedDocument& d) { return crawl.next(d); };
    Harvester harvester(std::move(harvestOptions));
    harvester.run(cancel);
    for (const Contact& c : harvester.contacts()) {
        result.contacts[c.address] = c.firstSource;
    }
    for (const Problem& p : harvester.problems()) {
        result.problems.push_back(p.source + ": " + p.reason);
    }
    result.counts = crawl.progress().counts;
    result.failure = crawl.failure();
    return result;
}

Result harvestPaths(std::vector<std::string> paths) {
    HarvestOptions options;
    options.paths = std::move(paths);
    Harvester harvester(std::move(options));
    std::atomic<bool> cancel{false};
    harvester.run(cancel);
    Result result;
    for (const Contact& c : harvester.contacts()) {
        result.contacts[c.address] = c.firstSource;
    }
    return result;
}

SiteCrawlOptions crawlOf(const TestSite& site, double delay) {
    SiteCrawlOptions options;
    options.frontier.start = {site.url("/")};
    options.frontier.delay = delay;
    options.userAgent = "Gleanmark/test";
    options.frontier.userAgent = options.userAgent;
    options.proxy = QNetworkProxy(QNetworkProxy::NoProxy);
    return options;
}

TestSite::Reply html(const std::string& body) {
    return TestSite::Reply::page("text/html", QByteArray::fromStdString(body));
}

bool has(const std::vector<std::string>& list, const std::string& text) {
    return std::any_of(list.begin(), list.end(),
                       [&](const std::string& s) { return s.find(text) != std::string::npos; });
}

}  // namespace

TEST(SiteCrawlTest, HarvestsASitePolitelyAndItsArchiveFindsTheSame) {
    TestSite site;
    const std::string root = site.url("/").toString().toStdString();
    const std::string elsewhere = "http://localhost:" + std::to_string(site.port()) + "/";
    site.route("/robots.txt",
               TestSite::Reply::page(
                   "text/plain", QByteArray::fromStdString("User-agent: *\nDisallow: /private/\n"
                                                           "Crawl-delay: 0.2\nSitemap: " +
                                                           root + "maps/index.xml\n")));
    site.route("/maps/index.xml",
               TestSite::Reply::page(
                   "application/xml",
                   QByteArray::fromStdString("<sitemapindex><sitemap><loc>" + root +
                                             "maps/pages.xml.gz</loc></sitemap></sitemapindex>")));
    site.route("/maps/pages.xml.gz",
               TestSite::Reply::page("application/gzip", TestSite::gzip(QByteArray::fromStdString(
                                                             "<urlset><url><loc>" + root +
                                                             "hidden</loc></url></urlset>"))));
    site.route("/", html("<a href='/about/'>About</a><a href=team>Team</a>"
                         "<a href='/private/x'>x</a><a href='" +
                         elsewhere +
                         "'>elsewhere</a>"
                         "<a href=/old>old</a><a href=/loop1>loop</a><a href=/away>away</a>"
                         "<a href=/busy>busy</a><a href=/paper.pdf>paper</a>"));
    site.route("/about/", html("<p>Write to ann.hill@acme-widgets.co.uk</p>"));
    site.route("/team", html("<p>Jo Kent &lt;jo.kent@acme-widgets.co.uk&gt;</p>"));
    site.route("/private/x", html("<p>secret@acme-widgets.co.uk</p>"));
    site.route("/old", TestSite::Reply::redirect(301, "/new1"));
    site.route("/new1", TestSite::Reply::redirect(302, "new2"));
    site.route("/new2", TestSite::Reply::redirect(307, "/final"));
    site.route("/final", html("<p>final@acme-widgets.co.uk</p>"));
    site.route("/loop1", TestSite::Reply::redirect(301, "/loop2"));
    site.route("/loop2", TestSite::Reply::redirect(301, "/loop1"));
    site.route("/away", TestSite::Reply::redirect(302, QByteArray::fromStdString(elsewhere)));
    site.route("/busy", [&](const TestSite::Request&) {
        if (site.count("/busy") == 1) {
            return TestSite::Reply::page("text/plain", "wait", 429).field("Retry-After", "1");
        }
        return html("<p>busy@acme-widgets.co.uk</p>");
    });
    site.route("/paper.pdf",
               TestSite::Reply::page(
                   "application/pdf",
                   QByteArray::fromStdString(harvest::testing::fixture("two-pages.pdf"))));
    site.route("/hidden", html("<p>hidden@acme-widgets.co.uk</p>"));

    QTemporaryDir dir;
    SiteCrawlOptions options = crawlOf(site, 0.05);
    options.warcPath = dir.filePath("crawl.warc.gz").toStdString();
    std::atomic<bool> cancel{false};
    const Result crawled = harvestSite(options, cancel);

    for (const char* address :
         {"ann.hill@acme-widgets.co.uk", "jo.kent@acme-widgets.co.uk", "final@acme-widgets.co.uk",
          "busy@acme-widgets.co.uk", "hidden@acme-widgets.co.uk", "carol@example.com"}) {
        EXPECT_TRUE(crawled.contacts.count(address)) << address;
    }
    EXPECT_EQ(crawled.contacts.at("final@acme-widgets.co.uk"), root + "final");
    EXPECT_EQ(crawled.contacts.at("carol@example.com"), root + "paper.pdf");
    EXPECT_FALSE(crawled.contacts.count("secret@acme-widgets.co.uk"));
    EXPECT_TRUE(has(crawled.problems, root + "loop1: redirect loop"));
    EXPECT_TRUE(has(crawled.problems, root + "away: redirects out of scope to " + elsewhere));

    // Each URL once (the busy page again after its wait), none kept out by
    // robots.txt, none on the other host, and the Crawl-delay between any two.
    const std::vector<TestSite::Request> requests = site.requests();
    std::map<QByteArray, int> times;
    for (const TestSite::Request& r : requests) {
        ++times[r.path];
        EXPECT_FALSE(r.field("host").startsWith("localhost")) << r.path.toStdString();
        EXPECT_EQ(r.userAgent(), "Gleanmark/test");
    }
    EXPECT_EQ(times.count("/private/x"), 0u);
    for (const auto& [path, n] : times) {
        EXPECT_EQ(n, path == "/busy" ? 2 : 1) << path.toStdString();
    }
    EXPECT_EQ(requests.size(), 18u);
    for (std::size_t i = 1; i < requests.size(); ++i) {
        const double gap =
            std::chrono::duration<double>(requests[i].received - requests[i - 1].received).count();
        EXPECT_GE(gap, 0.19) << requests[i].path.toStdString();
    }
    std::optional<std::chrono::steady_clock::time_point> firstBusy;
    for (const TestSite::Request& r : requests) {
        if (r.path == "/busy" && firstBusy) {
            EXPECT_GE(std::chrono::duration<double>(r.received - *firstBusy).count(), 0.99);
        } else if (r.path == "/busy") {
            firstBusy = r.received;
        }
    }

    // The archive holds every fetch; harvested offline it gives the same contacts.
    const Result archived = harvestPaths({options.warcPath});
    EXPECT_EQ(archived.contacts, crawled.contacts);
}

TEST(SiteCrawlTest, HostileServersCostAProblemEachAndTheCrawlGoesOn) {
    TestSite site;
    site.route("/", html("<a href=/silent>s</a><a href=/drip>d</a><a href=/huge>h</a>"
                         "<a href=/bomb>b</a><a href=/trap/0>t</a><a href=/fine>f</a>"));
    site.route("/silent", TestSite::Reply::silence());
    site.route("/drip", [](const TestSite::Request&) {
        TestSite::Reply reply = TestSite::Reply::page("text/html", QByteArray(200, 'x'));
        reply.pieceBytes = 1;
        reply.delayMs = 200;
        return reply;
    });
    site.route("/huge", [](const TestSite::Request&) {
        TestSite::Reply reply;
        reply.fields = {{"Content-Type", "text/plain"}};
        reply.generate = TestSite::repeat("filler line of text, huge@acme-widgets.co.uk\n",
                                          200LL * 1024 * 1024 / 46);
        reply.length = 200LL * 1024 * 1024 / 46 * 46;
        return reply;
    });
    site.route("/bomb", [](const TestSite::Request&) {
        TestSite::Reply reply;
        reply.fields = {{"Content-Type", "text/html"}, {"Content-Encoding", "gzip"}};
        reply.generate = TestSite::gzipZeros(10LL << 30);
        reply.framing = TestSite::Reply::Framing::Chunked;
        return reply;
    });
    site.route("/fine", html("<p>fine@acme-widgets.co.uk</p>"));
    // A trap: every page links to two pages that did not exist before.
    site.otherwise([](const TestSite::Request& r) {
        if (!r.path.startsWith("/trap/")) {
            return TestSite::Reply::page("text/plain", "not here", 404);
        }
        const QByteArray next = r.path + "/";
        return TestSite::Reply::page("text/html",
                                     "<a href='" + next + "a'>a</a><a href='" + next + "b'>b</a>");
    });

    SiteCrawlOptions options = crawlOf(site, 0);
    options.frontier.perHost = 4;
    options.frontier.maxDepth = 50;
    options.frontier.maxPages = 40;
    options.pageTimeout = 1;
    options.maxBytes = 1 << 20;
    std::atomic<bool> cancel{false};
    const Result result = harvestSite(options, cancel);

    const std::string root = site.url("/").toString().toStdString();
    EXPECT_TRUE(result.contacts.count("fine@acme-widgets.co.uk"));
    EXPECT_TRUE(result.contacts.count("huge@acme-widgets.co.uk"));  // from what was read
    for (const char* expected :
         {"silent: no answer within 1 s", "drip: body not whole within 1 s",
          "huge: larger than 1 MB: cut there", "bomb: body expands past 1 MB: cut there"}) {
        EXPECT_TRUE(has(result.problems, root + expected)) << expected;
    }
    int trapRequests = 0;
    for (const TestSite::Request& r : site.requests()) {
        trapRequests += r.path.startsWith("/trap/");
    }
    EXPECT_EQ(result.counts.pages + result.counts.errors, 40);
    EXPECT_LE(trapRequests, 40);
    EXPECT_LT(site.bytesSent(), 64LL << 20);
}

TEST(SiteCrawlTest, AStoppedCrawlGoesOnFromItsStateWithoutFetchingTwice) {
    TestSite site;
    std::atomic<bool> cancel{false};
    std::string links;
    for (int i = 0; i < 12; ++i) {
        links += "<a href=/p" + std::to_string(i) + ">p</a>";
    }
    site.route("/", html(links));
    site.otherwise([&](const TestSite::Request& r) {
        if (r.path == "/p5") {
            cancel = true;  // as Ctrl+C would, part way through
        }
        return TestSite::Reply::page("text/html", "<p>" + r.path.mid(1) + "@acme-widgets.co.uk</p>",
                                     200);
    });
    QTemporaryDir dir;
    SiteCrawlOptions options = crawlOf(site, 0);
    options.frontier.obeyRobots = false;
    options.frontier.sitemaps = false;
    options.stateDir = dir.filePath("state").toStdString();
    const Result first = harvestSite(options, cancel);
    EXPECT_LT(first.contacts.size(), 12u);

    cancel = false;
    site.otherwise([](const TestSite::Request& r) {
        return TestSite::Reply::page("text/html", "<p>" + r.path.mid(1) + "@acme-widgets.co.uk</p>",
                                     200);
    });
    const Result second = harvestSite(options, cancel);
    std::map<QByteArray, int> times;
    for (const TestSite::Request& r : site.requests()) {
        ++times[r.path];
    }
    // Only a page whose answer the stop cut short is asked for again.
    EXPECT_EQ(times.size(), 13u);
    int again = 0;
    for (const auto& [path, n] : times) {
        EXPECT_LE(n, 2) << path.toStdString();
        again += n - 1;
    }
    EXPECT_LE(again, 1);
    // The resumed run's output has every page, those of the first run from
    // its archive.
    EXPECT_EQ(second.contacts.size(), 12u);
    EXPECT_EQ(SiteCrawl::earlierArchives(options.stateDir).size(), 2u);
    EXPECT_FALSE(second.failure);
}

TEST(SiteCrawlTest, OtherHostNamesAreOutOfScopeUnlessTheScopeTakesThem) {
    // The crawl goes through the test server as its proxy, so the names
    // below lead to it here and nowhere else.
    struct Case {
        const char* scope;
        std::set<std::string> fetched;
    };
    const std::vector<Case> cases = {
        {"host", {"http://www.acme.test/", "http://www.acme.test/team/"}},
        {"domain",
         {"http://www.acme.test/", "http://www.acme.test/team/", "http://shop.acme.test/"}},
        {"any",
         {"http://www.acme.test/", "http://www.acme.test/team/", "http://shop.acme.test/",
          "http://other.test/"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.scope);
        TestSite site;
        site.otherwise([](const TestSite::Request& r) {
            if (r.path.endsWith("/robots.txt") || r.path.endsWith("/sitemap.xml")) {
                return TestSite::Reply::page("text/plain", "", 404);
            }
            return TestSite::Reply::page(
                "text/html",
                "<a href='/team/'>team</a><a href='http://shop.acme.test/'>shop</a>"
                "<a href='http://other.test/'>other</a>");
        });
        SiteCrawlOptions options = crawlOf(site, 0);
        options.frontier.start = {QUrl("http://www.acme.test/")};
        options.frontier.scope = *parseScope(c.scope);
        options.frontier.maxDepth = 1;
        options.proxy = QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", site.port());
        std::atomic<bool> cancel{false};
        harvestSite(options, cancel);
        std::set<std::string> fetched;
        for (const TestSite::Request& r : site.requests()) {
            if (!r.path.endsWith("/robots.txt") && !r.path.endsWith("/sitemap.xml")) {
                fetched.insert(r.target.toStdString());
            }
        }
        EXPECT_EQ(fetched, c.fetched);
    }
}
