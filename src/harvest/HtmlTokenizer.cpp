// The tokenizer follows the HTML5 tokenizer where it matters for reading text
// (tags, attributes and their quoting, comments, raw text elements, character
// references) and leaves out what only a tree builder or a script engine
// needs: no tree, no implied elements, no script escapes.
#include "HtmlTokenizer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "ByteScan.h"
#include "HtmlEntities.h"

namespace harvest {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAlnum(char c) {
    return isAlpha(c) || isDigit(c);
}

char lowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

int hexValue(char c) {
    if (isDigit(c)) {
        return c - '0';
    }
    const char l = lowerAscii(c);
    return l >= 'a' && l <= 'f' ? l - 'a' + 10 : -1;
}

// s starts with prefix, ASCII letters in either case.
bool startsWithFolded(std::string_view s, std::string_view prefix) {
    if (s.size() < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (lowerAscii(s[i]) != prefix[i]) {
            return false;
        }
    }
    return true;
}

// What &#128; to &#159; mean on the web: the Windows-1252 characters (0: the
// control character itself).
constexpr std::uint16_t kWindows1252[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

void appendCodePoint(std::uint32_t c, std::string& out) {
    if (c == 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        c = 0xFFFD;
    } else if (c >= 0x80 && c <= 0x9F && kWindows1252[c - 0x80] != 0) {
        c = kWindows1252[c - 0x80];
    }
    // Control characters become spaces, as everywhere else in decoded text.
    if ((c < 0x20 && !isSpace(static_cast<char>(c))) || (c >= 0x7F && c <= 0x9F)) {
        c = ' ';
    }
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

std::size_t decodeNumeric(std::string_view in, std::string& out) {
    std::size_t at = 2;
    const bool hex = at < in.size() && (in[at] == 'x' || in[at] == 'X');
    at += hex ? 1 : 0;
    const std::size_t digits = at;
    std::uint32_t value = 0;
    for (; at < in.size(); ++at) {
        const int d = hex ? hexValue(in[at]) : (isDigit(in[at]) ? in[at] - '0' : -1);
        if (d < 0) {
            break;
        }
        value = std::min<std::uint32_t>(value * (hex ? 16 : 10) + static_cast<std::uint32_t>(d),
                                        0x110000);
    }
    if (at == digits) {
        return 0;
    }
    at += at < in.size() && in[at] == ';' ? 1 : 0;
    appendCodePoint(value, out);
    return at;
}

// Elements whose content is text up to their end tag, with references
// decoded (RCDATA) or not (raw text). <noscript> holds markup, as it does
// for a reader without scripts.
enum class Content { Markup, RawText, Rcdata, Plaintext };

Content contentOf(std::string_view name) {
    if (name.size() < 3 || std::string_view("inpstx").find(name[0]) == std::string_view::npos) {
        return Content::Markup;  // the quick answer for most tags
    }
    static constexpr std::string_view kRaw[] = {"iframe", "noembed", "noframes",
                                                "script", "style",   "xmp"};
    if (std::any_of(std::begin(kRaw), std::end(kRaw),
                    [&](std::string_view raw) { return sameShort(raw, name); })) {
        return Content::RawText;
    }
    if (isName(name, "textarea") || isName(name, "title")) {
        return Content::Rcdata;
    }
    return isName(name, "plaintext") ? Content::Plaintext : Content::Markup;
}

}  // namespace

std::size_t decodeReference(std::string_view in, bool attribute, std::string& out) {
    if (in.size() < 2) {
        return 0;
    }
    if (in[1] == '#') {
        return decodeNumeric(in, out);
    }
    std::size_t end = 1;
    while (end < in.size() && end <= kLongestEntityName && isAlnum(in[end])) {
        ++end;
    }
    const std::string_view name = in.substr(1, end - 1);
    if (name.empty()) {
        return 0;
    }
    if (end < in.size() && in[end] == ';') {
        // The common ones without a search of the table.
        static constexpr std::pair<std::string_view, std::string_view> kCommon[] = {
            {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"nbsp", "\xC2\xA0"}};
        for (const auto& [common, utf8] : kCommon) {
            if (sameShort(name, common)) {
                out += utf8;
                return end + 1;
            }
        }
        if (const HtmlEntity* entity = findHtmlEntity(name)) {
            out += entity->utf8;
            return end + 1;
        }
    }
    // The longest legacy name the text starts with: "&copy2024" is "©2024".
    for (std::size_t n = std::min(name.size(), kLongestBareEntityName); n > 0; --n) {
        const HtmlEntity* entity = findHtmlEntity(name.substr(0, n));
        if (entity && entity->bare) {
            const char next = n + 1 < in.size() ? in[n + 1] : ' ';
            if (attribute && (isAlnum(next) || next == '=')) {
                return 0;
            }
            out += entity->utf8;
            return n + 1;
        }
    }
    return 0;
}

std::size_t HtmlTokenizer::find(char c, std::size_t from) const {
    if (from >= in_.size()) {
        return in_.size();
    }
    const void* hit = std::memchr(in_.data() + from, c, in_.size() - from);
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - in_.data()) : in_.size();
}

void HtmlTokenizer::run(HtmlHandler& handler) {
    pos_ = 0;
    foreignDepth_ = 0;
    while (pos_ < in_.size()) {
        textRun(handler);
        if (pos_ < in_.size()) {
            markup(handler);
            if (!handler.wantsMore()) {
                return;
            }
        }
    }
}

// Text up to the next '<', its references decoded: one scan finds the next
// '<' or '&', and the plain run before it goes on whole.
void HtmlTokenizer::textRun(HtmlHandler& handler) {
    if (!handler.wantsText()) {
        pos_ = find('<', pos_);
        return;
    }
    while (pos_ < in_.size()) {
        const std::size_t stop = findMarkup(in_, pos_);
        if (stop > pos_) {
            handler.text(in_.substr(pos_, stop - pos_));
            pos_ = stop;
        }
        if (stop == in_.size() || in_[stop] == '<') {
            return;
        }
        // A reference never holds a '<', so the next one need not bound it.
        decoded_.clear();
        const std::size_t used = decodeReference(in_.substr(pos_, 64), false, decoded_);
        handler.text(used ? std::string_view(decoded_) : in_.substr(pos_, 1));
        pos_ += used ? used : 1;
    }
}

// At a '<': a tag, a comment, a doctype, or a '<' that is only text.
void HtmlTokenizer::markup(HtmlHandler& handler) {
    const std::string_view rest = in_.substr(pos_);
    const char next = rest.size() > 1 ? rest[1] : '\0';
    if (isAlpha(next)) {
        tag(handler, false);
    } else if (next == '/') {
        const char after = rest.size() > 2 ? rest[2] : '\0';
        if (isAlpha(after)) {
            tag(handler, true);
        } else if (after == '>') {
            pos_ += 3;
        } else if (rest.size() > 2) {
            commentUntil(handler, pos_ + 2, ">", false);
        } else {
            handler.text(rest);
            pos_ = in_.size();
        }
    } else if (next == '!') {
        if (rest.starts_with("<!--")) {
            commentUntil(handler, pos_ + 4, "-->", true);
        } else if (startsWithFolded(rest, "<!doctype")) {
            pos_ = std::min(find('>', pos_) + 1, in_.size());
        } else if (rest.starts_with("<![CDATA[") && foreignDepth_ > 0) {
            const std::size_t end = std::min(in_.find("]]>", pos_ + 9), in_.size());
            if (handler.wantsText()) {
                handler.text(in_.substr(pos_ + 9, end - pos_ - 9));
            }
            pos_ = std::min(end + 3, in_.size());
        } else {
            commentUntil(handler, pos_ + 2, ">", false);
        }
    } else if (next == '?') {
        commentUntil(handler, pos_ + 1, ">", false);
    } else {
        if (handler.wantsText()) {
            handler.text(rest.substr(0, 1));
        }
        ++pos_;
    }
}

// A comment from start to the next close ("-->", also "--!>" when dashes);
// "<!-->" and "<!--->" are empty ones. One left open runs to the end.
void HtmlTokenizer::commentUntil(HtmlHandler& handler, std::size_t start, std::string_view close,
                                 bool dashes) {
    std::size_t end = in_.size();
    std::size_t after = in_.size();
    if (dashes && in_.substr(start).starts_with(">")) {
        end = start;
        after = start + 1;
    } else if (dashes && in_.substr(start).starts_with("->")) {
        end = start;
        after = start + 2;
    } else if (dashes) {
        for (std::size_t at = in_.find("--", start); at != std::string_view::npos;
             at = in_.find("--", at + 1)) {
            const std::string_view tail = in_.substr(at + 2);
            if (tail.starts_with(">") || tail.starts_with("!>")) {
                end = at;
                after = at + 2 + (tail[0] == '>' ? 1 : 2);
                break;
            }
        }
    } else {
        end = std::min(in_.find(close, start), in_.size());
        after = std::min(end + close.size(), in_.size());
    }
    handler.comment(in_.substr(start, end - start));
    pos_ = after;
}

HtmlTokenizer::Span HtmlTokenizer::lowered(std::size_t start, std::size_t size) {
    const std::string_view s = in_.substr(start, size);
    if (std::none_of(s.begin(), s.end(), [](char c) { return c >= 'A' && c <= 'Z'; })) {
        return {false, start, size};
    }
    const std::size_t at = arena_.size();
    for (const char c : s) {
        arena_ += lowerAscii(c);
    }
    return {true, at, size};
}

HtmlTokenizer::Span HtmlTokenizer::attributeValue(std::size_t start, std::size_t size) {
    const std::string_view s = in_.substr(start, size);
    if (s.find('&') == std::string_view::npos) {
        return {false, start, size};
    }
    const std::size_t at = arena_.size();
    decodeInto(s, true, arena_);
    return {true, at, arena_.size() - at};
}

std::string_view HtmlTokenizer::view(const Span& span) const {
    return (span.owned ? std::string_view(arena_) : in_).substr(span.start, span.size);
}

void HtmlTokenizer::decodeInto(std::string_view in, bool attribute, std::string& out) const {
    for (std::size_t at = 0; at < in.size();) {
        const std::size_t amp = std::min(in.find('&', at), in.size());
        out.append(in.substr(at, amp - at));
        if (amp == in.size()) {
            return;
        }
        const std::size_t used = decodeReference(in.substr(amp), attribute, out);
        out.append(used ? 0 : 1, '&');
        at = amp + (used ? used : 1);
    }
}

// The attributes from at to the '>' that ends the tag; false when the page
// ends first (such a tag is dropped, as HTML does).
bool HtmlTokenizer::attributes(std::size_t& at, bool& selfClosing) {
    raw_.clear();
    arena_.clear();
    const std::size_t size = in_.size();
    while (true) {
        while (at < size &&
               (isSpace(in_[at]) || (in_[at] == '/' && at + 1 < size && in_[at + 1] != '>'))) {
            ++at;
        }
        if (at >= size || (in_[at] == '/' && at + 1 >= size)) {
            return false;
        }
        if (in_[at] == '>' || in_[at] == '/') {
            selfClosing = in_[at] == '/';
            at += selfClosing ? 2 : 1;
            return true;
        }
        const std::size_t nameStart = at++;
        while (at < size && !isSpace(in_[at]) && in_[at] != '/' && in_[at] != '>' &&
               in_[at] != '=') {
            ++at;
        }
        const Span name = lowered(nameStart, at - nameStart);
        std::size_t look = at;
        while (look < size && isSpace(in_[look])) {
            ++look;
        }
        Span value{false, at, 0};
        if (look < size && in_[look] == '=') {
            at = look + 1;
            while (at < size && isSpace(in_[at])) {
                ++at;
            }
            if (at < size && (in_[at] == '"' || in_[at] == '\'')) {
                const std::size_t close = find(in_[at], at + 1);
                if (close >= size) {
                    return false;
                }
                value = attributeValue(at + 1, close - at - 1);
                at = close + 1;
            } else {
                const std::size_t start = at;
                while (at < size && !isSpace(in_[at]) && in_[at] != '>') {
                    ++at;
                }
                value = attributeValue(start, at - start);
            }
        }
        const std::string_view nameText = view(name);
        if (std::none_of(raw_.begin(), raw_.end(),
                         [&](const RawAttribute& a) { return view(a.name) == nameText; })) {
            raw_.push_back({name, value});
        }
    }
}

void HtmlTokenizer::tag(HtmlHandler& handler, bool end) {
    const std::size_t nameStart = pos_ + (end ? 2 : 1);
    std::size_t at = nameStart;
    while (at < in_.size() && !isSpace(in_[at]) && in_[at] != '/' && in_[at] != '>') {
        ++at;
    }
    tagName_.resize(at - nameStart);
    std::transform(in_.begin() + static_cast<std::ptrdiff_t>(nameStart),
                   in_.begin() + static_cast<std::ptrdiff_t>(at), tagName_.begin(), lowerAscii);
    bool selfClosing = false;
    if (!attributes(at, selfClosing)) {
        pos_ = in_.size();
        return;
    }
    pos_ = at;
    const std::string_view name = tagName_;  // compared by size first, not by memcmp
    const bool foreignRoot = isName(name, "svg") || isName(name, "math");
    if (end) {
        foreignDepth_ -= foreignRoot && foreignDepth_ > 0 ? 1 : 0;
        handler.endTag(name);
        return;
    }
    attributes_.clear();
    for (const RawAttribute& a : raw_) {
        attributes_.push_back({view(a.name), view(a.value)});
    }
    handler.startTag(name, attributes_);
    if (foreignRoot || foreignDepth_ > 0) {
        foreignDepth_ += foreignRoot && !selfClosing ? 1 : 0;
        return;
    }
    // A newline right after these start tags is not part of their text.
    if (isName(name, "textarea") || isName(name, "pre") || isName(name, "listing")) {
        pos_ += in_.substr(pos_).starts_with("\r\n") ? 2 : in_.substr(pos_).starts_with("\n");
    }
    switch (contentOf(name)) {
        case Content::Markup:
            break;
        case Content::RawText:
            rawText(handler, name, false);
            break;
        case Content::Rcdata:
            rawText(handler, name, true);
            break;
        case Content::Plaintext:
            if (handler.wantsText()) {
                handler.text(in_.substr(pos_));
            }
            pos_ = in_.size();
            break;
    }
}

// The content of a raw text element, up to its end tag (left to be read as a tag).
void HtmlTokenizer::rawText(HtmlHandler& handler, std::string_view name, bool references) {
    std::size_t end = find('<', pos_);
    while (end < in_.size()) {
        const std::string_view rest = in_.substr(end);
        if (rest.size() > name.size() + 2 && rest[1] == '/' &&
            startsWithFolded(rest.substr(2), name)) {
            const char after = rest[name.size() + 2];
            if (isSpace(after) || after == '/' || after == '>') {
                break;
            }
        }
        end = find('<', end + 1);
    }
    const std::string_view content = in_.substr(pos_, end - pos_);
    if (!content.empty() && handler.wantsText()) {
        if (references && content.find('&') != std::string_view::npos) {
            decoded_.clear();
            decodeInto(content, false, decoded_);
            handler.rawText(name, decoded_);
        } else {
            handler.rawText(name, content);
        }
    }
    pos_ = end;
}

}  // namespace harvest
