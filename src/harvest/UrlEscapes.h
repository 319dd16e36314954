#pragma once
// One spelling for percent-escapes in URL paths, so that two spellings of the
// same path compare equal: "%7e" and "~" are one character, "%2f" and "%2F"
// one escape.
#include <string>
#include <string_view>

namespace harvest {

// Decodes the escapes of unreserved characters (letters, digits, "-._~"),
// writes the hex digits of every other escape in upper case, and escapes what
// may not stand bare in a URL: bytes from 0x80 up, controls, space, and a "%"
// that starts no escape. Every other character is kept as it is.
std::string normalisedEscapes(std::string_view text);

}  // namespace harvest
