#pragma once
// The page text as a full HTML5 parser (gumbo) and a walk of its tree give it:
// the reference the streaming tokenizer's text is checked against.
#include <string>
#include <string_view>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

struct GumboText {
    std::string text;        // blocks on lines of their own, inline elements run on
    std::string attributes;  // every attribute value, one a line
    std::vector<NameHint> hints;
};

GumboText gumboText(std::string_view utf8);

}  // namespace harvest
