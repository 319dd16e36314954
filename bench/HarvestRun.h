#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Running a measured program as a child process of its own.

struct Timing {
    double seconds = 0;  // wall time
    long peakKb = 0;     // the child's largest resident set
    int status = 0;      // exit status, or 128 + signal
    uint64_t lines = 0;  // lines the child wrote to standard output
    int errorLines = 0;  // lines it wrote to standard error
    // When the child was sent Ctrl+C: seconds from the signal to its exit;
    // -1 when it ended before the signal.
    double stopSeconds = -1;
};

// Runs `args` (args[0] looked up in PATH) with standard input from /dev/null,
// standard output read and counted (kept in `output` when given) and
// standard error kept in `errorFile`. With oneCore set, the child and all
// its threads run on a single processor. With interruptAfter at 0 or more,
// the child gets SIGINT that many seconds after its start.
Timing RunOnce(const std::vector<std::string>& args, const std::string& errorFile,
               std::string* output = nullptr, bool oneCore = false, double interruptAfter = -1);

// The fastest of `runs` runs; the peak is the largest of them, the status the
// first that was not 0 (or 0).
Timing RunBest(const std::vector<std::string>& args, const std::string& errorFile, int runs,
               bool oneCore = false);

// Reads every file under `path` once so that timed runs find it in the page
// cache (as far as it fits).
void WarmCache(const std::string& path);

// Number and total size of the regular files under `path`.
void CountFiles(const std::string& path, uint64_t& files, uint64_t& bytes);
