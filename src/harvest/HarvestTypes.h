#pragma once
// The values that flow through a harvest: decoded text with the place it came
// from, the sightings the finders make in it, and the contacts they add up to.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace harvest {

// Where a piece of decoded text came from.
struct Origin {
    // A path; a member of a container as "outer.zip!inner/a.pdf"; a WARC record's target URI.
    std::string source;
    std::optional<int> page;     // PDF page, from 1
    std::optional<int> message;  // message number in an mbox, from 1
    std::string messageId;       // the message's Message-ID, without angle brackets
    std::string field;           // the mail header field ("From", "To", ...); empty for body text
    // Of a fetched page: the page that linked to it (empty for a start page)
    // and its distance in links from a start page.
    std::string referrer;
    std::optional<int> depth;
};

// A name that a decoder knows belongs to an address: a mail header's display
// name, the text of a mailto: link.
struct NameHint {
    std::string address;
    std::string name;
};

// One piece of decoded text, always valid UTF-8.
struct TextPiece {
    Origin origin;
    std::string text;
    std::vector<NameHint> names;
    // Where the piece starts in the decoded text of its source (a source may
    // come in several pieces): the line number from 1 and the byte offset.
    std::int64_t firstLine = 1;
    std::int64_t firstOffset = 0;
};

enum class FindKind { Email, Web, Phone };

// One place where a contact was found.
struct Sighting {
    FindKind what = FindKind::Email;
    // The contact's key: an e-mail address with its local part as written and
    // its domain in lower case (Unicode for an internationalised one), a
    // normalised web address, or a phone number in E.164.
    std::string address;
    std::string name;       // display name or link text, where known
    std::string domain;     // e-mail: the domain; web: the host; phone: empty
    bool reserved = false;  // a name kept for documentation and tests
    // "personal", "role", "no-reply" for an e-mail address; "web"; "phone".
    std::string kind;
    Origin origin;
    std::int64_t line = 0;    // line in the decoded text, from 1
    std::int64_t offset = 0;  // byte offset in the decoded text
    std::string context;      // about 40 characters either side, on one line
};

// One contact: every sighting of the same address added up.
struct Contact {
    std::string address;
    std::string name;                // the first name seen
    std::vector<std::string> names;  // every distinct name seen, in order
    std::string kind;                // "personal", "role", "no-reply", "web", "phone"
    std::string domain;
    bool reserved = false;
    std::int64_t sightings = 0;
    std::string firstSource;
};

// A source that could not be read whole, or was skipped, and why.
struct Problem {
    std::string source;
    std::string reason;
};

// A source the run read: its path, its kind as recognised and its size.
struct SourceInfo {
    std::string path;
    std::string kind;
    std::int64_t bytes = 0;
};

}  // namespace harvest
