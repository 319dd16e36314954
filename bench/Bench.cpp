// Throughput of the extraction engine on one big file's text, as a run does
// it: StripTags and then the recording, on generated HTML and plain text.
//
// Usage: gleanmark-bench [size-in-MB ...] [html|text ...] [addresses|keywords|strip ...]
//                        [linear]
// Sizes default to 1 10 100; naming inputs or workloads measures only those,
// and "linear" leaves the reference engine out.
//
// Workloads: "addresses" records Email, WebSite, MailTo, FileName and
// ProcessTime; "keywords" records three keyword columns with FileName and
// ProcessTime; "strip" is the text a stripping run writes. Each measurement
// runs in a child process of its own, so its peak memory (the generated text
// included) is its own; the time shown is the fastest of three runs, the peak
// the largest. The straightforward reference engine is measured at
// 1 MB for comparison; the growth ratios compare each size with the one
// before it (linear cost gives about the ratio of the sizes).

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Clock.h"
#include "Corpus.h"
#include "EventPump.h"
#include "ProgressBar.h"
#include "ReferenceEngine.h"
#include "ResultTable.h"
#include "ScanEngine.h"

namespace {

class NoPump : public EventPump {
public:
    void yield() override {}
};

enum class Workload { Addresses, Keywords, Strip };
const char* const kWorkloadNames[] = {"addresses", "keywords", "strip"};

struct Input {
    const char* name;
    std::string (*make)(size_t, uint32_t);
};
const Input kInputs[] = {{"html", MakeHtmlCorpus}, {"text", MakeTextCorpus}};

struct Result {
    double seconds = 0;
    size_t bytes = 0;
    size_t rows = 0;
    long peakKb = 0;
};

template <class Engine>
Result Measure(std::string text, Workload workload) {
    NoPump pump;
    PlainProgress progress;
    SystemClock clock;
    Engine engine(pump, progress, clock);
    engine.strCurFile = "bench-input";
    ResultTable table;
    KeywordTable keywords;
    std::vector<std::string> columns;
    if (workload == Workload::Addresses) {
        columns = {"Email", "WebSite", "MailTo", "FileName", "ProcessTime"};
    } else if (workload == Workload::Keywords) {
        for (const char* name : {" annual report ", " customer support ", " please write "}) {
            keywords.add(name, "1, 2");
            columns.push_back(name);
        }
        columns.insert(columns.end(), {"FileName", "ProcessTime"});
        engine.intUseKeyword = 1;
    } else {
        engine.chkStrip = true;
    }
    engine.chkFileName = engine.chkTime = true;
    for (const std::string& c : columns) {
        table.appendColumn(c);
    }
    Result r;
    r.bytes = text.size();
    const auto start = std::chrono::steady_clock::now();
    engine.strScanText = std::move(text);
    engine.StripTags();
    if (workload != Workload::Strip) {
        engine.RecordFileResults(columns, table, keywords);
    }
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    r.rows = table.rowCount();
    return r;
}

// Runs one measurement in a child process and reads back its figures.
Result OneChild(const Input& input, Workload workload, double mb, bool reference) {
    int fds[2];
    if (pipe(fds) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    const pid_t child = fork();
    if (child == 0) {
        close(fds[0]);
        std::string text = input.make(static_cast<size_t>(mb * 1024 * 1024), 7);
        const Result r = reference ? Measure<ReferenceEngine>(std::move(text), workload)
                                   : Measure<ScanEngine>(std::move(text), workload);
        if (write(fds[1], &r, sizeof r) != static_cast<ssize_t>(sizeof r)) {
            _exit(1);
        }
        _exit(0);
    }
    close(fds[1]);
    Result r;
    const bool read_ok = read(fds[0], &r, sizeof r) == static_cast<ssize_t>(sizeof r);
    close(fds[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (!read_ok || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "measurement failed\n");
        std::exit(1);
    }
    r.peakKb = usage.ru_maxrss;
    return r;
}

// The machine may be busy with other work: the fastest of a few runs counts.
Result InChild(const Input& input, Workload workload, double mb, bool reference) {
    constexpr int kRuns = 3;
    Result best = OneChild(input, workload, mb, reference);
    for (int i = 1; i < kRuns; ++i) {
        const Result r = OneChild(input, workload, mb, reference);
        best.peakKb = std::max(best.peakKb, r.peakKb);
        best.seconds = std::min(best.seconds, r.seconds);
    }
    return best;
}

void Print(const Input& input, Workload workload, const char* engine, const Result& r) {
    const double mb = static_cast<double>(r.bytes) / (1024.0 * 1024.0);
    std::printf("%-5s %-10s %-10s %8.1f %9.3f %9.1f %8zu %8ld\n", input.name,
                kWorkloadNames[static_cast<int>(workload)], engine, mb, r.seconds, mb / r.seconds,
                r.rows, r.peakKb / 1024);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<double> sizes;
    std::vector<std::string> inputs;
    std::vector<std::string> workloads;
    bool reference = true;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "linear") {
            reference = false;
        } else if (arg == "html" || arg == "text") {
            inputs.push_back(arg);
        } else if (arg == "addresses" || arg == "keywords" || arg == "strip") {
            workloads.push_back(arg);
        } else if (const double mb = std::atof(argv[i]); mb > 0) {
            sizes.push_back(mb);
        } else {
            std::fprintf(stderr,
                         "usage: %s [size-in-MB ...] [html|text ...] "
                         "[addresses|keywords|strip ...] [linear]\n",
                         argv[0]);
            return 2;
        }
    }
    if (sizes.empty()) {
        sizes = {1, 10, 100};
    }
    // An empty list names them all.
    const auto chosen = [](const std::vector<std::string>& list, const char* name) {
        return list.empty() || std::find(list.begin(), list.end(), name) != list.end();
    };
    std::printf("%-5s %-10s %-10s %8s %9s %9s %8s %8s\n", "input", "workload", "engine", "MB",
                "seconds", "MB/s", "rows", "peak MB");
    for (const Input& input : kInputs) {
        if (!chosen(inputs, input.name)) {
            continue;
        }
        for (Workload workload : {Workload::Addresses, Workload::Keywords, Workload::Strip}) {
            const char* workloadName = kWorkloadNames[static_cast<int>(workload)];
            if (!chosen(workloads, workloadName)) {
                continue;
            }
            std::vector<Result> results;
            for (double mb : sizes) {
                results.push_back(InChild(input, workload, mb, false));
                Print(input, workload, "linear", results.back());
            }
            if (reference) {
                Print(input, workload, "reference", InChild(input, workload, 1, true));
            }
            for (size_t i = 1; i < results.size(); ++i) {
                std::printf("%-5s %-10s growth %g MB -> %g MB: time x %.1f\n", input.name,
                            workloadName, sizes[i - 1], sizes[i],
                            results[i].seconds / results[i - 1].seconds);
            }
        }
    }
    return 0;
}
