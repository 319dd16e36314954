#pragma once
// Where in a text an address could be: one pass over the bytes that notes
// every place a finder has something to look at ("@", an entity, "%40", a
// bracket, " at ", a colon of "mailto:" or "://"). Prose without any of them
// is passed over many bytes at a time, and each finder then looks only at
// the places noted for it. A place is left out only where the finder would
// surely find nothing; the finders check every place noted again.
#include <cstddef>

#include <cstdint>
#include <string_view>
#include <vector>
#include "ByteScan.h"

namespace harvest {

struct Triggers {
    std::vector<std::size_t> at;           // "@"
    std::vector<std::size_t> entities;     // "&" followed by "#" or "c"
    std::vector<std::size_t> percents;     // "%40"
    std::vector<std::size_t> brackets[3];  // "[", "(" and "{"
    // " at " and " AT ", at the leading space, when the word after is followed
    // by " dot " or " DOT " (the finder takes " at " for "@" only then).
    std::vector<std::size_t> spelledLower;
    std::vector<std::size_t> spelledUpper;
    // ":" followed by "/" (a web address) or after "o" or "O" (of "mailto").
    std::vector<std::size_t> colons;

    void clear();
    // Gives back the room of a text with a great many triggers.
    void shrink();
};

// Fills out with the triggers of text, each list in the order of the text.
void scanTriggers(std::string_view text, Triggers& out);

}  // namespace harvest
