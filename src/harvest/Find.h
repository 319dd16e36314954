#pragma once
// A find before it becomes a sighting: what was found and the bytes of the
// piece's text it covers. Finders adds the name from hints, origin, line,
// offset and context. Kept small: a dense text makes a great many of these.
#include <cstddef>
#include <string>

#include "HarvestTypes.h"

namespace harvest {

struct Find {
    FindKind what = FindKind::Email;
    std::size_t start = 0;  // byte index in the piece's text
    std::size_t end = 0;    // one past the last byte
    // Of two finds over the same text the one ranked higher wins: a decoded
    // mailto: recipient over the raw text it was written as.
    int rank = 0;
    bool reserved = false;
    const char* kind = "";
    std::string address;
    std::string name;
    std::string domain;
};

}  // namespace harvest
