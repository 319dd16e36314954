#pragma once
// One archive, held in memory or read from disk, read member by member with
// libarchive, with the context's Limits applied to everything it expands to: a member too large is
// skipped, a source that expands too far or too steeply stops.
#include <cstdint>
#include <string>
#include <string_view>

#include "DecodeContext.h"

struct archive;
struct archive_entry;

namespace harvest {

// Which readers libarchive is allowed to use.
enum class ArchiveFormats {
    Zip,           // zip, reading the central directory
    ZipStreaming,  // zip, reading the local headers one after the other
    Archives,      // tar, cpio, 7z, rar, cab, ... under any compression
    Raw,           // one compressed stream, as a single member
};

class ArchiveReading {
public:
    ArchiveReading(const Blob& blob, DecodeContext& context, ArchiveFormats formats);
    // Reads the file at path a block at a time, never whole; source names it
    // in problems.
    ArchiveReading(const std::string& path, std::string source, DecodeContext& context,
                   ArchiveFormats formats);
    ~ArchiveReading();
    ArchiveReading(const ArchiveReading&) = delete;
    ArchiveReading& operator=(const ArchiveReading&) = delete;

    // Moves to the next member. False at the end, or when the archive is
    // damaged (damaged() and error() tell), or when reading has stopped.
    bool next();
    // The current member's path, whether it is a regular file and whether its
    // data is encrypted.
    std::string path() const;
    bool isFile() const;
    bool encrypted() const;

    // Reads the current member whole into out (replacing what it held). False
    // when the member could not be read whole: it was too large, damaged, or
    // reading had to stop; a problem has then been reported, naming
    // memberSource or the archive.
    bool read(std::string& out, const std::string& memberSource);
    // Reads up to size bytes of the current member into buffer; 0 at its end,
    // -1 when reading must stop (a problem has been reported).
    std::int64_t readSome(char* buffer, std::int64_t size, const std::string& memberSource);

    // Reading has stopped for good: a bomb, a limit, cancellation or damage.
    bool stopped() const { return stopped_; }
    // Reading stopped because a member's data was damaged (a problem has
    // said so); a zip read by its central directory can resume after it.
    bool brokeInMember() const { return brokeInMember_; }
    // libarchive could not open the archive or read a member's header;
    // error() holds its message, which no problem has told yet.
    bool damaged() const { return damaged_; }
    std::string error() const;
    // The compression filters libarchive applied: only "none" for bytes that
    // are not compressed at all.
    bool compressed() const;
    // libarchive's ARCHIVE_FORMAT_* code; 0 while no reader has taken the bytes.
    int format() const;

private:
    bool setUp(ArchiveFormats formats);
    void stopWith(const std::string& source, const std::string& reason);
    bool countExpanded(std::int64_t bytes, const std::string& memberSource);
    std::int64_t consumed() const;

    DecodeContext& context_;
    std::string source_;
    struct archive* archive_ = nullptr;
    struct archive_entry* entry_ = nullptr;
    bool stopped_ = false;
    bool damaged_ = false;
    bool brokeInMember_ = false;
    std::string noun_;  // "zip", "archive", "compressed stream": what is damaged
    std::int64_t memberExpanded_ = 0;
    std::int64_t memberStart_ = 0;    // compressed bytes consumed when the member began
    std::int64_t totalExpanded_ = 0;  // this archive's members so far
};

// Hands every regular file of a container on as a nested source named
// "container!member", in the archive's order; an encrypted member is a
// problem of its own. Returns how many member headers it read.
int handMembersOn(ArchiveReading& reading, const Blob& blob, DecodeContext& context);

// The name of a compressed stream's content: the name a gzip header keeps
// (head is the stream's first bytes), else the last component of source
// without its compression suffix, else "data".
std::string streamName(std::string_view head, const std::string& source);

}  // namespace harvest
