#include "BenchProse.h"

#include <array>
#include <cctype>
#include <stdexcept>

namespace {

constexpr std::array<std::string_view, 64> kWords = {
    "the",      "a",        "of",      "and",      "to",      "in",       "our",     "we",
    "will",     "is",       "are",     "for",      "with",    "this",     "that",    "on",
    "meeting",  "report",   "office",  "customer", "project", "schedule", "budget",  "team",
    "please",   "send",     "review",  "attached", "draft",   "before",   "after",   "week",
    "morning",  "contract", "invoice", "delivery", "order",   "question", "answer",  "update",
    "quarter",  "results",  "market",  "price",    "support", "service",  "account", "number",
    "building", "library",  "garden",  "river",    "station", "travel",   "hotel",   "dinner",
    "new",      "last",     "next",    "early",    "late",    "small",    "large",   "kind"};

struct Name {
    std::string_view display;
    std::string_view ascii;
};
constexpr std::array<Name, 16> kFirst = {{{"Anna", "anna"},
                                          {"Ben", "ben"},
                                          {"Chloé", "chloe"},
                                          {"David", "david"},
                                          {"Emma", "emma"},
                                          {"Felix", "felix"},
                                          {"Grace", "grace"},
                                          {"Hugo", "hugo"},
                                          {"Ingrid", "ingrid"},
                                          {"José", "jose"},
                                          {"Karen", "karen"},
                                          {"Liam", "liam"},
                                          {"Maria", "maria"},
                                          {"Noah", "noah"},
                                          {"Olivia", "olivia"},
                                          {"Zoë", "zoe"}}};
constexpr std::array<Name, 16> kLast = {{{"Smith", "smith"},
                                         {"Jones", "jones"},
                                         {"Müller", "mueller"},
                                         {"García", "garcia"},
                                         {"Brown", "brown"},
                                         {"Novak", "novak"},
                                         {"Okafor", "okafor"},
                                         {"Larsen", "larsen"},
                                         {"Dubois", "dubois"},
                                         {"Rossi", "rossi"},
                                         {"Tanaka", "tanaka"},
                                         {"Walsh", "walsh"},
                                         {"Øster", "oster"},
                                         {"Khan", "khan"},
                                         {"Silva", "silva"},
                                         {"Young", "young"}}};
constexpr std::array<std::string_view, 12> kDomains = {
    "northwind-traders.com", "fabrikam.de",          "contoso.org",   "ridgeway-tools.co.uk",
    "bluefinch.net",         "mail.kestrel-labs.io", "example.com",   "lindenhof.at",
    "harbourview.com.au",    "uni-mitte.de",         "maplegrove.ca", "sunport.fr"};
constexpr std::array<std::string_view, 6> kRoles = {"info",     "sales",  "support",
                                                    "no-reply", "office", "press"};

}  // namespace

std::string_view Prose::word() {
    return kWords[below(kWords.size())];
}

std::string Prose::domain() {
    return std::string(kDomains[below(kDomains.size())]);
}

Person Prose::person() {
    const Name& first = kFirst[below(kFirst.size())];
    const Name& last = kLast[below(kLast.size())];
    Person p;
    p.name.append(first.display).append(" ").append(last.display);
    switch (below(3)) {
        case 0:
            p.address.append(first.ascii).append(".").append(last.ascii);
            break;
        case 1:
            p.address.append(first.ascii.substr(0, 1)).append(last.ascii);
            break;
        default:  // many distinct addresses, as a large corpus has
            p.address.append(first.ascii).append(std::to_string(below(100000)));
            break;
    }
    p.address.append("@").append(domain());
    return p;
}

std::string Prose::roleAddress() {
    return std::string(kRoles[below(kRoles.size())]) + "@" + domain();
}

std::string Prose::url() {
    std::string out = "https://www." + domain() + "/";
    out.append(word()).append("/").append(std::to_string(below(1000))).append(".html");
    return out;
}

std::string Prose::sentence(size_t minWords) {
    std::string out;
    appendSentence(out, minWords);
    return out;
}

std::string Prose::line() {
    std::string out;
    appendLine(out);
    return out;
}

void Prose::appendSentence(std::string& out, size_t minWords) {
    const size_t count = minWords + below(minWords + 1);
    const size_t start = out.size();
    for (size_t i = 0; i < count; ++i) {
        if (i > 0) {
            out += ' ';
        }
        out.append(word());
    }
    out[start] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[start])));
    out += '.';
}

void Prose::appendLine(std::string& out) {
    const size_t start = out.size();
    const size_t target = start + 50 + below(41);
    if (below(addressEvery_) == 0) {
        switch (below(3)) {
            case 0: {
                const Person p = person();
                out.append("Write to ").append(p.name).append(" <").append(p.address).append(">");
                break;
            }
            case 1:
                out.append("Please mail ").append(person().address).append(" for details");
                break;
            default:
                out.append("Questions: ").append(roleAddress());
                break;
        }
        out += ". ";
    } else if (below(webEvery_) == 0) {
        out.append("See ").append(url()).append(" for more. ");
    }
    while (out.size() < target) {
        appendSentence(out, 3);
        out += ' ';
    }
    out.pop_back();
}

FileSink::FileSink(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "wb")) {
    if (file_ == nullptr) {
        throw std::runtime_error("cannot create " + path);
    }
    buffer_.reserve(1 << 20);
}

FileSink::~FileSink() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

void FileSink::put(std::string_view bytes) {
    buffer_.append(bytes);
    if (buffer_.size() >= (1 << 20)) {
        flush();
    }
}

void FileSink::flush() {
    if (!buffer_.empty() &&
        std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size()) {
        throw std::runtime_error("cannot write " + path_ + " (disk full?)");
    }
    bytes_ += buffer_.size();
    buffer_.clear();
}

void FileSink::close() {
    flush();
    const bool ok = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!ok) {
        throw std::runtime_error("cannot write " + path_);
    }
}

std::string Base64(std::string_view bytes) {
    static const char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t lineLength = 0;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t n = static_cast<unsigned char>(bytes[i]) << 16;
        const size_t have = std::min<size_t>(3, bytes.size() - i);
        if (have > 1) {
            n |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        }
        if (have > 2) {
            n |= static_cast<unsigned char>(bytes[i + 2]);
        }
        for (size_t k = 0; k < 4; ++k) {
            out += k <= have ? kAlphabet[(n >> (18 - 6 * k)) & 63] : '=';
        }
        if ((lineLength += 4) == 76) {
            out += '\n';
            lineLength = 0;
        }
    }
    if (lineLength > 0) {
        out += '\n';
    }
    return out;
}

std::string QuotedPrintable(std::string_view text) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string out;
    size_t lineLength = 0;
    for (char c : text) {
        if (c == '\n') {
            out += '\n';
            lineLength = 0;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = byte >= 32 && byte < 127 && c != '=';
        if (lineLength + (plain ? 1 : 3) > 75) {
            out += "=\n";
            lineLength = 0;
        }
        if (plain) {
            out += c;
            ++lineLength;
        } else {
            out.append({'=', kHex[byte >> 4], kHex[byte & 15]});
            lineLength += 3;
        }
    }
    return out;
}

std::string EncodedWord(std::string_view utf8) {
    for (char c : utf8) {
        if (static_cast<unsigned char>(c) >= 128) {
            std::string b64 = Base64(utf8);
            b64.pop_back();  // the line end
            return "=?UTF-8?B?" + b64 + "?=";
        }
    }
    return "\"" + std::string(utf8) + "\"";
}

std::string EscapeMarkup(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 16);
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}
