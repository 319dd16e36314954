#include "MboxStream.h"

#include <algorithm>

#include "Decoders.h"
#include "MailDecoder.h"
#include "MboxSplit.h"

namespace harvest {
namespace {

constexpr auto npos = std::string_view::npos;

// Whether a message may hold a line that mboxrd quoting changed (as decodeMbox
// asks before it unquotes).
bool mayBeQuoted(std::string_view message) {
    return message.starts_with('>') || message.find("\n>") != npos;
}

}  // namespace

MboxStream::MboxStream(Origin origin, int depth, std::int64_t maxMessage, DecodeContext& context)
    : origin_(std::move(origin)),
      depth_(depth),
      maxMessage_(static_cast<std::size_t>(std::max<std::int64_t>(maxMessage, 0))),
      context_(context) {}

void MboxStream::feed(std::string_view bytes) {
    if (start_ > 0) {
        buffer_.erase(0, start_);
        start_ = 0;
    }
    buffer_.append(bytes);
    split(false);
}

void MboxStream::finish() {
    split(true);
    buffer_.clear();
    buffer_.shrink_to_fit();
    start_ = 0;
}

void MboxStream::split(bool atEnd) {
    while (!context_.cancelled()) {
        const std::string_view unit = std::string_view(buffer_).substr(start_);
        if (!begun_) {
            if (unit.size() < 5 && !atEnd) {
                return;
            }
            begun_ = true;
            separated_ = unit.starts_with("From ");
        }
        std::size_t body = 0;
        if (separated_) {
            const std::size_t eol = unit.find('\n');
            body = eol == npos ? npos : eol + 1;
        }
        if (body == npos && atEnd) {
            return;  // a last "From " line without an end holds no message
        }
        // A "From " line is known for what it is once the line after it can
        // be seen (up to 80 bytes): every one before `settled` is. One found
        // to be a separator is one for sure, and every candidate before it
        // was seen with its next line, so the search resumes only over the
        // candidates after `settled`.
        const std::size_t settled = unit.size() >= 81 ? unit.rfind('\n', unit.size() - 81) : npos;
        std::size_t hit = npos;
        if (body != npos) {
            const std::size_t from = std::max({searchFrom_, body, std::size_t(1)});
            hit = nextMboxSeparator(unit, from);
            if (hit == npos && settled != npos) {
                searchFrom_ = std::max(from, settled + 1);
            }
        }
        if (hit != npos) {
            if (!skipping_) {
                decode(unit.substr(0, hit));
            }
            skipping_ = false;
            separated_ = true;
            searchFrom_ = 0;
            start_ += hit;
            continue;
        }
        if (atEnd) {
            if (!skipping_) {
                decode(unit);
            }
            return;
        }
        if (!skipping_ && unit.size() > maxMessage_) {
            tooLarge();
        }
        if (skipping_ && settled != npos && settled > 2) {
            // Only the bytes a separator check looks back at are kept.
            const std::size_t drop = settled - 2;
            start_ += drop;
            searchFrom_ = searchFrom_ > drop ? searchFrom_ - drop : 0;
            separated_ = false;
        }
        return;
    }
}

void MboxStream::tooLarge() {
    skipping_ = true;
    ++number_;
    context_.problem(origin_.source, "message " + std::to_string(number_) + ": larger than " +
                                         std::to_string(maxMessage_ >> 20) + " MB; skipped");
}

void MboxStream::decode(std::string_view unit) {
    std::string_view message = unit;
    if (separated_) {
        message.remove_prefix(unit.find('\n') + 1);
    } else if (message.find_first_not_of(" \t\r\n") == npos) {
        return;  // blank text before the first message
    }
    Origin origin = origin_;
    origin.message = ++number_;
    // decodeMail drops a leading "From " line: the message keeps its own, or
    // is given an empty one.
    if (separated_ && !mayBeQuoted(message)) {
        decodeMail(Blob{unit, std::move(origin), depth_}, context_);
        return;
    }
    std::string withLine = "From \n";
    if (mayBeQuoted(message)) {
        withLine += mail::unescapeFromLines(message);
    } else {
        withLine += message;
    }
    decodeMail(Blob{withLine, std::move(origin), depth_}, context_);
}

}  // namespace harvest
