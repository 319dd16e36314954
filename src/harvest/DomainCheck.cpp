#include "DomainCheck.h"

#include <idn2.h>
#include <libpsl.h>

#include <array>
#include <memory>

#include "TextScan.h"

namespace harvest {

namespace {

// Enough for every domain a worker meets in ordinary use; a flood of made-up
// names starts the cache afresh rather than growing without end.
constexpr std::size_t kMaxCached = 1 << 16;

constexpr std::size_t kMaxDomainBytes = 253;
constexpr std::size_t kMaxLabelBytes = 63;

// Top-level names kept out of the root zone for documentation and tests.
constexpr std::array<std::string_view, 4> kReservedTlds = {"example", "test", "invalid",
                                                           "localhost"};
// Second-level names kept for documentation, with everything under them.
constexpr std::array<std::string_view, 3> kReservedDomains = {"example.com", "example.net",
                                                              "example.org"};

struct IdnFree {
    void operator()(char* p) const { idn2_free(p); }
};
using IdnString = std::unique_ptr<char, IdnFree>;

bool endsWithDomain(std::string_view name, std::string_view domain) {
    if (name.size() == domain.size()) {
        return name == domain;
    }
    return name.size() > domain.size() && name.substr(name.size() - domain.size()) == domain &&
           name[name.size() - domain.size() - 1] == '.';
}

bool asciiLabelsWellFormed(std::string_view ascii) {
    if (ascii.empty() || ascii.size() > kMaxDomainBytes) {
        return false;
    }
    std::size_t labels = 0;
    std::size_t from = 0;
    while (true) {
        const std::size_t dot = ascii.find('.', from);
        const std::string_view label =
            ascii.substr(from, dot == std::string_view::npos ? std::string_view::npos : dot - from);
        if (label.empty() || label.size() > kMaxLabelBytes || label.front() == '-' ||
            label.back() == '-') {
            return false;
        }
        for (char c : label) {
            if (!isAsciiAlnum(static_cast<unsigned char>(c)) && c != '-') {
                return false;
            }
        }
        ++labels;
        if (dot == std::string_view::npos) {
            break;
        }
        from = dot + 1;
    }
    return labels >= 2;
}

}  // namespace

DomainCheck::DomainCheck() {
    // The list from the publicsuffix package when it is newer than the one
    // built into libpsl.
    latest_ = psl_latest(nullptr);
    psl_ = latest_ != nullptr ? latest_ : psl_builtin();
}

DomainCheck::~DomainCheck() {
    psl_free(latest_);
}

const DomainVerdict& DomainCheck::check(std::string_view domain) {
    std::string key(domain);
    auto it = cache_.find(key);
    if (it != cache_.end()) {
        return it->second;
    }
    if (cache_.size() >= kMaxCached) {
        cache_.clear();
    }
    DomainVerdict verdict = judge(domain);
    return cache_.emplace(std::move(key), std::move(verdict)).first->second;
}

DomainVerdict DomainCheck::judge(std::string_view domain) const {
    DomainVerdict verdict;
    if (psl_ == nullptr || domain.empty() || domain.size() > 4 * kMaxDomainBytes) {
        return verdict;
    }
    std::string ascii = asciiLowered(domain);
    std::string unicode = ascii;
    bool plainAscii = true;
    for (unsigned char c : ascii) {
        plainAscii = plainAscii && c < 0x80;
    }
    if (!plainAscii || ascii.find("xn--") != std::string::npos) {
        // Both spellings of an internationalised name come to one: punycode
        // for the checks, Unicode to show. A label that is not valid punycode
        // makes the name invalid.
        char* out = nullptr;
        if (idn2_to_ascii_8z(ascii.c_str(), &out, IDN2_NONTRANSITIONAL | IDN2_NFC_INPUT) !=
            IDN2_OK) {
            return verdict;
        }
        IdnString asciiForm(out);
        out = nullptr;
        if (idn2_to_unicode_8z8z(asciiForm.get(), &out, 0) != IDN2_OK) {
            return verdict;
        }
        IdnString unicodeForm(out);
        ascii = asciiForm.get();
        unicode = unicodeForm.get();
    }
    if (!asciiLabelsWellFormed(ascii)) {
        return verdict;
    }
    const std::string_view tld = std::string_view(ascii).substr(ascii.rfind('.') + 1);
    for (std::string_view reserved : kReservedTlds) {
        verdict.reserved = verdict.reserved || tld == reserved;
    }
    for (std::string_view reserved : kReservedDomains) {
        verdict.reserved = verdict.reserved || endsWithDomain(ascii, reserved);
    }
    if (!verdict.reserved) {
        // Without the "*" rule, so that "png" or "jpg" is no top-level domain.
        const std::string tldString(tld);
        if (!psl_is_public_suffix2(psl_, tldString.c_str(), PSL_TYPE_ANY | PSL_TYPE_NO_STAR_RULE)) {
            return verdict;
        }
        // A public suffix itself ("co.uk") is no one's domain.
        if (psl_is_public_suffix2(psl_, ascii.c_str(), PSL_TYPE_ICANN)) {
            return verdict;
        }
    }
    verdict.valid = true;
    verdict.name = std::move(unicode);
    return verdict;
}

}  // namespace harvest
