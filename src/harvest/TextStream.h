#pragma once
// A long plain text that arrives a block at a time, handed on as pieces of
// decoded text cut at line ends, numbered as if the text were decoded whole.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "DecodeContext.h"

namespace harvest {

// How a streamed text is decoded, decided once from its first bytes and kept
// for every piece, so that no piece is guessed on its own.
struct StreamCharset {
    std::size_t skip = 0;  // a UTF-8 byte-order mark, dropped as the whole-text decoding does
    std::string hint;      // "utf-8", "windows-1252" or a charset iconv knows
};

// The charset toUtf8 would settle on for a text that starts with head (its
// first 64 KB, or all of it; whole says which). Nothing when the text cannot
// be cut by bytes: UTF-16 or UTF-32 (a mark, or NUL bytes) or binary.
std::optional<StreamCharset> streamCharset(std::string_view head, bool whole);

// Sizes of the pieces; the defaults suit any input, tests use smaller ones.
struct StreamCuts {
    std::int64_t pieceBytes = 1 << 20;   // a piece ends at the last line end before this...
    std::int64_t longLine = 64 << 10;    // ...found this far back, else the line is cut:
    std::int64_t cutLook = 4 << 10;      // at a byte no address holds, this far back
    std::int64_t readBytes = 256 << 10;  // what is read from the stream at a time
};

class TextStream {
public:
    TextStream(Origin origin, StreamCharset charset, const StreamCuts& cuts,
               DecodeContext& context);
    // Takes the next bytes of the text; hands on every piece they complete.
    void feed(std::string_view bytes);
    // Hands on what is left: the end of the text, or all that could be read.
    void finish();

private:
    void emit(std::string_view raw);

    Origin origin_;
    StreamCharset charset_;
    StreamCuts cuts_;
    DecodeContext& context_;
    std::string pending_;  // raw bytes not yet handed on
    std::int64_t line_ = 1;
    std::int64_t offset_ = 0;
};

}  // namespace harvest
