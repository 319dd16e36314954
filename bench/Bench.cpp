// Throughput of the extraction engine on one file's text: StripTags followed
// by RecordFileResults, on generated HTML and plain text of several sizes.
//
// Usage: gleanmark-bench [--all-columns] [size-in-MB ...]
// The default sizes are 1 and 10 MB with the columns Email, WebSite, MailTo
// (about two minutes: the scanners take a pass over the remaining text per
// address and the tag loop one per distinct tag, so time grows with the
// square of the size). --all-columns adds FileName and ProcessTime, which
// makes every address be scanned; use small sizes with it.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Clock.h"
#include "Corpus.h"
#include "EventPump.h"
#include "ProgressBar.h"
#include "ResultTable.h"
#include "ScanEngine.h"

namespace {

class NoPump : public EventPump {
public:
    void yield() override {}
};

struct Columns {
    const char* label;
    std::vector<std::string> names;
};

// The three address columns alone end a file at the second pass (the
// countdown starts at 1 and the web-site column is empty once a mailto scan
// has run); with the file name and time columns every address is scanned.
const std::vector<Columns> kColumnSets = {
    {"Email,WebSite,MailTo", {"Email", "WebSite", "MailTo"}},
    {"+FileName,ProcessTime", {"Email", "WebSite", "MailTo", "FileName", "ProcessTime"}},
};

const std::vector<double> kDefaultSizes = {1, 10};

struct Result {
    double seconds;
    size_t rows;
};

Result Measure(const std::string& text, const std::vector<std::string>& columns) {
    NoPump pump;
    PlainProgress progress;
    SystemClock clock;
    ScanEngine engine(pump, progress, clock);
    engine.chkFileName = engine.chkTime = true;
    engine.strCurFile = "bench-input";
    ResultTable table;
    for (const std::string& c : columns) {
        table.appendColumn(c);
    }
    KeywordTable keywords;

    const auto start = std::chrono::steady_clock::now();
    engine.strScanText = text;
    engine.StripTags();
    engine.RecordFileResults(columns, table, keywords);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return {elapsed.count(), table.rowCount()};
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<double> sizes;
    size_t columnSets = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--all-columns") {
            columnSets = kColumnSets.size();
            continue;
        }
        const double mb = std::atof(argv[i]);
        if (mb <= 0) {
            std::fprintf(stderr, "usage: %s [--all-columns] [size-in-MB ...]\n", argv[0]);
            return 2;
        }
        sizes.push_back(mb);
    }
    if (sizes.empty()) {
        sizes = kDefaultSizes;
    }

    std::printf("StripTags + RecordFileResults, one file per measurement, sizes (MB):");
    for (double mb : sizes) {
        std::printf(" %g", mb);
    }
    std::printf("\n");
    std::printf("%-5s %-22s %10s %8s %10s %9s\n", "input", "columns", "bytes", "rows", "seconds",
                "MB/s");
    struct Kind {
        const char* name;
        std::string (*make)(size_t, uint32_t);
    };
    for (const Kind& kind : {Kind{"html", MakeHtmlCorpus}, Kind{"text", MakeTextCorpus}}) {
        for (size_t set = 0; set < columnSets; ++set) {
            const Columns& columns = kColumnSets[set];
            std::vector<Result> results;
            for (double mb : sizes) {
                const std::string text = kind.make(static_cast<size_t>(mb * 1024 * 1024), 7);
                const Result r = Measure(text, columns.names);
                results.push_back(r);
                std::printf("%-5s %-22s %10zu %8zu %10.3f %9.2f\n", kind.name, columns.label,
                            text.size(), r.rows, r.seconds,
                            static_cast<double>(text.size()) / (1024.0 * 1024.0) / r.seconds);
                std::fflush(stdout);
            }
            for (size_t i = 1; i < sizes.size(); ++i) {
                std::printf("%-5s %-22s time ratio %g MB / %g MB: %.1f\n", kind.name, columns.label,
                            sizes[i], sizes[i - 1], results[i].seconds / results[i - 1].seconds);
            }
        }
    }
    return 0;
}
