// HTML through gumbo: the text a reader sees (plus scripts and comments, where
// addresses hide too), the attribute values, and the names mailto: links give
// their addresses.
#include "HtmlDecoder.h"

#include <gumbo.h>

#include <algorithm>
#include <cctype>
#include <memory>

#include "Decoders.h"
#include "PercentEscapes.h"
#include "TextDecoder.h"

namespace harvest {
namespace {

// Elements that start a line of their own; every other element (b, span, a,
// an unknown one, ...) runs on with the text around it.
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

bool isBlock(GumboTag tag) {
    const std::string_view name = gumbo_normalized_tagname(tag);
    return std::find(std::begin(kBlockTags), std::end(kBlockTags), name) != std::end(kBlockTags);
}

// Deeper than real pages go, shallow enough for gumbo to stay quick.
constexpr int kMaxNesting = 4096;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

void endLine(std::string& s) {
    if (!s.empty() && s.back() != '\n') {
        s += '\n';
    }
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

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && isSpace(s.front())) {
        s.remove_prefix(1);
    }
    while (!s.empty() && isSpace(s.back())) {
        s.remove_suffix(1);
    }
    return s;
}

std::string lower(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    return out;
}

// Adds the addresses of a comma-separated mailto list ("a@x.org,b@y.org").
void addRecipients(std::string_view list, std::vector<std::string>& out) {
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        const std::string decoded = percentDecoded(list.substr(0, comma));
        std::string_view address = trimmed(decoded);
        // "Ann Lee <ann@x.org>" is not what mailto: allows, but it is written.
        const std::size_t open = address.find('<');
        const std::size_t close = address.rfind('>');
        if (open != std::string_view::npos && close != std::string_view::npos && open < close) {
            address = trimmed(address.substr(open + 1, close - open - 1));
        }
        if (address.find('@') != std::string_view::npos) {
            out.push_back(cleanUtf8(address));
        }
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
    }
}

// Walks the tree depth first without recursion, since a hostile page can nest
// elements deeper than a thread's stack allows.
class HtmlWalk {
public:
    std::string text;
    std::string attributes;
    std::vector<NameHint> hints;

    void run(const GumboNode* root) {
        stack_.push_back({root, false, 0, {}});
        while (!stack_.empty()) {
            Frame frame = std::move(stack_.back());
            stack_.pop_back();
            if (frame.closing) {
                close(frame);
            } else {
                open(frame.node);
            }
        }
    }

private:
    struct Frame {
        const GumboNode* node;
        bool closing;
        std::size_t textStart;                // for a mailto: link, where its text starts
        std::vector<std::string> recipients;  // for a mailto: link
    };
    std::vector<Frame> stack_;

    void pushChildren(const GumboVector& children) {
        for (unsigned i = children.length; i-- > 0;) {
            stack_.push_back({static_cast<const GumboNode*>(children.data[i]), false, 0, {}});
        }
    }

    void open(const GumboNode* node) {
        switch (node->type) {
            case GUMBO_NODE_DOCUMENT:
                pushChildren(node->v.document.children);
                return;
            case GUMBO_NODE_TEXT:
            case GUMBO_NODE_CDATA:
            case GUMBO_NODE_WHITESPACE:
                text += node->v.text.text;
                return;
            case GUMBO_NODE_COMMENT:
                endLine(text);
                text += node->v.text.text;
                endLine(text);
                return;
            case GUMBO_NODE_ELEMENT:
            case GUMBO_NODE_TEMPLATE:
                openElement(node);
                return;
        }
    }

    void openElement(const GumboNode* node) {
        const GumboElement& element = node->v.element;
        const GumboVector& attrs = element.attributes;
        for (unsigned i = 0; i < attrs.length; ++i) {
            const auto* attr = static_cast<const GumboAttribute*>(attrs.data[i]);
            if (attr->value && *attr->value) {
                attributes += attr->value;
                attributes += '\n';
            }
        }
        if (element.tag == GUMBO_TAG_STYLE) {
            return;  // CSS: "@media", "@import" and the like, never an address
        }
        if (isBlock(element.tag)) {
            endLine(text);
        }
        Frame closing{node, true, text.size(), {}};
        if (element.tag == GUMBO_TAG_A) {
            if (const GumboAttribute* href = gumbo_get_attribute(&attrs, "href")) {
                closing.recipients = mailtoRecipients(href->value);
            }
        }
        stack_.push_back(std::move(closing));
        pushChildren(element.children);
    }

    void close(const Frame& frame) {
        if (!frame.recipients.empty()) {
            // The link's text names its addresses, unless it is an address itself.
            std::string name = collapsed(std::string_view(text).substr(frame.textStart));
            if (!name.empty() && name.find('@') == std::string::npos) {
                for (const std::string& address : frame.recipients) {
                    hints.push_back({address, name});
                }
            }
        }
        if (isBlock(frame.node->v.element.tag)) {
            endLine(text);
        }
    }
};

// Elements that never hold others, or that the parser closes when the next
// of their kind opens: they add nothing to the depth of the tree.
constexpr std::string_view kFlatTags[] = {"area",  "base",  "br", "col",     "dd",   "embed",  "hr",
                                          "img",   "input", "li", "link",    "meta", "option", "p",
                                          "param", "rp",    "rt", "source",  "td",   "th",     "tr",
                                          "track", "wbr",   "dt", "optgroup"};

// How deep the elements of a page nest, at most (unclosed elements count as
// nested). Deep nesting makes gumbo slow (quadratic) and, past tens of
// thousands of levels, overflows the stack as it frees the tree.
bool nestsDeeperThan(std::string_view html, int limit) {
    int depth = 0;
    for (std::size_t at = html.find('<'); at != std::string_view::npos;
         at = html.find('<', at + 1)) {
        const bool closing = at + 1 < html.size() && html[at + 1] == '/';
        const std::size_t nameStart = at + (closing ? 2 : 1);
        std::size_t nameEnd = nameStart;
        while (nameEnd < html.size() && std::isalnum(static_cast<unsigned char>(html[nameEnd]))) {
            ++nameEnd;
        }
        if (nameEnd == nameStart) {
            continue;
        }
        const std::string name = lower(html.substr(nameStart, nameEnd - nameStart));
        if (std::find(std::begin(kFlatTags), std::end(kFlatTags), name) != std::end(kFlatTags)) {
            continue;
        }
        if (closing) {
            depth = std::max(0, depth - 1);
        } else if (++depth > limit) {
            return true;
        }
    }
    return false;
}

std::int64_t lineCount(std::string_view s) {
    return static_cast<std::int64_t>(std::count(s.begin(), s.end(), '\n'));
}

}  // namespace

std::vector<std::string> mailtoRecipients(std::string_view href) {
    std::vector<std::string> out;
    href = trimmed(href);
    if (href.size() < 7 || lower(href.substr(0, 7)) != "mailto:") {
        return out;
    }
    href.remove_prefix(7);
    const std::size_t question = href.find('?');
    addRecipients(href.substr(0, question), out);
    std::string_view query =
        question == std::string_view::npos ? std::string_view() : href.substr(question + 1);
    while (!query.empty()) {
        const std::size_t amp = query.find('&');
        const std::string_view field = query.substr(0, amp);
        const std::size_t eq = field.find('=');
        if (eq != std::string_view::npos) {
            const std::string key = lower(percentDecoded(field.substr(0, eq)));
            if (key == "to" || key == "cc" || key == "bcc") {
                addRecipients(field.substr(eq + 1), out);
            }
        }
        query = amp == std::string_view::npos ? std::string_view() : query.substr(amp + 1);
    }
    return out;
}

std::string metaCharset(std::string_view bytes) {
    const std::string head = lower(bytes.substr(0, 1024));
    for (std::size_t meta = head.find("<meta"); meta != std::string::npos;
         meta = head.find("<meta", meta + 5)) {
        const std::size_t end = std::min(head.find('>', meta), head.size());
        std::size_t at = head.find("charset", meta);
        if (at == std::string::npos || at > end) {
            continue;
        }
        at += 7;
        while (at < end && isSpace(head[at]))
            ++at;
        if (at >= end || head[at] != '=') {
            continue;
        }
        ++at;
        while (at < end && (isSpace(head[at]) || head[at] == '"' || head[at] == '\''))
            ++at;
        std::size_t stop = at;
        while (stop < end &&
               (std::isalnum(static_cast<unsigned char>(head[stop])) || head[stop] == '-' ||
                head[stop] == '_' || head[stop] == '.' || head[stop] == ':')) {
            ++stop;
        }
        std::string name = head.substr(at, stop - at);
        // A page that can declare its charset in ASCII is not UTF-16 (HTML's rule).
        if (name.starts_with("utf-16") || name.starts_with("utf-32")) {
            name = "utf-8";
        }
        if (!name.empty()) {
            return name;
        }
    }
    return {};
}

void decodeHtmlUtf8(std::string_view utf8, const Origin& origin, DecodeContext& context) {
    if (nestsDeeperThan(utf8, kMaxNesting)) {
        context.problem(origin.source, "HTML nested too deeply to parse; read as plain text");
        TextPiece piece;
        piece.origin = origin;
        piece.text = std::string(utf8);
        context.text(std::move(piece));
        return;
    }
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;
    auto destroy = [&options](GumboOutput* output) { gumbo_destroy_output(&options, output); };
    std::unique_ptr<GumboOutput, decltype(destroy)> output(
        gumbo_parse_with_options(&options, utf8.data(), utf8.size()), destroy);
    if (!output) {
        context.problem(origin.source, "the HTML could not be parsed");
        return;
    }
    HtmlWalk walk;
    walk.run(output->document);
    // The attribute values read as if they followed the text after a newline,
    // so the lines and offsets of the two pieces never overlap. The hints go
    // with both: the addresses are in the attribute piece, their names in the text.
    const bool separated = !walk.text.empty() && walk.text.back() != '\n';
    TextPiece attributes;
    attributes.origin = origin;
    attributes.firstLine = 1 + lineCount(walk.text) + (separated ? 1 : 0);
    attributes.firstOffset = static_cast<std::int64_t>(walk.text.size()) + (separated ? 1 : 0);
    attributes.text = std::move(walk.attributes);
    attributes.names = walk.hints;
    if (!walk.text.empty()) {
        TextPiece text;
        text.origin = origin;
        text.text = std::move(walk.text);
        text.names = std::move(walk.hints);
        context.text(std::move(text));
    }
    if (!attributes.text.empty()) {
        context.text(std::move(attributes));
    }
}

void decodeHtml(const Blob& blob, DecodeContext& context) {
    const std::string utf8 = toUtf8(blob.bytes, metaCharset(blob.bytes));
    decodeHtmlUtf8(utf8, blob.origin, context);
}

}  // namespace harvest
