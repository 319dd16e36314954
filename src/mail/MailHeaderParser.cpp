#include "MailHeaderParser.h"

#include <limits>

#include "MailList.h"
#include "RunErrors.h"
#include "TextOps.h"

namespace {

constexpr size_t kDisplayName = 0;
constexpr size_t kEmailAddress = 1;
constexpr size_t kRecipientKeyword = 2;
constexpr size_t kRecipientNo = 3;

constexpr size_t kContentKeyword = 0;
constexpr size_t kContent = 1;
constexpr size_t kContentNo = 2;

void TrimBlanksInPlace(std::string& s) {
    s = std::string(textops::Trim(s));
}

// Replaces every comma-CR-LF by a single comma in one pass from the left, as
// a replace-all does: text that the replacement itself forms is not looked at
// again.
std::string JoinCommaWraps(const std::string& text) {
    static constexpr std::string_view kWrap = ",\r\n";
    if (text.find(kWrap) == std::string::npos) {
        return text;
    }
    std::string out;
    out.reserve(text.size());
    size_t from = 0;
    for (size_t at = text.find(kWrap); at != std::string::npos; at = text.find(kWrap, from)) {
        out.append(text, from, at - from);
        out += ',';
        from = at + kWrap.size();
    }
    out.append(text, from, std::string::npos);
    return out;
}

std::string WithoutChars(std::string_view s, std::string_view drop) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        if (drop.find(c) == std::string_view::npos) {
            out += c;
        }
    }
    return out;
}

}  // namespace

void RaiseCounter(int16_t& counter) {
    if (counter == std::numeric_limits<int16_t>::max()) {
        throw OverflowError();
    }
    ++counter;
}

MailHeaderParser::MailHeaderParser() {
    rstHeaderNames.appendColumn("Name");
    rstRecipients.appendColumn("DisplayName");
    rstRecipients.appendColumn("EmailAddress");
    rstRecipients.appendColumn("keyword");
    rstRecipients.appendColumn("No");
    rstHeaderContent.appendColumn("keyword");
    rstHeaderContent.appendColumn("content");
    rstHeaderContent.appendColumn("No");
}

void MailHeaderParser::Reset(const MailListOptions& options) {
    rstHeaderNames.clearRows();
    rstRecipients.clearRows();
    rstHeaderContent.clearRows();
    for (const auto& [ticked, name] :
         {std::pair{options.chkFrom, "From:"}, std::pair{options.chkTo, "To:"},
          std::pair{options.chkCC, "CC:"}, std::pair{true, "Subject:"}, std::pair{true, "Sent:"}}) {
        if (ticked) {
            rstHeaderNames.setValue(rstHeaderNames.addRow(), 0, name);
        }
    }
    intRecipientNo = 0;
    intContentNo = 0;
    intEveryOccurrence = options.intEveryOccurrence;
    strHeaderName.clear();
    strWorkCopy_.clear();
    workStart_ = 0;
}

// Header positions are kept in size_t rather than in 16 bits: a header that
// stands beyond character 32,767 of a long message is found like any other
// instead of ending the file with an overflow.
void MailHeaderParser::ExtractHeader(std::string& text) {
    text = JoinCommaWraps(text);
    strWorkCopy_ = text;
    workStart_ = 0;
    if (intEveryOccurrence == 1) {
        ExtractEveryHeader();
        return;
    }
    const size_t intHeaderPos = textops::FindNoCase(strWorkCopy_, strHeaderName, 0);
    if (intHeaderPos != std::string::npos) {
        TakeHeaderAt(strWorkCopy_, intHeaderPos);
    }
}

void MailHeaderParser::ExtractEveryHeader() {
    const std::string_view text = strWorkCopy_;
    while (workStart_ <= text.size()) {
        const size_t intHeaderPos = textops::FindNoCase(text, strHeaderName, workStart_);
        if (intHeaderPos == std::string_view::npos) {
            return;
        }
        const size_t next = TakeHeaderAt(text, intHeaderPos);
        if (next == std::string_view::npos) {
            return;  // the last line has no line feed: the search ends here
        }
        workStart_ = next;
    }
}

size_t MailHeaderParser::TakeHeaderAt(std::string_view text, size_t pos) {
    const std::string_view remainder = text.substr(pos);
    const size_t lngScanPos = remainder.find('\n');
    if (lngScanPos == std::string_view::npos) {
        return std::string_view::npos;
    }
    const std::string_view line = remainder.substr(0, lngScanPos);
    // The found text matches the name's length, so the value is the line
    // less that many characters; it is not trimmed here.
    std::string value(line.substr(strHeaderName.size()));
    if (strHeaderName != "Sent:" && strHeaderName != "Subject:") {
        SplitRecipientList(value);
    } else {
        RaiseCounter(intContentNo);
        const size_t row = rstHeaderContent.addRow();
        rstHeaderContent.setValue(row, kContentKeyword, strHeaderName);
        rstHeaderContent.setValue(row, kContent, value);
        rstHeaderContent.setValue(row, kContentNo, std::to_string(intContentNo));
    }
    return pos + lngScanPos + 1;
}

// One person per pass: the first recipient is everything before the first
// comma, the rest starts two characters after it. A loop over a view of the
// list gives the same rows as taking the rest anew for every person, without
// copying the remaining list or nesting one call per person.
void MailHeaderParser::SplitRecipientList(std::string& list) {
    TrimBlanksInPlace(list);
    std::string_view rest = list;
    while (true) {
        rest = textops::Trim(rest);
        if (rest.empty() || rest == "\r") {
            return;
        }
        const size_t comma = rest.find(',');
        if (comma == std::string_view::npos) {
            std::string item(rest);
            ParseRecipient(item);
            return;
        }
        // A comma in the last place leaves a negative count of characters
        // for the rest, which is an invalid argument as for any text routine.
        if (comma + 1 == rest.size()) {
            throw InvalidArgumentError();
        }
        std::string first(rest.substr(0, comma));
        ParseRecipient(first);
        rest = rest.substr(comma + 2);
    }
}

void MailHeaderParser::ParseRecipient(std::string& item) {
    TrimBlanksInPlace(item);
    std::string displayName;
    std::string emailAddress;
    if (const size_t q1 = item.find('"'); q1 != std::string::npos) {
        const size_t found = item.find('"', q1 + 1);
        // q2 counts from 1, 0 when there is no closing quote.
        const size_t q2 = found == std::string::npos ? 0 : found + 1;
        displayName = WithoutChars(std::string_view(item).substr(0, q2), "\"");
        emailAddress = WithoutChars(std::string_view(item).substr(q2), "<>");
    } else if (const size_t s = item.find(' '); s != std::string::npos) {
        // The blank and the character after it (meant to be "<") go; the
        // closing ">" stays at the end of the address.
        displayName = item.substr(0, s);
        emailAddress = s + 2 <= item.size() ? item.substr(s + 2) : std::string();
    } else if (item.find('@') != std::string::npos) {
        emailAddress = item;
    } else {
        displayName = item;
    }
    RaiseCounter(intRecipientNo);
    const size_t row = rstRecipients.addRow();
    rstRecipients.setValue(row, kDisplayName, displayName);
    rstRecipients.setValue(row, kEmailAddress, emailAddress);
    rstRecipients.setValue(row, kRecipientKeyword, strHeaderName);
    rstRecipients.setValue(row, kRecipientNo, std::to_string(intRecipientNo));
}
