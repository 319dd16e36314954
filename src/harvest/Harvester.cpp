#include "Harvester.h"

#include "DecodeDispatch.h"
#include "SourceKind.h"

namespace harvest {

Harvester::Harvester(HarvestOptions options) : options_(std::move(options)) {}

HarvestBatch Harvester::harvestFile(const SourceFile& file, Finders& finders,
                                    const std::atomic<bool>& cancel) const {
    HarvestBatch batch;
    batch.source.path = file.path;
    std::string bytes;
    if (auto error = readWholeFile(file.path, bytes)) {
        batch.source.kind = "unreadable";
        batch.problems.push_back({file.path, *error});
        return batch;
    }
    batch.source.bytes = static_cast<std::int64_t>(bytes.size());
    batch.source.kind = kindName(recognise(bytes), bytes);
    SourceHarvest harvest(finders, options_.limits, cancel, batch.sightings, batch.problems);
    harvest.decode(Blob{bytes, Origin{file.path, {}, {}, {}, {}}, 0});
    return batch;
}

bool Harvester::run(const std::atomic<bool>& cancel, HarvestObserver* observer) {
    std::vector<SourceFile> files;
    walkSources(options_.paths, files, problems_, &cancel);
    HarvestProgress progress;
    progress.sourcesTotal = static_cast<std::int64_t>(files.size());
    for (const SourceFile& file : files) {
        progress.bytesTotal += file.bytes;
    }
    if (observer) {
        if (!problems_.empty()) {
            observer->batch(HarvestBatch{{}, {}, problems_});
        }
        observer->progress(progress);
    }
    Finders finders(options_.finders);
    for (const SourceFile& file : files) {
        if (cancel.load(std::memory_order_relaxed)) {
            break;
        }
        HarvestBatch batch = harvestFile(file, finders, cancel);
        for (const Sighting& s : batch.sightings) {
            contacts_.add(s);
        }
        sightings_.insert(sightings_.end(), batch.sightings.begin(), batch.sightings.end());
        problems_.insert(problems_.end(), batch.problems.begin(), batch.problems.end());
        sources_.push_back(batch.source);
        ++progress.sourcesDone;
        progress.bytesDone += file.bytes;
        if (observer) {
            observer->batch(batch);
            observer->progress(progress);
        }
    }
    return !cancel.load(std::memory_order_relaxed);
}

}  // namespace harvest
