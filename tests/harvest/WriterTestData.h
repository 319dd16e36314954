#pragma once
// A small report for the writer tests, with values that test every format's
// escaping: a source name holding a tab, a newline, a quote, a comma and a
// byte that is not UTF-8; unknown fields that must come out as nulls.
#include <optional>
#include <string>
#include <vector>

#include "HarvestTypes.h"
#include "Writers.h"

namespace harvest::testdata {

inline const std::string kOddSource = "dir/a\tb\nc\"d,e\xFF.txt";

// One expected value: nullopt for null, else "s:" text, "n:" number or "b:"
// true/false, so that a reader can check the type as well.
using Cell = std::optional<std::string>;
using Row = std::vector<Cell>;

struct SampleReport {
    std::vector<Contact> contacts;
    std::vector<Sighting> sightings;
    std::vector<Problem> problems;
    std::vector<SourceInfo> sources;
    Report report() const { return {contacts, sightings, problems, sources}; }
};

inline SampleReport sample() {
    SampleReport r;
    r.contacts.push_back({"ada@example.org",
                          "Ada Lovelace",
                          {"Ada Lovelace"},
                          "personal",
                          "example.org",
                          true,
                          3,
                          kOddSource});
    r.contacts.push_back({"+441632960000", "", {}, "phone", "", false, 1, "plain.txt"});
    Sighting first;
    first.address = "ada@example.org";
    first.name = "Ada";
    first.kind = "personal";
    first.domain = "example.org";
    first.origin.source = kOddSource;
    first.origin.page = 2;
    first.line = 7;
    first.offset = 123;
    first.context = "said \\ \"hi\"\r\tthere";
    first.origin.referrer = "https://site.test/";
    first.origin.depth = 1;
    Sighting second;
    second.address = "ada@example.org";
    second.kind = "personal";
    second.domain = "example.org";
    second.origin.source = "box.mbox";
    second.origin.message = 4;
    second.origin.messageId = "m1@host";
    second.origin.field = "From";
    second.line = 1;
    r.sightings = {first, second};
    r.problems = {{"broken.pdf", "not a PDF"}};
    r.sources = {{kOddSource, "text", 10}, {"box.mbox", "mbox", 20}, {"broken.pdf", "pdf", 5}};
    return r;
}

inline std::vector<Row> expectedRows(bool sightingRows) {
    if (!sightingRows) {
        return {
            {"s:ada@example.org", "s:Ada Lovelace", "s:personal", "s:example.org", "b:true", "n:3",
             "s:" + kOddSource},
            {"s:+441632960000", std::nullopt, "s:phone", "s:", "b:false", "n:1", "s:plain.txt"}};
    }
    return {
        {"s:ada@example.org", "s:Ada", "s:" + kOddSource, "n:2", std::nullopt, std::nullopt, "n:7",
         "n:123", std::nullopt, "s:said \\ \"hi\"\r\tthere", "s:https://site.test/", "n:1"},
        {"s:ada@example.org", std::nullopt, "s:box.mbox", std::nullopt, "n:4", "s:m1@host", "n:1",
         "n:0", "s:From", "s:", std::nullopt, std::nullopt}};
}

inline std::vector<std::string> fieldNames(bool sightingRows) {
    if (sightingRows) {
        return {"address", "name",   "source", "page",    "message",  "message_id",
                "line",    "offset", "field",  "context", "referrer", "depth"};
    }
    return {"address", "name", "kind", "domain", "reserved", "sightings", "first_source"};
}

// The byte 0xFF as the writers that need valid UTF-8 put it: U+FFFD.
inline std::string withReplacement(std::string s) {
    for (std::size_t at; (at = s.find('\xFF')) != std::string::npos;) {
        s.replace(at, 1, "\xEF\xBF\xBD");
    }
    return s;
}

}  // namespace harvest::testdata
