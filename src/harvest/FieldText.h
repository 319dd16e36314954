#pragma once
// How one value is spelled in each output format: UTF-8 checks and the
// escaping rules of TSV, CSV, JSON and vCard. Every routine appends to `out`
// so that a writer can build a whole line in one buffer.
#include <cstddef>
#include <string>
#include <string_view>

namespace harvest::fieldtext {

// The length of the well-formed UTF-8 sequence that starts at s[at], or 0
// when the byte there starts none (a stray continuation byte, an overlong
// form, a surrogate, a code point past U+10FFFF, a cut sequence).
std::size_t utf8SequenceLength(std::string_view s, std::size_t at);
bool isValidUtf8(std::string_view s);
// Every byte that is not part of a well-formed sequence becomes U+FFFD.
void appendValidUtf8(std::string& out, std::string_view s);
std::string validUtf8(std::string_view s);

// Backslash, tab, newline and carriage return as "\\", "\t", "\n", "\r";
// a byte that is not valid UTF-8 as "\xNN".
void appendTsv(std::string& out, std::string_view s);
// Quoted (quotes doubled) when the value holds a comma, a quote, CR or LF.
void appendCsv(std::string& out, std::string_view s);
// A JSON string with its quotes; control characters as \u00XX.
void appendJsonString(std::string& out, std::string_view s);
// A vCard text value: backslash, comma, semicolon and newline escaped.
void appendVCardValue(std::string& out, std::string_view s);
// One content line folded at 75 octets (the continuation's leading space
// counts), never inside a UTF-8 sequence, each physical line ending in CRLF.
void appendFoldedLine(std::string& out, std::string_view line);
// At most `units` UTF-16 code units, cut between characters.
std::string_view cutToUtf16Units(std::string_view validUtf8, std::size_t units);

}  // namespace harvest::fieldtext
