#pragma once

#include <string>
#include <string_view>

// Byte-string helpers shared by the scanners, the mail parser and the tables. Positions are 0-based
// and std::string::npos means "not found". Case folding touches ASCII letters only.
namespace textops {

char FoldAscii(char c);

// First occurrence of `needle` at or after `from`, ignoring ASCII case. An
// empty needle is found at `from` when `from` lies within the text.
size_t FindNoCase(std::string_view text, std::string_view needle, size_t from = 0);

// Replaces every non-overlapping occurrence of `from`, scanning left to right.
// An empty `from` changes nothing. Returns the number of replacements.
size_t ReplaceAll(std::string& text, std::string_view from, std::string_view to,
                  bool ignoreCase = false);

// Spaces (and only spaces) removed from the ends.
std::string_view Trim(std::string_view text);
std::string_view TrimLeft(std::string_view text);
std::string_view TrimRight(std::string_view text);

// Spaces, tabs, carriage returns and line feeds removed from the ends, as
// around the value of a header field.
std::string_view TrimBlanks(std::string_view text);

// Whether the two are the same but for ASCII case.
bool EqualsNoCase(std::string_view a, std::string_view b);

}  // namespace textops
