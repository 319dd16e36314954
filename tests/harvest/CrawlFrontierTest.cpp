// The crawl frontier against sites made of answers, on a clock the test steps:
// which requests it makes, in which order and when.
#include "CrawlFrontier.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

// The sites below name only the fields of a page that matter.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

using namespace harvest;

namespace {

struct Page {
    int status = 200;
    std::string type = "text/html";
    std::vector<std::string> links;  // resolved against the page
    std::string location;            // of a redirect
    std::optional<double> retryAfter;
    std::string body;   // robots.txt, sitemaps
    int failFirst = 0;  // answers 429 this many times first
};

struct Fetch {
    std::string url;
    double at = 0;
};

struct Crawl {
    std::vector<Fetch> fetches;
    std::vector<Problem> problems;
    std::vector<std::string> harvested;  // "url <- referrer @depth"
    CrawlCounts counts;
};

// Crawls a site of pages by URL (anything else answers 404), each answer
// taking latency seconds; stops after stopAfter fetches when given, dropping
// the answers still to come.
Crawl crawl(CrawlFrontier& frontier, std::map<std::string, Page> site, double latency = 0.1,
            std::size_t stopAfter = 0) {
    Crawl run;
    double now = 0;
    std::map<std::string, int> tries;
    struct Pending {
        CrawlRequest request;
        double done;
    };
    std::vector<Pending> pending;
    for (int guard = 0; guard < 100000; ++guard) {
        double wake = 0;
        while (auto request = frontier.next(now, wake)) {
            run.fetches.push_back({urlKey(request->url), now});
            pending.push_back({*request, now + latency});
        }
        if (stopAfter != 0 && run.fetches.size() >= stopAfter) {
            frontier.stop();
            break;  // as a stopped crawl does, the answers still to come are dropped
        }
        if (pending.empty()) {
            if (frontier.finished() || wake == std::numeric_limits<double>::infinity()) {
                break;
            }
            now = wake;
            continue;
        }
        // The earliest answer comes in.
        auto first = std::min_element(pending.begin(), pending.end(),
                                      [](auto& a, auto& b) { return a.done < b.done; });
        const Pending p = *first;
        pending.erase(first);
        now = std::max(now, p.done);
        const std::string key = urlKey(p.request.url);
        CrawlAnswer answer;
        Page page;
        if (auto it = site.find(key); it != site.end()) {
            page = it->second;
        } else {
            page.status = 404;
        }
        if (tries[key]++ < page.failFirst) {
            page.status = 429;
        }
        answer.status = page.status;
        answer.contentType = page.type;
        answer.body = page.body;
        answer.retryAfter = page.retryAfter;
        if (!page.location.empty()) {
            answer.location = p.request.url.resolved(QUrl(QString::fromStdString(page.location)));
        }
        const PageVerdict verdict = frontier.answered(p.request, answer, now);
        if (verdict.harvest) {
            run.harvested.push_back(key + " <- " + urlKey(p.request.referrer) + " @" +
                                    std::to_string(p.request.depth));
        }
        if (verdict.followLinks) {
            std::vector<QUrl> links;
            for (const std::string& link : page.links) {
                links.push_back(resolveLink(p.request.url, link));
            }
            frontier.addLinks(p.request, links);
        }
    }
    run.problems = frontier.takeProblems();
    run.counts = frontier.counts();
    return run;
}

CrawlOptions options(double delay = 0) {
    CrawlOptions o;
    o.start = {QUrl("http://site.test/")};
    o.delay = delay;
    return o;
}

std::vector<std::string> urls(const Crawl& run) {
    std::vector<std::string> out;
    for (const Fetch& f : run.fetches) {
        out.push_back(f.url);
    }
    return out;
}

std::string reasons(const Crawl& run) {
    std::string out;
    for (const Problem& p : run.problems) {
        out += p.source + ": " + p.reason + "\n";
    }
    return out;
}

const std::string kRoot = "http://site.test/";

}  // namespace

TEST(CrawlFrontierTest, TakesEveryLinkedPageBreadthFirstOnceWithinTheHost) {
    CrawlFrontier frontier(options());
    Crawl run =
        crawl(frontier, {
                            {kRoot,
                             {.links = {"/about/", "team", "/contact/#form", "http://other.test/x",
                                        "https://site.test/team", "/about/"}}},
                            {kRoot + "about/", {.links = {"/deep/1"}}},
                            {kRoot + "team", {.links = {"/contact/"}}},
                            {kRoot + "contact/", {.links = {}}},
                            {"https://site.test/team", {}},
                            {kRoot + "deep/1", {.type = "application/pdf"}},
                        });
    // https://site.test/team is the same host under the other scheme: in
    // scope, and a page of its own.
    // The two schemes are two sites to robots.txt, but one server: one
    // request at a time between them, breadth first.
    EXPECT_EQ(urls(run), (std::vector<std::string>{
                             kRoot + "robots.txt", kRoot + "sitemap.xml", kRoot,
                             "https://site.test/robots.txt", kRoot + "about/", kRoot + "team",
                             kRoot + "contact/", "https://site.test/team", kRoot + "deep/1"}));
    EXPECT_EQ(run.harvested,
              (std::vector<std::string>{kRoot + " <-  @0", kRoot + "about/ <- " + kRoot + " @1",
                                        kRoot + "team <- " + kRoot + " @1",
                                        kRoot + "contact/ <- " + kRoot + " @1",
                                        "https://site.test/team <- " + kRoot + " @1",
                                        kRoot + "deep/1 <- " + kRoot + "about/ @2"}));
    EXPECT_EQ(run.counts.outOfScope, 1);
    EXPECT_TRUE(frontier.finished());
}

TEST(CrawlFrontierTest, ObeysRobotsTxtAndSpacesRequestsByTheLongerDelay) {
    struct Case {
        const char* name;
        std::string robots;
        bool obey;
        double delay;
        std::vector<std::string> fetched;
        double gap;  // least time between two requests
    };
    const std::vector<Case> cases = {
        {"disallow and crawl-delay",
         "User-agent: *\nDisallow: /private\nCrawl-delay: 2\n",
         true,
         0.5,
         {kRoot + "robots.txt", kRoot, kRoot + "open"},
         2.0},
        {"own group wins",
         "User-agent: *\nDisallow: /\n\nUser-agent: gleanmark\nAllow: /\n",
         true,
         1,
         {kRoot + "robots.txt", kRoot, kRoot + "open", kRoot + "private/x"},
         1.0},
        {"ignored",
         "User-agent: *\nDisallow: /\nCrawl-delay: 5\n",
         false,
         0.25,
         {kRoot, kRoot + "open", kRoot + "private/x"},
         0.25},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CrawlOptions o = options(c.delay);
        o.obeyRobots = c.obey;
        o.sitemaps = false;
        CrawlFrontier frontier(o);
        Crawl run =
            crawl(frontier, {{kRoot + "robots.txt", {.type = "text/plain", .body = c.robots}},
                             {kRoot, {.links = {"/open", "/private/x"}}},
                             {kRoot + "open", {}},
                             {kRoot + "private/x", {}}});
        EXPECT_EQ(urls(run), c.fetched);
        for (std::size_t i = 1; i < run.fetches.size(); ++i) {
            EXPECT_GE(run.fetches[i].at - run.fetches[i - 1].at, c.gap - 1e-9) << i;
        }
    }
}

TEST(CrawlFrontierTest, TriesAgainWhenAskedToWaitAndGivesUpInTheEnd) {
    struct Case {
        const char* name;
        Page page;
        int requests;
        double lastAt;  // when the last request to the page went out
        std::string problem;
    };
    const std::vector<Case> cases = {
        {"retry-after then 200", {.retryAfter = 3, .failFirst = 1}, 2, 3.1, ""},
        {"backs off twice as long each time", {.failFirst = 2}, 3, 3.2, ""},
        {"gives up after three retries", {.failFirst = 9}, 4, 7.3, "HTTP 429"},
        {"too long a wait", {.retryAfter = 3600, .failFirst = 1}, 1, 0, "HTTP 429"},
        {"not found is not retried", {.status = 404}, 1, 0, "HTTP 404"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CrawlOptions o = options();
        o.sitemaps = false;
        o.obeyRobots = false;
        o.start = {QUrl("http://site.test/busy")};
        CrawlFrontier frontier(o);
        Crawl run = crawl(frontier, {{kRoot + "busy", c.page}});
        ASSERT_EQ(static_cast<int>(run.fetches.size()), c.requests);
        EXPECT_NEAR(run.fetches.back().at, c.lastAt, 0.05);
        EXPECT_EQ(reasons(run), c.problem.empty() ? "" : kRoot + "busy: " + c.problem + "\n");
    }
}

TEST(CrawlFrontierTest, FollowsRedirectsHopByHopWithinScopeAndLimits) {
    CrawlOptions o = options();
    o.sitemaps = false;
    o.obeyRobots = false;
    o.maxRedirects = 3;
    CrawlFrontier frontier(o);
    Crawl run = crawl(frontier,
                      {
                          {kRoot, {.links = {"/chain", "/loop-a", "/away", "/long", "/to-known"}}},
                          {kRoot + "chain", {.status = 301, .location = "/chain2"}},
                          {kRoot + "chain2", {.status = 302, .location = "chain3"}},
                          {kRoot + "chain3", {.status = 307, .location = "/end"}},
                          {kRoot + "end", {}},
                          {kRoot + "loop-a", {.status = 301, .location = "/loop-b"}},
                          {kRoot + "loop-b", {.status = 301, .location = "/loop-a"}},
                          {kRoot + "away", {.status = 302, .location = "http://elsewhere.test/"}},
                          {kRoot + "long", {.status = 301, .location = "/long1"}},
                          {kRoot + "long1", {.status = 301, .location = "/long2"}},
                          {kRoot + "long2", {.status = 301, .location = "/long3"}},
                          {kRoot + "long3", {.status = 301, .location = "/long4"}},
                          {kRoot + "to-known", {.status = 301, .location = "/"}},
                      });
    EXPECT_EQ(reasons(run), kRoot + "away: redirects out of scope to http://elsewhere.test/\n" +
                                kRoot + "loop-a: redirect loop\n" + kRoot +
                                "long: more than 3 redirects\n");
    // The end of the chain is harvested under its own URL, linked from the start.
    EXPECT_NE(
        std::find(run.harvested.begin(), run.harvested.end(), kRoot + "end <- " + kRoot + " @1"),
        run.harvested.end());
    EXPECT_EQ(run.harvested.size(), 2u);
    EXPECT_EQ(run.counts.redirects, 11);
}

TEST(CrawlFrontierTest, StopsAtTheDepthAndPageLimitsInATrap) {
    struct Case {
        int maxDepth;
        int maxPages;
        std::size_t pages;
    };
    for (const Case& c : std::vector<Case>{{3, 500, 15}, {50, 10, 10}, {0, 500, 1}}) {
        SCOPED_TRACE(c.maxDepth);
        CrawlOptions o = options();
        o.sitemaps = false;
        o.obeyRobots = false;
        o.maxDepth = c.maxDepth;
        o.maxPages = c.maxPages;
        CrawlFrontier frontier(o);
        // Every page links to two new ones, far deeper than any limit.
        std::map<std::string, Page> site;
        std::function<void(const std::string&, int)> grow = [&](const std::string& path, int n) {
            if (n == 0) {
                return;
            }
            site[kRoot + path] = {.links = {"/" + path + "a/", "/" + path + "b/"}};
            grow(path + "a/", n - 1);
            grow(path + "b/", n - 1);
        };
        grow("", 12);
        Crawl run = crawl(frontier, site);
        EXPECT_EQ(run.harvested.size(), c.pages);
    }
}

TEST(CrawlFrontierTest, ReadsSitemapsFromRobotsTxtAndIndexes) {
    CrawlOptions o = options();
    CrawlFrontier frontier(o);
    const std::string index =
        "<sitemapindex><sitemap><loc>http://site.test/maps/pages.xml</loc></sitemap>"
        "<sitemap><loc>http://other.test/map.xml</loc></sitemap></sitemapindex>";
    const std::string pages =
        "<urlset><url><loc>http://site.test/hidden</loc></url>"
        "<url><loc>http://site.test/</loc></url>"
        "<url><loc>http://other.test/out</loc></url></urlset>";
    Crawl run = crawl(
        frontier, {{kRoot + "robots.txt",
                    {.type = "text/plain", .body = "Sitemap: http://site.test/maps/index.xml\n"}},
                   {kRoot + "maps/index.xml", {.type = "application/xml", .body = index}},
                   {kRoot + "maps/pages.xml", {.type = "application/xml", .body = pages}},
                   {kRoot, {}},
                   {kRoot + "hidden", {}}});
    EXPECT_EQ(urls(run), (std::vector<std::string>{kRoot + "robots.txt", kRoot + "maps/index.xml",
                                                   kRoot + "sitemap.xml", kRoot + "maps/pages.xml",
                                                   kRoot, kRoot + "hidden"}));
    EXPECT_EQ(run.counts.sitemapUrls, 1);
}

TEST(CrawlFrontierTest, ResumesFromItsSavedStateWithoutFetchingTwice) {
    std::map<std::string, Page> site;
    std::vector<std::string> links;
    for (int i = 0; i < 20; ++i) {
        links.push_back("/p" + std::to_string(i));
        site[kRoot + "p" + std::to_string(i)] = {.links = {"/q" + std::to_string(i)}};
        site[kRoot + "q" + std::to_string(i)] = {};
    }
    site[kRoot] = {.links = links};
    CrawlOptions o = options();
    o.sitemaps = false;
    o.obeyRobots = false;
    o.jobs = 3;
    o.perHost = 3;
    std::string journal = std::string(CrawlFrontier::kJournalHead) + "\n";
    CrawlFrontier first(o);
    first.journal = [&](const std::string& line) { journal += line + "\n"; };
    Crawl before = crawl(first, site, 0.1, 12);

    // The second crawl also finds a line the first was writing when it stopped.
    CrawlFrontier second(o);
    ASSERT_TRUE(second.resume(journal + "queue\tpage\t1\thttp://site.test/cut"));
    Crawl after = crawl(second, site);
    std::map<std::string, int> times;
    for (const Crawl* run : {&before, &after}) {
        for (const std::string& h : run->harvested) {
            ++times[h.substr(0, h.find(' '))];
        }
    }
    EXPECT_EQ(times.size(), 41u);
    for (const auto& [url, n] : times) {
        EXPECT_EQ(n, 1) << url;
    }
    EXPECT_FALSE(second.resume("not a journal\n"));
}
