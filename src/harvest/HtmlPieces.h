#pragma once
// How the HTML decoder hands its text on: in pieces of about a megabyte, cut
// at line ends, numbered as one text, so that memory stays bounded whatever
// the size of the page; and the attribute values, kept until the text ends.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DecodeContext.h"

namespace harvest {

// Text is handed on in pieces of about this size, cut at a line end.
inline constexpr std::size_t kHtmlPieceBytes = 1 << 20;

// One decoded text handed on in pieces as it grows, numbered as one text. A
// long text is gathered in one buffer, filled again for every piece, and each
// full piece is copied out at its size: fresh memory is slow to touch, and the
// buffer is touched once. The last piece takes the buffer itself, so a page
// that makes one piece is never copied.
class HtmlPieceStream {
public:
    // expected: about how much text there will be, to size the buffer once.
    HtmlPieceStream(const Origin& origin, DecodeContext& context, std::int64_t line,
                    std::int64_t offset, std::size_t expected);

    std::vector<NameHint> hints;  // made since the last piece
    bool stopped = false;         // the run was cancelled

    // The last character so far; a newline for none, so that nothing starts a line.
    char last() const { return !text_.empty() ? text_.back() : last_; }

    // Adds text, a long run in parts so that no piece grows much past its size.
    void append(std::string_view s) {
        if (text_.size() + s.size() < kHtmlPieceBytes) {
            text_.append(s);
        } else {
            appendInParts(s);
        }
    }

    // Takes a whole text not handed on yet, as if appended to an empty stream.
    void take(std::string text) { text_ = std::move(text); }

    // Hands on what is left.
    void finish();

    // Where a text that followed this one after a line break would start.
    std::pair<std::int64_t, std::int64_t> next() const;

private:
    const Origin& origin_;
    DecodeContext& context_;
    std::string text_;  // not yet handed on
    std::int64_t line_;
    std::int64_t offset_;
    char last_ = '\n';
    std::vector<NameHint> previousHints_;

    void appendInParts(std::string_view s);
    void maybeHandOn();
    void handOn(std::size_t size, bool last);
};

// The attribute values of a page, one a line, kept for after its text with
// the hints of the mailto: links among them: in memory up to a limit, past
// that in unnamed temporary files, and handed on in pieces.
class HtmlAttributeStore {
public:
    // Values are kept in memory up to memoryLimit bytes; pageSize bounds how
    // much there can be, so that the buffer is sized once.
    HtmlAttributeStore(std::size_t memoryLimit, std::size_t pageSize) : memoryLimit_(memoryLimit) {
        buffer_.reserve(std::min(memoryLimit, pageSize) + 1);
    }
    HtmlAttributeStore(const HtmlAttributeStore&) = delete;
    HtmlAttributeStore& operator=(const HtmlAttributeStore&) = delete;
    ~HtmlAttributeStore();

    bool failed = false;  // a temporary file could not be written; values were lost

    void add(std::string_view value) {
        if (!value.empty()) {
            buffer_.append(value);
            buffer_ += '\n';
            if (buffer_.size() > memoryLimit_) {
                spill();
            }
        }
    }
    // A mailto: link's hint, going with the value added last.
    void hint(const NameHint& hint) { hints_.push_back({spilled_ + buffer_.size(), hint}); }

    void handOn(const Origin& origin, DecodeContext& context, std::int64_t line,
                std::int64_t offset);

private:
    struct Hint {
        std::uint64_t at;  // where in the values the link's href ends
        NameHint hint;
    };
    std::size_t memoryLimit_;
    std::vector<Hint> hints_;    // those not in hintFile_
    std::string buffer_;         // the values not in valueFile_
    std::uint64_t spilled_ = 0;  // bytes of values in valueFile_
    std::FILE* valueFile_ = nullptr;
    std::FILE* hintFile_ = nullptr;
    bool inMemory_ = false;   // no temporary file to be had: everything is kept here
    std::string hintBytes_;   // hint records on their way to or from hintFile_
    std::size_t hintAt_ = 0;  // the next record to read in hintBytes_

    void spill();
    std::optional<Hint> readHint();
};

}  // namespace harvest
