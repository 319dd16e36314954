#pragma once
// What a polite crawl fetches next, and when. Pages are taken breadth first
// (a start page is depth 0, its links depth 1, ...), each URL once, within
// the scope of the start URLs. Before anything else of a host, its robots.txt
// is fetched and then obeyed; requests to one host are spaced by the delay
// (or the host's Crawl-delay, whichever is longer) and never more than
// perHost at once. Redirects are followed here, hop by hop, each hop a
// request of its own; answers that ask to wait (429, 503) and passing server
// errors are tried again later, with a growing wait. Sitemaps named by
// robots.txt, and /sitemap.xml of each start host, add their pages.
//
// The frontier does no input or output: the driver asks next() for a request
// with the present time, fetches it, and hands the answer to answered(). Time
// is in seconds on any steady clock, so tests can step it.
#include <QUrl>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "CrawlUrl.h"
#include "HarvestTypes.h"
#include "RobotsTxt.h"

namespace harvest {

struct CrawlOptions {
    std::vector<QUrl> start;
    CrawlScope scope = CrawlScope::Host;
    int maxPages = 500;  // pages fetched, redirect hops and retries not counted
    int maxDepth = 3;
    double delay = 1.0;  // seconds between requests to one host
    int perHost = 1;     // requests in flight to one host
    int jobs = 8;        // requests in flight in all
    bool obeyRobots = true;
    bool sitemaps = true;
    std::string userAgent = "Gleanmark";  // the product token picks the robots.txt group
    int maxRetries = 3;
    int maxRedirects = 10;
    double maxRetryWait = 120;  // a longer Retry-After gives up on the page
};

enum class CrawlPurpose { Page, Robots, Sitemap };

struct CrawlRequest {
    std::uint64_t id = 0;
    QUrl url;
    CrawlPurpose purpose = CrawlPurpose::Page;
    int depth = 0;
    QUrl referrer;    // the page that linked to it; empty for a start page
    int hops = 0;     // redirects followed to reach url
    int attempt = 0;  // tries before this one
    QUrl first;       // the URL before any redirect
};

// The answer to a request, as much of it as the frontier needs.
struct CrawlAnswer {
    int status = 0;     // 0: no answer
    std::string error;  // why the answer is missing or cut
    QUrl location;      // of a redirect, resolved
    std::optional<double> retryAfter;
    std::string contentType;
    std::string body;  // robots.txt and sitemaps are read here; a page's is not needed
};

// What the driver does with a page's answer.
struct PageVerdict {
    bool harvest = false;      // hand the body to the harvest as a document
    bool followLinks = false;  // an HTML page within the depth limit: its links are wanted
};

struct CrawlCounts {
    std::int64_t fetched = 0;  // answers received, every request
    std::int64_t pages = 0;    // pages harvested
    std::int64_t queued = 0;   // waiting now
    std::int64_t inFlight = 0;
    std::int64_t errors = 0;     // pages given up on
    std::int64_t redirects = 0;  // hops followed
    std::int64_t retries = 0;
    std::int64_t outOfScope = 0;
    std::int64_t robotsDenied = 0;
    std::int64_t overPageLimit = 0;
    std::int64_t sitemapUrls = 0;
};

class CrawlFrontier {
public:
    explicit CrawlFrontier(CrawlOptions options);
    ~CrawlFrontier();

    // A request that may start now, or none; wakeAt then says when one may
    // (infinity when nothing waits but answers still to come).
    std::optional<CrawlRequest> next(double now, double& wakeAt);
    // The answer to a request from next(): redirects and retries are queued,
    // robots.txt and sitemaps read, problems noted.
    PageVerdict answered(const CrawlRequest& request, const CrawlAnswer& answer, double now);
    // The line a journal starts with.
    static constexpr const char* kJournalHead = "gleanmark-crawl-journal 1";
    // The links of a page whose verdict asked for them.
    void addLinks(const CrawlRequest& page, const std::vector<QUrl>& links);
    // Nothing queued and nothing in flight.
    bool finished() const;
    // Stops handing out requests.
    void stop() { stopped_ = true; }

    const CrawlCounts& counts() const { return counts_; }
    // Problems noted since the last call: the URL and why it was not harvested.
    std::vector<Problem> takeProblems();

    // A journal of the crawl, for resuming it: each URL queued and each URL
    // done is told as a line of text, as it happens. Set before the first
    // call to next().
    std::function<void(const std::string& line)> journal;
    // Takes up a crawl from the lines its journal was told, before the first
    // call to next(): what was queued and not done is queued again (requests
    // that were in flight included), what was done is not fetched again.
    // False for a text that is not such a journal.
    bool resume(std::string_view journalText);

private:
    struct Waiting {
        CrawlRequest request;
        std::uint64_t order = 0;  // breadth first: depth, then the order found
        double notBefore = 0;     // a retry waits
    };
    struct Slot {
        double delay = 0;
        double nextFree = 0;  // when the next request may start
        int inFlight = 0;
    };
    struct Host {
        std::string name;
        bool robotsAsked = false;
        bool robotsKnown = false;
        RobotsRules rules;
        // Shared by the sites of one host name (http and https, other ports):
        // the delay and the limit of requests at once are the server's.
        Slot* slot = nullptr;
        std::map<std::pair<int, std::uint64_t>, Waiting> queue;  // by (depth, order)
    };
    using Queue = std::map<std::pair<int, std::uint64_t>, Waiting>;

    Host& hostOf(const QUrl& url);
    std::pair<Host*, Queue::iterator> firstReady(double now, double& wakeAt);
    void enqueue(CrawlRequest request, double notBefore = 0);
    void addUrl(const QUrl& url, CrawlPurpose purpose, int depth, const QUrl& referrer);
    void robotsAnswered(Host& host, const CrawlAnswer& answer, double now);
    void sitemapAnswered(const CrawlRequest& request, const CrawlAnswer& answer);
    PageVerdict answer(const CrawlRequest& request, const CrawlAnswer& answer, double now,
                       bool& goesOn);
    bool retry(Host& host, const CrawlRequest& request, const CrawlAnswer& answer, double now);
    void problem(const QUrl& url, std::string reason);
    bool allowedByRobots(Host& host, const QUrl& url) const;

    CrawlOptions options_;
    ScopeCheck scope_;
    std::unordered_map<std::string, std::unique_ptr<Host>> hosts_;
    std::unordered_map<std::string, Slot> slots_;  // by host name
    std::unordered_set<std::string> seen_;         // every URL queued once, by urlKey
    std::vector<QUrl> pendingSitemaps_;            // named before their host's robots.txt was read
    std::uint64_t nextId_ = 1;
    std::uint64_t nextOrder_ = 0;
    int pagesStarted_ = 0;
    int sitemapsRead_ = 0;
    bool stopped_ = false;
    bool started_ = false;
    CrawlCounts counts_;
    std::vector<Problem> problems_;
    std::map<std::uint64_t, CrawlRequest> inFlight_;
};

// The site of a URL as robots.txt and the delays know it: scheme, host and port.
std::string crawlHostKey(const QUrl& url);

}  // namespace harvest
