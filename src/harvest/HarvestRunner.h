#pragma once
// A harvest run of the Harvest window, on threads of its own: the Harvester
// on one, fed after the paths by polite crawls of the sites one after
// another. What the run finds waits in a store guarded by a mutex until the
// window's thread takes it, a slice at a time; while too much waits, the run
// holds back, so memory stays bounded however slowly the window takes.
#include <QTimer>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "HarvestForm.h"
#include "Harvester.h"

namespace harvest {

class SiteCrawl;

class HarvestRunner {
public:
    // Sightings that may wait before the run holds back.
    static constexpr std::size_t kMaxWaiting = 40000;

    // Starts at once: the paths, then each site with its politeness.
    HarvestRunner(std::vector<std::string> paths, std::vector<HarvestSource> sites,
                  std::string userAgent);
    ~HarvestRunner();  // cancels and waits for the threads
    HarvestRunner(const HarvestRunner&) = delete;
    HarvestRunner& operator=(const HarvestRunner&) = delete;

    void cancel();

    // Moves up to `most` waiting sightings to the end of `out`; how many.
    std::size_t takeSightings(std::vector<Sighting>& out, std::size_t most);
    // Moves the waiting problems and finished sources to the ends of these.
    void takeRest(std::vector<Problem>& problems, std::vector<SourceInfo>& sources);
    HarvestProgress progress() const;
    // Pages fetched by the crawls so far.
    std::int64_t pages() const;
    // Whether the run is over and everything it found has been taken; then
    // the threads have ended and `completed` says whether it ran to its end.
    bool over(bool& completed);

private:
    class Observer;
    void run(std::vector<std::string> paths);
    bool nextDocument(FetchedDocument& document);
    void endCrawl();
    void note(Problem problem);

    std::vector<HarvestSource> sites_;
    std::string userAgent_;
    std::atomic<bool> cancel_{false};

    mutable std::mutex mutex_;
    std::condition_variable room_;
    std::deque<Sighting> sightings_;
    std::vector<Problem> problems_;
    std::vector<SourceInfo> sources_;
    HarvestProgress progress_;
    bool finished_ = false;
    bool completed_ = false;

    // The crawl under way, made and ended on the harvest's walking thread,
    // read for its page count on the merging thread.
    mutable std::mutex crawlMutex_;
    std::unique_ptr<SiteCrawl> crawl_;
    std::size_t nextSite_ = 0;
    std::atomic<std::int64_t> pagesBefore_{0};

    std::thread thread_;
};

// What the form keeps of its runs: the run under way, the timer that takes
// what it found onto the form's thread, and the sources every run read.
struct HarvestForm::Run {
    QTimer timer;
    std::unique_ptr<HarvestRunner> runner;
    std::vector<SourceInfo> read;
    std::chrono::steady_clock::time_point start;
    bool sites = false;      // the run crawls web sites
    bool cancelled = false;  // the run was asked to stop
    // The sizes the sources list knows of the run's paths, together; -1 when
    // one is not known. It stands for the total until the walk has found it.
    std::int64_t knownBytes = -1;
};

}  // namespace harvest
