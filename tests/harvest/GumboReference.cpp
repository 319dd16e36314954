// The tree walk the HTML decoder used before it had a tokenizer of its own.
#include "GumboReference.h"

#include <gumbo.h>

#include <algorithm>
#include <memory>

#include "HtmlDecoder.h"

namespace harvest {
namespace {

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

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

void endLine(std::string& s) {
    if (!s.empty() && s.back() != '\n') {
        s += '\n';
    }
}

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

// Depth first without recursion, since a test page may nest deeply.
class HtmlWalk {
public:
    GumboText out;

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
        std::size_t textStart;
        std::vector<std::string> recipients;
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
                out.text += node->v.text.text;
                return;
            case GUMBO_NODE_COMMENT:
                endLine(out.text);
                out.text += node->v.text.text;
                endLine(out.text);
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
                out.attributes += attr->value;
                out.attributes += '\n';
            }
        }
        if (element.tag == GUMBO_TAG_STYLE) {
            return;
        }
        if (isBlock(element.tag)) {
            endLine(out.text);
        }
        Frame closing{node, true, out.text.size(), {}};
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
            std::string name = collapsed(std::string_view(out.text).substr(frame.textStart));
            if (!name.empty() && name.find('@') == std::string::npos) {
                for (const std::string& address : frame.recipients) {
                    out.hints.push_back({address, name});
                }
            }
        }
        if (isBlock(frame.node->v.element.tag)) {
            endLine(out.text);
        }
    }
};

}  // namespace

GumboText gumboText(std::string_view utf8) {
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;
    auto destroy = [&options](GumboOutput* output) { gumbo_destroy_output(&options, output); };
    std::unique_ptr<GumboOutput, decltype(destroy)> output(
        gumbo_parse_with_options(&options, utf8.data(), utf8.size()), destroy);
    HtmlWalk walk;
    if (output) {
        walk.run(output->document);
    }
    return std::move(walk.out);
}

}  // namespace harvest
