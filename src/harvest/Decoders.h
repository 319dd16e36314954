#pragma once
// The decoders, one per kind of source. Each reads blob.bytes whole and hands
// what it finds to the context; none throws.
#include "DecodeContext.h"

namespace harvest {

// Text in any common encoding (UTF-8, UTF-16 with or without a byte-order
// mark, Windows-1252/Latin-1 or what libuchardet recognises), as UTF-8.
void decodeText(const Blob& blob, DecodeContext& context);
// HTML: text, attribute values and mailto: links, entities decoded.
void decodeHtml(const Blob& blob, DecodeContext& context);
// One mail message (RFC 5322 / MIME).
void decodeMail(const Blob& blob, DecodeContext& context);
// An mbox file: every message, numbered from 1.
void decodeMbox(const Blob& blob, DecodeContext& context);
// A PDF: the text of each page.
void decodePdf(const Blob& blob, DecodeContext& context);
// A zip file: an Office or OpenDocument file or an EPUB is read as a
// document, any other zip as a container.
void decodeZip(const Blob& blob, DecodeContext& context);
// tar, gzip, bzip2, xz, 7z: the members, or the one stream, as sources.
void decodeArchive(const Blob& blob, DecodeContext& context);
// A WARC web archive: each record's payload as a source named by its target URI.
void decodeWarc(const Blob& blob, DecodeContext& context);

}  // namespace harvest
