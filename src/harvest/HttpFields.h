#pragma once
// Reading the head of an HTTP answer: its status and fields, the media type
// and charset of Content-Type, HTTP dates and Retry-After. Servers write
// these loosely, so the readers accept bare LF line ends, folded lines, any
// case and stray spaces, and turn anything they cannot read into "none"
// rather than a guess.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace harvest {

struct HttpHead {
    int status = 0;
    // Fields in the order sent: names in lower case, values trimmed. A
    // folded line (one starting with a space or tab) continues the value
    // before it.
    std::vector<std::pair<std::string, std::string>> fields;

    // The first value of a field, "" when there is none.
    std::string value(std::string_view name) const;
    // Every value of a field, in order.
    std::vector<std::string> values(std::string_view name) const;
    bool has(std::string_view name) const;
};

// The status line and fields of an answer, without the empty line that ends
// them; nullopt when the first line is not "HTTP/<version> <3 digits>".
std::optional<HttpHead> ParseHttpHead(std::string_view head);

// Content-Type split into its media type and charset, both in lower case and
// without quotes or parameters: "Text/HTML; charset=\"UTF-8\"" gives
// {"text/html", "utf-8"}.
std::pair<std::string, std::string> SplitContentType(std::string_view value);

// Seconds since 1970 (UTC) of an HTTP date in any of its three forms:
// "Sun, 06 Nov 1994 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT" and
// "Sun Nov  6 08:49:37 1994". The weekday is not checked.
std::optional<std::int64_t> ParseHttpDate(std::string_view text);

// The wait a Retry-After field asks for, in seconds: delta-seconds as they
// are, or a date less `now` (seconds since 1970), never below zero.
std::optional<double> ParseRetryAfter(std::string_view value, std::int64_t now);

// A byte count as people read it: "16 MB", "64 KB", "1000 bytes".
std::string ByteCountText(std::int64_t bytes);

}  // namespace harvest
