#include "HarvestRunner.h"

#include <QUrl>
#include <chrono>

#include "SiteCrawl.h"

namespace harvest {

// Hands what the Harvester reports, on its merging thread, to the runner's
// store.
class HarvestRunner::Observer : public HarvestObserver {
public:
    explicit Observer(HarvestRunner& runner) : runner_(runner) {}

    void progress(const HarvestProgress& progress) override {
        std::lock_guard lock(runner_.mutex_);
        runner_.progress_ = progress;
    }

    void batch(const HarvestBatch& batch) override {
        std::unique_lock lock(runner_.mutex_);
        // Holds back while the window is behind; a stop lets everything in,
        // since the run ends soon anyway.
        while (runner_.sightings_.size() >= kMaxWaiting && !runner_.cancel_.load()) {
            runner_.room_.wait_for(lock, std::chrono::milliseconds(20));
        }
        runner_.sightings_.insert(runner_.sightings_.end(), batch.sightings.begin(),
                                  batch.sightings.end());
        runner_.problems_.insert(runner_.problems_.end(), batch.problems.begin(),
                                 batch.problems.end());
        runner_.sources_.insert(runner_.sources_.end(), batch.sources.begin(), batch.sources.end());
    }

private:
    HarvestRunner& runner_;
};

HarvestRunner::HarvestRunner(std::vector<std::string> paths, std::vector<HarvestSource> sites,
                             std::string userAgent)
    : sites_(std::move(sites)), userAgent_(std::move(userAgent)) {
    thread_ = std::thread([this, paths = std::move(paths)]() mutable { run(std::move(paths)); });
}

HarvestRunner::~HarvestRunner() {
    cancel();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void HarvestRunner::cancel() {
    cancel_.store(true);
    room_.notify_all();
}

void HarvestRunner::run(std::vector<std::string> paths) {
    HarvestOptions options;
    options.paths = std::move(paths);
    options.keepSightings = true;
    if (!sites_.empty()) {
        options.documents = [this](FetchedDocument& document) { return nextDocument(document); };
    }
    bool completed = false;
    try {
        Harvester harvester(std::move(options));
        Observer observer(*this);
        completed = harvester.run(cancel_, &observer);
    } catch (const std::exception& e) {
        note(Problem{"harvest", std::string("the run stopped: ") + e.what()});
    }
    endCrawl();  // a crawl cut short by a stop
    std::lock_guard lock(mutex_);
    finished_ = true;
    completed_ = completed && !cancel_.load();
}

bool HarvestRunner::nextDocument(FetchedDocument& document) {
    for (;;) {
        SiteCrawl* crawl = nullptr;
        {
            std::lock_guard lock(crawlMutex_);
            crawl = crawl_.get();
        }
        if (crawl == nullptr) {
            if (nextSite_ >= sites_.size() || cancel_.load()) {
                return false;
            }
            const HarvestSource& site = sites_[nextSite_++];
            SiteCrawlOptions options;
            options.frontier.start = {QUrl(QString::fromStdString(site.location))};
            options.frontier.scope = site.site.scope;
            options.frontier.maxDepth = site.site.maxDepth;
            options.frontier.maxPages = site.site.maxPages;
            options.frontier.delay = site.site.delay;
            options.frontier.perHost = site.site.perHost;
            options.frontier.obeyRobots = site.site.obeyRobots;
            options.frontier.userAgent = userAgent_;
            options.userAgent = userAgent_;
            auto made = std::make_unique<SiteCrawl>(std::move(options), cancel_);
            std::lock_guard lock(crawlMutex_);
            crawl_ = std::move(made);
            continue;
        }
        if (crawl->next(document)) {
            return true;
        }
        endCrawl();
    }
}

void HarvestRunner::endCrawl() {
    std::unique_ptr<SiteCrawl> ended;
    {
        std::lock_guard lock(crawlMutex_);
        if (!crawl_) {
            return;
        }
        pagesBefore_ += crawl_->progress().counts.pages;
        ended = std::move(crawl_);
    }
    if (auto failure = ended->failure()) {
        note(Problem{sites_[nextSite_ - 1].location, *failure});
    }
    // Its thread ends here, outside the lock that progress readers take.
    ended.reset();
}

void HarvestRunner::note(Problem problem) {
    std::lock_guard lock(mutex_);
    problems_.push_back(std::move(problem));
}

std::size_t HarvestRunner::takeSightings(std::vector<Sighting>& out, std::size_t most) {
    std::size_t taken = 0;
    {
        std::lock_guard lock(mutex_);
        taken = std::min(most, sightings_.size());
        out.reserve(out.size() + taken);
        std::move(sightings_.begin(), sightings_.begin() + static_cast<std::ptrdiff_t>(taken),
                  std::back_inserter(out));
        sightings_.erase(sightings_.begin(),
                         sightings_.begin() + static_cast<std::ptrdiff_t>(taken));
    }
    if (taken > 0) {
        room_.notify_all();
    }
    return taken;
}

void HarvestRunner::takeRest(std::vector<Problem>& problems, std::vector<SourceInfo>& sources) {
    std::lock_guard lock(mutex_);
    std::move(problems_.begin(), problems_.end(), std::back_inserter(problems));
    problems_.clear();
    std::move(sources_.begin(), sources_.end(), std::back_inserter(sources));
    sources_.clear();
}

HarvestProgress HarvestRunner::progress() const {
    std::lock_guard lock(mutex_);
    return progress_;
}

std::int64_t HarvestRunner::pages() const {
    std::lock_guard lock(crawlMutex_);
    return pagesBefore_.load() + (crawl_ ? crawl_->progress().counts.pages : 0);
}

bool HarvestRunner::over(bool& completed) {
    {
        std::lock_guard lock(mutex_);
        if (!finished_ || !sightings_.empty() || !problems_.empty() || !sources_.empty()) {
            return false;
        }
        completed = completed_;
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    return true;
}

}  // namespace harvest
