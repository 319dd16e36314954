#pragma once
// Shards: the sightings of a part of a harvest, as `gleanmark harvest --format
// jsonl --sightings` writes them (one JSON object a line) or in a SQLite file
// that `gleanmark harvest -o x.sqlite` wrote (its sightings table). They are
// read a row at a time, never whole, and each row becomes a Sighting again,
// its kind, domain and reserved flag worked out from its address.
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "HarvestTypes.h"
#include "SightingKinds.h"

namespace harvest {

// Where the rows of a shard go, in the order of the shard.
class ShardSink {
public:
    virtual ~ShardSink() = default;
    // The sighting is only good during the call.
    virtual void sighting(const Sighting& sighting) = 0;
    virtual void problem(Problem problem) = 0;
};

class ShardReader {
public:
    // The name a shard read from standard input goes by in problems.
    static constexpr std::string_view kStandardInput = "(standard input)";

    // Reads the shard at path ("-": standard input, JSON Lines). A file that
    // starts like a SQLite database is read as one, anything else as JSON
    // Lines. A row that is not a sighting is a problem of the shard ("line 7:
    // ...", "row 7: ...") and is skipped; the rows after it are still read.
    // Returns false, with a problem, when the shard cannot be opened or stops
    // being readable part way.
    bool read(const std::string& path, ShardSink& sink);

    // One line of a JSON Lines shard, without its line end, into out (every
    // field set afresh). False with a reason when it is not a sighting.
    bool parseLine(std::string_view line, Sighting& out, std::string& reason);

private:
    bool readJsonLines(std::FILE* file, const std::string& name, ShardSink& sink);
    bool readSqlite(const std::string& path, ShardSink& sink);

    SightingKinds kinds_;
    Sighting row_;  // reused from row to row
};

}  // namespace harvest
