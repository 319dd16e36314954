#include "CompressedStream.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include "ArchiveReading.h"
#include "MboxStream.h"
#include "SourceKind.h"

namespace harvest {
namespace {

constexpr std::size_t kHead = 64 << 10;       // of the content, to tell its kind and charset
constexpr std::size_t kNameBytes = 70 << 10;  // of the file: a gzip header's extra field and name
constexpr int kContentDepth = 1;              // the content of a file at depth 0

// A context for looking ahead: it keeps nothing and tells nothing, so that a
// file this path gives back to its caller has left no trace.
class LookingContext : public DecodeContext {
public:
    explicit LookingContext(const DecodeContext& real) : real_(real) {}
    void text(TextPiece) override {}
    void nested(std::string_view, Origin, int) override {}
    void problem(std::string, std::string) override {}
    bool cancelled() const override { return real_.cancelled(); }
    const Limits& limits() const override { return real_.limits(); }
    std::int64_t& expandedBytes() override { return expanded_; }

private:
    const DecodeContext& real_;
    std::int64_t expanded_ = 0;
};

struct Content {
    std::string head;    // the first kHead bytes
    bool whole = false;  // the head is all there is
};

// The head of the content of a compressed stream; nothing when the file is
// not one, or its first bytes cannot be expanded.
std::optional<Content> contentHead(const std::string& path, const Origin& origin,
                                   LookingContext& looking) {
    ArchiveReading reading(path, origin.source, looking, ArchiveFormats::Raw);
    if (!reading.next() || !reading.compressed()) {
        return std::nullopt;
    }
    Content content;
    content.head.resize(kHead);
    std::size_t got = 0;
    while (got < kHead) {
        const std::int64_t n = reading.readSome(
            content.head.data() + got, static_cast<std::int64_t>(kHead - got), origin.source);
        if (n < 0) {
            return std::nullopt;
        }
        if (n == 0) {
            content.whole = true;
            break;
        }
        got += static_cast<std::size_t>(n);
    }
    content.head.resize(got);
    if (got == 0) {
        return std::nullopt;
    }
    return content;
}

// Whether one of the archive formats decodeArchive tries first takes the
// content (a cpio, an ar, ... under the compression).
bool holdsArchive(const std::string& path, const Origin& origin, LookingContext& looking) {
    ArchiveReading reading(path, origin.source, looking, ArchiveFormats::Archives);
    return reading.next() || reading.format() != 0;
}

std::string fileHead(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(kNameBytes, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    return bytes;
}

}  // namespace

bool decodeCompressedFile(const std::string& path, const Origin& origin, DecodeContext& context,
                          const StreamCuts& cuts) {
    LookingContext looking(context);
    const std::optional<Content> content = contentHead(path, origin, looking);
    if (!content) {
        return false;
    }
    const SourceKind kind = recognise(content->head);
    std::optional<StreamCharset> charset;
    if (kind == SourceKind::Text) {
        charset = streamCharset(content->head, content->whole);
        if (!charset) {
            return false;
        }
    } else if (kind != SourceKind::Mbox) {
        return false;
    }
    if (holdsArchive(path, origin, looking)) {
        return false;
    }

    Origin inner;
    inner.source = origin.source + "!" + streamName(fileHead(path), origin.source);
    std::optional<TextStream> text;
    std::optional<MboxStream> mbox;
    if (charset) {
        text.emplace(inner, std::move(*charset), cuts, context);
    } else {
        mbox.emplace(inner, kContentDepth, context.limits().maxMemberBytes, context);
    }
    ArchiveReading reading(path, origin.source, context, ArchiveFormats::Raw);
    if (!reading.next()) {
        if (reading.damaged()) {  // it could be read a moment ago
            context.problem(origin.source, "damaged compressed stream: " + reading.error());
        }
        return true;
    }
    // Each block is taken as it comes; readSome applies the limits and
    // cancellation, and tells any damage, for every block.
    std::string block(static_cast<std::size_t>(std::max<std::int64_t>(cuts.readBytes, 4096)), '\0');
    for (;;) {
        const std::int64_t n =
            reading.readSome(block.data(), static_cast<std::int64_t>(block.size()), inner.source);
        if (n <= 0) {
            break;
        }
        const std::string_view bytes(block.data(), static_cast<std::size_t>(n));
        text ? text->feed(bytes) : mbox->feed(bytes);
    }
    text ? text->finish() : mbox->finish();
    return true;
}

}  // namespace harvest
