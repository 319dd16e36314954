#pragma once
// Recognising what a source is from its first bytes, never from its name.
#include <string_view>

namespace harvest {

enum class SourceKind { Text, Html, Mail, Mbox, Pdf, Zip, Archive, Warc };

SourceKind recognise(std::string_view bytes);

// "text", "html", "mail", "mbox", "pdf", "zip", "archive", "warc"; a zip that
// is an Office or OpenDocument file or an EPUB is named "office",
// "opendocument" or "epub" (for the list of sources only).
const char* kindName(SourceKind kind, std::string_view bytes);

}  // namespace harvest
