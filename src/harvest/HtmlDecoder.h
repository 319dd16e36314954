#pragma once
// HTML as text for the finders; shared with the mail decoder, which hands on
// the HTML parts of a message already converted to UTF-8.
#include <string>
#include <string_view>
#include <vector>

#include "DecodeContext.h"

namespace harvest {

// Decodes HTML that is already UTF-8 (a mail's HTML part converted by its
// declared charset), so any <meta> charset in it no longer applies. Hands on
// the document text, then every attribute value, one a line, numbered as if
// it followed the text after a newline; each in pieces of about a megabyte
// cut at line ends, numbered as one text. A piece's name hints are those of
// the mailto: links that end in it (and the last few of the piece before).
void decodeHtmlUtf8(std::string_view utf8, const Origin& origin, DecodeContext& context);

// The charset a <meta charset> or <meta http-equiv content="...; charset=...">
// within the first 1024 bytes declares, or empty.
std::string metaCharset(std::string_view bytes);

// The recipients of a mailto: link: the addresses of its path and of its to,
// cc and bcc query fields, percent-decoded. Empty for any other link.
std::vector<std::string> mailtoRecipients(std::string_view href);

}  // namespace harvest
