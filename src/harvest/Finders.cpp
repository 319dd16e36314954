// The finders over one piece of text: e-mail addresses, web addresses and
// phone numbers, each placed by line, offset and the text around it.
#include "Finders.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <unordered_map>
#include <utility>

#include "AddressFinder.h"
#include "DomainCheck.h"
#include "PhoneFinder.h"
#include "TextScan.h"
#include "TriggerScan.h"
#include "WebAddressFinder.h"

namespace harvest {

struct Finders::Impl {
    explicit Impl(FinderOptions opts) : options(std::move(opts)) {
        if (!options.phoneRegion.empty()) {
            phones.emplace(options.phoneRegion);
        }
    }

    // The names the piece's decoder knows, keyed as the found addresses are.
    // The first name hinted for each address: a page with a great many
    // mailto: links looks each up once, not through every other.
    std::unordered_map<std::string, std::string> hintedNames(const TextPiece& piece) {
        std::unordered_map<std::string, std::string> names;
        for (const NameHint& hint : piece.names) {
            std::string key = addresses.normalise(hint.address);
            if (!key.empty() && !hint.name.empty()) {
                names.try_emplace(std::move(key), hint.name);
            }
        }
        return names;
    }

    FinderOptions options;
    DomainCheck domains;
    AddressFinder addresses{domains};
    WebAddressFinder webAddresses{domains};
    std::optional<PhoneFinder> phones;
    std::vector<Find> finds;  // reused from piece to piece
    Triggers triggers;        // likewise
};

namespace {

// Whether the find at pos sits on a header line whose values are message or
// part identifiers ("Message-ID: <20240101.abc@mail.example>"), as forwarded
// and quoted messages carry them in their text: those look like addresses and
// are not. Quote marks (">") before the field are skipped. Only the last 1,000
// bytes before the find are looked at, so a long line costs no more.
bool onIdentifierLine(std::string_view text, std::size_t pos) {
    static constexpr std::array<std::string_view, 7> fields = {
        "message-id:",        "content-id:", "in-reply-to:", "references:",
        "resent-message-id:", "received:",   "x-message-id:"};
    const std::size_t from = pos > 1000 ? pos - 1000 : 0;
    std::size_t start = text.substr(from, pos - from).rfind('\n');
    if (start != std::string_view::npos) {
        start += from + 1;
    } else if (from == 0) {
        start = 0;
    } else {
        return false;
    }
    while (start < pos && (text[start] == ' ' || text[start] == '\t' || text[start] == '>')) {
        ++start;
    }
    const std::string_view head = text.substr(start, std::min<std::size_t>(pos - start, 20));
    for (std::string_view field : fields) {
        if (head.size() >= field.size() &&
            std::equal(field.begin(), field.end(), head.begin(), [](char f, char c) {
                return f == (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
            })) {
            return true;
        }
    }
    return false;
}

}  // namespace

Finders::Finders(FinderOptions options) : impl_(std::make_unique<Impl>(std::move(options))) {}

Finders::~Finders() = default;

void Finders::find(const TextPiece& piece, std::vector<Sighting>& out) {
    const std::string_view text = piece.text;
    // Each finder hands on its finds in the order of the text; merging the
    // runs puts them all in order.
    std::vector<Find>& finds = impl_->finds;
    finds.clear();
    scanTriggers(text, impl_->triggers);
    impl_->addresses.find(text, impl_->triggers, finds);
    const std::size_t webFrom = finds.size();
    if (impl_->options.webAddresses) {
        impl_->webAddresses.find(text, impl_->triggers, finds);
    }
    impl_->triggers.shrink();
    const std::size_t phoneFrom = finds.size();
    if (impl_->phones) {
        impl_->phones->find(text, finds);
    }
    if (finds.empty()) {
        return;
    }
    const auto byStart = [](const Find& a, const Find& b) { return a.start < b.start; };
    const auto at = [&](std::size_t i) { return finds.begin() + static_cast<std::ptrdiff_t>(i); };
    std::inplace_merge(at(0), at(webFrom), at(phoneFrom), byStart);
    std::inplace_merge(at(0), at(phoneFrom), finds.end(), byStart);

    const auto names = impl_->hintedNames(piece);
    std::int64_t line = piece.firstLine;
    std::size_t countedTo = 0;
    for (Find& f : finds) {
        if (f.what == FindKind::Email && onIdentifierLine(text, f.start)) {
            continue;
        }
        if (f.what == FindKind::Email) {
            if (auto hinted = names.find(f.address); hinted != names.end()) {
                f.name = hinted->second;
            }
        }
        // Finds come in the order of the text, so each newline is counted once.
        if (countedTo < f.start) {
            line += countNewlines(text.substr(countedTo, f.start - countedTo));
            countedTo = f.start;
        }
        Sighting& s = out.emplace_back();
        s.what = f.what;
        s.address = std::move(f.address);
        s.name = std::move(f.name);
        s.domain = std::move(f.domain);
        s.reserved = f.reserved;
        s.kind = f.kind;
        s.origin = piece.origin;
        s.line = line;
        s.offset = piece.firstOffset + static_cast<std::int64_t>(f.start);
        if (impl_->options.contexts) {
            s.context = contextAround(text, f.start, f.end);
        }
    }
    // A piece with a great many finds should not keep their room for good.
    if (finds.capacity() > 4096) {
        std::vector<Find>().swap(finds);
    }
}

}  // namespace harvest
