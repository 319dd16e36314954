#include "WebAddressFinder.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "TextScan.h"

namespace harvest {

namespace {

// How far to look for the "@" of a "user:password@" before the host.
constexpr std::size_t kMaxUserInfo = 256;

bool endsUrl(unsigned char c) {
    return c <= ' ' || c == 0x7F || std::strchr("\"<>\\^`{|}", c) != nullptr;
}

// The end of the run of characters a URL can hold, from pos.
std::size_t urlEnd(std::string_view text, std::size_t pos) {
    return wordRunEnd(text, pos, endsUrl);
}

// The end of a host name's labels and dots, from pos.
std::size_t hostEnd(std::string_view text, std::size_t pos) {
    while (pos < text.size()) {
        const auto c = static_cast<unsigned char>(text[pos]);
        if (isAsciiAlnum(c) || c == '-') {
            ++pos;
        } else if (c == '.' && labelStartsAt(text, pos + 1)) {
            ++pos;
        } else if (c >= 0x80 && wordCodePointAt(text, pos) > 0) {
            pos += wordCodePointAt(text, pos);
        } else {
            break;
        }
    }
    return pos;
}

// Drops what ends a sentence or closes a bracket opened before the address:
// "(see https://x.org/a)." ends at "/a".
std::size_t trimmedEnd(std::string_view text, std::size_t from, std::size_t end) {
    const std::string_view rest = text.substr(from, end - from);
    auto opens = std::count(rest.begin(), rest.end(), '(');
    auto closes = std::count(rest.begin(), rest.end(), ')');
    auto squareOpens = std::count(rest.begin(), rest.end(), '[');
    auto squareCloses = std::count(rest.begin(), rest.end(), ']');
    while (end > from) {
        const char c = text[end - 1];
        if (std::strchr(".,;:!?'*", c) != nullptr) {
            --end;
        } else if (c == ')' && closes > opens) {
            --closes;
            --end;
        } else if (c == ']' && squareCloses > squareOpens) {
            --squareCloses;
            --end;
        } else {
            break;
        }
    }
    return end;
}

}  // namespace

void WebAddressFinder::find(std::string_view text, std::vector<Find>& out) {
    Triggers triggers;
    scanTriggers(text, triggers);
    find(text, triggers, out);
}

void WebAddressFinder::find(std::string_view text, const Triggers& triggers,
                            std::vector<Find>& out) {
    std::size_t scannedTo = 0;
    for (std::size_t pos : triggers.colons) {
        if (pos >= scannedTo) {
            tryAt(text, pos, scannedTo, out);
        }
    }
}

void WebAddressFinder::tryAt(std::string_view text, std::size_t colon, std::size_t& scannedTo,
                             std::vector<Find>& out) {
    if (text.substr(colon, 3) != "://") {
        return;
    }
    std::size_t schemeStart = 0;
    if (colon >= 5 && hasWordAt(text, colon - 5, "https")) {
        schemeStart = colon - 5;
    } else if (colon >= 4 && hasWordAt(text, colon - 4, "http")) {
        schemeStart = colon - 4;
    } else {
        return;
    }
    if (schemeStart > 0 && isAsciiAlnum(static_cast<unsigned char>(text[schemeStart - 1]))) {
        return;
    }
    const bool https = colon - schemeStart == 5;
    // "user:password@" is left out of the key.
    std::size_t hostStart = colon + 3;
    for (std::size_t p = hostStart; p < text.size() && p - hostStart < kMaxUserInfo; ++p) {
        const auto c = static_cast<unsigned char>(text[p]);
        if (c == '@') {
            hostStart = p + 1;
            break;
        }
        if (c == '/' || c == '?' || c == '#' || endsUrl(c)) {
            break;
        }
    }
    const std::size_t hostStop = hostEnd(text, hostStart);
    scannedTo = std::max(hostStop, colon + 1);
    if (hostStop == hostStart) {
        return;  // no host, or an IP literal in brackets
    }
    std::size_t pos = hostStop;
    long port = -1;
    if (pos < text.size() && text[pos] == ':') {
        std::size_t q = pos + 1;
        long value = 0;
        while (q < text.size() && q - pos <= 6 && text[q] >= '0' && text[q] <= '9') {
            value = value * 10 + (text[q] - '0');
            ++q;
        }
        if (q > pos + 1 &&
            (q >= text.size() || !isAsciiAlnum(static_cast<unsigned char>(text[q])))) {
            if (value > 65535) {
                scannedTo = q;
                return;
            }
            port = value;
            pos = q;
        }
    }
    const std::size_t restStart = pos;
    std::size_t end = pos;
    if (pos < text.size() && (text[pos] == '/' || text[pos] == '?' || text[pos] == '#')) {
        end = urlEnd(text, pos);
    }
    scannedTo = std::max(end, scannedTo);
    end = trimmedEnd(text, restStart, end);

    const DomainVerdict& host = domains_.check(text.substr(hostStart, hostStop - hostStart));
    if (!host.valid) {
        return;
    }
    std::string_view rest = text.substr(restStart, end - restStart);
    rest = rest.substr(0, rest.find('#'));
    const std::size_t query = rest.find('?');
    const std::string_view path = rest.substr(0, query);

    Find f;
    f.what = FindKind::Web;
    f.start = schemeStart;
    f.end = end;
    f.address = https ? "https://" : "http://";
    f.address += host.name;
    if (port >= 0 && port != (https ? 443 : 80)) {
        f.address += ":" + std::to_string(port);
    }
    f.address += path.empty() ? std::string_view("/") : path;
    if (query != std::string_view::npos) {
        f.address += rest.substr(query);
    }
    f.domain = host.name;
    f.reserved = host.reserved;
    f.kind = "web";
    out.push_back(std::move(f));
}

}  // namespace harvest
