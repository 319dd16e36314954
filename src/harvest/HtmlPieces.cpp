#include "HtmlPieces.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "ByteScan.h"

namespace harvest {
namespace {

// How far back from the end of a full piece a line end (or a space) is looked for.
constexpr std::size_t kCutWindow = 64 << 10;
// Text is appended in parts of at most this size.
constexpr std::size_t kPart = 64 << 10;
// How many of a piece's last hints go with the next piece too.
constexpr std::size_t kCarriedHints = 64;

}  // namespace

HtmlPieceStream::HtmlPieceStream(const Origin& origin, DecodeContext& context, std::int64_t line,
                                 std::int64_t offset, std::size_t expected)
    : origin_(origin), context_(context), line_(line), offset_(offset) {
    text_.reserve(std::min(expected, kHtmlPieceBytes + kPart));
}

void HtmlPieceStream::finish() {
    if (!text_.empty() && !stopped) {
        handOn(text_.size(), true);
    }
}

std::pair<std::int64_t, std::int64_t> HtmlPieceStream::next() const {
    const bool separated = last() != '\n';
    return {line_ + (separated ? 1 : 0), offset_ + (separated ? 1 : 0)};
}

void HtmlPieceStream::appendInParts(std::string_view s) {
    while (s.size() > kPart) {
        text_.append(s.substr(0, kPart));
        s.remove_prefix(kPart);
        maybeHandOn();
    }
    text_.append(s);
    maybeHandOn();
}

// Hands on a piece once there is enough text for one.
void HtmlPieceStream::maybeHandOn() {
    if (text_.size() < kHtmlPieceBytes) {
        return;
    }
    const std::string_view window = std::string_view(text_).substr(text_.size() - kCutWindow);
    std::size_t cut = window.rfind('\n');
    if (cut == std::string_view::npos) {
        cut = window.find_last_of(" \t\r\f");
    }
    if (cut != std::string_view::npos) {
        handOn(text_.size() - kCutWindow + cut + 1, false);
        return;
    }
    // No place to cut in the window: at the end, but not inside a character.
    std::size_t lead = text_.size() - 1;
    while (lead > 0 && (static_cast<unsigned char>(text_[lead]) & 0xC0) == 0x80) {
        --lead;
    }
    const unsigned char c = static_cast<unsigned char>(text_[lead]);
    const std::size_t length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    cut = lead + length > text_.size() ? lead : text_.size();
    handOn(cut, false);
}

// The last hints of the piece before go along too: a link near the cut may
// name an address on the other side of it.
void HtmlPieceStream::handOn(std::size_t size, bool last) {
    TextPiece piece;
    piece.origin = origin_;
    piece.firstLine = line_;
    piece.firstOffset = offset_;
    if (last) {
        piece.text = std::move(text_);
        text_.clear();
    } else {
        piece.text.assign(text_, 0, size);
        text_.erase(0, size);
    }
    piece.names = std::move(previousHints_);
    const std::size_t carried = std::min(hints.size(), kCarriedHints);
    previousHints_.assign(hints.end() - static_cast<std::ptrdiff_t>(carried), hints.end());
    piece.names.insert(piece.names.end(), std::make_move_iterator(hints.begin()),
                       std::make_move_iterator(hints.end()));
    hints.clear();
    line_ += countNewlines(piece.text);
    offset_ += static_cast<std::int64_t>(piece.text.size());
    last_ = piece.text.back();
    context_.text(std::move(piece));
    stopped = context_.cancelled();
}

HtmlAttributeStore::~HtmlAttributeStore() {
    for (std::FILE* file : {valueFile_, hintFile_}) {
        if (file) {
            std::fclose(file);
        }
    }
}

void HtmlAttributeStore::handOn(const Origin& origin, DecodeContext& context, std::int64_t line,
                                std::int64_t offset) {
    HtmlPieceStream out(origin, context, line, offset, kHtmlPieceBytes + kPart);
    if (!valueFile_ && buffer_.size() < kHtmlPieceBytes) {
        // One piece: it takes the buffer as it is.
        out.take(std::move(buffer_));
        for (Hint& h : hints_) {
            out.hints.push_back(std::move(h.hint));
        }
        out.finish();
        return;
    }
    // The values in parts, from memory or from the file, each with the hints
    // of the links whose href ends in it or before.
    std::size_t nextInMemory = 0;
    auto nextHint = [&]() -> std::optional<Hint> {
        if (valueFile_) {
            return readHint();
        }
        if (nextInMemory < hints_.size()) {
            return std::move(hints_[nextInMemory++]);
        }
        return std::nullopt;
    };
    std::string chunk;
    if (valueFile_) {
        spill();
        std::rewind(valueFile_);
        std::rewind(hintFile_);
        hintBytes_.clear();
        hintAt_ = 0;
        chunk.resize(kPart);
    }
    std::optional<Hint> next = nextHint();
    for (std::uint64_t at = 0; !out.stopped;) {
        std::string_view part;
        if (valueFile_) {
            part = std::string_view(chunk).substr(
                0, std::fread(chunk.data(), 1, chunk.size(), valueFile_));
        } else {
            part =
                std::string_view(buffer_).substr(std::min<std::size_t>(at, buffer_.size()), kPart);
        }
        if (part.empty()) {
            break;
        }
        at += part.size();
        for (; next && next->at <= at; next = nextHint()) {
            out.hints.push_back(std::move(next->hint));
        }
        out.append(part);
    }
    for (; next; next = nextHint()) {
        out.hints.push_back(std::move(next->hint));
    }
    out.finish();
}

void HtmlAttributeStore::spill() {
    if (inMemory_ || failed) {
        return;
    }
    if (!valueFile_) {
        valueFile_ = std::tmpfile();
        hintFile_ = std::tmpfile();
        if (!valueFile_ || !hintFile_) {
            inMemory_ = true;
            return;
        }
    }
    std::fwrite(buffer_.data(), 1, buffer_.size(), valueFile_);
    spilled_ += buffer_.size();
    buffer_.clear();
    // The hints as records of three numbers and two strings, written at once.
    std::string& records = hintBytes_;
    records.clear();
    for (const Hint& h : hints_) {
        const std::uint64_t header[3] = {h.at, h.hint.address.size(), h.hint.name.size()};
        records.append(reinterpret_cast<const char*>(header), sizeof header);
        records += h.hint.address;
        records += h.hint.name;
    }
    std::fwrite(records.data(), 1, records.size(), hintFile_);
    hints_.clear();
    failed = std::ferror(valueFile_) || std::ferror(hintFile_);
}

// The next record of the hint file, read through hintBytes_ in blocks.
std::optional<HtmlAttributeStore::Hint> HtmlAttributeStore::readHint() {
    auto have = [&](std::size_t n) {
        if (hintBytes_.size() - hintAt_ >= n) {
            return true;
        }
        hintBytes_.erase(0, hintAt_);
        hintAt_ = 0;
        while (hintBytes_.size() < n) {
            const std::size_t old = hintBytes_.size();
            hintBytes_.resize(old + std::max(n - old, kPart));
            const std::size_t got =
                std::fread(hintBytes_.data() + old, 1, hintBytes_.size() - old, hintFile_);
            hintBytes_.resize(old + got);
            if (got == 0) {
                return false;
            }
        }
        return true;
    };
    std::uint64_t header[3];
    if (!have(sizeof header)) {
        return std::nullopt;
    }
    std::memcpy(header, hintBytes_.data() + hintAt_, sizeof header);
    if (header[1] > (1u << 20) || header[2] > (1u << 20) ||
        !have(sizeof header + header[1] + header[2])) {
        return std::nullopt;
    }
    const char* at = hintBytes_.data() + hintAt_ + sizeof header;
    Hint h{header[0], {std::string(at, header[1]), std::string(at + header[1], header[2])}};
    hintAt_ += sizeof header + header[1] + header[2];
    return h;
}

}  // namespace harvest
