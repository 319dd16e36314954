#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "Variant.h"

class EventPump;

// Cuts delimited blocks out of a page's mark-up: mailto targets, link
// targets, "scr=" attributes or every quoted string, chosen by one of the
// four mode calls. The blocks are read back by index from a table of 501
// entries.
class HtmlStrip {
public:
    static constexpr int kEntries = 501;

    explicit HtmlStrip(EventPump& pump) : pump_(pump) {}

    // The table's entry at index 0..500; other indexes raise SubscriptError.
    Variant aGet(int index) const;
    void aPut(int index, const Variant& value);

    void SetClassToFindEmails();
    void SetClassToFindAllBlocks();
    void SetClassToFindLinks();
    void SetClassToFindScr();  // "scr=", as spelled

    // Fills the table with the document's blocks. Appending skips one entry
    // first. A block beyond entry 500 raises SubscriptError; the blocks stored
    // until then stay.
    void StripDocument(const std::string& document, bool append);

    // The index at which the next block is written.
    int32_t blockCount() const { return blockCount_; }

    std::string DocumentData;  // for the caller's convenience; unused here

private:
    EventPump& pump_;
    std::string szBlockStart;
    std::string szBlockEnd;
    int32_t idMaxLenth = 0;
    int32_t blockCount_ = 0;
    std::array<Variant, kEntries> table_{};
};
