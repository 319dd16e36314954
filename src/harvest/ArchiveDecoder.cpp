// tar (compressed or not), 7z and the other archive formats libarchive reads,
// and a single compressed stream (gzip, bzip2, xz, ...) of one file.
#include <QString>
#include <array>

#include "ArchiveReading.h"
#include "Decoders.h"

namespace harvest {
namespace {

// The last component of a path, a container member's path included.
std::string lastComponent(const std::string& path) {
    const size_t cut = path.find_last_of("/\\!");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

// The original name a gzip header carries (FNAME, in Latin-1), without any
// directory part; empty when there is none.
std::string gzipName(std::string_view bytes) {
    if (bytes.size() < 10 || static_cast<unsigned char>(bytes[0]) != 0x1f ||
        static_cast<unsigned char>(bytes[1]) != 0x8b) {
        return {};
    }
    const auto flags = static_cast<unsigned char>(bytes[3]);
    size_t at = 10;
    if (flags & 0x04) {  // FEXTRA: a two-byte length, then that many bytes
        if (bytes.size() < at + 2) {
            return {};
        }
        at += 2 + (static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1])
                                                               << 8);
    }
    if (!(flags & 0x08) || at >= bytes.size()) {
        return {};
    }
    const size_t end = bytes.find('\0', at);
    if (end == std::string_view::npos || end - at > 1024) {
        return {};
    }
    const std::string latin1(bytes.substr(at, end - at));
    return lastComponent(
        QString::fromLatin1(latin1.data(), qsizetype(latin1.size())).toStdString());
}

// The name of a compressed stream's content: the name the gzip header keeps,
// else the source's own name without its compression suffix, else "data".
std::string streamName(const Blob& blob) {
    std::string name = gzipName(blob.bytes);
    if (!name.empty()) {
        return name;
    }
    name = lastComponent(blob.origin.source);
    static constexpr std::array<std::string_view, 8> kSuffixes = {".gz",   ".bz2", ".xz",  ".zst",
                                                                  ".lzma", ".lz",  ".lz4", ".Z"};
    for (std::string_view suffix : kSuffixes) {
        if (name.size() > suffix.size() && name.ends_with(suffix)) {
            return name.substr(0, name.size() - suffix.size());
        }
    }
    return "data";
}

// Whether a compressed stream holds a WARC: a .warc.gz is far larger than one
// member may be, and decodeWarc reads it a record at a time.
bool holdsWarc(const Blob& blob, DecodeContext& context) {
    ArchiveReading reading(blob, context, ArchiveFormats::Raw);
    char head[5];
    return reading.next() && reading.compressed() &&
           reading.readSome(head, sizeof head, blob.origin.source) == sizeof head &&
           std::string_view(head, sizeof head) == "WARC/";
}

void decodeStream(const Blob& blob, DecodeContext& context) {
    if (holdsWarc(blob, context)) {
        decodeWarc(blob, context);
        return;
    }
    ArchiveReading reading(blob, context, ArchiveFormats::Raw);
    if (!reading.next()) {
        if (reading.damaged()) {
            context.problem(blob.origin.source, "damaged compressed stream: " + reading.error());
        }
        return;
    }
    if (!reading.compressed()) {
        context.problem(blob.origin.source, "neither an archive nor a compressed stream");
        return;
    }
    Origin origin;
    origin.source = blob.origin.source + "!" + streamName(blob);
    std::string bytes;
    if (reading.read(bytes, origin.source) && !bytes.empty()) {
        context.nested(bytes, std::move(origin), blob.depth + 1);
    }
}

}  // namespace

void decodeArchive(const Blob& blob, DecodeContext& context) {
    {
        ArchiveReading reading(blob, context, ArchiveFormats::Archives);
        const bool any = handMembersOn(reading, blob, context) > 0;
        if (!reading.damaged()) {
            return;
        }
        // No archive format took the bytes: a compressed stream of one file.
        if (any || reading.format() != 0) {
            context.problem(blob.origin.source, "damaged archive: " + reading.error());
            return;
        }
    }
    decodeStream(blob, context);
}

}  // namespace harvest
