#pragma once
// The pieces of work a harvest is cut into, and doing one. A file is one piece,
// except a large plain text (cut at line ends, each piece read with a margin
// on either side so that what touches a cut is found once, as in the whole
// text) and a large mbox (cut where a message starts). Pieces are done on any
// thread in any order; the harvester puts their results back in order.
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ContactSet.h"
#include "DecodeContext.h"
#include "Finders.h"
#include "HarvestTypes.h"
#include "SourceKind.h"
#include "SourceWalk.h"

namespace harvest {

struct CutOptions {
    std::int64_t cutFrom = 2LL << 20;         // files larger than this are cut...
    std::int64_t pieceBytes = 1LL << 20;      // ...into pieces of about this size
    std::int64_t margin = 8 << 10;            // read on either side of a text piece
    std::int64_t maxWholeFile = 512LL << 20;  // any other file read whole: at most this
};

// A document that comes from elsewhere than a path, such as a fetched page:
// its bytes and where it came from, or only a problem with it.
struct FetchedDocument {
    Origin origin;
    std::string bytes;
    std::optional<Problem> problem;
};

struct WorkItem {
    SourceFile file;
    std::shared_ptr<const FetchedDocument> document;  // instead of file
    // A run of small files done as one item, in order (file is then unused):
    // a folder of many small files costs one hand-over per run, not per file.
    std::vector<SourceFile> group;
    std::optional<Problem> walkProblem;  // an item that only carries a problem of the walk
    bool cut = false;                    // a piece of a file cut in pieces
    SourceKind kind = SourceKind::Text;  // of a cut file
    bool firstPiece = true;
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

struct WorkResult {
    // For a whole file or the first piece of a cut one; for each file of a
    // group; none for the other pieces and for a problem of the walk.
    std::vector<SourceInfo> sources;
    // The sightings, encoded as the spill file keeps them (a third of their
    // size in memory), with their count.
    std::string sightings;
    std::size_t sightingCount = 0;
    ContactSet contacts;  // what the sightings add up to, in their order
    std::vector<Problem> problems;
    // For a piece of a text: its newlines (sightings' lines count from its
    // start); of a page: the lines of its decoded text; of an mbox: its
    // messages (numbered from its start).
    std::int64_t newlines = 0;
    int messages = 0;
    // Of a piece of a page: the size of its decoded text, which the offsets
    // of the pieces after it count on from.
    std::int64_t decodedBytes = 0;
    // Work that may have been stopped by cancellation before its end: what it
    // found is kept, but nothing after it may be merged, or the sources kept
    // would have a gap.
    bool cut = false;
};

// Files up to this size go into groups of up to kGroupFiles files or
// kGroupBytes bytes.
constexpr std::int64_t kGroupFileBytes = 64 << 10;
constexpr std::size_t kGroupFiles = 64;
constexpr std::int64_t kGroupBytes = 1 << 20;

// Cuts a file into work items, in order; reads no more than a little around
// each cut. Stops when item returns false (the run was stopped): the cuts
// of the rest of a large file are not looked for.
void planWork(const SourceFile& file, const CutOptions& cut,
              const std::function<bool(WorkItem)>& item);

// What a worker keeps from one piece of work to the next: its finders, and
// the memory a piece is read into, so that each piece is read into memory
// already in use rather than into fresh pages the system must clear first.
struct Worker {
    explicit Worker(FinderOptions options = {}) : finders(std::move(options)) {}
    Finders finders;
    std::string buffer;
};

// With keepSightings unset, the sightings add up to contacts and are counted,
// but not kept.
WorkResult doWork(const WorkItem& item, const CutOptions& cut, Worker& worker, const Limits& limits,
                  const std::atomic<bool>& cancel, bool keepSightings = true);

// Renumbers "message N: ..." in a problem of an mbox piece by the messages
// of the pieces before it.
bool renumberMessageProblem(Problem& problem, int messagesBefore);

// Reads bytes [begin, end) of a file into bytes, reusing its memory. Returns
// an error text.
std::optional<std::string> readRange(const std::string& path, std::int64_t begin, std::int64_t end,
                                     std::string& bytes);

}  // namespace harvest
