// The fast scans against their straightforward versions, on generated text:
// the UTF-8 clean, the trigger scan the finders work from, the line count.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "AddressFinder.h"
#include "DomainCheck.h"
#include "ReferenceScans.h"
#include "TextDecoder.h"
#include "TriggerScan.h"
#include "WebAddressFinder.h"

namespace harvest {
namespace {

// What text is made of: prose, every way of writing an address the finders
// know, near misses, and the bytes a clean must change.
const std::vector<std::string> kFragments = {
    "the",
    "of",
    "and",
    "at",
    " at ",
    " AT ",
    " At ",
    "dot",
    " dot ",
    " DOT ",
    "that",
    "data",
    "ann.green@riverside.example.org",
    "Ann Green <ann@riverside.org>",
    "\"Green, Ann\" <ann@mail.example.com>",
    "2022-02-19  Bo Lee <bo@x.org>",
    "ann&#64;riverside.org",
    "bob&#x40;example.net",
    "carol&commat;example.com",
    "&amp;",
    "&#",
    "ann%40riverside.org",
    "%3Cbob@example.org",
    "J%C3%BCrgen@example.de",
    "%4",
    "%40",
    "ann [at] example [dot] org",
    "bob (at) example (dot) com",
    "carol {at} y {dot} net",
    "dave at example dot org",
    "ERIN AT EXAMPLE DOT ORG",
    "ann [dot] green [at] x [dot] org",
    "mailto:a@x.org,b%40y.org?cc=c@z.org&bcc=d@w.org&subject=hi",
    "MAILTO:eve@example.org",
    "xmailto:no@example.org",
    "mailto:",
    "https://www.example.org/a?b=c#d",
    "http://user:pw@host.example.com:8080/x",
    "(see https://x.org/a).",
    "HTTP://Example.ORG",
    "https://",
    "://",
    "Message-ID: <20240101.abc@mail.example>\n",
    "> In-Reply-To: <x@y.org>\n",
    "ann@mail.riverside.\nexample.org",
    "jürgen@bücher.de",
    "€",
    "Grüße",
    "\xff",
    "\xc3",
    "\xe2\x82",
    std::string(1, '\0'),
    "\x01",
    "\x7f",
    "\xc2\x85",
    "\xed\xa0\x80",
    "\xf4\x90\x80\x80",
    "\r\n",
    "\n",
    "\t",
    "\f",
    " ",
    " ",
    " ",
    "@",
    ":",
    "(",
    "[",
    "{",
    "a",
    "A",
    "o:",
    "O:"};

std::string generate(std::mt19937& rng, std::size_t fragments) {
    std::uniform_int_distribution<std::size_t> pick(0, kFragments.size() - 1);
    std::string text;
    for (std::size_t i = 0; i < fragments; ++i) {
        text += kFragments[pick(rng)];
        if (rng() % 3 != 0) {
            text += ' ';
        }
    }
    return text;
}

// Random bytes of every value, so that every 16-byte block boundary meets
// every kind of byte.
std::string randomBytes(std::mt19937& rng, std::size_t size) {
    std::string text(size, ' ');
    for (char& c : text) {
        c = static_cast<char>(rng() % 4 == 0 ? rng() & 0xff : 'a' + rng() % 26);
    }
    return text;
}

TEST(FastClean, MatchesTheByteByByteClean) {
    std::mt19937 rng(11);
    for (int round = 0; round < 400; ++round) {
        const std::string raw =
            round % 4 == 0 ? randomBytes(rng, rng() % 300) : generate(rng, 1 + rng() % 200);
        ASSERT_EQ(cleanUtf8(raw), reference::clean(raw)) << "round " << round;
        // toUtf8 keeps the cleaned text when the bytes read as UTF-8.
        reference::CleanCounts counts;
        const std::string cleaned = reference::clean(raw, false, &counts);
        const bool mostlyUtf8 = counts.invalid == 0 || counts.multibyte >= counts.invalid;
        const bool binaryLike =
            std::count_if(raw.begin(), raw.end(),
                          [](char c) {
                              return reference::isBadControl(static_cast<unsigned char>(c)) &&
                                     static_cast<unsigned char>(c) < 0x80;
                          }) *
                32 >
            static_cast<std::ptrdiff_t>(raw.size());
        if (mostlyUtf8 && !binaryLike && raw.size() > 4 && raw[0] != '\xef' && raw[0] != '\xff' &&
            raw[0] != '\xfe' && raw[0] != '\0') {
            EXPECT_EQ(toUtf8(raw), cleaned) << "round " << round;
        }
    }
}

TEST(FastClean, KeepsUtf16StringsOfBinariesAtEveryAlignment) {
    // A binary blob (one byte in four a control) with an ASCII string in
    // UTF-16LE at each offset against the 16-byte blocks.
    for (std::size_t offset = 0; offset < 40; ++offset) {
        std::string raw;
        for (std::size_t i = 0; i < 200; ++i) {
            raw += i % 4 == 0 ? '\x01' : static_cast<char>('a' + i % 26);
        }
        const std::string wide = std::string("R\0e\0a\0d\0m\0e\0", 12);
        raw.insert(64 + offset, wide);
        raw.insert(140 + offset, std::string("ab\0cd", 5));
        EXPECT_EQ(toUtf8(raw), reference::clean(raw, true)) << "offset " << offset;
    }
}

using FindFields = std::tuple<std::size_t, std::size_t, int, std::string, std::string, std::string,
                              bool, std::string, FindKind>;

std::vector<FindFields> fields(const std::vector<Find>& finds) {
    std::vector<FindFields> out;
    for (const Find& f : finds) {
        out.emplace_back(f.start, f.end, f.rank, f.address, f.name, f.domain, f.reserved,
                         std::string(f.kind), f.what);
    }
    return out;
}

// The finders' finds from the scanned triggers and from every place of every
// trigger byte must be the same, and so must the lines counted.
void expectSameFinds(const std::string& text, DomainCheck& domains, const std::string& label) {
    AddressFinder addresses(domains);
    WebAddressFinder web(domains);
    std::vector<Find> fast, plain, fastWeb, plainWeb;
    Triggers scanned;
    scanTriggers(text, scanned);
    const Triggers every = reference::triggers(text);
    addresses.find(text, scanned, fast);
    addresses.find(text, every, plain);
    web.find(text, scanned, fastWeb);
    web.find(text, every, plainWeb);
    EXPECT_EQ(fields(fast), fields(plain)) << label;
    EXPECT_EQ(fields(fastWeb), fields(plainWeb)) << label;
}

TEST(TriggerScan, FindsWhatEveryPassOverTheTextFinds) {
    DomainCheck domains;
    std::mt19937 rng(5);
    for (int round = 0; round < 300; ++round) {
        const std::string text = cleanUtf8(generate(rng, 1 + rng() % 300));
        expectSameFinds(text, domains, "round " + std::to_string(round));
    }
}

TEST(TriggerScan, EdgesOfTheTextAndOfBlocks) {
    DomainCheck domains;
    const std::vector<std::string> seeds = {
        "a@x.org", " at ", "x at y dot org",       "a:", "https://x.org", "mailto:a@b.org", "&#64;",
        "%40",     "(at)", "ann [at] x [dot] org", "\n"};
    for (const std::string& seed : seeds) {
        for (std::size_t pad = 0; pad < 40; ++pad) {
            const std::string before(pad, 'w');
            expectSameFinds(seed + before, domains, seed + " + " + std::to_string(pad));
            expectSameFinds(before + " " + seed, domains, std::to_string(pad) + " + " + seed);
        }
    }
}

TEST(TriggerScan, LongLinesAndAFiveMegabyteLine) {
    DomainCheck domains;
    std::mt19937 rng(9);
    std::string line;
    while (line.size() < (5u << 20)) {
        const std::string piece = cleanUtf8(generate(rng, 50));
        for (char c : piece) {
            line += c == '\n' ? ' ' : c;
        }
        line += std::string(rng() % 3000, 'q');  // long runs with no trigger at all
    }
    expectSameFinds(line, domains, "one line");
    // A spelled-out domain just within and just past what a domain can hold.
    for (std::size_t label : {250u, 253u, 254u, 255u, 256u, 300u}) {
        expectSameFinds("ann at " + std::string(label, 'x') + " dot org", domains,
                        "label " + std::to_string(label));
    }
}

}  // namespace
}  // namespace harvest
