#include "TextStream.h"

#include <uchardet/uchardet.h>

#include <algorithm>
#include <memory>
#include <type_traits>

#include "TextDecoder.h"

namespace harvest {
namespace {

constexpr std::size_t kSampleBytes = 64 << 10;  // what toUtf8 itself samples

std::string detectedCharset(std::string_view sample) {
    std::unique_ptr<std::remove_pointer_t<uchardet_t>, void (*)(uchardet_t)> detector(
        uchardet_new(), uchardet_delete);
    if (!detector) {
        return {};
    }
    uchardet_handle_data(detector.get(), sample.data(), sample.size());
    uchardet_data_end(detector.get());
    const char* name = uchardet_get_charset(detector.get());
    return name ? std::string(name) : std::string();
}

// Bytes a piece must not start with: toUtf8 would take them for a byte-order
// mark and drop them, which the whole text's decoding does not do.
bool startsLikeMark(std::string_view rest) {
    using namespace std::string_view_literals;
    return rest.starts_with("\xEF\xBB\xBF"sv) || rest.starts_with("\xFF\xFE"sv) ||
           rest.starts_with("\xFE\xFF"sv) || rest.starts_with("\0\0\xFE\xFF"sv);
}

// A byte that no e-mail address, web address or run of digits holds.
bool isCutByte(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '<' || c == '>' || c == '"';
}

// Where the piece that starts text ends (text holds more than
// cuts.pieceBytes + 4 bytes): after the last line end before pieceBytes.
// A line longer than longLine there is cut after a space, tab or one of <>"
// in the last cutLook bytes before pieceBytes, else at pieceBytes itself (not
// inside a UTF-8 sequence). Only such a line is ever cut, and only there can
// a finding be lost: an e-mail or web address cannot hold those bytes, so it
// stays whole, but a phone number written with spaces may be cut in two, and
// an address in a run of more than cutLook bytes without them may be too.
std::size_t cutPoint(std::string_view text, const StreamCuts& cuts) {
    const auto limit = static_cast<std::size_t>(cuts.pieceBytes);
    const auto longLine = static_cast<std::size_t>(cuts.longLine);
    const std::size_t lineFloor = limit > longLine ? limit - longLine : 0;
    for (std::size_t nl = text.rfind('\n', limit - 1);
         nl != std::string_view::npos && nl >= lineFloor;
         nl = nl == 0 ? std::string_view::npos : text.rfind('\n', nl - 1)) {
        if (!startsLikeMark(text.substr(nl + 1))) {
            return nl + 1;
        }
    }
    const auto look = static_cast<std::size_t>(cuts.cutLook);
    const std::size_t lookFloor = limit > look ? limit - look : 0;
    for (std::size_t at = limit; at > lookFloor; --at) {
        if (isCutByte(text[at - 1]) && !startsLikeMark(text.substr(at))) {
            return at;
        }
    }
    std::size_t at = limit;
    while (at + 3 > limit && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) {
        --at;
    }
    return at;
}

}  // namespace

std::optional<StreamCharset> streamCharset(std::string_view head, bool whole) {
    using namespace std::string_view_literals;
    if (head.starts_with("\xEF\xBB\xBF"sv)) {
        return StreamCharset{3, "utf-8"};
    }
    if (head.starts_with("\xFF\xFE"sv) || head.starts_with("\xFE\xFF"sv) ||
        head.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    // toUtf8 itself is the judge: the charset is the one whose decoding of
    // the head equals toUtf8's own. The head ends at a line end, where no
    // character of these charsets is cut in two.
    std::string_view lines = head;
    if (!whole && head.rfind('\n') != std::string_view::npos) {
        lines = head.substr(0, head.rfind('\n') + 1);
    }
    const std::string reference = toUtf8(lines);
    if (reference == cleanUtf8(lines)) {
        return StreamCharset{0, "utf-8"};
    }
    if (reference == toUtf8(lines, "windows-1252")) {
        return StreamCharset{0, "windows-1252"};
    }
    const std::string detected = detectedCharset(head.substr(0, kSampleBytes));
    if (!detected.empty() && reference == toUtf8(lines, detected)) {
        return StreamCharset{0, detected};
    }
    // Binary, or a guess this head alone cannot repeat.
    return std::nullopt;
}

TextStream::TextStream(Origin origin, StreamCharset charset, const StreamCuts& cuts,
                       DecodeContext& context)
    : origin_(std::move(origin)), charset_(std::move(charset)), cuts_(cuts), context_(context) {
    cuts_.pieceBytes = std::max<std::int64_t>(cuts_.pieceBytes, 16);
}

void TextStream::feed(std::string_view bytes) {
    const std::size_t skip = std::min(charset_.skip, bytes.size());
    bytes.remove_prefix(skip);
    charset_.skip -= skip;
    pending_.append(bytes);
    // A few bytes past the piece tell whether the next one would start like
    // a byte-order mark.
    const auto piece = static_cast<std::size_t>(cuts_.pieceBytes);
    std::size_t start = 0;
    while (pending_.size() - start >= piece + 4) {
        const std::string_view rest = std::string_view(pending_).substr(start);
        const std::size_t cut = cutPoint(rest, cuts_);
        emit(rest.substr(0, cut));
        start += cut;
    }
    pending_.erase(0, start);
}

void TextStream::finish() {
    emit(pending_);
    pending_.clear();
    pending_.shrink_to_fit();
}

void TextStream::emit(std::string_view raw) {
    if (raw.empty()) {
        return;
    }
    TextPiece piece;
    piece.origin = origin_;
    piece.text = charset_.hint == "utf-8" ? cleanUtf8(raw) : toUtf8(raw, charset_.hint);
    piece.firstLine = line_;
    piece.firstOffset = offset_;
    line_ += std::count(piece.text.begin(), piece.text.end(), '\n');
    offset_ += static_cast<std::int64_t>(piece.text.size());
    context_.text(std::move(piece));
}

}  // namespace harvest
