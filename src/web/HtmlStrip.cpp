#include "HtmlStrip.h"

#include "EventPump.h"
#include "Stack.h"

namespace {

const std::string kQuote(1, '"');

// 1-based position of `needle` in `text` at or after `from`; 0 when absent.
size_t InStr(size_t from, const std::string& text, const std::string& needle) {
    const size_t at = text.find(needle, from - 1);
    return at == std::string::npos ? 0 : at + 1;
}

}  // namespace

Variant HtmlStrip::aGet(int index) const {
    if (index < 0 || index >= kEntries) {
        throw SubscriptError();
    }
    return table_[index];
}

void HtmlStrip::aPut(int index, const Variant& value) {
    if (index < 0 || index >= kEntries) {
        throw SubscriptError();
    }
    table_[index] = value;
}

void HtmlStrip::SetClassToFindEmails() {
    szBlockStart = "<a href=" + kQuote + "mailto:";
    szBlockEnd = kQuote;
    idMaxLenth = 30;
}

void HtmlStrip::SetClassToFindAllBlocks() {
    szBlockStart = kQuote;
    szBlockEnd = kQuote;
    idMaxLenth = 30;
}

void HtmlStrip::SetClassToFindLinks() {
    szBlockStart = "<a href=" + kQuote;
    szBlockEnd = kQuote;
    idMaxLenth = 30;
}

void HtmlStrip::SetClassToFindScr() {
    szBlockStart = "scr=" + kQuote;
    szBlockEnd = kQuote;
    idMaxLenth = 30;
}

void HtmlStrip::StripDocument(const std::string& document, bool append) {
    if (!append) {
        blockCount_ = 0;
    } else {
        ++blockCount_;
    }
    size_t pos = 1;
    for (;;) {
        const size_t start = InStr(pos, document, szBlockStart);
        if (start == 0) {
            break;
        }
        const size_t end = InStr(start + szBlockStart.size(), document, szBlockEnd);
        if (end == 0) {
            break;
        }
        // Start lies before end, so this holds for any length limit that is
        // not negative; the test is kept in this form.
        if (static_cast<int64_t>(start) - static_cast<int64_t>(end) <= idMaxLenth) {
            aPut(blockCount_, document.substr(start - 1, end - start));
            const std::string block = aGet(blockCount_).toText();
            const size_t quote = InStr(1, block, kQuote);
            aPut(blockCount_, block.substr(quote));
            ++blockCount_;
        }
        pos = end;
        pump_.yield();
        if (pos > document.size()) {
            break;
        }
    }
}
