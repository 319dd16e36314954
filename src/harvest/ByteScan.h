#pragma once
// Scans over whole texts and pages, 16 bytes at a time (SSE2) or 32 (AVX2,
// where the processor has it): whether
// the bytes are clean UTF-8, where the next piece of markup or character
// reference starts, how many lines a text has.
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace harvest {

// The length of the valid UTF-8 sequence at p (at most left bytes), or 0.
std::size_t utf8SequenceLength(const unsigned char* p, std::size_t left);

// Valid UTF-8 without the control characters that decoding would replace
// (tab, line feed, form feed and carriage return are fine): such a text or
// page is read as it is, without a converted copy. ascii tells whether every byte is
// below 0x80 (meaningful only when the answer is true).
bool isCleanUtf8(std::string_view s, bool& ascii);

// The first '<' or '&' in s at or after from; s.size() for none.
std::size_t findMarkup(std::string_view s, std::size_t from);

// Whether the scans may use AVX2 on this processor.
bool hasAvx2();
// The number of line feeds in text.
std::int64_t countNewlines(std::string_view text);

}  // namespace harvest
