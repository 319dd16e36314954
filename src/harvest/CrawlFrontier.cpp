#include "CrawlFrontier.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

#include "Sitemap.h"

namespace harvest {

namespace {

constexpr int kRobotsHops = 5;         // redirects followed to reach a robots.txt
constexpr int kMaxSitemaps = 100;      // sitemap files read in one crawl
constexpr double kMaxCrawlDelay = 60;  // a longer Crawl-delay is taken as this
constexpr int kFirst = -1;             // the depth that robots.txt and sitemaps queue at

bool isHtml(const std::string& type) {
    return type == "text/html" || type == "application/xhtml+xml";
}

bool retriable(int status) {
    return status == 408 || status == 429 || status == 500 || status == 502 || status == 503 ||
           status == 504;
}

std::string pathAndQuery(const QUrl& url) {
    return url
        .toString(QUrl::RemoveScheme | QUrl::RemoveAuthority | QUrl::RemoveFragment |
                  QUrl::FullyEncoded)
        .toStdString();
}

const char* purposeName(CrawlPurpose purpose) {
    switch (purpose) {
        case CrawlPurpose::Robots:
            return "robots";
        case CrawlPurpose::Sitemap:
            return "sitemap";
        case CrawlPurpose::Page:
            break;
    }
    return "page";
}

std::optional<CrawlPurpose> purposeFrom(std::string_view name) {
    if (name == "page") {
        return CrawlPurpose::Page;
    }
    if (name == "robots") {
        return CrawlPurpose::Robots;
    }
    if (name == "sitemap") {
        return CrawlPurpose::Sitemap;
    }
    return std::nullopt;
}

QUrl robotsUrlOf(const QUrl& url) {
    QUrl robots = url.adjusted(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment |
                               QUrl::RemoveUserInfo);
    robots.setPath("/robots.txt");
    return robots;
}

}  // namespace

std::string crawlHostKey(const QUrl& url) {
    return (url.scheme().toLower() + "://" + url.host().toLower() + ":" +
            QString::number(url.port(url.scheme().toLower() == "https" ? 443 : 80)))
        .toStdString();
}

CrawlFrontier::CrawlFrontier(CrawlOptions options)
    : options_(std::move(options)), scope_(options_.scope, options_.start) {}

CrawlFrontier::~CrawlFrontier() = default;

CrawlFrontier::Host& CrawlFrontier::hostOf(const QUrl& url) {
    std::unique_ptr<Host>& host = hosts_[crawlHostKey(url)];
    if (!host) {
        host = std::make_unique<Host>();
        host->name = crawlHostKey(url);
        Slot& slot = slots_[url.host().toLower().toStdString()];
        slot.delay = std::max(slot.delay, options_.delay);
        host->slot = &slot;
        if (!options_.obeyRobots) {
            host->robotsAsked = host->robotsKnown = true;
        }
    }
    return *host;
}

void CrawlFrontier::enqueue(CrawlRequest request, double notBefore) {
    Host& host = hostOf(request.url);
    const int depth = request.purpose == CrawlPurpose::Page ? request.depth : kFirst;
    const std::uint64_t order = nextOrder_++;
    host.queue.emplace(std::make_pair(depth, order), Waiting{std::move(request), order, notBefore});
    ++counts_.queued;
}

void CrawlFrontier::addUrl(const QUrl& url, CrawlPurpose purpose, int depth, const QUrl& referrer) {
    const QUrl normal = normaliseUrl(url);
    if (!crawlable(normal)) {
        return;
    }
    if (purpose == CrawlPurpose::Page && depth > options_.maxDepth) {
        return;
    }
    if (!scope_.inScope(normal)) {
        ++counts_.outOfScope;
        return;
    }
    if (!seen_.insert(urlKey(normal)).second) {
        return;
    }
    CrawlRequest request;
    request.url = normal;
    request.first = normal;
    request.purpose = purpose;
    request.depth = depth;
    request.referrer = referrer;
    if (journal) {
        journal(std::string("queue\t") + purposeName(purpose) + "\t" + std::to_string(depth) +
                "\t" + urlKey(normal) + "\t" + urlKey(referrer));
    }
    enqueue(std::move(request));
}

bool CrawlFrontier::allowedByRobots(Host& host, const QUrl& url) const {
    return !options_.obeyRobots || host.rules.allowed(pathAndQuery(url));
}

std::optional<CrawlRequest> CrawlFrontier::next(double now, double& wakeAt) {
    if (!started_) {
        // Start pages once, after a journal is set or taken up.
        started_ = true;
        for (const QUrl& url : options_.start) {
            addUrl(url, CrawlPurpose::Page, 0, {});
        }
    }
    for (;;) {
        wakeAt = std::numeric_limits<double>::infinity();
        if (stopped_ || static_cast<int>(inFlight_.size()) >= options_.jobs) {
            return std::nullopt;
        }
        auto [host, at] = firstReady(now, wakeAt);
        if (host == nullptr) {
            return std::nullopt;
        }
        CrawlRequest request = std::move(at->second.request);
        host->queue.erase(at);
        --counts_.queued;
        if (request.purpose != CrawlPurpose::Robots && !allowedByRobots(*host, request.url)) {
            ++counts_.robotsDenied;
            continue;
        }
        if (request.purpose == CrawlPurpose::Page && request.hops == 0 && request.attempt == 0) {
            if (pagesStarted_ >= options_.maxPages) {
                ++counts_.overPageLimit;
                continue;
            }
            ++pagesStarted_;
        }
        request.id = nextId_++;
        ++host->slot->inFlight;
        host->slot->nextFree = now + host->slot->delay;
        ++counts_.inFlight;
        inFlight_.emplace(request.id, request);
        return request;
    }
}

// The host whose first ready request comes first breadth first, and that
// request; wakeAt learns when a waiting one will be ready.
std::pair<CrawlFrontier::Host*, CrawlFrontier::Queue::iterator> CrawlFrontier::firstReady(
    double now, double& wakeAt) {
    Host* best = nullptr;
    Queue::iterator bestAt;
    for (auto& [key, host] : hosts_) {
        if (host->queue.empty() || host->slot->inFlight >= options_.perHost) {
            continue;
        }
        if (!host->robotsAsked) {
            // Before anything else of the host, its robots.txt.
            host->robotsAsked = true;
            CrawlRequest robots;
            robots.url = robots.first = robotsUrlOf(host->queue.begin()->second.request.url);
            robots.purpose = CrawlPurpose::Robots;
            enqueue(std::move(robots));
        }
        for (auto it = host->queue.begin(); it != host->queue.end(); ++it) {
            if (!host->robotsKnown && it->second.request.purpose != CrawlPurpose::Robots) {
                continue;
            }
            const double ready = std::max(host->slot->nextFree, it->second.notBefore);
            if (ready > now) {
                wakeAt = std::min(wakeAt, ready);
                continue;
            }
            if (best == nullptr || it->first < bestAt->first) {
                best = host.get();
                bestAt = it;
            }
            break;
        }
    }
    return {best, bestAt};
}

PageVerdict CrawlFrontier::answered(const CrawlRequest& request, const CrawlAnswer& answer,
                                    double now) {
    bool goesOn = false;
    const PageVerdict verdict = this->answer(request, answer, now, goesOn);
    if (!goesOn && journal && request.purpose != CrawlPurpose::Robots) {
        journal(std::string("done\t") + purposeName(request.purpose) + "\t" +
                urlKey(request.first));
    }
    return verdict;
}

// A redirect or a retry sets goesOn: the page is not done yet.
PageVerdict CrawlFrontier::answer(const CrawlRequest& request, const CrawlAnswer& answer,
                                  double now, bool& goesOn) {
    inFlight_.erase(request.id);
    --counts_.inFlight;
    ++counts_.fetched;
    Host& host = hostOf(request.url);
    --host.slot->inFlight;
    if (options_.perHost == 1) {
        host.slot->nextFree = std::max(host.slot->nextFree, now + host.slot->delay);
    }
    if (retriable(answer.status) && retry(host, request, answer, now)) {
        goesOn = true;
        return {};
    }
    const bool redirect = answer.status >= 300 && answer.status < 400 && answer.location.isValid();
    if (redirect) {
        ++counts_.redirects;
        const QUrl target = normaliseUrl(answer.location);
        const int limit =
            request.purpose == CrawlPurpose::Robots ? kRobotsHops : options_.maxRedirects;
        if (request.hops + 1 > limit) {
            if (request.purpose == CrawlPurpose::Robots) {
                robotsAnswered(hostOf(request.first), CrawlAnswer{}, now);
            } else {
                ++counts_.errors;
                problem(request.first, "more than " + std::to_string(limit) + " redirects");
            }
            return {};
        }
        if (!crawlable(target)) {
            ++counts_.errors;
            problem(request.url, "redirects to an address that is not crawled: " +
                                     answer.location.toString().toStdString());
            return {};
        }
        if (request.purpose != CrawlPurpose::Robots && !scope_.inScope(target)) {
            ++counts_.outOfScope;
            problem(request.url, "redirects out of scope to " + urlKey(target));
            return {};
        }
        const std::string key = urlKey(target);
        if (key == urlKey(request.first) || key == urlKey(request.url)) {
            ++counts_.errors;
            problem(request.first, "redirect loop");
            return {};
        }
        if (request.purpose != CrawlPurpose::Robots && !seen_.insert(key).second) {
            return {};  // a page reached under another name as well: fetched once
        }
        CrawlRequest hop = request;
        hop.url = target;
        hop.hops = request.hops + 1;
        hop.attempt = 0;
        enqueue(std::move(hop));
        goesOn = true;
        return {};
    }
    if (request.purpose == CrawlPurpose::Robots) {
        robotsAnswered(hostOf(request.first), answer, now);
        return {};
    }
    if (request.purpose == CrawlPurpose::Sitemap) {
        sitemapAnswered(request, answer);
        return {};
    }
    if (answer.status < 200 || answer.status >= 300) {
        ++counts_.errors;
        problem(request.url,
                answer.status == 0 ? answer.error : "HTTP " + std::to_string(answer.status));
        return {};
    }
    if (!answer.error.empty()) {
        problem(request.url, answer.error);  // a cut body: what came is still read
    }
    ++counts_.pages;
    PageVerdict verdict;
    verdict.harvest = true;
    verdict.followLinks = isHtml(answer.contentType) && request.depth < options_.maxDepth;
    return verdict;
}

bool CrawlFrontier::retry(Host& host, const CrawlRequest& request, const CrawlAnswer& answer,
                          double now) {
    if (request.attempt >= options_.maxRetries) {
        return false;
    }
    const double backOff = std::max(1.0, host.slot->delay) * std::pow(2.0, request.attempt);
    const double wait = std::max(backOff, answer.retryAfter.value_or(0));
    if (wait > options_.maxRetryWait) {
        return false;
    }
    // The whole host waits: a server that asks for time gets it.
    host.slot->nextFree = std::max(host.slot->nextFree, now + wait);
    CrawlRequest again = request;
    again.attempt = request.attempt + 1;
    ++counts_.retries;
    enqueue(std::move(again), now + wait);
    return true;
}

void CrawlFrontier::robotsAnswered(Host& host, const CrawlAnswer& answer, double now) {
    const RobotsTxt robots = RobotsTxt::forStatus(answer.status, answer.body);
    host.rules = robots.rulesFor(options_.userAgent);
    host.robotsKnown = true;
    if (auto crawlDelay = host.rules.crawlDelay()) {
        Slot& slot = *host.slot;
        slot.delay = std::max(slot.delay, std::min(*crawlDelay, kMaxCrawlDelay));
        slot.nextFree = std::max(slot.nextFree, now + slot.delay);
    }
    if (!options_.sitemaps) {
        return;
    }
    for (const std::string& sitemap : robots.sitemaps()) {
        addUrl(QUrl(QString::fromStdString(sitemap)), CrawlPurpose::Sitemap, kFirst, {});
    }
    // The usual place of a sitemap, on each start host.
    for (const QUrl& start : options_.start) {
        if (crawlHostKey(normaliseUrl(start)) == host.name) {
            QUrl guess = robotsUrlOf(normaliseUrl(start));
            guess.setPath("/sitemap.xml");
            addUrl(guess, CrawlPurpose::Sitemap, kFirst, {});
        }
    }
}

void CrawlFrontier::sitemapAnswered(const CrawlRequest& request, const CrawlAnswer& answer) {
    if (answer.status < 200 || answer.status >= 300 || ++sitemapsRead_ > kMaxSitemaps) {
        return;  // a site without a sitemap is the usual case, not a problem
    }
    const SitemapEntries entries = parseSitemap(answer.body);
    if (!entries.problem.empty()) {
        problem(request.url, "sitemap: " + entries.problem);
    }
    for (const std::string& url : entries.urls) {
        const QUrl target(QString::fromStdString(url));
        if (entries.kind == SitemapKind::Index) {
            addUrl(target, CrawlPurpose::Sitemap, kFirst, request.url);
        } else {
            const auto before = seen_.size();
            addUrl(target, CrawlPurpose::Page, 1, request.url);
            counts_.sitemapUrls += static_cast<std::int64_t>(seen_.size() - before);
        }
    }
}

void CrawlFrontier::addLinks(const CrawlRequest& page, const std::vector<QUrl>& links) {
    for (const QUrl& link : links) {
        addUrl(link, CrawlPurpose::Page, page.depth + 1, page.url);
    }
}

bool CrawlFrontier::finished() const {
    if (!started_) {
        return false;
    }
    if (!inFlight_.empty()) {
        return false;
    }
    if (stopped_) {
        return true;
    }
    return std::all_of(hosts_.begin(), hosts_.end(),
                       [](const auto& host) { return host.second->queue.empty(); });
}

void CrawlFrontier::problem(const QUrl& url, std::string reason) {
    problems_.push_back({urlKey(url), std::move(reason)});
}

std::vector<Problem> CrawlFrontier::takeProblems() {
    return std::exchange(problems_, {});
}

// The journal's lines, fields separated by tabs: "queue PURPOSE DEPTH URL
// REFERRER" and "done PURPOSE URL". URLs hold no tabs or line breaks. A last
// line cut short (the power went) is left out.
bool CrawlFrontier::resume(std::string_view journalText) {
    std::istringstream in{std::string(journalText)};
    std::string line;
    if (!std::getline(in, line) || line != kJournalHead) {
        return false;
    }
    std::vector<CrawlRequest> queued;
    std::unordered_set<std::string> done;
    std::unordered_set<std::string> seen;
    int pages = 0;
    while (std::getline(in, line)) {
        if (in.eof()) {
            break;  // no line end: written in part
        }
        std::vector<std::string> fields;
        std::istringstream parts(line);
        for (std::string field; std::getline(parts, field, '\t');) {
            fields.push_back(field);
        }
        if (fields.size() >= 4 && fields[0] == "queue" && purposeFrom(fields[1])) {
            CrawlRequest r;
            r.purpose = *purposeFrom(fields[1]);
            r.depth = std::atoi(fields[2].c_str());
            r.url = r.first = QUrl(QString::fromStdString(fields[3]));
            if (fields.size() >= 5 && !fields[4].empty()) {
                r.referrer = QUrl(QString::fromStdString(fields[4]));
            }
            if (!crawlable(r.url)) {
                return false;
            }
            seen.insert(fields[3]);
            queued.push_back(std::move(r));
        } else if (fields.size() == 3 && fields[0] == "done" && purposeFrom(fields[1])) {
            done.insert(fields[2]);
            pages += fields[1] == "page";
        } else if (!line.empty()) {
            return false;
        }
    }
    hosts_.clear();
    slots_.clear();
    counts_.queued = 0;
    seen_ = std::move(seen);
    pagesStarted_ = pages;
    for (CrawlRequest& r : queued) {
        if (!done.count(urlKey(r.url))) {
            enqueue(std::move(r));
        }
    }
    return true;
}

}  // namespace harvest
