#include "SiteCrawl.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTimer>
#include <cmath>
#include <memory>

#include "PageLinks.h"
#include "SiteFetch.h"
#include "WarcWriter.h"

namespace harvest {

namespace {

constexpr int kPollMs = 20;  // how often cancel and the time limit are looked at
constexpr std::int64_t kRobotsBytes = 512 << 10;

bool isHtml(const std::string& type) {
    return type == "text/html" || type == "application/xhtml+xml";
}

WarcTruncation truncation(const FetchResponse& response) {
    if (!response.truncated) {
        return WarcTruncation::None;
    }
    if (response.error.find("larger than") != std::string::npos ||
        response.error.find("expands past") != std::string::npos) {
        return WarcTruncation::Length;
    }
    if (response.error.find("within") != std::string::npos) {
        return WarcTruncation::Time;
    }
    return WarcTruncation::Disconnect;
}

}  // namespace

std::string SiteCrawl::journalFile(const std::string& dir) {
    return (QString::fromStdString(dir) + "/journal").toStdString();
}

std::vector<std::string> SiteCrawl::earlierArchives(const std::string& dir) {
    std::vector<std::string> archives;
    const QDir folder(QString::fromStdString(dir));
    for (int run = 1;; ++run) {
        const QString name = QString("pages-%1.warc.gz").arg(run);
        if (!folder.exists(name)) {
            return archives;
        }
        archives.push_back(folder.filePath(name).toStdString());
    }
}

SiteCrawl::SiteCrawl(SiteCrawlOptions options, const std::atomic<bool>& cancel)
    : options_(std::move(options)), cancel_(cancel), thread_([this] { run(); }) {}

SiteCrawl::~SiteCrawl() {
    quit_ = true;
    {
        std::lock_guard lock(mutex_);
        changed_.notify_all();
    }
    thread_.join();
}

bool SiteCrawl::next(FetchedDocument& document) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return !waiting_.empty() || progress_.done || cancel_.load(); });
    if (waiting_.empty()) {
        return false;
    }
    document = std::move(waiting_.front());
    waiting_.pop_front();
    waitingBytes_ -= static_cast<std::int64_t>(document.bytes.size());
    changed_.notify_all();
    return true;
}

SiteCrawlProgress SiteCrawl::progress() const {
    std::lock_guard lock(mutex_);
    return progress_;
}

std::optional<std::string> SiteCrawl::failure() const {
    std::lock_guard lock(mutex_);
    return failure_;
}

void SiteCrawl::hand(FetchedDocument document) {
    std::lock_guard lock(mutex_);
    waitingBytes_ += static_cast<std::int64_t>(document.bytes.size());
    waiting_.push_back(std::move(document));
    changed_.notify_all();
}

void SiteCrawl::finish(std::optional<std::string> failure) {
    std::lock_guard lock(mutex_);
    if (failure && !failure_) {
        failure_ = std::move(failure);
    }
    progress_.done = true;
    changed_.notify_all();
}

void SiteCrawl::run() {
    QEventLoop loop;
    CrawlFrontier frontier(options_.frontier);
    // Every fetch goes to the archive asked for and, for a crawl that keeps
    // its state, to an archive of this run in the state folder: a resumed
    // crawl harvests those of the runs before it instead of fetching again.
    std::vector<std::unique_ptr<WarcWriter>> archives;
    QFile journal;
    if (!options_.stateDir.empty()) {
        if (!QDir().mkpath(QString::fromStdString(options_.stateDir))) {
            finish("cannot make the state folder " + options_.stateDir);
            return;
        }
        journal.setFileName(QString::fromStdString(journalFile(options_.stateDir)));
        if (journal.exists()) {
            if (!journal.open(QIODevice::ReadOnly) ||
                !frontier.resume(journal.readAll().toStdString())) {
                finish("cannot resume from " + journalFile(options_.stateDir) +
                       ": not a crawl journal this program wrote");
                return;
            }
            journal.close();
        }
        const bool fresh = !journal.exists();
        if (!journal.open(QIODevice::Append) ||
            (fresh && journal.write(QByteArray(CrawlFrontier::kJournalHead) + "\n") < 0)) {
            finish("cannot write " + journalFile(options_.stateDir) + ": " +
                   journal.errorString().toStdString());
            return;
        }
        frontier.journal = [&journal](const std::string& line) {
            journal.write(QByteArray::fromStdString(line + "\n"));
        };
        const std::size_t run = earlierArchives(options_.stateDir).size() + 1;
        archives.push_back(std::make_unique<WarcWriter>(
            (QString::fromStdString(options_.stateDir) + QString("/pages-%1.warc.gz").arg(run))
                .toStdString()));
    }
    if (!options_.warcPath.empty()) {
        archives.push_back(std::make_unique<WarcWriter>(options_.warcPath));
    }
    for (const auto& warc : archives) {
        std::optional<std::string> error = warc->open();
        if (!error) {
            error = warc->writeInfo(options_.userAgent,
                                    {{"robots", options_.frontier.obeyRobots ? "obey" : "ignore"}});
        }
        if (error) {
            finish("cannot write the archive " + warc->path() + ": " + *error);
            return;
        }
    }
    SiteFetcher::Options fetchOptions;
    if (options_.proxy) {
        fetchOptions.proxy = *options_.proxy;
        fetchOptions.systemProxy = false;
    }
    SiteFetcher fetcher(fetchOptions);
    QElapsedTimer clock;
    clock.start();
    const auto now = [&] { return static_cast<double>(clock.nsecsElapsed()) / 1e9; };
    std::optional<std::string> failure;

    const auto handProblems = [&] {
        for (Problem& p : frontier.takeProblems()) {
            FetchedDocument document;
            document.problem = std::move(p);
            hand(std::move(document));
        }
        std::lock_guard lock(mutex_);
        progress_.counts = frontier.counts();
    };
    const auto stop = [&] {
        frontier.stop();
        fetcher.abortAll();
        loop.quit();
    };

    QTimer wake;
    wake.setSingleShot(true);
    std::function<void()> pump;
    const auto answered = [&](const CrawlRequest& request, FetchResponse response) {
        if (!archives.empty()) {
            WarcExchange exchange;
            exchange.url = urlKey(request.url);
            exchange.requestHead = std::move(response.requestHead);
            exchange.responseHead = std::move(response.responseHead);
            exchange.body = std::move(response.body);
            exchange.truncated = truncation(response);
            for (const auto& warc : archives) {
                if (auto error = warc->writeExchange(exchange); error && !failure) {
                    failure = "cannot write the archive " + warc->path() + ": " + *error;
                    stop();
                }
            }
            response.body = std::move(exchange.body);
        }
        CrawlAnswer answer;
        answer.status = response.status;
        answer.error = response.error;
        answer.location = response.location;
        answer.retryAfter = response.retryAfter;
        answer.contentType = response.contentType;
        if (request.purpose != CrawlPurpose::Page) {
            answer.body = response.body;
        }
        const PageVerdict verdict = frontier.answered(request, answer, now());
        const bool came = response.status >= 200 && response.status < 300;
        if (verdict.followLinks && isHtml(response.contentType)) {
            const PageLinks links = pageLinks(response.body, request.url);
            if (!links.nofollow) {
                frontier.addLinks(request, links.links);
            }
        }
        // Every body that came is harvested, robots.txt and sitemaps too, so
        // that a harvest of the archive finds what the crawl found.
        if (came && !response.body.empty()) {
            FetchedDocument document;
            document.origin.source = urlKey(request.url);
            document.origin.referrer = urlKey(request.referrer);
            document.origin.depth = request.depth;
            document.bytes = std::move(response.body);
            hand(std::move(document));
        }
        handProblems();
        // The page and the links it added are in the journal together.
        if (journal.isOpen() && !journal.flush() && !failure) {
            failure = "cannot write " + journalFile(options_.stateDir);
            stop();
        }
        pump();
    };
    pump = [&] {
        double wakeAt = 0;
        bool full = false;
        {
            std::lock_guard lock(mutex_);
            full = waitingBytes_ > options_.maxWaitingBytes;
        }
        while (!full) {
            std::optional<CrawlRequest> request = frontier.next(now(), wakeAt);
            if (!request) {
                break;
            }
            FetchRequest fetch;
            fetch.url = request->url;
            fetch.userAgent = QByteArray::fromStdString(options_.userAgent);
            fetch.maxBytes =
                request->purpose == CrawlPurpose::Robots ? kRobotsBytes : options_.maxBytes;
            fetch.timeoutMs = static_cast<int>(options_.pageTimeout * 1000);
            fetcher.fetch(fetch, [&answered, r = *request](FetchResponse response) {
                answered(r, std::move(response));
            });
        }
        handProblems();
        if (frontier.finished()) {
            loop.quit();
        } else if (!full && std::isfinite(wakeAt)) {
            wake.start(static_cast<int>(std::ceil(std::max(0.0, wakeAt - now()) * 1000)));
        }
    };
    QObject::connect(&wake, &QTimer::timeout, [&] { pump(); });
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        const bool outOfTime = options_.maxTime > 0 && now() > options_.maxTime;
        if (cancel_.load() || quit_.load() || outOfTime) {
            stop();
            return;
        }
        bool roomAgain = false;
        {
            std::lock_guard lock(mutex_);
            roomAgain = waitingBytes_ <= options_.maxWaitingBytes;
        }
        if (roomAgain && !wake.isActive()) {
            pump();
        }
    });
    poll.start(kPollMs);
    QTimer::singleShot(0, [&] { pump(); });
    loop.exec();
    fetcher.abortAll();
    handProblems();
    if (journal.isOpen()) {
        journal.close();
    }
    for (const auto& warc : archives) {
        if (auto error = warc->close(); error && !failure) {
            failure = "cannot write the archive " + warc->path() + ": " + *error;
        }
    }
    finish(std::move(failure));
}

}  // namespace harvest
