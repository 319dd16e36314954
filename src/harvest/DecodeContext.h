#pragma once
// What a decoder gets to work with: the bytes of one source, and a context to
// hand decoded text, nested sources (container members, attachments) and
// problems to.
#include <cstdint>
#include <string>
#include <string_view>

#include "HarvestTypes.h"

namespace harvest {

// Bounds that keep a hostile or broken input a problem of its own source
// rather than an out-of-memory for the whole run.
struct Limits {
    int maxDepth = 16;                            // sources nested inside sources
    std::int64_t maxMemberBytes = 256LL << 20;    // one container member, expanded
    std::int64_t maxExpandedBytes = 4LL << 30;    // all members of one top-level source
    double maxRatio = 200.0;                      // expanded / compressed, for members over 1 MB
    std::int64_t maxDocumentBytes = 256LL << 20;  // a PDF or an Office file, read whole
};

// The bytes of one source and where it sits.
struct Blob {
    std::string_view bytes;
    Origin origin;  // origin.source names this source
    int depth = 0;  // 0 for a file the user gave or a folder held
};

class DecodeContext {
public:
    virtual ~DecodeContext() = default;
    // Decoded text, handed on to the finders.
    virtual void text(TextPiece piece) = 0;
    // A source inside this one (a container member, a mail attachment): it is
    // recognised by its content and decoded in turn. origin.source should be
    // "parent!member".
    virtual void nested(std::string_view bytes, Origin origin, int depth) = 0;
    // This source, or a part of it, could not be read.
    virtual void problem(std::string source, std::string reason) = 0;
    virtual bool cancelled() const = 0;
    virtual const Limits& limits() const = 0;
    // Bytes expanded so far from the top-level source that this one belongs
    // to; containers add to it and stop when limits().maxExpandedBytes is passed.
    virtual std::int64_t& expandedBytes() = 0;
};

}  // namespace harvest
