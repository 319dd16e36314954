#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ResultTable.h"

struct MailListOptions;

// Raises a 16-bit counter by one; throws OverflowError instead of passing
// 32,767, leaving the counter as it was.
void RaiseCounter(int16_t& counter);

// Reads the header lines of a saved mail message into working tables.
//
// The parsing is purely textual: a header is found by searching the text for
// its name (ASCII case ignored, anywhere in the text, not only at a line
// start) and its value is the rest of that line, up to but not including the
// line feed, so a CR LF line keeps its CR. Address headers are split into
// persons at commas, subject and sent-time headers are kept whole.
class MailHeaderParser {
public:
    // Largest value a working-table field holds; longer values are cut.
    static constexpr size_t kFieldLength = 100;

    MailHeaderParser();

    // Starts a run: header names as the options tick them ("From:", "To:",
    // "CC:", then always "Subject:" and "Sent:"), empty recipient and content
    // tables, counters at 0, the every-occurrence flag from the options.
    void Reset(const MailListOptions& options);

    // Looks for `strHeaderName` in `text` and adds the rows it yields: the
    // first occurrence only, or every occurrence when intEveryOccurrence is 1.
    // Address headers wrapped after a comma (comma, CR, LF) are joined first,
    // in `text` itself: the joining stays for the later header names of the
    // same file, and each call joins again what the last one formed.
    void ExtractHeader(std::string& text);

    // The every-occurrence search over the working copy that ExtractHeader
    // prepared: every header line of the current name in the whole text.
    void ExtractEveryHeader();

    // Splits an address header's value at commas and parses each person.
    // `list` is trimmed of blanks in place. The separator is assumed to be
    // ", ": the comma and the character after it are dropped.
    void SplitRecipientList(std::string& list);

    // Splits one person into display name and address and adds one row to
    // rstRecipients under the current header name. `item` is trimmed of
    // blanks in place.
    void ParseRecipient(std::string& item);

    // Header names to look for, field "Name".
    ResultTable rstHeaderNames{kFieldLength};
    // One row per person: "DisplayName", "EmailAddress", "keyword", "No".
    ResultTable rstRecipients{kFieldLength};
    // One row per subject or sent-time header: "keyword", "content", "No".
    ResultTable rstHeaderContent{kFieldLength};

    // The header name being looked for (the current row of rstHeaderNames).
    std::string strHeaderName;

    int16_t intRecipientNo = 0;
    int16_t intContentNo = 0;
    int16_t intEveryOccurrence = 0;

private:
    // Handles the header line whose name starts at `pos` in `text`. Returns
    // the position just after the line's line feed, or npos when the line
    // has no line feed (then nothing is added).
    size_t TakeHeaderAt(std::string_view text, size_t pos);

    // The prepared text being searched, and where its unsearched part starts.
    // Advancing the offset stands for cutting the copy to the text after a
    // header line; it keeps the every-occurrence search linear.
    std::string strWorkCopy_;
    size_t workStart_ = 0;
};
