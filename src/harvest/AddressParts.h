#pragma once
// The pieces an e-mail address is read from, around its "@": the local part
// read backwards, the domain read forwards, with the dots written as "." or
// spelled out, and the escapes (URL, HTML) it may be written with.
#include <cstddef>
#include <string>
#include <string_view>

#include "PercentEscapes.h"

namespace harvest {

constexpr std::size_t kMaxLocalBytes = 64;

// How the dots of an address may be written: only as ".", also as "[dot]",
// "(dot)" or "{dot}", or also as " dot ".
enum class DotSpelling { Plain, Bracketed, Spelled };

std::size_t skipSpaces(std::string_view text, std::size_t pos, std::size_t most);

// The bracket that closes open ("[", "(" or "{").
char closing(char open);

// Where the local part that ends at `end` starts, or npos when there is none
// or it is malformed. Quotes and dots before it are punctuation.
std::size_t localStart(std::string_view text, std::size_t end);

struct DomainText {
    std::string name;  // labels joined by dots, as written
    std::size_t end = 0;
    int spelledDots = 0;  // " dot " separators
};

// Reads the labels of a domain from pos; false when there are none or too
// many bytes.
bool scanDomain(std::string_view text, std::size_t pos, DotSpelling dots, DomainText& out);

// "ann@mail.riverside.\nexample.org": the domain that ends at end goes on
// after a line break, and what is before the break is only part of it.
bool continuesOnNextLine(std::string_view text, std::size_t end);

// The length of "&#64;", "&#x40;" or "&commat;" at pos, or 0.
std::size_t entityAtLength(std::string_view text, std::size_t pos);

// "%3Cann@x.org", "J%C3%BCrgen@x.de": a local part written with URL escapes is
// read decoded, and only the tail that is a local part counts. start moves to
// where that tail begins in the text. False when nothing valid is left.
bool decodeLocalEscapes(std::string& local, std::size_t& start);

// Where a spelled-out dot ("[dot]", "(dot)", " dot ") that ends at pos
// starts, or npos.
std::size_t spelledDotBefore(std::string_view text, std::size_t pos, DotSpelling dots);

}  // namespace harvest
