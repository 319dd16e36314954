#pragma once
// Harvests one source: recognises it, runs its decoder, and hands every piece
// of decoded text to the finders. Nested sources (members, attachments) come
// back here and are recognised in turn, down to the depth limit.
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "DecodeContext.h"
#include "Finders.h"
#include "SourceKind.h"

namespace harvest {

class SourceHarvest : public DecodeContext {
public:
    SourceHarvest(Finders& finders, const Limits& limits, const std::atomic<bool>& cancel,
                  std::vector<Sighting>& sightings, std::vector<Problem>& problems);

    // Decodes a source the user gave or a folder held (depth 0).
    void decode(const Blob& blob);
    // Decodes a source whose kind is known (a piece of a large text or mbox).
    void decodeAs(SourceKind kind, const Blob& blob);

    // Called after the finders have added a piece's sightings: a caller that
    // files them away at once keeps the memory of a large source bounded.
    std::function<void()> afterPiece;
    // The last line and the end offset of the text handed on so far: what
    // the next piece of a cut page numbers on from. Lines are counted only
    // with measureText set, as that costs a pass over the text.
    bool measureText = false;
    std::int64_t lastLine() const { return lastLine_; }
    std::int64_t textEnd() const { return textEnd_; }

    // Runs the finders over a piece and leaves it to the caller.
    void find(const TextPiece& piece);

    void text(TextPiece piece) override;
    void nested(std::string_view bytes, Origin origin, int depth) override;
    void problem(std::string source, std::string reason) override;
    bool cancelled() const override;
    const Limits& limits() const override { return limits_; }
    std::int64_t& expandedBytes() override { return expanded_; }

private:
    Finders& finders_;
    const Limits& limits_;
    const std::atomic<bool>& cancel_;
    std::vector<Sighting>& sightings_;
    std::vector<Problem>& problems_;
    std::int64_t expanded_ = 0;
    std::string tooDeep_;  // the last container whose members were too deep
    std::int64_t lastLine_ = 0;
    std::int64_t textEnd_ = 0;
};

}  // namespace harvest
