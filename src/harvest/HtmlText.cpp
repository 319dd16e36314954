// HTML as the finders read it: the text a reader sees (plus scripts and
// comments, where addresses hide too), the attribute values, and the names
// mailto: links give their addresses. Memory stays bounded whatever the size
// of the page: text goes on in pieces of about a megabyte as it is read
// (HtmlPieces.h).
#include <algorithm>
#include <cstdint>
#include <span>

#include "HtmlDecoder.h"
#include "HtmlPieces.h"
#include "HtmlTokenizer.h"

namespace harvest {
namespace {

// Attribute values follow the text, so they are kept until it ends; past
// this much they go to a temporary file. More would cost more: memory touched
// for the first time is slower to fill than a temporary file is to write.
constexpr std::size_t kAttributeBuffer = 1 << 20;
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
        if (sameShort(kBlockTags[i], name)) {
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
            if (isName(a.name, "href")) {
                recipients = mailtoRecipients(a.value);
            }
        }
    }
    // The link's text names its addresses, unless it is an address itself.
    void close(std::vector<NameHint>& out) {
        const std::string name = tooLong ? std::string() : collapsed(text);
        if (!name.empty() && name.find('@') == std::string::npos) {
            for (std::string& address : recipients) {
                out.push_back({std::move(address), name});
            }
        }
        recipients.clear();
        text.clear();
        tooLong = false;
    }
};

// The first pass: the text in pieces, and the attribute values kept for after it.
class PageText : public HtmlHandler {
public:
    PageText(const Origin& origin, DecodeContext& context, std::size_t size)
        : out(origin, context, 1, 0, size), attributes(kAttributeBuffer, size) {}

    HtmlPieceStream out;
    HtmlAttributeStore attributes;

    void text(std::string_view s) override { append(s); }
    void rawText(std::string_view element, std::string_view s) override {
        if (!isName(element, "style")) {  // CSS: "@media", "@import" and the like, never an address
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
            openBlocks_[block] += isName(name, "br") || isName(name, "hr") ? 0 : 1;
        }
        if (isName(name, "a")) {
            closeLink();
            link_.start(attrs);
        }
    }
    void endTag(std::string_view name) override {
        if (isName(name, "a")) {
            closeLink();
        }
        // What follows </body> or </html> is still read as part of the body.
        const int block = isName(name, "body") || isName(name, "html") ? -1 : blockIndex(name);
        if (block >= 0 && (openBlocks_[block] > 0 || isName(name, "p") || isName(name, "br"))) {
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
    PageText page(origin, context, utf8.size());
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
