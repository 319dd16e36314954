#include "DecodeDispatch.h"

#include <algorithm>

#include "ByteScan.h"

#include <array>

#include "Decoders.h"
#include "SourceKind.h"

namespace harvest {
namespace {

using DecodeFunction = void (*)(const Blob&, DecodeContext&);

struct DecoderEntry {
    SourceKind kind;
    DecodeFunction decode;
};

// Every kind of source and its decoder: a new format is one more line here
// and one more signature in SourceKind.
constexpr std::array<DecoderEntry, 8> kDecoders = {{
    {SourceKind::Text, decodeText},
    {SourceKind::Html, decodeHtml},
    {SourceKind::Mail, decodeMail},
    {SourceKind::Mbox, decodeMbox},
    {SourceKind::Pdf, decodePdf},
    {SourceKind::Zip, decodeZip},
    {SourceKind::Archive, decodeArchive},
    {SourceKind::Warc, decodeWarc},
}};

}  // namespace

SourceHarvest::SourceHarvest(Finders& finders, const Limits& limits,
                             const std::atomic<bool>& cancel, std::vector<Sighting>& sightings,
                             std::vector<Problem>& problems)
    : finders_(finders),
      limits_(limits),
      cancel_(cancel),
      sightings_(sightings),
      problems_(problems) {}

void SourceHarvest::decode(const Blob& blob) {
    if (cancelled()) {
        return;
    }
    decodeAs(recognise(blob.bytes), blob);
}

void SourceHarvest::decodeAs(SourceKind kind, const Blob& blob) {
    for (const DecoderEntry& entry : kDecoders) {
        if (entry.kind == kind) {
            entry.decode(blob, *this);
            return;
        }
    }
}

void SourceHarvest::text(TextPiece piece) {
    find(piece);
}

void SourceHarvest::find(const TextPiece& piece) {
    if (measureText) {
        lastLine_ = std::max(lastLine_, piece.firstLine + countNewlines(piece.text));
    }
    textEnd_ = std::max(textEnd_, piece.firstOffset + static_cast<std::int64_t>(piece.text.size()));
    if (!cancelled()) {
        finders_.find(piece, sightings_);
        if (afterPiece) {
            afterPiece();
        }
    }
}

void SourceHarvest::nested(std::string_view bytes, Origin origin, int depth) {
    if (depth > limits_.maxDepth) {
        // Said once for the container that holds them, not for each member.
        std::string parent = origin.source.substr(0, origin.source.rfind('!'));
        if (parent != tooDeep_) {
            tooDeep_ = parent;
            problem(parent, "holds sources nested deeper than " + std::to_string(limits_.maxDepth) +
                                " containers; not read");
        }
        return;
    }
    decode(Blob{bytes, std::move(origin), depth});
}

void SourceHarvest::problem(std::string source, std::string reason) {
    problems_.push_back({std::move(source), std::move(reason)});
}

bool SourceHarvest::cancelled() const {
    return cancel_.load(std::memory_order_relaxed);
}

}  // namespace harvest
