// HTML as the finders read it: the text a reader sees (plus scripts and
// comments, where addresses hide too), the attribute values, and the names
// mailto: links give their addresses. Memory stays bounded whatever the size
// of the page: text goes on in pieces of about a megabyte as it is read.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>

#include "HtmlDecoder.h"
#include "HtmlTokenizer.h"

namespace harvest {
namespace {

// Text is handed on in pieces of about this size, cut at a line end.
constexpr std::size_t kPieceBytes = 1 << 20;
// How far back from the end of a full piece a line end (or a space) is looked for.
constexpr std::size_t kCutWindow = 64 << 10;
// Attribute values follow the text, so they are kept until it ends; past this
// much they go to a temporary file.
constexpr std::size_t kAttributeBuffer = 1 << 20;
// Text is appended in parts of at most this size.
constexpr std::size_t kPart = 64 << 10;
// How many of a piece's last hints go with the next piece too.
constexpr std::size_t kCarriedHints = 64;
// Link text longer than this is not a name.
constexpr std::size_t kLongestLinkText = 1024;

// Elements that start a line of their own; every other element (b, span, a,
// an unknown one, ...) runs on with the text around it. Sorted.
constexpr std::string_view kBlockTags[] = {
    "address",  "article",  "aside",      "blockquote", "body",   "br",       "caption",
    "center",   "dd",       "details",    "dialog",     "dir",    "div",      "dl",
    "dt",       "fieldset", "figcaption", "figure",     "footer", "form",     "frame",
    "frameset", "h1",       "h2",         "h3",         "h4",     "h5",       "h6",
    "head",     "header",   "hgroup",     "hr",         "html",   "iframe",   "legend",
    "li",       "listing",  "main",       "menu",       "nav",    "noscript", "ol",
    "optgroup", "option",   "p",          "plaintext",  "pre",    "script",   "section",
    "select",   "summary",  "table",      "tbody",      "td",     "template", "textarea",
    "tfoot",    "th",       "thead",      "title",      "tr",     "ul",       "xmp"};
static_assert(std::is_sorted(std::begin(kBlockTags), std::end(kBlockTags)));
constexpr std::size_t kBlockCount = std::size(kBlockTags);

// Where the block tags of each first letter start in kBlockTags; looked up
// twice for every tag of a page, so without a binary search's string compares.
struct BlockLetters {
    std::uint8_t start[27] = {};
    constexpr BlockLetters() {
        std::size_t i = 0;
        for (int letter = 0; letter < 26; ++letter) {
            start[letter] = static_cast<std::uint8_t>(i);
            while (i < kBlockCount && kBlockTags[i][0] == 'a' + letter) {
                ++i;
            }
        }
        start[26] = static_cast<std::uint8_t>(i);
    }
};
constexpr BlockLetters kBlockLetters;

int blockIndex(std::string_view name) {
    if (name.empty() || name[0] < 'a' || name[0] > 'z') {
        return -1;
    }
    const int letter = name[0] - 'a';
    for (int i = kBlockLetters.start[letter]; i < kBlockLetters.start[letter + 1]; ++i) {
        if (kBlockTags[i].size() == name.size() && kBlockTags[i] == name) {
            return i;
        }
    }
    return -1;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

// Runs of white space as one space, none at either end.
std::string collapsed(std::string_view s) {
    std::string out;
    bool gap = false;
    for (const char c : s) {
        if (isSpace(c)) {
            gap = !out.empty();
        } else {
            if (gap) {
                out += ' ';
                gap = false;
            }
            out += c;
        }
    }
    return out;
}

// One decoded text handed on in pieces as it grows, numbered as one text.
class PieceStream {
public:
    PieceStream(const Origin& origin, DecodeContext& context, std::int64_t line,
                std::int64_t offset)
        : origin_(origin), context_(context), line_(line), offset_(offset) {}

    std::string text;             // not yet handed on
    std::vector<NameHint> hints;  // made since the last piece
    bool stopped = false;         // the run was cancelled

    // The last character so far; a newline for none, so that nothing starts a line.
    char last() const { return !text.empty() ? text.back() : last_; }

    // Hands on a piece once there is enough text for one.
    void maybeHandOn() {
        if (text.size() < kPieceBytes) {
            return;
        }
        const std::string_view window = std::string_view(text).substr(text.size() - kCutWindow);
        std::size_t cut = window.rfind('\n');
        if (cut == std::string_view::npos) {
            cut = window.find_last_of(" \t\r\f");
        }
        if (cut != std::string_view::npos) {
            handOn(text.size() - kCutWindow + cut + 1);
            return;
        }
        // No place to cut in the window: at the end, but not inside a character.
        std::size_t lead = text.size() - 1;
        while (lead > 0 && (static_cast<unsigned char>(text[lead]) & 0xC0) == 0x80) {
            --lead;
        }
        const unsigned char c = static_cast<unsigned char>(text[lead]);
        const std::size_t length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
        cut = lead + length > text.size() ? lead : text.size();
        handOn(cut);
    }

    void finish() {
        if (!text.empty() && !stopped) {
            handOn(text.size());
        }
    }

    // Adds text, a long run in parts so that no piece grows much past its size.
    void append(std::string_view s) {
        while (s.size() > kPart) {
            text.append(s.substr(0, kPart));
            s.remove_prefix(kPart);
            maybeHandOn();
        }
        text.append(s);
        maybeHandOn();
    }

    // Where a text that followed this one after a line break would start.
    std::pair<std::int64_t, std::int64_t> next() const {
        const bool separated = last() != '\n';
        return {line_ + (separated ? 1 : 0), offset_ + (separated ? 1 : 0)};
    }

private:
    const Origin& origin_;
    DecodeContext& context_;
    std::int64_t line_;
    std::int64_t offset_;
    char last_ = '\n';
    std::vector<NameHint> previousHints_;

    // The last hints of the piece before go along too: a link near the cut
    // may name an address on the other side of it.
    void handOn(std::size_t size) {
        TextPiece piece;
        piece.origin = origin_;
        piece.firstLine = line_;
        piece.firstOffset = offset_;
        // The piece takes the buffer; only what follows the cut is copied.
        std::string rest = text.substr(size);
        text.resize(size);
        piece.text = std::move(text);
        text = std::move(rest);
        text.reserve(kPieceBytes + kPart);
        piece.names = std::move(previousHints_);
        piece.names.insert(piece.names.end(), hints.begin(), hints.end());
        const std::size_t carried = std::min(hints.size(), kCarriedHints);
        previousHints_.assign(
            std::make_move_iterator(hints.end() - static_cast<std::ptrdiff_t>(carried)),
            std::make_move_iterator(hints.end()));
        hints.clear();
        line_ += std::count(piece.text.begin(), piece.text.end(), '\n');
        offset_ += static_cast<std::int64_t>(piece.text.size());
        last_ = piece.text.back();
        context_.text(std::move(piece));
        stopped = context_.cancelled();
    }
};

// The open <a> with a mailto: href, collecting its text as a name.
struct OpenLink {
    std::vector<std::string> recipients;
    std::string text;
    bool tooLong = false;

    bool open() const { return !recipients.empty(); }
    void add(std::string_view s) {
        if (open() && !tooLong) {
            tooLong = text.size() + s.size() > kLongestLinkText;
            text.append(s.substr(0, tooLong ? 0 : s.size()));
        }
    }
    void start(std::span<const HtmlAttribute> attributes) {
        for (const HtmlAttribute& a : attributes) {
            if (a.name == "href") {
                recipients = mailtoRecipients(a.value);
            }
        }
    }
    // The link's text names its addresses, unless it is an address itself.
    void close(std::vector<NameHint>& out) {
        const std::string name = tooLong ? std::string() : collapsed(text);
        if (!name.empty() && name.find('@') == std::string::npos) {
            for (const std::string& address : recipients) {
                out.push_back({address, name});
            }
        }
        recipients.clear();
        text.clear();
        tooLong = false;
    }
};

// The attribute values of a page, kept for after its text with the hints of
// the mailto: links among them: in memory up to kAttributeBuffer, past that
// in unnamed temporary files, read back in pieces.
class AttributeStore {
public:
    AttributeStore() = default;
    AttributeStore(const AttributeStore&) = delete;
    AttributeStore& operator=(const AttributeStore&) = delete;
    ~AttributeStore() {
        for (std::FILE* file : {values_, hints_}) {
            if (file) {
                std::fclose(file);
            }
        }
    }

    bool failed = false;  // a temporary file could not be written; values were lost

    void add(std::string_view value) {
        if (!value.empty()) {
            buffer_.append(value);
            buffer_ += '\n';
            if (buffer_.size() > kAttributeBuffer) {
                spill();
            }
        }
    }
    void hint(const NameHint& hint) { hints.push_back({spilled_ + buffer_.size(), hint}); }

    void handOn(const Origin& origin, DecodeContext& context, std::int64_t line,
                std::int64_t offset) {
        PieceStream out(origin, context, line, offset);
        if (!values_) {
            out.text = std::move(buffer_);
            for (Hint& h : hints) {
                out.hints.push_back(std::move(h.hint));
            }
            out.finish();
            return;
        }
        spill();
        std::rewind(values_);
        std::rewind(hints_);
        std::optional<Hint> next = readHint();
        std::string chunk(kPart, '\0');
        std::uint64_t at = 0;
        for (std::size_t n; !out.stopped && (n = std::fread(chunk.data(), 1, kPart, values_)) > 0;
             at += n) {
            for (; next && next->at <= at + n; next = readHint()) {
                out.hints.push_back(std::move(next->hint));
            }
            out.append(std::string_view(chunk).substr(0, n));
        }
        for (; next; next = readHint()) {
            out.hints.push_back(std::move(next->hint));
        }
        out.finish();
    }

private:
    struct Hint {
        std::uint64_t at;  // where in the values the link's href ends
        NameHint hint;
    };
    std::vector<Hint> hints;
    std::string buffer_;
    std::uint64_t spilled_ = 0;  // bytes of values in values_
    std::FILE* values_ = nullptr;
    std::FILE* hints_ = nullptr;
    bool inMemory_ = false;  // no temporary file to be had: everything is kept here

    void spill() {
        if (inMemory_ || failed) {
            return;
        }
        if (!values_) {
            values_ = std::tmpfile();
            hints_ = std::tmpfile();
            if (!values_ || !hints_) {
                inMemory_ = true;
                return;
            }
        }
        std::fwrite(buffer_.data(), 1, buffer_.size(), values_);
        spilled_ += buffer_.size();
        buffer_.clear();
        for (const Hint& h : hints) {
            const std::uint64_t header[3] = {h.at, h.hint.address.size(), h.hint.name.size()};
            std::fwrite(header, sizeof header, 1, hints_);
            std::fwrite(h.hint.address.data(), 1, h.hint.address.size(), hints_);
            std::fwrite(h.hint.name.data(), 1, h.hint.name.size(), hints_);
        }
        hints.clear();
        failed = std::ferror(values_) || std::ferror(hints_);
    }

    std::optional<Hint> readHint() {
        std::uint64_t header[3];
        if (std::fread(header, sizeof header, 1, hints_) != 1 || header[1] > (1u << 20) ||
            header[2] > (1u << 20)) {
            return std::nullopt;
        }
        Hint h{header[0], {std::string(header[1], '\0'), std::string(header[2], '\0')}};
        if (std::fread(h.hint.address.data(), 1, header[1], hints_) != header[1] ||
            std::fread(h.hint.name.data(), 1, header[2], hints_) != header[2]) {
            return std::nullopt;
        }
        return h;
    }
};

// The first pass: the text in pieces, and the attribute values kept for after it.
class PageText : public HtmlHandler {
public:
    PageText(const Origin& origin, DecodeContext& context) : out(origin, context, 1, 0) {}

    PieceStream out;
    AttributeStore attributes;

    void text(std::string_view s) override { append(s); }
    void rawText(std::string_view element, std::string_view s) override {
        if (element != "style") {  // CSS: "@media", "@import" and the like, never an address
            append(s);
        }
    }
    void startTag(std::string_view name, std::span<const HtmlAttribute> attrs) override {
        for (const HtmlAttribute& a : attrs) {
            attributes.add(a.value);
        }
        const int block = blockIndex(name);
        if (block >= 0) {
            endLine();
            openBlocks_[block] += name == "br" || name == "hr" ? 0 : 1;
        }
        if (name == "a") {
            closeLink();
            link_.start(attrs);
        }
    }
    void endTag(std::string_view name) override {
        if (name == "a") {
            closeLink();
        }
        // What follows </body> or </html> is still read as part of the body.
        const int block = name == "body" || name == "html" ? -1 : blockIndex(name);
        if (block >= 0 && (openBlocks_[block] > 0 || name == "p" || name == "br")) {
            openBlocks_[block] -= openBlocks_[block] > 0 ? 1 : 0;
            endLine();
        }
    }
    void comment(std::string_view s) override {
        endLine();
        append(s);
        endLine();
    }
    bool wantsMore() const override { return !out.stopped; }

    void finish() {
        closeLink();
        out.finish();
    }

private:
    OpenLink link_;
    int openBlocks_[kBlockCount] = {};

    void append(std::string_view s) {
        out.append(s);
        link_.add(s);
    }
    void endLine() {
        if (out.last() != '\n') {
            append("\n");
        }
    }
    void closeLink() {
        if (link_.open()) {
            const std::size_t before = out.hints.size();
            link_.close(out.hints);
            for (std::size_t i = before; i < out.hints.size(); ++i) {
                attributes.hint(out.hints[i]);
            }
        }
    }
};

}  // namespace

void decodeHtmlUtf8(std::string_view utf8, const Origin& origin, DecodeContext& context) {
    PageText page(origin, context);
    HtmlTokenizer(utf8).run(page);
    page.finish();
    if (page.out.stopped) {
        return;
    }
    // The attribute values read as if they followed the text after a newline,
    // so the lines and offsets of the two never overlap. The hints go with
    // both: the addresses are in the attribute values, their names in the text.
    const auto [line, offset] = page.out.next();
    page.attributes.handOn(origin, context, line, offset);
    if (page.attributes.failed) {
        context.problem(origin.source,
                        "some attribute values were not read: no room for a temporary file");
    }
}

}  // namespace harvest
