#include "Corpus.h"

#include <array>
#include <initializer_list>
#include <random>
#include <string_view>

namespace {

constexpr std::array<const char*, 24> kWords = {
    "the",     "contact", "office",   "price",  "offer",   "please", "write",  "to",
    "our",     "team",    "for",      "more",   "details", "about",  "annual", "report",
    "service", "support", "customer", "market", "product", "page",   "news",   "update"};
constexpr std::array<const char*, 6> kDomains = {"example.com",     "mail.example.org",
                                                 "corp.test",       "shop.example.net",
                                                 "uni.example.edu", "news.test"};
constexpr std::array<const char*, 5> kTags = {"b", "i", "em", "strong", "span"};

// Appends pieces one by one (no temporary strings).
void Put(std::string& out, std::initializer_list<std::string_view> pieces) {
    for (std::string_view piece : pieces) {
        out += piece;
    }
}

// A small deterministic source: std::mt19937's sequence is fixed by the
// standard, and only its raw output is used.
class Source {
public:
    explicit Source(uint32_t seed) : engine_(seed) {}
    size_t below(size_t n) { return static_cast<size_t>(engine_() % n); }
    const char* word() { return kWords[below(kWords.size())]; }
    std::string email() {
        std::string out = word();
        Put(out, {std::to_string(below(5000)), "@", kDomains[below(kDomains.size())]});
        return out;
    }
    std::string url() {
        std::string out = "http://www.";
        Put(out, {kDomains[below(kDomains.size())], "/", word(), "/", std::to_string(below(900)),
                  ".html"});
        return out;
    }

private:
    std::mt19937 engine_;
};

void AppendWords(std::string& out, Source& src, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        out += src.word();
        out += ' ';
    }
}

void AppendHtmlPage(std::string& out, Source& src, size_t page) {
    out += "<!DOCTYPE html>\r\n<html>\r\n<head>\r\n<title>Page ";
    out += std::to_string(page);
    out += "</title>\r\n<meta charset=\"utf-8\">\r\n";
    const std::string number = std::to_string(page);
    Put(out,
        {"<script type=\"text/javascript\">\r\nvar page = ", number,
         ";\r\nfunction show(id) { if (id < 3 && page > 1) { return id; } }\r\n</script>\r\n"});
    Put(out, {"<!-- generated page ", number, " -->\r\n</head>\r\n<body>\r\n"});
    const size_t paragraphs = 4 + src.below(4);
    for (size_t p = 0; p < paragraphs; ++p) {
        out += "<p class=\"text\">";
        AppendWords(out, src, 10 + src.below(20));
        const char* tag = kTags[src.below(kTags.size())];
        Put(out, {"<", tag, ">"});
        AppendWords(out, src, 2 + src.below(4));
        Put(out, {"</", tag, "> "});
        switch (src.below(4)) {
            case 0: {
                const std::string mail = src.email();
                Put(out, {"write to <a href=\"mailto:", mail, "\">", mail, "</a>, "});
                break;
            }
            case 1: {
                const std::string url = src.url();
                Put(out, {"see <a href=\"", url, "\">", url, "</a> "});
                break;
            }
            case 2:
                Put(out,
                    {"mail ", src.email(), " &amp; ask for &quot;", src.word(), "&quot;&nbsp;"});
                break;
            default:
                out += "<br>";
                break;
        }
        AppendWords(out, src, 5 + src.below(10));
        out += "</p>\r\n";
    }
    Put(out, {"<table>\r\n<tr><td>", src.word(), "</td><td>", src.email(),
              "</td></tr>\r\n</table>\r\n"});
    out += "<script>document.write(\"<b>\" + page + \"</b>\");</script>\r\n";
    out += "</body>\r\n</html>\r\n";
}

void AppendTextParagraph(std::string& out, Source& src) {
    const size_t sentences = 3 + src.below(4);
    for (size_t s = 0; s < sentences; ++s) {
        AppendWords(out, src, 6 + src.below(12));
        switch (src.below(5)) {
            case 0:
                Put(out, {"Contact ", src.email(), " today. "});
                break;
            case 1:
                Put(out, {"See ", src.url(), " for more. "});
                break;
            case 2:
                Put(out, {"(", src.email(), ", "});
                Put(out, {src.email(), ") "});
                break;
            default:
                out += ".\t";
                break;
        }
    }
    out += "\r\n\r\n";
}

}  // namespace

std::string MakeHtmlCorpus(size_t bytes, uint32_t seed) {
    Source src(seed);
    std::string out;
    out.reserve(bytes + 4096);
    for (size_t page = 1; out.size() < bytes; ++page) {
        AppendHtmlPage(out, src, page);
    }
    return out;
}

std::string MakeTextCorpus(size_t bytes, uint32_t seed) {
    Source src(seed);
    std::string out;
    out.reserve(bytes + 1024);
    while (out.size() < bytes) {
        AppendTextParagraph(out, src);
    }
    return out;
}
