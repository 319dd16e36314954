#pragma once
// Bytes in any common encoding as valid UTF-8, shared by the text, HTML and
// mail decoders.
#include <string>
#include <string_view>

namespace harvest {

// Converts bytes to valid UTF-8. A byte-order mark (UTF-8, UTF-16, UTF-32)
// wins; then charsetHint when it names a charset iconv knows; then the bytes
// tell: UTF-16 by its pattern of NUL bytes, a mostly binary blob, valid (or
// mostly valid) UTF-8, what libuchardet recognises, else Windows-1252.
// Bytes that cannot be converted, NUL and the other control characters but
// tab, newline, carriage return and form feed each become a space, so that
// text next to them stays a word of its own.
std::string toUtf8(std::string_view bytes, std::string_view charsetHint = {});

// UTF-8 as it should be: every invalid byte and every control character
// (except tab, newline, carriage return, form feed) replaced by a space.
std::string cleanUtf8(std::string_view bytes);

}  // namespace harvest
