#include "HarvestInputs.h"

#include <filesystem>

#include "BenchProse.h"

namespace {

// Lines of prose up to `bytes`, each ended by `end`.
std::string Lines(Prose& prose, size_t bytes, char end = '\n') {
    std::string out;
    out.reserve(bytes + 100);
    while (out.size() < bytes) {
        prose.appendLine(out);
        out += end;
    }
    return out;
}

// One paragraph of HTML: escaped prose (a "Name <address>" line becomes
// entities), now and then a mailto: link with a name, an https link or a few
// entities more.
std::string HtmlParagraph(Prose& prose) {
    std::string out = "<p>";
    const size_t lines = 3 + prose.below(6);
    for (size_t i = 0; i < lines; ++i) {
        out += EscapeMarkup(prose.line());
        out += '\n';
    }
    switch (prose.below(4)) {
        case 0: {
            const Person p = prose.person();
            out +=
                "Write to <a href=\"mailto:" + p.address + "\">" + EscapeMarkup(p.name) + "</a>.";
            break;
        }
        case 1:
            out += "Details on <a href=\"" + prose.url() + "\">our pages</a>.";
            break;
        case 2:
            out += "Caf&eacute; &amp; garden&nbsp;&#8212; open &#x2013; daily.";
            break;
        default:
            break;
    }
    out += "</p>\n";
    return out;
}

std::string HtmlPage(Prose& prose, size_t bytes) {
    std::string out =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
        prose.sentence(3) + "</title>\n</head>\n<body>\n";
    while (out.size() < bytes) {
        out += "<h2>" + prose.sentence(2) + "</h2>\n";
        out += HtmlParagraph(prose);
    }
    out += "</body>\n</html>\n";
    return out;
}

// Body lines beginning with "From " are quoted in an mbox.
std::string QuoteFromLines(std::string text) {
    for (size_t at = 0; (at = text.find("\nFrom ", at)) != std::string::npos; at += 2) {
        text.insert(at + 1, ">");
    }
    return text;
}

// One message with a body of about `bodyBytes`; `index` picks how the body is
// written (plain, quoted-printable, base64, or text with an HTML alternative).
std::string MailMessage(Prose& prose, uint64_t index, size_t bodyBytes, bool mboxLine) {
    const Person from = prose.person();
    const Person to = prose.person();
    const unsigned day = 1 + static_cast<unsigned>(index % 28);
    const std::string date = std::to_string(day) + " Mar 2024 " + std::to_string(10 + index % 12) +
                             ":" + std::to_string(10 + index % 50) + ":00";
    std::string out;
    if (mboxLine) {
        out += "From " + from.address + " Fri Mar " + std::to_string(day) + " 10:00:00 2024\n";
    }
    out += "From: " + EncodedWord(from.name) + " <" + from.address + ">\n";
    out += "To: " + EncodedWord(to.name) + " <" + to.address + ">\n";
    if (index % 3 == 0) {
        const Person cc = prose.person();
        out +=
            "Cc: " + EncodedWord(cc.name) + " <" + cc.address + ">, " + prose.roleAddress() + "\n";
    }
    out += "Subject: " + prose.sentence(3) + "\n";
    out += "Date: Fri, " + date + " +0000\n";
    out += "Message-ID: <" + std::to_string(index) + ".bench@" + prose.domain() + ">\n";
    out += "MIME-Version: 1.0\n";
    std::string text = Lines(prose, bodyBytes) + "\n-- \n" + from.name + "\n" + from.address + "\n";
    switch (index % 4) {
        case 0:
            out += "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n";
            out += QuoteFromLines("\n" + text).substr(1);
            break;
        case 1:
            out +=
                "Content-Type: text/plain; charset=utf-8\n"
                "Content-Transfer-Encoding: quoted-printable\n\n";
            out += QuotedPrintable(text);
            break;
        case 2:
            out += "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64\n\n";
            out += Base64(text);
            break;
        default: {
            const std::string boundary = "=_bench_" + std::to_string(index);
            out += "Content-Type: multipart/alternative; boundary=\"" + boundary + "\"\n\n";
            out += "--" + boundary +
                   "\nContent-Type: text/plain; charset=utf-8\n"
                   "Content-Transfer-Encoding: quoted-printable\n\n";
            out += QuotedPrintable(text.substr(0, text.size() / 2));
            out += "\n--" + boundary +
                   "\nContent-Type: text/html; charset=utf-8\n"
                   "Content-Transfer-Encoding: base64\n\n";
            out += Base64(HtmlPage(prose, text.size() / 2));
            out += "--" + boundary + "--\n";
            break;
        }
    }
    out += "\n";
    return out;
}

}  // namespace

void WriteTextFile(const std::string& path, uint64_t bytes, uint32_t seed, bool oneLine,
                   size_t rarity) {
    Prose prose(seed);
    prose.rarer(rarity);
    FileSink sink(path);
    while (sink.bytes() < bytes) {
        sink.put(Lines(prose, 64 * 1024, oneLine ? ' ' : '\n'));
    }
    sink.put("\n");
    sink.close();
}

void WriteHtmlFile(const std::string& path, uint64_t bytes, uint32_t seed) {
    Prose prose(seed);
    FileSink sink(path);
    sink.put("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n");
    sink.put("<title>Staff and contacts</title>\n</head>\n<body>\n");
    while (sink.bytes() < bytes) {
        sink.put("<h2>" + prose.sentence(2) + "</h2>\n");
        for (size_t i = 0; i < 8; ++i) {
            sink.put(HtmlParagraph(prose));
        }
    }
    sink.put("</body>\n</html>\n");
    sink.close();
}

void WriteMbox(const std::string& path, uint64_t bytes, uint32_t seed) {
    Prose prose(seed);
    FileSink sink(path);
    for (uint64_t index = 0; sink.bytes() < bytes; ++index) {
        sink.put(MailMessage(prose, index, 5000 + prose.below(5000), true));
    }
    sink.close();
}

uint64_t WriteSmallFiles(const std::string& folder, uint64_t count, uint32_t seed) {
    Prose prose(seed);
    uint64_t total = 0;
    std::string subfolder;
    for (uint64_t i = 0; i < count; ++i) {
        if (i % 1000 == 0) {
            subfolder = folder + "/d" + std::to_string(i / 1000);
            std::filesystem::create_directories(subfolder);
        }
        const size_t size = 1024 + prose.below(4096);
        const std::string stem = subfolder + "/f" + std::to_string(i);
        FileSink sink(i % 3 == 0 ? stem + ".txt" : i % 3 == 1 ? stem + ".html" : stem + ".eml");
        if (i % 3 == 0) {
            sink.put(Lines(prose, size));
        } else if (i % 3 == 1) {
            sink.put(HtmlPage(prose, size));
        } else {
            sink.put(MailMessage(prose, i, size * 2 / 3, false));
        }
        total += sink.bytes();
        sink.close();
    }
    return total;
}
