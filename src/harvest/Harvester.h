#pragma once
// A harvest run: the sources the user named, walked in order, each decoded and
// searched on every core, the sightings added up to contacts in the order of
// the sources, whatever the number of workers. A window or a command line
// drives it the same way: it reports progress, hands out what each source gave
// as a batch while it runs, and stops when asked. Sightings and sources wait
// in spill files, so memory holds the contacts and a bounded amount of work.
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ContactSet.h"
#include "DecodeContext.h"
#include "Finders.h"
#include "HarvestTypes.h"
#include "HarvestWork.h"
#include "SpillList.h"

namespace harvest {

struct HarvestOptions {
    std::vector<std::string> paths;
    // Documents from elsewhere than the paths (the pages of a site harvest),
    // harvested after them in the order given. The feed waits for the next
    // one and returns false when there are no more.
    std::function<bool(FetchedDocument&)> documents;
    FinderOptions finders;
    Limits limits;
    CutOptions cut;
    int jobs = 0;  // workers; 0: one per core
    // Whether sightings() is filled. Without, every sighting still counts in
    // its contact, and an observer that wants sightings still gets them.
    bool keepSightings = true;
};

struct HarvestProgress {
    std::int64_t sourcesDone = 0;
    std::int64_t sourcesTotal = 0;  // grows while the folders are walked
    std::int64_t bytesDone = 0;
    std::int64_t bytesTotal = 0;
    bool walked = false;  // every source has been found; the totals are final
};

// What one source, or one piece of a large one, gave.
struct HarvestBatch {
    // The sources it finished: one for a file or the first piece of a cut
    // one, several for a run of small files, none for the other pieces and
    // for problems of the walk.
    std::vector<SourceInfo> sources;
    std::vector<Sighting> sightings;
    std::vector<Problem> problems;
};

class HarvestObserver {
public:
    virtual ~HarvestObserver() = default;
    // Now and then while the run goes on, on the thread that called run().
    virtual void progress(const HarvestProgress& progress) = 0;
    // After each source or piece, in order, on the thread that called run().
    virtual void batch(const HarvestBatch& batch) = 0;
    // Whether batches should carry their sightings (a window shows them; a
    // command line that only counts does not need them).
    virtual bool wantsSightings() const { return true; }
};

class Harvester {
public:
    explicit Harvester(HarvestOptions options);

    // Harvests every source, or stops soon after cancel is set; returns false
    // then. What was found before the stop is kept.
    bool run(const std::atomic<bool>& cancel, HarvestObserver* observer = nullptr);

    const ContactSet& contactSet() const { return contacts_; }
    // Every contact at once, for a small harvest.
    std::vector<Contact> contacts() const { return contacts_.contacts(); }
    const SpillList<Sighting>& sightings() const { return sightings_; }
    const std::vector<Problem>& problems() const { return problems_; }
    const SpillList<SourceInfo>& sources() const { return sources_; }

    // How many workers a run uses.
    int jobs() const;

private:
    friend class HarvestMerge;
    HarvestOptions options_;
    ContactSet contacts_;
    SpillList<Sighting> sightings_;
    std::vector<Problem> problems_;
    SpillList<SourceInfo> sources_;
};

}  // namespace harvest
