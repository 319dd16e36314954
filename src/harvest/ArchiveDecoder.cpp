// tar (compressed or not), 7z and the other archive formats libarchive reads,
// and a single compressed stream (gzip, bzip2, xz, ...) of one file.
#include <zlib.h>

#include "ArchiveReading.h"
#include "Decoders.h"

namespace harvest {
namespace {

// Whether a compressed stream holds a WARC: a .warc.gz is far larger than one
// member may be, and decodeWarc reads it a record at a time.
bool holdsWarc(const Blob& blob, DecodeContext& context) {
    ArchiveReading reading(blob, context, ArchiveFormats::Raw);
    char head[5];
    return reading.next() && reading.compressed() &&
           reading.readSome(head, sizeof head, blob.origin.source) == sizeof head &&
           std::string_view(head, sizeof head) == "WARC/";
}

// Whether bytes are a whole gzip stream of nothing: packages ship such files
// (an empty manual page compressed), and libarchive takes them for damage.
bool emptyGzip(std::string_view bytes) {
    if (bytes.size() > 4096 || !bytes.starts_with("\x1f\x8b")) {
        return false;
    }
    z_stream z{};
    if (inflateInit2(&z, 16 + MAX_WBITS) != Z_OK) {
        return false;
    }
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    z.avail_in = static_cast<uInt>(bytes.size());
    unsigned char out[64];
    z.next_out = out;
    z.avail_out = sizeof out;
    const int status = inflate(&z, Z_FINISH);
    const bool empty = status == Z_STREAM_END && z.total_out == 0;
    inflateEnd(&z);
    return empty;
}

void decodeStream(const Blob& blob, DecodeContext& context) {
    if (holdsWarc(blob, context)) {
        decodeWarc(blob, context);
        return;
    }
    ArchiveReading reading(blob, context, ArchiveFormats::Raw);
    if (!reading.next()) {
        if (reading.damaged() && !emptyGzip(blob.bytes)) {
            context.problem(blob.origin.source, "damaged compressed stream: " + reading.error());
        }
        return;
    }
    if (!reading.compressed()) {
        context.problem(blob.origin.source, "neither an archive nor a compressed stream");
        return;
    }
    Origin origin;
    origin.source = blob.origin.source + "!" + streamName(blob.bytes, blob.origin.source);
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
