#pragma once
// A streaming HTML tokenizer: it reads a page once, front to back, and hands
// its text, tags and comments to a handler as it meets them, without building
// a tree. The next '<' or '&' is found sixteen bytes at a time and the plain
// runs of text between them are handed on whole.
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace harvest {

struct HtmlAttribute {
    std::string_view name;   // lower case
    std::string_view value;  // character references decoded
};

// What the tokenizer hands on. The views are valid only during the call.
class HtmlHandler {
public:
    virtual ~HtmlHandler() = default;
    // Character data, references decoded, in as many calls as it takes.
    virtual void text(std::string_view text) = 0;
    // The content of a raw text element (<script>, <style>, <xmp>, ... as it
    // stands; <title> and <textarea> with references decoded).
    virtual void rawText(std::string_view element, std::string_view text) {
        (void)element;
        this->text(text);
    }
    // A start tag: its name in lower case and its attributes, the first of
    // each name only.
    virtual void startTag(std::string_view name, std::span<const HtmlAttribute> attributes) = 0;
    virtual void endTag(std::string_view name) = 0;
    // A comment, or what HTML reads as one ("<?xml ...>", "<!x>").
    virtual void comment(std::string_view text) = 0;
    // Whether text is wanted now; when not, runs of text are skipped unread.
    virtual bool wantsText() const { return true; }
    // Whether to go on; checked after every tag.
    virtual bool wantsMore() const { return true; }
};

class HtmlTokenizer {
public:
    // html must be valid UTF-8 and stay alive while run() reads it.
    explicit HtmlTokenizer(std::string_view html) : in_(html) {}

    // Reads the page to its end (or until the handler has had enough).
    void run(HtmlHandler& handler);

private:
    std::string_view in_;
    std::size_t pos_ = 0;
    int foreignDepth_ = 0;  // inside <svg> or <math>, where CDATA sections are text
    std::string decoded_;   // a run of text or a value with its references decoded
    std::string tagName_;
    std::string arena_;  // lower-cased names and decoded values of the current tag
    struct Span {
        bool owned;  // in arena_, else in in_
        std::size_t start, size;
    };
    struct RawAttribute {
        Span name, value;
    };
    std::vector<RawAttribute> raw_;
    std::vector<HtmlAttribute> attributes_;

    std::size_t find(char c, std::size_t from) const;
    void textRun(HtmlHandler& handler);
    void markup(HtmlHandler& handler);
    void tag(HtmlHandler& handler, bool end);
    bool attributes(std::size_t& at, bool& selfClosing);
    Span lowered(std::size_t start, std::size_t size);
    Span attributeValue(std::size_t start, std::size_t size);
    std::string_view view(const Span& span) const;
    void rawText(HtmlHandler& handler, std::string_view name, bool references);
    void commentUntil(HtmlHandler& handler, std::size_t start, std::string_view close, bool dashes);
    void decodeInto(std::string_view in, bool attribute, std::string& out) const;
};

// name == literal for the short names of tags and attributes, compared
// inline: a comparison of runtime length would be a call to memcmp, and it
// is made for every tag of a page.
template <std::size_t N>
constexpr bool isName(std::string_view name, const char (&literal)[N]) {
    if (name.size() != N - 1) {
        return false;
    }
    for (std::size_t i = 0; i + 1 < N; ++i) {
        if (name[i] != literal[i]) {
            return false;
        }
    }
    return true;
}

// a == b for short strings, by a loop the compiler keeps inline.
inline bool sameShort(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i]) {
            return false;
        }
    }
    return true;
}

// Decodes the character reference at in[0] == '&' into out and returns how
// many bytes it took; 0 when it is not one (the '&' is then plain text). In
// an attribute value a legacy name without ';' followed by a letter, a digit
// or '=' is left as it is, as browsers do ("?a=1&copy=2").
std::size_t decodeReference(std::string_view in, bool attribute, std::string& out);

}  // namespace harvest
