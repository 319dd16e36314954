#pragma once
// The HTML5 named character references ("&amp;", "&NotEqualTilde;", ...),
// generated from the standard's list by make-html-entities.py.
#include <cstddef>
#include <string_view>

namespace harvest {

struct HtmlEntity {
    std::string_view name;  // without "&" and ";"
    std::string_view utf8;  // what it stands for
    bool bare;              // also recognised without the ";" (the legacy ones)
};

// The reference named exactly name (case matters), or nullptr.
const HtmlEntity* findHtmlEntity(std::string_view name);

constexpr std::size_t kLongestEntityName = 31;
constexpr std::size_t kLongestBareEntityName = 6;

}  // namespace harvest
