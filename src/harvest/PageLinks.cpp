#include "PageLinks.h"

#include <optional>
#include <string>

#include "ByteScan.h"
#include "HtmlTokenizer.h"
#include "PageLinkGatherer.h"

namespace harvest {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// How many bytes at p, where no valid UTF-8 sequence starts, one U+FFFD
// stands for: a lead byte with the continuation bytes that fit it, up to the
// first that does not (a sequence cut short is one), or the one byte.
std::size_t invalidRun(const unsigned char* p, std::size_t left) {
    const unsigned c = p[0];
    std::size_t size = 0;
    unsigned lo = 0x80, hi = 0xBF;  // the bounds of the second byte
    if (c >= 0xC2 && c <= 0xDF) {
        size = 2;
    } else if (c >= 0xE0 && c <= 0xEF) {
        size = 3;
        lo = c == 0xE0 ? 0xA0 : 0x80;
        hi = c == 0xED ? 0x9F : 0xBF;
    } else if (c >= 0xF0 && c <= 0xF4) {
        size = 4;
        lo = c == 0xF0 ? 0x90 : 0x80;
        hi = c == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 1;
    }
    std::size_t n = 1;
    if (n < left && p[n] >= lo && p[n] <= hi) {
        ++n;
        while (n < size && n < left && p[n] >= 0x80 && p[n] <= 0xBF) {
            ++n;
        }
    }
    return n;
}

// The page as valid UTF-8 when it is not: what is not valid UTF-8 becomes
// U+FFFD as the web's UTF-8 decoder replaces it, and every NUL becomes one
// too, as an HTML parser reads them. Nothing when the page can be read as it
// is.
std::optional<std::string> asValidUtf8(std::string_view html) {
    bool ascii = false;
    if (isCleanUtf8(html, ascii)) {
        return std::nullopt;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(html.data());
    std::optional<std::string> out;
    std::size_t copied = 0;  // html up to here is in out
    for (std::size_t at = 0; at < html.size();) {
        const std::size_t n = bytes[at] == 0 ? 0 : utf8SequenceLength(bytes + at, html.size() - at);
        if (n > 0) {
            at += n;
            continue;
        }
        if (!out) {
            out.emplace();
            out->reserve(html.size() + html.size() / 8);
        }
        out->append(html.substr(copied, at - copied));
        out->append(kReplacement);
        at += bytes[at] == 0 ? 1 : invalidRun(bytes + at, html.size() - at);
        copied = at;
    }
    if (out) {
        out->append(html.substr(copied));
    }
    return out;
}

// Hands the start tags on to the gatherer and skips everything else unread.
class StartTags : public HtmlHandler {
public:
    explicit StartTags(PageLinkGatherer& gatherer) : gatherer_(gatherer) {}

    void text(std::string_view) override {}
    void startTag(std::string_view name, std::span<const HtmlAttribute> attributes) override {
        gatherer_.startTag(name, attributes);
    }
    void endTag(std::string_view) override {}
    void comment(std::string_view) override {}
    bool wantsText() const override { return false; }

private:
    PageLinkGatherer& gatherer_;
};

}  // namespace

PageLinks pageLinks(std::string_view html, const QUrl& pageUrl, std::size_t maxLinks) {
    PageLinkGatherer gatherer;
    StartTags tags(gatherer);
    {
        const std::optional<std::string> valid = asValidUtf8(html);
        HtmlTokenizer(valid ? std::string_view(*valid) : html).run(tags);
    }
    return gatherer.finish(pageUrl, maxLinks);
}

}  // namespace harvest
