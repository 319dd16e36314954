#include "Harvester.h"

#include <malloc.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

namespace harvest {
namespace {

using Clock = std::chrono::steady_clock;

// The work between the walk, the workers and the merge: items numbered in
// the order of the sources, results kept until their turn comes. The walk
// waits while too much work is ahead of the merge, so memory stays bounded
// however many and however large the sources are.
class WorkQueue {
public:
    WorkQueue(std::size_t maxAhead, std::int64_t maxBytesAhead)
        : maxAhead_(maxAhead), maxBytesAhead_(maxBytesAhead) {}

    // From the walk. False when the run stops.
    bool push(WorkItem item) {
        const std::int64_t bytes = item.end - item.begin;
        std::unique_lock lock(mutex_);
        room_.wait(lock, [&] {
            return stopped_ || (next_ - merged_ < maxAhead_ &&
                                (bytesAhead_ + bytes <= maxBytesAhead_ || next_ == merged_));
        });
        if (stopped_) {
            return false;
        }
        bytesAhead_ += bytes;
        sizes_[next_] = bytes;
        items_.push_back({next_++, std::move(item)});
        ready_.notify_one();
        return true;
    }
    void walked() {
        std::lock_guard lock(mutex_);
        walked_ = true;
        ready_.notify_all();
        done_.notify_all();
    }
    // For a worker: the next item, or false when there are no more.
    bool take(std::uint64_t& seq, WorkItem& item) {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return stopped_ || walked_ || !items_.empty(); });
        if (stopped_ || items_.empty()) {
            return false;
        }
        seq = items_.front().first;
        item = std::move(items_.front().second);
        items_.pop_front();
        ++busy_;
        return true;
    }
    void finish(std::uint64_t seq, WorkResult result) {
        std::lock_guard lock(mutex_);
        results_.emplace(seq, std::move(result));
        --busy_;
        done_.notify_all();
    }
    // For the merge: the next result in order; waits at most `wait`. Returns
    // 1 with a result, 0 on time-out, -1 when every item has been merged or,
    // after stop(), when the next one in order will not come.
    int next(WorkResult& result, std::chrono::milliseconds wait) {
        std::unique_lock lock(mutex_);
        auto ready = [&] {
            return results_.count(merged_) || (walked_ && merged_ == next_) ||
                   (stopped_ && busy_ == 0);
        };
        if (!done_.wait_for(lock, wait, ready)) {
            return 0;
        }
        if (!results_.count(merged_)) {
            return -1;
        }
        auto it = results_.find(merged_);
        result = std::move(it->second);
        results_.erase(it);
        bytesAhead_ -= sizes_[merged_];
        sizes_.erase(merged_);
        ++merged_;
        room_.notify_all();
        return 1;
    }
    void stop() {
        std::lock_guard lock(mutex_);
        stopped_ = true;
        room_.notify_all();
        ready_.notify_all();
        done_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable room_, ready_, done_;
    std::deque<std::pair<std::uint64_t, WorkItem>> items_;
    std::map<std::uint64_t, WorkResult> results_;
    std::map<std::uint64_t, std::int64_t> sizes_;
    std::uint64_t next_ = 0, merged_ = 0;
    int busy_ = 0;  // items taken by workers and not yet finished
    std::int64_t bytesAhead_ = 0;
    const std::size_t maxAhead_;
    const std::int64_t maxBytesAhead_;
    bool walked_ = false, stopped_ = false;
};

}  // namespace

// Puts results back together in order: lines and message numbers of the
// pieces of a cut file continue from the piece before.
class HarvestMerge {
public:
    explicit HarvestMerge(Harvester& harvester) : h_(harvester) {}

    HarvestBatch add(WorkResult&& r, const WorkItem& item, bool wantSightings) {
        HarvestBatch batch;
        if (!item.cut || item.firstPiece) {
            linesBefore_ = 0;
            messagesBefore_ = 0;
            decodedBefore_ = 0;
        }
        if (!item.cut || item.firstPiece) {
            for (const SourceInfo& source : r.sources) {
                h_.sources_.add(source);
            }
            batch.sources = std::move(r.sources);
        }
        // The worker has added up its contacts and encoded its sightings:
        // the merge folds the one and files the other, numbered on from the
        // pieces before.
        if (item.cut) {
            shiftSightings(r.sightings, item.kind == SourceKind::Mbox ? 0 : linesBefore_,
                           item.kind == SourceKind::Mbox ? messagesBefore_ : 0, decodedBefore_);
        }
        h_.contacts_.merge(std::move(r.contacts));
        h_.sightings_.addEncoded(r.sightings, r.sightingCount);
        if (wantSightings) {
            Sighting s;
            forEachEncoded(r.sightings, [&](std::string_view record) {
                if (decodeRecord(record, s)) {
                    batch.sightings.push_back(s);
                }
            });
        }
        for (Problem& p : r.problems) {
            if (item.cut && item.kind == SourceKind::Mbox) {
                renumberMessageProblem(p, messagesBefore_);
            }
            h_.problems_.push_back(p);
        }
        linesBefore_ += r.newlines;
        messagesBefore_ += r.messages;
        decodedBefore_ += r.decodedBytes;
        batch.problems = std::move(r.problems);
        return batch;
    }

private:
    Harvester& h_;
    std::int64_t linesBefore_ = 0;
    int messagesBefore_ = 0;
    std::int64_t decodedBefore_ = 0;  // the decoded text of a cut page's pieces before
};

Harvester::Harvester(HarvestOptions options) : options_(std::move(options)) {}

int Harvester::jobs() const {
    if (options_.jobs > 0) {
        return options_.jobs;
    }
    return std::max(1u, std::thread::hardware_concurrency());
}

bool Harvester::run(const std::atomic<bool>& cancel, HarvestObserver* observer) {
    // Workers take and free buffers of a megabyte or more for every piece.
    // By default the C library hands such memory back to the system at each
    // free, and the next piece pays a page fault for every 4 KB of it again,
    // which costs more than reading the piece. Keeping up to 64 MB of freed
    // memory, and serving blocks up to 32 MB from it, stays well within the
    // harvest's memory bound.
    static std::once_flag keepFreedMemory;
    std::call_once(keepFreedMemory, [] {
        mallopt(M_TRIM_THRESHOLD, 64 << 20);
        mallopt(M_MMAP_THRESHOLD, 32 << 20);
    });
    const int workers = jobs();
    const bool keepSightings =
        options_.keepSightings || (observer != nullptr && observer->wantsSightings());
    FinderOptions finderOptions = options_.finders;
    finderOptions.contexts = finderOptions.contexts && keepSightings;
    // Enough items ahead of the merge that one slow piece does not leave the
    // other workers idle; the bytes ahead bound the memory.
    WorkQueue queue(static_cast<std::size_t>(workers) * 8 + 8, 64LL << 20);
    // The items in flight, by number, so the merge knows what each result is.
    std::mutex itemsMutex;
    std::map<std::uint64_t, WorkItem> inFlight;
    std::uint64_t numbered = 0;
    HarvestProgress progress;
    std::mutex progressMutex;

    auto pushItem = [&](WorkItem item) {
        {
            std::lock_guard lock(itemsMutex);
            inFlight.emplace(numbered++, item);
        }
        return queue.push(std::move(item));
    };
    // Small whole files wait in a group until it is full or something else
    // comes, so the order of the sources is kept.
    WorkItem group;
    bool going = true;
    auto flushGroup = [&] {
        if (!group.group.empty()) {
            going = going && pushItem(std::move(group));
            group = WorkItem{};
        }
    };
    auto push = [&](WorkItem item) {
        if (!item.cut && !item.walkProblem && !item.document &&
            item.file.bytes <= kGroupFileBytes) {
            group.end += item.file.bytes;
            group.group.push_back(std::move(item.file));
            if (group.group.size() >= kGroupFiles || group.end >= kGroupBytes) {
                flushGroup();
            }
            return going;
        }
        flushGroup();
        going = going && pushItem(std::move(item));
        return going;
    };
    std::thread walker([&] {
        walkSources(options_.paths,
                    WalkSink{[&](SourceFile file) {
                                 {
                                     std::lock_guard lock(progressMutex);
                                     ++progress.sourcesTotal;
                                     progress.bytesTotal += file.bytes;
                                 }
                                 planWork(file, options_.cut, [&](WorkItem item) {
                                     going = going && push(std::move(item));
                                     return going;
                                 });
                             },
                             [&](Problem problem) {
                                 WorkItem item;
                                 item.walkProblem = std::move(problem);
                                 going = going && push(std::move(item));
                             }},
                    &cancel);
        for (FetchedDocument document;
             going && options_.documents && !cancel.load() && options_.documents(document);
             document = FetchedDocument{}) {
            WorkItem item;
            if (document.problem) {
                item.walkProblem = std::move(document.problem);
            } else {
                std::lock_guard lock(progressMutex);
                ++progress.sourcesTotal;
                progress.bytesTotal += static_cast<std::int64_t>(document.bytes.size());
                item.end = static_cast<std::int64_t>(document.bytes.size());
                item.document = std::make_shared<FetchedDocument>(std::move(document));
            }
            going = going && push(std::move(item));
        }
        flushGroup();
        {
            std::lock_guard lock(progressMutex);
            progress.walked = true;
        }
        queue.walked();
    });
    std::vector<std::thread> pool;
    for (int i = 0; i < workers; ++i) {
        pool.emplace_back([&] {
            Worker worker(finderOptions);
            std::uint64_t seq = 0;
            WorkItem item;
            while (queue.take(seq, item)) {
                WorkResult result =
                    doWork(item, options_.cut, worker, options_.limits, cancel, keepSightings);
                // Work that saw the stop may have ended early: it is merged,
                // as far as it got, and nothing after it.
                result.cut = result.cut || cancel.load(std::memory_order_relaxed);
                queue.finish(seq, std::move(result));
            }
        });
    }

    HarvestMerge merge(*this);
    HarvestProgress shown;
    auto lastShown = Clock::now() - std::chrono::seconds(1);
    for (;;) {
        if (cancel.load(std::memory_order_relaxed)) {
            queue.stop();
        }
        WorkResult result;
        const int got = queue.next(result, std::chrono::milliseconds(50));
        if (got < 0) {
            break;
        }
        if (got > 0) {
            WorkItem item;
            {
                std::lock_guard lock(itemsMutex);
                auto it = inFlight.begin();  // results come in the order of their numbers
                item = std::move(it->second);
                inFlight.erase(it);
            }
            const bool cutShort = result.cut;
            HarvestBatch batch =
                merge.add(std::move(result), item, observer && observer->wantsSightings());
            {
                std::lock_guard lock(progressMutex);
                if (!item.group.empty()) {
                    progress.sourcesDone += static_cast<std::int64_t>(item.group.size());
                } else if (!item.walkProblem && (!item.cut || item.firstPiece)) {
                    ++progress.sourcesDone;
                }
                progress.bytesDone += item.end - item.begin;
                shown = progress;
            }
            if (observer) {
                observer->batch(batch);
            }
            if (cutShort) {
                break;
            }
        }
        if (observer && Clock::now() - lastShown > std::chrono::milliseconds(100)) {
            std::lock_guard lock(progressMutex);
            shown = progress;
            lastShown = Clock::now();
            observer->progress(shown);
        }
    }
    queue.stop();
    walker.join();
    for (std::thread& t : pool) {
        t.join();
    }
    if (observer) {
        observer->progress(progress);
    }
    return !cancel.load(std::memory_order_relaxed);
}

}  // namespace harvest
