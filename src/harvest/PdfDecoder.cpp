// A PDF read with poppler-cpp: each page's text as a piece of its own, and
// the document's information dictionary, where authors leave addresses.
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

#include <QString>
#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <mutex>

#include "Decoders.h"

namespace harvest {
namespace {

// poppler writes its complaints about broken files to stderr unless told
// otherwise; a broken file is a problem of its own, said once.
void silencePoppler() {
    static std::once_flag once;
    std::call_once(
        once, [] { poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr); });
}

std::string utf8(const poppler::ustring& text) {
    const poppler::byte_array bytes = text.to_utf8();
    // Round trip through Qt: whatever poppler made of broken strings comes out
    // as valid UTF-8.
    return QString::fromUtf8(bytes.data(), qsizetype(bytes.size())).toStdString();
}

// A PDF ends with "%%EOF", give or take trailing whitespace and junk; one
// without it was cut off, though poppler may still rebuild what it can.
bool looksCutOff(std::string_view bytes) {
    const std::string_view tail = bytes.substr(bytes.size() - std::min<size_t>(bytes.size(), 1024));
    return tail.find("%%EOF") == std::string_view::npos;
}

class PageCursor {
public:
    explicit PageCursor(DecodeContext& context) : context_(context) {}
    void hand(TextPiece piece) {
        piece.firstLine = line_;
        piece.firstOffset = offset_;
        line_ += std::count(piece.text.begin(), piece.text.end(), '\n') + 1;
        offset_ += static_cast<std::int64_t>(piece.text.size()) + 1;
        context_.text(std::move(piece));
    }

private:
    DecodeContext& context_;
    std::int64_t line_ = 1;
    std::int64_t offset_ = 0;
};

void readPdf(const Blob& blob, DecodeContext& context) {
    const std::string& source = blob.origin.source;
    const std::int64_t maxBytes = context.limits().maxDocumentBytes;
    if (static_cast<std::int64_t>(blob.bytes.size()) > std::min<std::int64_t>(maxBytes, INT_MAX)) {
        context.problem(source,
                        "PDF larger than " + std::to_string(maxBytes >> 20) + " MB; not read");
        return;
    }
    silencePoppler();
    std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(blob.bytes.data(), int(blob.bytes.size())));
    if (!document) {
        context.problem(source, "damaged PDF: it does not open");
        return;
    }
    // unlock() answers whether the document is still locked.
    if (document->is_locked() && document->unlock("", "")) {
        context.problem(source, "encrypted PDF: a password is needed");
        return;
    }
    if (looksCutOff(blob.bytes)) {
        context.problem(source, "damaged PDF: it is cut off; read what could be");
    }
    PageCursor cursor(context);
    const int pages = document->pages();
    for (int index = 0; index < pages && !context.cancelled(); ++index) {
        std::unique_ptr<poppler::page> page(document->create_page(index));
        if (!page) {
            context.problem(source, "page " + std::to_string(index + 1) + " could not be read");
            continue;
        }
        TextPiece piece;
        piece.origin = blob.origin;
        piece.origin.page = index + 1;
        piece.text = utf8(page->text());
        if (!piece.text.empty()) {
            cursor.hand(std::move(piece));
        }
    }
    static constexpr std::array<const char*, 6> kInfo = {"Author", "Creator", "Producer",
                                                         "Title",  "Subject", "Keywords"};
    TextPiece info;
    info.origin = blob.origin;
    info.origin.field = "metadata";
    for (const char* key : kInfo) {
        const std::string value = utf8(document->info_key(key));
        if (!value.empty()) {
            info.text += value + "\n";
        }
    }
    if (!info.text.empty()) {
        cursor.hand(std::move(info));
    }
}

}  // namespace

void decodePdf(const Blob& blob, DecodeContext& context) {
    try {
        readPdf(blob, context);
    } catch (const std::exception& error) {
        context.problem(blob.origin.source, std::string("damaged PDF: ") + error.what());
    }
}

}  // namespace harvest
