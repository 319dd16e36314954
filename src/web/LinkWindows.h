#pragma once

#include <gumbo.h>

#include <cstddef>
#include <string>
#include <string_view>

// Where a big page is cut into windows for its link scan (see
// LinkScanLimits): places at which the parser reading the whole page holds
// nothing open that would change the links of what follows.

// Where a window ends, and the start tags that open again, at the start of
// the next window, the elements that were open there.
struct Cut {
    size_t at;
    std::string reopen;
};

// The end of the window of `text` parsed as `root`, at or after `from` (the
// window's own first byte; what comes before reopens elements), and the
// start tags that open again what was open there.
Cut Boundary(const GumboNode* root, std::string_view text, size_t from);
