#pragma once
// The harvest's progress on a terminal: one line on standard error, rewritten
// in place, at most ten times a second.
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "Harvester.h"

class HarvestProgressLine : public harvest::HarvestObserver {
public:
    explicit HarvestProgressLine(bool shown);
    ~HarvestProgressLine() override;

    void progress(const harvest::HarvestProgress& progress) override;
    void batch(const harvest::HarvestBatch& batch) override;
    bool wantsSightings() const override { return false; }
    // When set, what the line shows instead of sources and bytes (a crawl's
    // pages, whose totals are not known ahead).
    std::function<std::string()> describeOther;
    // Clears the line, so that what follows starts on a clean one.
    void clear();

    // "12/340 sources, 1.2/45.6 MB, 12.3 MB/s, 0:42 left"
    static std::string describe(const harvest::HarvestProgress& progress, double seconds);

private:
    bool shown_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point start_, last_;
};
