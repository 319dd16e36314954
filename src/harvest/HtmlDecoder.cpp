// HTML pages: their charset, and the mailto: links in them. The text itself
// is read by HtmlText.cpp.
#include "HtmlDecoder.h"

#include <algorithm>
#include <cctype>

#include "ByteScan.h"
#include "Decoders.h"
#include "PercentEscapes.h"
#include "TextDecoder.h"

namespace harvest {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
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

bool isPrintableAscii(std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

// Adds the addresses of a comma-separated mailto list ("a@x.org,b@y.org").
void addRecipients(std::string_view list, std::vector<std::string>& out) {
    std::string decoded;
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        std::string_view part = list.substr(0, comma);
        if (part.find('%') != std::string_view::npos) {
            decoded = percentDecoded(part);
            part = decoded;
        }
        std::string_view address = trimmed(part);
        // "Ann Lee <ann@x.org>" is not what mailto: allows, but it is written.
        const std::size_t open = address.find('<');
        const std::size_t close = address.rfind('>');
        if (open != std::string_view::npos && close != std::string_view::npos && open < close) {
            address = trimmed(address.substr(open + 1, close - open - 1));
        }
        if (address.find('@') != std::string_view::npos) {
            // Printable ASCII is clean as it stands.
            out.push_back(isPrintableAscii(address) ? std::string(address) : cleanUtf8(address));
        }
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
    }
}

// Charsets that read ASCII as ASCII, byte for byte.
bool asciiCompatible(const std::string& charset) {
    static constexpr std::string_view kNames[] = {"us-ascii", "ascii", "latin1",
                                                  "latin-1",  "utf-8", "utf8"};
    return charset.starts_with("iso-8859-") || charset.starts_with("windows-125") ||
           std::find(std::begin(kNames), std::end(kNames), charset) != std::end(kNames);
}

}  // namespace

std::vector<std::string> mailtoRecipients(std::string_view href) {
    std::vector<std::string> out;
    href = trimmed(href);
    if (href.size() < 7 || (href[0] != 'm' && href[0] != 'M') ||
        lower(href.substr(0, 7)) != "mailto:") {
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

void decodeHtml(const Blob& blob, DecodeContext& context) {
    // A page in clean UTF-8 (or ASCII under a charset that reads it as such) is
    // read in place; any other is converted whole first.
    std::string_view bytes = blob.bytes;
    std::string charset;
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
        charset = "utf-8";
    } else if (!bytes.starts_with("\xFF\xFE") && !bytes.starts_with("\xFE\xFF") &&
               !bytes.starts_with(std::string_view("\0\0\xFE\xFF", 4))) {
        charset = metaCharset(bytes);
    } else {
        charset = "utf-16";
    }
    bool ascii = false;
    const bool clean = isCleanUtf8(bytes, ascii);
    if (clean && (charset.empty() || charset == "utf-8" || charset == "utf8" ||
                  (ascii && asciiCompatible(charset)))) {
        decodeHtmlUtf8(bytes, blob.origin, context);
        return;
    }
    const std::string utf8 = toUtf8(blob.bytes, metaCharset(blob.bytes));
    decodeHtmlUtf8(utf8, blob.origin, context);
}

}  // namespace harvest
