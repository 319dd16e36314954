#pragma once

#include <optional>
#include <string>

// The checks of the keyword entry dialog, in their order. Returns the message
// of the first check that fails, or nothing when the entry is acceptable.
std::optional<std::string> CheckKeywordEntry(const std::string& keyword,
                                             const std::string& positions);

// The lenient number test: an optionally signed whole or decimal number,
// spaces around it allowed.
bool IsNumeric(const std::string& text);

// The name under which a keyword typed in the dialog is stored: one space in
// front and one behind, so that it matches whole words only.
std::string StoredKeywordName(const std::string& typed);
