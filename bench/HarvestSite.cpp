#include "HarvestSite.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "HarvestRun.h"
#include "SiteServer.h"

namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

long Lines(const std::string& text) {
    long n = 0;
    for (char c : text) {
        n += c == '\n';
    }
    return n;
}

}  // namespace

void MeasureSite(const std::string& program, const std::string& folder) {
    std::printf(
        "\nsite harvest: a generated site on 127.0.0.1, --delay 0 --per-host 4, all cores\n");
    const std::string warc = folder + "/site.warc.gz";
    for (int pages : {2000, 10000}) {
        SiteServer server(pages);
        const std::string output = folder + "/site.tsv";
        const Timing t = RunOnce({program, "harvest", "-q", "--delay", "0", "--per-host", "4",
                                  "--max-depth", "20", "--max-pages", std::to_string(pages),
                                  "--warc", warc, "-o", output, server.url("/p/0")},
                                 folder + "/site.err");
        const std::string contacts = ReadAll(output);
        std::printf("%6d pages  %7.2f s  %7.1f pages/s  peak %5ld MB  %lld requests  %ld contacts",
                    pages, t.seconds, pages / t.seconds, t.peakKb / 1024,
                    static_cast<long long>(server.requests()), Lines(contacts) - 1);
        if (t.status != 0) {
            std::printf("  exit %d", t.status);
        }
        std::printf("\n");
        if (pages == 2000) {
            const std::string again = folder + "/warc.tsv";
            const Timing w =
                RunOnce({program, "harvest", "-q", warc, "-o", again}, folder + "/warc.err");
            std::printf("  the same from its WARC  %7.2f s  peak %5ld MB  same contacts: %s\n",
                        w.seconds, w.peakKb / 1024, ReadAll(again) == contacts ? "yes" : "NO");
        }
        std::remove(warc.c_str());
    }
}
