#pragma once
// A harvest run: the sources the user named, walked in order, each decoded and
// searched, the sightings added up to contacts. A window or a command line
// drives it the same way: it reports progress, hands out what each source gave
// as a batch while it runs, and stops when asked.
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "ContactSet.h"
#include "DecodeContext.h"
#include "Finders.h"
#include "HarvestTypes.h"
#include "SourceWalk.h"

namespace harvest {

struct HarvestOptions {
    std::vector<std::string> paths;
    FinderOptions finders;
    Limits limits;
};

struct HarvestProgress {
    std::int64_t sourcesDone = 0;
    std::int64_t sourcesTotal = 0;
    std::int64_t bytesDone = 0;
    std::int64_t bytesTotal = 0;
};

// What one source gave.
struct HarvestBatch {
    SourceInfo source;
    std::vector<Sighting> sightings;
    std::vector<Problem> problems;
};

class HarvestObserver {
public:
    virtual ~HarvestObserver() = default;
    // After the sources are listed, and after each source.
    virtual void progress(const HarvestProgress& progress) = 0;
    // After each source, before its progress.
    virtual void batch(const HarvestBatch& batch) = 0;
};

class Harvester {
public:
    explicit Harvester(HarvestOptions options);

    // Harvests every source, or stops early when cancel is set; returns false
    // then. What was found before the stop is kept.
    bool run(const std::atomic<bool>& cancel, HarvestObserver* observer = nullptr);

    const std::vector<Contact>& contacts() const { return contacts_.contacts(); }
    const std::vector<Sighting>& sightings() const { return sightings_; }
    const std::vector<Problem>& problems() const { return problems_; }
    const std::vector<SourceInfo>& sources() const { return sources_; }

private:
    HarvestBatch harvestFile(const SourceFile& file, Finders& finders,
                             const std::atomic<bool>& cancel) const;

    HarvestOptions options_;
    ContactSet contacts_;
    std::vector<Sighting> sightings_;
    std::vector<Problem> problems_;
    std::vector<SourceInfo> sources_;
};

}  // namespace harvest
