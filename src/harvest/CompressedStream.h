#pragma once
// A large file that is one compressed stream (gzip, bzip2, xz, zstd, lzma, ...)
// of a plain text or an mbox, harvested straight from disk a block at a time,
// in memory that does not grow with the file.
#include <string>

#include "DecodeContext.h"
#include "TextStream.h"

namespace harvest {

// Harvests the file at path, a file the user gave or a folder held (depth 0;
// origin.source names it), when it is one compressed stream whose content is
// plain text or an mbox. The content is named origin.source + "!" + its name,
// as decodeArchive names it, and handed on as decoding it whole would:
// text in pieces cut at line ends (see TextStream), with the lines and offsets
// of the whole text; an mbox message by message, numbered as decodeMbox
// numbers them. The context's limits apply to what the stream expands to; a
// stream damaged halfway is one problem, and what came before it stays
// handed on. Returns false, having handed nothing on, for anything else
// (another kind of content, a tar or other archive, text in UTF-16 or binary,
// a file that is not compressed or cannot be read): the caller then reads the
// file the usual way.
bool decodeCompressedFile(const std::string& path, const Origin& origin, DecodeContext& context,
                          const StreamCuts& cuts = {});

}  // namespace harvest
