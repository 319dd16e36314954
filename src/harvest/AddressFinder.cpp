#include "AddressFinder.h"

#include <algorithm>
#include <cstring>

#include "AddressParts.h"
#include "Finders.h"
#include "TextScan.h"
#include "TriggerScan.h"

namespace harvest {

namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr int kRawRank = 1;
constexpr int kMailtoRank = 2;

bool endsMailto(unsigned char c) {
    return c <= ' ' || c == 0x7F || std::strchr("\"'<>()[]{}\\`|^", c) != nullptr;
}

}  // namespace

void AddressFinder::find(std::string_view text, std::vector<Find>& out) {
    Triggers triggers;
    scanTriggers(text, triggers);
    find(text, triggers, out);
}

void AddressFinder::find(std::string_view text, const Triggers& triggers, std::vector<Find>& out) {
    const std::size_t from = out.size();
    // The triggers are taken kind by kind, as they were when each kind had a
    // pass of its own, so that finds over the same text meet in the same order.
    for (std::size_t pos : triggers.at) {
        tryAt(text, pos, pos + 1, DotSpelling::Plain, out);
    }
    for (std::size_t pos : triggers.entities) {
        if (const std::size_t len = entityAtLength(text, pos)) {
            tryAt(text, pos, pos + len, DotSpelling::Plain, out);
        }
    }
    for (std::size_t pos : triggers.percents) {
        if (text.substr(pos, 3) == "%40") {
            tryAt(text, pos, pos + 3, DotSpelling::Plain, out);
        }
    }
    for (const std::vector<std::size_t>& opens : triggers.brackets) {
        for (std::size_t pos : opens) {
            findBracketed(text, pos, out);
        }
    }
    for (const std::vector<std::size_t>* spelled :
         {&triggers.spelledLower, &triggers.spelledUpper}) {
        for (std::size_t pos : *spelled) {
            tryAt(text, pos, pos + 4, DotSpelling::Spelled, out);
        }
    }
    std::size_t scannedTo = 0;
    for (std::size_t pos : triggers.colons) {
        if (pos >= scannedTo) {
            findMailto(text, pos, scannedTo, out);
        }
    }

    // The same address can be reached from more than one trigger ("mailto:"
    // and its "@"); of finds that overlap the first, then the higher ranked,
    // then the longer one stays.
    const auto first = out.begin() + static_cast<std::ptrdiff_t>(from);
    std::sort(first, out.end(), [](const Find& a, const Find& b) {
        if (a.start != b.start) {
            return a.start < b.start;
        }
        if (a.rank != b.rank) {
            return a.rank > b.rank;
        }
        return a.end > b.end;
    });
    std::size_t kept = from;
    std::size_t coveredTo = 0;
    for (std::size_t i = from; i < out.size(); ++i) {
        if (out[i].start < coveredTo) {
            continue;
        }
        coveredTo = out[i].end;
        if (kept != i) {
            out[kept] = std::move(out[i]);
        }
        ++kept;
    }
    out.resize(kept);
}

std::string AddressFinder::normalise(std::string_view address) {
    while (!address.empty() && isHorizontalSpace(address.front())) {
        address.remove_prefix(1);
    }
    while (!address.empty() && isHorizontalSpace(address.back())) {
        address.remove_suffix(1);
    }
    if (hasWordAt(address, 0, "mailto:")) {
        address.remove_prefix(7);
    }
    const std::size_t at = address.rfind('@');
    if (at == npos || at == 0 || at + 1 >= address.size()) {
        return {};
    }
    const DomainVerdict& verdict = domains_.check(address.substr(at + 1));
    if (!verdict.valid) {
        return {};
    }
    return std::string(address.substr(0, at)) + "@" + verdict.name;
}

void AddressFinder::tryAt(std::string_view text, std::size_t atStart, std::size_t atEnd,
                          DotSpelling dots, std::vector<Find>& out) {
    std::size_t start = localStart(text, atStart);
    if (start == npos) {
        return;
    }
    std::string local(text.substr(start, atStart - start));
    if (dots == DotSpelling::Plain) {
        // "https://user@host" names a login, not a mailbox.
        if (start >= 3 && text.substr(start - 3, 3) == "://") {
            return;
        }
        if (!decodeLocalEscapes(local, start)) {
            return;
        }
    } else {
        extendSpelledLocal(text, dots, local, start);
    }
    DomainText domain;
    if (!scanDomain(text, atEnd, dots, domain)) {
        return;
    }
    // " at " alone is too common in prose; only with " dot " is it an address.
    if (dots == DotSpelling::Spelled && domain.spelledDots == 0) {
        return;
    }
    if (dots == DotSpelling::Plain && continuesOnNextLine(text, domain.end)) {
        return;
    }
    if (!makeFind(local, domain.name, start, domain.end, kRawRank, out)) {
        return;
    }
    if (start > 0 && text[start - 1] == '<' && domain.end < text.size() &&
        text[domain.end] == '>') {
        out.back().name = displayNameBefore(text, start - 1);
    }
}

void AddressFinder::extendSpelledLocal(std::string_view text, DotSpelling dots, std::string& local,
                                       std::size_t& start) {
    // "ann [dot] green [at] ...": the dots of the local part spelled out too.
    while (true) {
        const std::size_t dot = spelledDotBefore(text, start, dots);
        if (dot == npos) {
            return;
        }
        const std::size_t before = localStart(text, dot);
        if (before == npos || local.size() + (dot - before) + 1 > kMaxLocalBytes) {
            return;
        }
        local = std::string(text.substr(before, dot - before)) + "." + local;
        start = before;
    }
}

void AddressFinder::findBracketed(std::string_view text, std::size_t open, std::vector<Find>& out) {
    std::size_t p = skipSpaces(text, open + 1, 2);
    if (!hasWordAt(text, p, "at")) {
        return;
    }
    p = skipSpaces(text, p + 2, 2);
    if (p >= text.size() || text[p] != closing(text[open])) {
        return;
    }
    std::size_t atStart = open;
    while (atStart > 0 && open - atStart < 3 && isHorizontalSpace(text[atStart - 1])) {
        --atStart;
    }
    tryAt(text, atStart, skipSpaces(text, p + 1, 3), DotSpelling::Bracketed, out);
}

void AddressFinder::findMailto(std::string_view text, std::size_t colon, std::size_t& scannedTo,
                               std::vector<Find>& out) {
    if (colon < 6 || !hasWordAt(text, colon - 6, "mailto") ||
        (colon > 6 && isAsciiAlnum(static_cast<unsigned char>(text[colon - 7])))) {
        return;
    }
    std::size_t end = wordRunEnd(text, colon + 1, endsMailto);
    scannedTo = end;
    while (end > colon + 1 && std::strchr(".,;:!?", text[end - 1]) != nullptr) {
        --end;
    }
    const std::string_view uri = text.substr(colon + 1, end - colon - 1);
    const std::size_t base = colon + 1;
    // Recipients are separated by "," (or its escape "%2C").
    auto recipients = [&](std::size_t from, std::size_t to) {
        std::size_t segment = from;
        for (std::size_t i = from; i <= to; ++i) {
            const bool comma = i < to && uri[i] == ',';
            const bool escaped =
                i + 3 <= to && uri[i] == '%' && uri[i + 1] == '2' && asciiLower(uri[i + 2]) == 'c';
            if (i == to || comma || escaped) {
                if (i > segment) {
                    addRecipient(text, base + segment, base + i, out);
                }
                segment = i + (escaped ? 3 : 1);
                i += escaped ? 2 : 0;
            }
        }
    };
    const std::size_t query = uri.find('?');
    recipients(0, query == npos ? uri.size() : query);
    if (query == npos) {
        return;
    }
    for (std::size_t p = query + 1; p < uri.size();) {
        std::size_t amp = uri.find('&', p);
        amp = amp == npos ? uri.size() : amp;
        const std::size_t eq = uri.substr(p, amp - p).find('=');
        if (eq != npos) {
            std::string key = asciiLowered(uri.substr(p, eq));
            if (key.starts_with("amp;")) {  // "&amp;" left over from HTML
                key.erase(0, 4);
            }
            if (key == "to" || key == "cc" || key == "bcc") {
                recipients(p + eq + 1, amp);
            }
        }
        p = amp + 1;
    }
}

void AddressFinder::addRecipient(std::string_view text, std::size_t start, std::size_t end,
                                 std::vector<Find>& out) {
    std::string decoded = percentDecoded(text.substr(start, end - start));
    std::string_view address = decoded;
    while (!address.empty() && isHorizontalSpace(address.front())) {
        address.remove_prefix(1);
    }
    while (!address.empty() && isHorizontalSpace(address.back())) {
        address.remove_suffix(1);
    }
    const std::size_t at = address.rfind('@');
    if (at == npos || !isValidUtf8(address) || localStart(address, at) != 0) {
        return;
    }
    DomainText domain;
    if (!scanDomain(address, at + 1, DotSpelling::Plain, domain) || domain.end != address.size()) {
        return;
    }
    makeFind(address.substr(0, at), domain.name, start, end, kMailtoRank, out);
}

bool AddressFinder::makeFind(std::string_view local, std::string_view domain, std::size_t start,
                             std::size_t end, int rank, std::vector<Find>& out) {
    const DomainVerdict& verdict = domains_.check(domain);
    if (!verdict.valid) {
        return false;
    }
    Find f;
    f.start = start;
    f.end = end;
    f.rank = rank;
    f.what = FindKind::Email;
    f.address.reserve(local.size() + 1 + verdict.name.size());
    f.address.append(local).append("@").append(verdict.name);
    f.domain = verdict.name;
    f.reserved = verdict.reserved;
    f.kind = addressKind(local);
    out.push_back(std::move(f));
    return true;
}

}  // namespace harvest
