#include "MergeCommand.h"

#include <QCommandLineParser>
#include <QStringList>
#include <iostream>
#include <string>

#include "ContactSet.h"
#include "HarvestOutputOptions.h"
#include "RunOptions.h"
#include "ShardReader.h"

namespace {

const char* const kIntro =
    "usage: gleanmark merge [OPTIONS] SHARD...\n"
    "\n"
    "Adds up shards into the contacts of one harvest. A shard is what\n"
    "`gleanmark harvest --format jsonl --sightings` wrote (JSON Lines; \"-\" reads\n"
    "them from standard input) or a SQLite file that `gleanmark harvest -o\n"
    "FILE.sqlite` wrote. Given in the order their sources were split in, the\n"
    "shards give the same output, byte for byte, as one harvest over all the\n"
    "sources; in another order, the same contacts with the same sightings and\n"
    "names, listed in the order they are first seen.\n"
    "\n";

const char* const kEnd =
    "\n"
    "Problems go to standard error: a shard that cannot be read, a line or row\n"
    "that is not a sighting (with its number; it is skipped and the rest is\n"
    "merged). Exit status: 0 done, 2 usage error, 3 output not written.\n";

void PrintUsage(std::ostream& out) {
    out << kIntro << HarvestOutputOptions::kOutputHelp << HarvestOutputOptions::kFilterHelp << kEnd;
}

int Usage(const std::string& problem) {
    std::cerr << "gleanmark: " << problem << "\n\n";
    PrintUsage(std::cerr);
    return exitstatus::kUsage;
}

// Adds each sighting to the contacts as it is read, and tells each problem at
// once; keeps the sightings and problems themselves only when the output
// shows them (a SQLite file holds both, whatever its rows are).
class Merge : public harvest::ShardSink {
public:
    explicit Merge(const HarvestOutputOptions& output)
        : output_(output),
          keepAll_(output.format() == harvest::Format::Sqlite),
          keepSightings_(keepAll_ || output.sightingRows()) {}

    void sighting(const harvest::Sighting& s) override {
        contacts.add(s);
        if (output_.filter().keeps(s)) {
            ++keptSightings;
            if (keepSightings_) {
                sightings.add(s);
            }
        }
    }
    void problem(harvest::Problem p) override {
        std::cerr << "gleanmark: " << p.source << ": " << p.reason << "\n";
        ++problemCount;
        if (keepAll_) {
            problems.push_back(std::move(p));
        }
    }

    harvest::ContactSet contacts;
    harvest::SpillList<harvest::Sighting> sightings;
    std::vector<harvest::Problem> problems;
    std::size_t keptSightings = 0;
    std::size_t problemCount = 0;

private:
    const HarvestOutputOptions& output_;
    bool keepAll_;
    bool keepSightings_;
};

}  // namespace

int MergeCommandLine(int argc, char* argv[]) {
    QStringList args;
    for (int i = 0; i < argc; ++i) {
        if (i != 1) {  // "merge"
            args << QString::fromLocal8Bit(argv[i]);
        }
    }
    QCommandLineParser parser;
    HarvestOutputOptions::addTo(parser);
    parser.addOption({{"h", "help"}, ""});
    if (!parser.parse(args)) {
        return Usage(parser.errorText().toStdString());
    }
    if (parser.isSet("help")) {
        PrintUsage(std::cout);
        return exitstatus::kCompleted;
    }
    HarvestOutputOptions output;
    std::string problem;
    if (!output.read(parser, problem)) {
        return Usage(problem);
    }
    const std::vector<std::string> shards =
        HarvestOutputOptions::rawArguments(parser.positionalArguments(), argc, argv);
    if (shards.empty()) {
        return Usage("no SHARD given (\"-\" reads one from standard input)");
    }

    Merge merge(output);
    harvest::ShardReader reader;
    for (const std::string& shard : shards) {
        reader.read(shard, merge);
    }
    HarvestOutputOptions::Kept kept;
    std::string error;
    const std::vector<harvest::SourceInfo> sources;  // shards do not list them
    const bool written =
        output.write(merge.contacts, merge.sightings, merge.problems, sources, kept, error);
    if (!output.quiet()) {
        std::cerr << "gleanmark: " << shards.size() << " shards, " << kept.contacts << " contacts, "
                  << merge.keptSightings << " sightings, " << merge.problemCount << " problems\n";
    }
    if (!written) {
        std::cerr << "gleanmark: " << error << "\n";
        return exitstatus::kUnwritable;
    }
    return exitstatus::kCompleted;
}
