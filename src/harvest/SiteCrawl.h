#pragma once
// A polite crawl of web sites that feeds the harvest. It runs on a thread of
// its own with its own event loop: the frontier says what to fetch and when,
// the fetcher fetches it, every answer goes to the WARC archive when one is
// asked for, and the body of every page, robots.txt and sitemap that came
// whole or in part goes to the harvest as a document, in the order the
// answers came. The harvest takes them through next(); while too many wait,
// no new request starts, so memory stays bounded however fast the site is.
#include <QNetworkProxy>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "CrawlFrontier.h"
#include "HarvestWork.h"

namespace harvest {

struct SiteCrawlOptions {
    CrawlOptions frontier;
    std::int64_t maxBytes = 16 << 20;    // of a page's body, decoded
    double pageTimeout = 30;             // seconds for a whole request
    double maxTime = 0;                  // seconds for the whole crawl; 0: no limit
    std::string userAgent;               // the whole User-Agent field
    std::optional<QNetworkProxy> proxy;  // the system's settings when not given
    std::string warcPath;                // an archive of every fetch, when not empty
    std::string stateDir;                // where the crawl is kept to resume it, when not empty
    std::int64_t maxWaitingBytes = 64LL << 20;  // documents waiting for the harvest
};

struct SiteCrawlProgress {
    CrawlCounts counts;
    bool done = false;
};

class SiteCrawl {
public:
    // Starts crawling at once; stops when cancel is set, soon after.
    SiteCrawl(SiteCrawlOptions options, const std::atomic<bool>& cancel);
    ~SiteCrawl();
    SiteCrawl(const SiteCrawl&) = delete;
    SiteCrawl& operator=(const SiteCrawl&) = delete;

    // The next document or problem, waiting for it; false when the crawl is
    // over and every document has been taken.
    bool next(FetchedDocument& document);
    SiteCrawlProgress progress() const;
    // What stopped the crawl from starting or going on (the archive or the
    // state could not be written or read), if anything.
    std::optional<std::string> failure() const;

    // What a state folder holds: the journal of the crawl, and an archive of
    // the pages of each run (pages-1.warc.gz, ...). A resumed crawl harvests
    // the earlier runs' archives (before its own pages) and fetches only
    // what they lack.
    static std::string journalFile(const std::string& dir);
    static std::vector<std::string> earlierArchives(const std::string& dir);

private:
    void run();
    void hand(FetchedDocument document);
    void finish(std::optional<std::string> failure);

    SiteCrawlOptions options_;
    const std::atomic<bool>& cancel_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<FetchedDocument> waiting_;
    std::int64_t waitingBytes_ = 0;
    SiteCrawlProgress progress_;
    std::optional<std::string> failure_;
    std::atomic<bool> quit_{false};
    std::thread thread_;
};

}  // namespace harvest
