#pragma once
// The command line's options for harvesting web sites: which pages, how
// politely, and what to keep of the crawl.
#include <QCommandLineParser>
#include <QStringList>
#include <string>
#include <vector>

#include "SiteCrawl.h"

namespace HarvestSiteOptions {

extern const char* const kHelp;

void addTo(QCommandLineParser& parser);

// Whether an argument is the address of a site rather than a path.
bool isUrl(const std::string& argument);

// Reads the options into a crawl of the given start addresses; false with a
// problem for a value that cannot be used.
bool read(const QCommandLineParser& parser, const std::vector<std::string>& urls, int jobs,
          harvest::SiteCrawlOptions& options, std::string& problem);

// "pages: 12 harvested, 40 queued, 3 out of scope, 1 kept out by robots.txt, 0 failed"
std::string describe(const harvest::CrawlCounts& counts);

}  // namespace HarvestSiteOptions
