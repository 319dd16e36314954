#include "HarvestCommand.h"

#include <unistd.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QStringList>
#include <atomic>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>

#include "HarvestOutputOptions.h"
#include "HarvestProgressLine.h"
#include "HarvestSiteOptions.h"
#include "Harvester.h"
#include "RunOptions.h"
#include "SiteCrawl.h"
#include "Writers.h"

namespace {

std::string UsageText() {
    return std::string(
               "usage: gleanmark harvest [OPTIONS] PATH|URL...\n"
               "\n"
               "Finds e-mail addresses (validated against the public suffix list), names,\n"
               "web addresses and, on request, phone numbers in files and folders: text in any\n"
               "common encoding, HTML, mail messages, mbox files and Maildir folders, PDF,\n"
               "Office and OpenDocument files, EPUB, zip, tar, gzip, bzip2, xz and WARC\n"
               "archives, recognised by their content. Each contact is listed once, with\n"
               "where it was first found. Web sites are crawled politely (robots.txt, a\n"
               "delay between requests, the start page's host only) and their pages read\n"
               "alike, each sighting with the page it was on.\n"
               "\n"
               "Input:\n"
               "  --files-from FILE      also harvest the paths listed in FILE, one a line\n"
               "                         (\"-\": standard input)\n"
               "  -0, --null             the list of --files-from is separated by NUL bytes\n") +
           HarvestSiteOptions::kHelp + HarvestOutputOptions::kOutputHelp +
           "  -j, --jobs N           harvest with N workers (default: one per core); the\n"
           "                         output is the same whatever N\n"
           "What to find:\n"
           "  --phones REGION        also find phone numbers, dialled from REGION (\"GB\",\n"
           "                         \"US\", ...), written in E.164\n"
           "  --no-web               leave out web addresses\n" +
           HarvestOutputOptions::kFilterHelp +
           "\n"
           "Fields of a contact: address, name, kind, domain, reserved, sightings,\n"
           "first_source. Fields of a sighting: address, name, source, page, message,\n"
           "message_id, line, offset, field, context, referrer, depth.\n"
           "\n"
           "Progress, problems and a summary go to standard error. Exit status: 0 done\n"
           "(problems of single sources are reported and the run goes on), 2 usage error,\n"
           "3 output not written, 130 ended by Ctrl+C (what was found so far is still\n"
           "written).\n";
}

std::atomic<bool> gInterrupted{false};

void OnInterrupt(int) {
    gInterrupted.store(true);
}

int Usage(const std::string& problem) {
    std::cerr << "gleanmark: " << problem << "\n\n" << UsageText();
    return exitstatus::kUsage;
}

void PrintProblems(const harvest::Harvester& harvester) {
    for (const harvest::Problem& p : harvester.problems()) {
        std::cerr << "gleanmark: " << p.source << ": " << p.reason << "\n";
    }
}

}  // namespace

int HarvestCommandLine(int argc, char* argv[]) {
    QStringList args;
    for (int i = 0; i < argc; ++i) {
        if (i != 1) {  // "harvest"
            args << QString::fromLocal8Bit(argv[i]);
        }
    }
    QCommandLineParser parser;
    parser.addOptions({
        {"files-from", "", "FILE"},
        {{"0", "null"}, ""},
        {"phones", "", "REGION"},
        {"no-web", ""},
        {{"j", "jobs"}, "", "N"},
        {{"h", "help"}, ""},
    });
    HarvestOutputOptions::addTo(parser);
    HarvestSiteOptions::addTo(parser);
    if (!parser.parse(args)) {
        return Usage(parser.errorText().toStdString());
    }
    if (parser.isSet("help")) {
        std::cout << UsageText();
        return exitstatus::kCompleted;
    }

    HarvestOutputOptions output;
    std::string problem;
    if (!output.read(parser, problem)) {
        return Usage(problem);
    }

    // Ctrl+C from here on stops the harvest; what was found is still written.
    gInterrupted.store(false);
    std::signal(SIGINT, OnInterrupt);
    harvest::HarvestOptions options;
    options.paths = HarvestOutputOptions::rawArguments(parser.positionalArguments(), argc, argv);
    if (parser.isSet("files-from")) {
        if (auto error = harvest::readPathList(parser.value("files-from").toStdString(),
                                               parser.isSet("null"), options.paths)) {
            return Usage("--files-from " + parser.value("files-from").toStdString() + ": " +
                         *error);
        }
    } else if (parser.isSet("null")) {
        return Usage("-0 goes with --files-from");
    }
    // Addresses of web sites are crawled; the rest are paths.
    std::vector<std::string> urls;
    std::erase_if(options.paths, [&](const std::string& path) {
        if (!HarvestSiteOptions::isUrl(path)) {
            return false;
        }
        urls.push_back(path);
        return true;
    });
    if (options.paths.empty() && urls.empty() && !parser.isSet("files-from")) {
        return Usage("no PATH given");
    }
    if (parser.isSet("jobs")) {
        bool ok = false;
        options.jobs = parser.value("jobs").toInt(&ok);
        if (!ok || options.jobs < 1) {
            return Usage("--jobs takes a number of workers, 1 or more");
        }
    }
    options.finders.webAddresses = !parser.isSet("no-web");
    options.finders.phoneRegion = parser.value("phones").toUpper().toStdString();
    options.keepSightings = output.needsSightings();
    harvest::SiteCrawlOptions siteOptions;
    if (!HarvestSiteOptions::read(parser, urls, options.jobs, siteOptions, problem)) {
        return Usage(problem);
    }

    bool quiet = output.quiet();
    HarvestProgressLine progressLine(!quiet && ::isatty(STDERR_FILENO));
    // A crawl needs an event loop of its own, and Qt an application for it.
    int qtArgc = 1;
    std::optional<QCoreApplication> app;
    std::unique_ptr<harvest::SiteCrawl> crawl;
    if (!urls.empty()) {
        app.emplace(qtArgc, argv);
        if (!siteOptions.stateDir.empty()) {
            // The pages earlier runs of a resumed crawl fetched.
            for (std::string& archive : harvest::SiteCrawl::earlierArchives(siteOptions.stateDir)) {
                options.paths.push_back(std::move(archive));
            }
        }
        crawl = std::make_unique<harvest::SiteCrawl>(std::move(siteOptions), gInterrupted);
        options.documents = [&](harvest::FetchedDocument& document) {
            return crawl->next(document);
        };
    }
    harvest::Harvester harvester(std::move(options));
    if (crawl) {
        // Progress comes on the thread that runs the harvest, the one that
        // adds to its contacts.
        progressLine.describeOther = [&] {
            return HarvestSiteOptions::describe(crawl->progress().counts) + "; " +
                   std::to_string(harvester.contactSet().size()) + " contacts";
        };
    }
    bool finished = harvester.run(gInterrupted, &progressLine);
    std::signal(SIGINT, SIG_DFL);
    progressLine.clear();
    PrintProblems(harvester);
    std::optional<std::string> crawlFailure;
    if (crawl) {
        const harvest::CrawlCounts counts = crawl->progress().counts;
        crawlFailure = crawl->failure();
        crawl.reset();  // the crawl's archive and state are closed before the output is written
        if (!quiet) {
            std::cerr << "gleanmark: crawl: " << counts.pages << " pages harvested from "
                      << counts.fetched << " requests (" << counts.redirects << " redirects, "
                      << counts.retries << " retries); not fetched: " << counts.outOfScope
                      << " out of scope, " << counts.robotsDenied << " kept out by robots.txt, "
                      << counts.overPageLimit << " over the page limit, " << counts.queued
                      << " still queued; failed: " << counts.errors << "\n";
        }
        if (crawlFailure) {
            std::cerr << "gleanmark: " << *crawlFailure << "\n";
        }
    }

    HarvestOutputOptions::Kept kept;
    std::string error;
    bool written = output.write(harvester.contactSet(), harvester.sightings(), harvester.problems(),
                                harvester.sources().range(), kept, error);
    if (!quiet) {
        std::cerr << "gleanmark: " << harvester.sources().size() << " sources, " << kept.contacts
                  << " contacts, " << kept.sightings << " sightings, "
                  << harvester.problems().size() << " problems"
                  << (finished ? "" : " (stopped by Ctrl+C)") << "\n";
    }
    if (!written) {
        std::cerr << "gleanmark: " << error << "\n";
        return exitstatus::kUnwritable;
    }
    if (crawlFailure) {
        return exitstatus::kUnwritable;
    }
    return finished ? exitstatus::kCompleted : exitstatus::kInterrupted;
}
