#pragma once
// An mbox that arrives a block at a time, split into its messages as it comes
// (by the rules of MboxSplit.h) and each message decoded as decodeMbox
// decodes it, numbered the same. It holds one message and the bytes after it.
#include <cstdint>
#include <string>
#include <string_view>

#include "DecodeContext.h"

namespace harvest {

class MboxStream {
public:
    // depth: the mbox's own depth; a message larger than maxMessage bytes is
    // a problem of its own and skipped.
    MboxStream(Origin origin, int depth, std::int64_t maxMessage, DecodeContext& context);
    // Takes the next bytes; decodes every message they complete.
    void feed(std::string_view bytes);
    // Decodes the last message: the end of the mbox, or all that could be read.
    void finish();

private:
    void split(bool atEnd);
    void decode(std::string_view unit);
    void tooLarge();

    Origin origin_;
    int depth_;
    std::size_t maxMessage_;
    DecodeContext& context_;
    // buffer_ from start_ holds the message being read: from its "From "
    // line, or from the start of the mbox for text before the first one.
    std::string buffer_;
    std::size_t start_ = 0;
    bool begun_ = false;          // whether the first separator has been looked for
    bool separated_ = false;      // whether the message starts with its "From " line
    bool skipping_ = false;       // the message is too large: its bytes are dropped
    std::size_t searchFrom_ = 0;  // where to look on for the next separator, from start_
    int number_ = 0;
};

}  // namespace harvest
