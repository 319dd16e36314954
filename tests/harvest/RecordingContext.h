#pragma once
// A decode context for tests: it keeps the text, nested sources and problems a
// decoder hands it, and can decode nested sources with a decoder of the test's
// choosing.
#include <functional>
#include <string>
#include <vector>

#include "DecodeContext.h"

namespace harvest {

struct NestedSource {
    std::string bytes;
    Origin origin;
    int depth = 0;
};

class RecordingContext : public DecodeContext {
public:
    std::vector<TextPiece> pieces;
    std::vector<NestedSource> nestedSources;
    std::vector<Problem> problems;
    Limits limitsInUse;
    std::int64_t expanded = 0;
    bool cancel = false;
    // When set, nested sources are also handed to it (for example a decoder).
    std::function<void(const Blob&, DecodeContext&)> onNested;

    void text(TextPiece piece) override { pieces.push_back(std::move(piece)); }
    void nested(std::string_view bytes, Origin origin, int depth) override {
        nestedSources.push_back({std::string(bytes), origin, depth});
        if (onNested) {
            onNested(Blob{bytes, std::move(origin), depth}, *this);
        }
    }
    void problem(std::string source, std::string reason) override {
        problems.push_back({std::move(source), std::move(reason)});
    }
    bool cancelled() const override { return cancel; }
    const Limits& limits() const override { return limitsInUse; }
    std::int64_t& expandedBytes() override { return expanded; }

    // Every piece's text joined by newlines, for tests that only look for words.
    std::string allText() const {
        std::string all;
        for (const TextPiece& p : pieces) {
            all += p.text;
            all += '\n';
        }
        return all;
    }
};

}  // namespace harvest
