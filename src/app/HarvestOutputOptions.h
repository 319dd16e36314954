#pragma once
// The options `gleanmark harvest` and `gleanmark merge` share: where the
// result goes and in which format (-o, --format, --sightings, -q) and the
// user's filters (--only-domain, --exclude-domain, --kind, --no-reserved,
// --stop-list), and the writing of what the filters keep.
#include <QCommandLineParser>
#include <QStringList>
#include <string>
#include <vector>

#include "ContactFilter.h"
#include "ContactSet.h"
#include "HarvestTypes.h"
#include "RecordRange.h"
#include "SpillList.h"
#include "Writers.h"

class HarvestOutputOptions {
public:
    // The options in a command's usage text: the "Output:" lines and the
    // "Filters ...:" lines.
    static const char* const kOutputHelp;
    static const char* const kFilterHelp;

    // Adds the options to a parser.
    static void addTo(QCommandLineParser& parser);

    // Reads them from a parsed command line; false with a usage problem.
    bool read(const QCommandLineParser& parser, std::string& problem);

    const std::string& path() const { return path_; }  // empty: standard output
    harvest::Format format() const { return format_; }
    bool sightingRows() const { return sightingRows_; }
    // Whether the output has the sightings themselves, not only their count.
    bool needsSightings() const { return sightingRows_ || format_ == harvest::Format::Sqlite; }
    bool quiet() const { return quiet_; }
    const harvest::ContactFilter& filter() const { return filter_; }

    // How many contacts and sightings the filters kept.
    struct Kept {
        std::size_t contacts = 0;
        std::size_t sightings = 0;
    };
    // Writes the contacts and sightings the filters keep, with the problems
    // and sources; false with a message in error when the output could not be
    // written.
    bool write(const harvest::ContactSet& contacts,
               const harvest::SpillList<harvest::Sighting>& sightings,
               const std::vector<harvest::Problem>& problems,
               harvest::RecordRange<harvest::SourceInfo> sources, Kept& kept,
               std::string& error) const;

    // The positional arguments as the shell gave them, bytes unchanged (argv[1]
    // is the command's name): a file name that is not valid UTF-8 must still open.
    static std::vector<std::string> rawArguments(const QStringList& positional, int argc,
                                                 char* argv[]);

private:
    bool readFilter(const QCommandLineParser& parser, std::string& problem);

    std::string path_;
    harvest::Format format_ = harvest::Format::Tsv;
    bool sightingRows_ = false;
    bool quiet_ = false;
    harvest::ContactFilter filter_;
};
