#include "HarvestProgressLine.h"

#include <cstdio>
#include <iostream>

namespace {

std::string megabytes(std::int64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(bytes) / 1e6);
    return text;
}

std::string clockTime(double seconds) {
    auto s = static_cast<long long>(seconds + 0.5);
    char text[32];
    if (s >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld", s / 60, s % 60);
    }
    return text;
}

}  // namespace

HarvestProgressLine::HarvestProgressLine(bool shown)
    : shown_(shown), start_(std::chrono::steady_clock::now()) {}

HarvestProgressLine::~HarvestProgressLine() {
    clear();
}

std::string HarvestProgressLine::describe(const harvest::HarvestProgress& p, double seconds) {
    std::string line = std::to_string(p.sourcesDone) + "/" + std::to_string(p.sourcesTotal) +
                       " sources, " + megabytes(p.bytesDone) + "/" + megabytes(p.bytesTotal) +
                       " MB";
    if (seconds > 0.2 && p.bytesDone > 0) {
        double rate = static_cast<double>(p.bytesDone) / seconds;
        line += ", " + megabytes(static_cast<std::int64_t>(rate)) + " MB/s";
        double left = static_cast<double>(p.bytesTotal - p.bytesDone) / rate;
        line += ", " + clockTime(left) + " left";
    }
    return line;
}

void HarvestProgressLine::progress(const harvest::HarvestProgress& progress) {
    if (!shown_) {
        return;
    }
    auto now = std::chrono::steady_clock::now();
    bool finished = progress.sourcesDone == progress.sourcesTotal;
    if (drawn_ && !finished && now - last_ < std::chrono::milliseconds(100)) {
        return;
    }
    last_ = now;
    double seconds = std::chrono::duration<double>(now - start_).count();
    std::cerr << "\r\033[K" << (describeOther ? describeOther() : describe(progress, seconds))
              << std::flush;
    drawn_ = true;
}

void HarvestProgressLine::batch(const harvest::HarvestBatch&) {}

void HarvestProgressLine::clear() {
    if (drawn_) {
        std::cerr << "\r\033[K" << std::flush;
        drawn_ = false;
    }
}
