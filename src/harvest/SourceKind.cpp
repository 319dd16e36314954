#include "SourceKind.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace harvest {
namespace {

bool startsWith(std::string_view bytes, std::string_view prefix) {
    return bytes.substr(0, prefix.size()) == prefix;
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether needle (lower case) occurs in hay, ignoring the case of ASCII letters.
bool containsFolded(std::string_view hay, std::string_view needle) {
    auto it = std::search(hay.begin(), hay.end(), needle.begin(), needle.end(),
                          [](char a, char b) { return lower(a) == b; });
    return it != hay.end();
}

std::string_view withoutBom(std::string_view bytes) {
    return startsWith(bytes, "\xEF\xBB\xBF") ? bytes.substr(3) : bytes;
}

bool isArchive(std::string_view b) {
    static const std::array<std::string_view, 6> signatures = {
        std::string_view("\x1F\x8B", 2),  // gzip
        std::string_view("\xFD"
                         "7zXZ\0",
                         6),                        // xz
        std::string_view("\x28\xB5\x2F\xFD", 4),    // zstd
        std::string_view("7z\xBC\xAF\x27\x1C", 6),  // 7z
        std::string_view("\x5D\x00\x00", 3),        // lzma
        std::string_view("Rar!\x1A\x07", 6),        // rar
    };
    for (std::string_view s : signatures) {
        if (startsWith(b, s)) {
            return true;
        }
    }
    if (b.size() >= 4 && startsWith(b, "BZh") && b[3] >= '1' && b[3] <= '9') {
        return true;
    }
    return b.size() >= 262 && b.substr(257, 5) == "ustar";
}

// A header field name: printable ASCII without spaces or colons.
bool isFieldName(std::string_view name) {
    if (name.empty() || name.size() > 76) {
        return false;
    }
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return c > ' ' && c < 127 && c != ':'; });
}

bool isMailField(std::string_view name) {
    static const std::array<std::string_view, 10> fields = {
        "from",    "received",     "return-path",  "message-id", "date",
        "subject", "mime-version", "delivered-to", "to",         "x-mailer"};
    std::string folded;
    for (char c : name) {
        folded += lower(c);
    }
    return std::find(fields.begin(), fields.end(), folded) != fields.end();
}

// A mail message starts with header lines up to an empty line, and at least
// two of them are fields that mail carries.
bool looksLikeMail(std::string_view head) {
    int mailFields = 0;
    int lines = 0;
    size_t pos = 0;
    while (pos < head.size() && lines < 200) {
        size_t end = head.find('\n', pos);
        if (end == std::string_view::npos) {
            break;  // a line cut by the end of the head proves nothing
        }
        std::string_view line = head.substr(pos, end - pos);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        pos = end + 1;
        ++lines;
        if (line.empty()) {
            break;
        }
        if (line[0] == ' ' || line[0] == '\t') {
            if (lines == 1) {
                return false;
            }
            continue;
        }
        size_t colon = line.find(':');
        if (colon == std::string_view::npos || !isFieldName(line.substr(0, colon))) {
            return false;
        }
        if (isMailField(line.substr(0, colon))) {
            ++mailFields;
        }
    }
    return mailFields >= 2;
}

bool looksLikeMbox(std::string_view head) {
    if (!startsWith(head, "From ")) {
        return false;
    }
    size_t end = head.find('\n');
    return end != std::string_view::npos && looksLikeMail(head.substr(end + 1));
}

bool looksLikeHtml(std::string_view head) {
    static const std::array<std::string_view, 4> marks = {"<!doctype html", "<html", "<body",
                                                          "<head"};
    return std::any_of(marks.begin(), marks.end(),
                       [&](std::string_view m) { return containsFolded(head, m); });
}

}  // namespace

SourceKind recognise(std::string_view bytes) {
    std::string_view head = bytes.substr(0, 4096);
    if (startsWith(head, "PK\x03\x04") || startsWith(head, "PK\x05\x06") ||
        startsWith(head, "PK\x07\x08")) {
        return SourceKind::Zip;
    }
    if (head.substr(0, 1024).find("%PDF-") != std::string_view::npos) {
        return SourceKind::Pdf;
    }
    if (startsWith(head, "WARC/")) {
        return SourceKind::Warc;
    }
    if (isArchive(bytes.substr(0, 512))) {
        return SourceKind::Archive;
    }
    std::string_view text = withoutBom(head);
    if (looksLikeMbox(text)) {
        return SourceKind::Mbox;
    }
    if (looksLikeMail(text)) {
        return SourceKind::Mail;
    }
    if (looksLikeHtml(text)) {
        return SourceKind::Html;
    }
    return SourceKind::Text;
}

const char* kindName(SourceKind kind, std::string_view bytes) {
    switch (kind) {
        case SourceKind::Text:
            return "text";
        case SourceKind::Html:
            return "html";
        case SourceKind::Mail:
            return "mail";
        case SourceKind::Mbox:
            return "mbox";
        case SourceKind::Pdf:
            return "pdf";
        case SourceKind::Zip: {
            std::string_view head = bytes.substr(0, 200);
            if (head.find("application/epub+zip") != std::string_view::npos) {
                return "epub";
            }
            if (head.find("application/vnd.oasis.opendocument") != std::string_view::npos) {
                return "opendocument";
            }
            if (head.find("[Content_Types].xml") != std::string_view::npos ||
                head.find("word/") != std::string_view::npos ||
                head.find("xl/") != std::string_view::npos ||
                head.find("ppt/") != std::string_view::npos) {
                return "office";
            }
            return "zip";
        }
        case SourceKind::Archive:
            return "archive";
        case SourceKind::Warc:
            return "warc";
    }
    return "text";
}

}  // namespace harvest
