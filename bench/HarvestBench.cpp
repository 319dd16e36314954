// Speed and memory of `gleanmark harvest` on generated inputs, next to
// ripgrep looking for e-mail addresses in the same files.
//
// Usage: gleanmark-harvest-bench [big] [scale=F] [program=PATH] [INPUT ...]
//
// Inputs: text (200 MB, an address every 50 lines), prose (200 MB, one every
// 5,000 lines, as most large texts have fewer), html (100 MB), mbox (50 MB,
// about 6,000 messages), small (20,000 files of 1-5 KB), mixed (PDF, DOCX,
// ODT, gzip and text);
// "big" adds big-text, big-mbox and big-line (5 GB each, the last one single
// line) and big-files (a million small files); "site" is a generated web
// site crawled on 127.0.0.1. Naming inputs measures only
// those; scale=F multiplies every size and count (scale=0.01 for a quick
// look). Each input is written to a temporary folder, read once to warm the
// page cache, measured and removed before the next one is written.
//
// Each program runs on one processor with one worker, and on all of them with
// one worker per core: the time is the fastest of 3 runs (1 run for the big
// inputs), the peak memory the largest resident set of a run, as wait4
// reports it.

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "HarvestInputs.h"
#include "HarvestRun.h"
#include "HarvestSite.h"

namespace fs = std::filesystem;

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void OnInterrupt(int) {
    gInterrupted = 1;
}

struct Interrupted {};

void CheckInterrupted() {
    if (gInterrupted != 0) {
        throw Interrupted{};
    }
}

constexpr double kMB = 1024.0 * 1024.0;
const char* const kEmailRegex = "[A-Za-z0-9._%+-]+@[A-Za-z0-9.-]+\\.[A-Za-z]{2,}";

struct Input {
    std::string name;
    bool big;
    std::string entry;       // file or folder name in the temporary folder
    uint64_t diskEstimate;   // bytes it takes on disk
    uint64_t inodeEstimate;  // files and folders it makes
    std::function<void(const std::string&)> write;
};

std::vector<Input> Inputs(double scale) {
    const auto mb = [scale](double n) { return static_cast<uint64_t>(n * scale * kMB); };
    const auto count = [scale](double n) {
        return std::max<uint64_t>(1, static_cast<uint64_t>(n * scale + 0.5));
    };
    const uint64_t smallFiles = count(20000);
    const uint64_t mixedFiles = count(1000);
    const uint64_t bigFiles = count(1000000);
    return {
        {"text", false, "text.txt", mb(200), 1, [=](auto& p) { WriteTextFile(p, mb(200), 11); }},
        {"prose", false, "prose.txt", mb(200), 1,
         [=](auto& p) { WriteTextFile(p, mb(200), 16, false, 100); }},
        {"html", false, "page.html", mb(100), 1, [=](auto& p) { WriteHtmlFile(p, mb(100), 12); }},
        {"mbox", false, "mail.mbox", mb(50), 1, [=](auto& p) { WriteMbox(p, mb(50), 13); }},
        {"small", false, "small", smallFiles * 8192, smallFiles + smallFiles / 1000 + 1,
         [=](auto& p) { WriteSmallFiles(p, smallFiles, 14); }},
        {"mixed", false, "mixed", mixedFiles * 65536, mixedFiles + 1,
         [=](auto& p) { WriteMixedFolder(p, mixedFiles, 15); }},
        {"big-text", true, "big.txt", mb(5120), 1,
         [=](auto& p) { WriteTextFile(p, mb(5120), 21); }},
        {"big-mbox", true, "big.mbox", mb(5120), 1, [=](auto& p) { WriteMbox(p, mb(5120), 22); }},
        {"big-line", true, "line.txt", mb(5120), 1,
         [=](auto& p) { WriteTextFile(p, mb(5120), 23, true); }},
        {"big-files", true, "many", bigFiles * 8192, bigFiles + bigFiles / 1000 + 1,
         [=](auto& p) { WriteSmallFiles(p, bigFiles, 24); }},
    };
}

// Room for the input and 1 GB to spare (the page cache and others need it).
bool HasRoom(const std::string& folder, const Input& input, std::string& why) {
    struct statvfs fsInfo {};
    if (statvfs(folder.c_str(), &fsInfo) != 0) {
        return true;
    }
    const double freeBytes = static_cast<double>(fsInfo.f_bavail) * fsInfo.f_frsize;
    const double needBytes = static_cast<double>(input.diskEstimate) + 1024.0 * kMB;
    char text[160];
    if (freeBytes < needBytes) {
        std::snprintf(text, sizeof text, "needs %.1f GB free, %.1f GB are", needBytes / 1024 / kMB,
                      freeBytes / 1024 / kMB);
        why = text;
        return false;
    }
    if (fsInfo.f_favail != 0 && fsInfo.f_favail < input.inodeEstimate + 10000) {
        std::snprintf(text, sizeof text, "needs %llu free inodes, %llu are",
                      static_cast<unsigned long long>(input.inodeEstimate + 10000),
                      static_cast<unsigned long long>(fsInfo.f_favail));
        why = text;
        return false;
    }
    return true;
}

struct Row {
    Timing one;
    Timing all;
};

void PrintRow(const char* input, const std::string& files, const std::string& mb,
              const char* program, const Row& r, double bytes) {
    std::printf("%-10s %9s %9s  %-11s| %9.3f %8.1f %8ld | %9.3f %8.1f %8ld | %7.2f", input,
                files.c_str(), mb.c_str(), program, r.one.seconds, bytes / kMB / r.one.seconds,
                r.one.peakKb / 1024, r.all.seconds, bytes / kMB / r.all.seconds,
                r.all.peakKb / 1024, r.one.seconds / r.all.seconds);
    for (const Timing* t : {&r.one, &r.all}) {
        if (t->status != 0) {
            std::printf("  exit %d", t->status);
        }
        if (t->errorLines > 0) {
            std::printf("  %d lines on stderr", t->errorLines);
        }
    }
    std::printf("\n");
}

class Bench {
public:
    Bench(std::string program, std::string temp) : program_(std::move(program)), temp_(temp) {
        std::string help;
        RunOnce({program_, "harvest", "--help"}, temp_ + "/help.err", &help);
        jobs_ = help.find("--jobs") != std::string::npos;
        const long cores = sysconf(_SC_NPROCESSORS_ONLN);
        cores_ = cores > 0 ? static_cast<int>(cores) : 1;
    }

    void header() const {
        std::printf("\nharvest: %s harvest -q -o /dev/null%s INPUT\n", program_.c_str(),
                    jobs_ ? " --jobs 1|N" : "");
        if (!jobs_) {
            std::printf("  (this gleanmark has no --jobs: both columns run it as it is)\n");
        }
        std::printf("rg:      rg --no-config --no-ignore -o [-j1] '%s' INPUT\n", kEmailRegex);
        std::printf("  (rg reads PDF, zip and gzip files raw and skips those it finds binary)\n");
        std::printf("1 core: the program and all its threads on one processor\n");
        std::printf("time: fastest of 3 runs, 1 for big inputs; peak: largest resident set\n\n");
        std::printf("%-10s %9s %9s  %-11s| %9s %8s %8s | %9s %8s %8s | %7s\n", "input", "files",
                    "MB", "program", "1 core s", "MB/s", "peak MB",
                    (std::to_string(cores_) + " cores s").c_str(), "MB/s", "peak MB", "speed-up");
        std::fflush(stdout);
    }

    void measure(const Input& input) {
        const std::string path = temp_ + "/" + input.entry;
        std::string why;
        if (!HasRoom(temp_, input, why)) {
            std::printf("%-10s skipped: %s\n", input.name.c_str(), why.c_str());
            return;
        }
        input.write(path);
        CheckInterrupted();
        uint64_t files = 0;
        uint64_t bytes = 0;
        CountFiles(path, files, bytes);
        WarmCache(path);
        const int runs = input.big ? 1 : 3;
        const std::string err = temp_ + "/run.err";
        Row harvest;
        harvest.one = RunBest(harvestArgs(path, 1), err, runs, true);
        CheckInterrupted();
        harvest.all = RunBest(harvestArgs(path, cores_), err, runs);
        CheckInterrupted();
        Row rg;
        rg.one = RunBest({"rg", "--no-config", "--no-ignore", "-o", "-j1", kEmailRegex, path}, err,
                         runs, true);
        CheckInterrupted();
        rg.all = RunBest({"rg", "--no-config", "--no-ignore", "-o", kEmailRegex, path}, err, runs);
        CheckInterrupted();
        const std::string stopLine = measureStop(path, harvest.all.seconds);
        CheckInterrupted();
        fs::remove_all(path);

        const double size = static_cast<double>(bytes);
        char mb[32];
        std::snprintf(mb, sizeof mb, "%.1f", size / kMB);
        PrintRow(input.name.c_str(), std::to_string(files), mb, "harvest", harvest, size);
        PrintRow("", "", "", "rg", rg, size);
        std::printf("%-10s %9s %9s  %-11s| %8.1fx %17s | %8.1fx\n", "", "", "", "harvest/rg",
                    harvest.one.seconds / rg.one.seconds, "", harvest.all.seconds / rg.all.seconds);
        if (!stopLine.empty()) {
            std::printf("%-10s %9s %9s  %s\n", "", "", "", stopLine.c_str());
        }
        std::fflush(stdout);
    }

private:
    // Ctrl+C halfway through a run on every core: how long the harvest takes
    // to stop, and what it wrote. Empty for a run too short to stop.
    std::string measureStop(const std::string& path, double seconds) const {
        if (!jobs_ || seconds < 0.4) {
            return {};
        }
        const std::string out = temp_ + "/stopped.tsv";
        std::vector<std::string> args = harvestArgs(path, cores_, out);
        const Timing t = RunOnce(args, temp_ + "/run.err", nullptr, false, seconds / 2);
        std::uint64_t rows = 0;
        std::ifstream written(out);
        for (std::string row; std::getline(written, row);) {
            ++rows;
        }
        fs::remove(out);
        char line[200];
        if (t.stopSeconds < 0) {
            std::snprintf(line, sizeof line, "Ctrl+C at %.2f s: the run had ended", seconds / 2);
        } else {
            std::snprintf(line, sizeof line,
                          "Ctrl+C at %.2f s: exit %d after %.0f ms, %llu contacts written",
                          seconds / 2, t.status, t.stopSeconds * 1000,
                          static_cast<unsigned long long>(rows > 0 ? rows - 1 : 0));
        }
        return line;
    }

    std::vector<std::string> harvestArgs(const std::string& path, int jobs,
                                         const std::string& output = "/dev/null") const {
        std::vector<std::string> args = {program_, "harvest", "-q", "-o", output};
        if (jobs_) {
            args.insert(args.end(), {"--jobs", std::to_string(jobs)});
        }
        args.push_back(path);
        return args;
    }

    std::string program_;
    std::string temp_;
    bool jobs_ = false;
    int cores_ = 1;
};

}  // namespace

int main(int argc, char** argv) {
    bool big = false;
    double scale = 1;
    std::string program = GLEANMARK_PROGRAM;
    std::vector<std::string> chosen;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "big") {
            big = true;
        } else if (arg.starts_with("scale=") && std::atof(arg.c_str() + 6) > 0) {
            scale = std::atof(arg.c_str() + 6);
        } else if (arg.starts_with("program=")) {
            program = arg.substr(8);
        } else if (arg.empty() || arg.find('=') != std::string::npos) {
            std::fprintf(
                stderr,
                "usage: %s [big] [scale=F] [program=PATH] [text|prose|html|mbox|small|mixed|"
                "big-text|big-mbox|big-line|big-files|site ...]\n",
                argv[0]);
            return 2;
        } else {
            chosen.push_back(arg);
        }
    }
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") +
                          "/gleanmark-harvest-bench.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
    int status = 0;
    try {
        Bench bench(program, pattern);
        bench.header();
        for (const Input& input : Inputs(scale)) {
            const bool named = std::find(chosen.begin(), chosen.end(), input.name) != chosen.end();
            if (chosen.empty() ? (!input.big || big) : named) {
                bench.measure(input);
            }
        }
        if (chosen.empty() || std::find(chosen.begin(), chosen.end(), "site") != chosen.end()) {
            MeasureSite(program, pattern);
        }
    } catch (const Interrupted&) {
        std::fprintf(stderr, "interrupted\n");
        status = 130;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "gleanmark-harvest-bench: %s\n", e.what());
        status = 1;
    }
    std::error_code ignored;
    fs::remove_all(pattern, ignored);
    return status;
}
