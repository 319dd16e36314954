#include "Sitemap.h"

#include <zlib.h>

#include <QUrl>
#include <QXmlStreamReader>
#include <algorithm>
#include <vector>

namespace harvest {
namespace {

std::string tooMany(size_t maxUrls) {
    return "more than " + std::to_string(maxUrls) + " addresses; the rest ignored";
}

std::string amount(std::int64_t bytes) {
    return bytes % (1 << 20) == 0 ? std::to_string(bytes >> 20) + " MB"
                                  : std::to_string(bytes) + " bytes";
}

// Inflates a gzip (or zlib) stream, members one after another, keeping at
// most maxBytes. The problem text is set when the stream is not read whole.
std::string inflated(std::string_view bytes, std::int64_t maxBytes, std::string& problem) {
    std::string out;
    z_stream stream{};
    if (inflateInit2(&stream, 15 + 32) != Z_OK) {
        problem = "zlib could not be set up";
        return out;
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(std::min<size_t>(bytes.size(), UINT32_MAX));
    char chunk[65536];
    for (;;) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk);
        stream.avail_out = sizeof chunk;
        const int status = inflate(&stream, Z_NO_FLUSH);
        out.append(chunk, sizeof chunk - stream.avail_out);
        if (static_cast<std::int64_t>(out.size()) > maxBytes) {
            out.resize(static_cast<size_t>(maxBytes));
            problem = "expands to more than " + amount(maxBytes) + "; read up to there";
            break;
        }
        if (status == Z_STREAM_END) {
            if (stream.avail_in == 0) {
                break;
            }
            inflateReset(&stream);  // another gzip member follows
            continue;
        }
        if (status == Z_BUF_ERROR && stream.avail_in == 0) {
            problem = "the compressed data is cut off";
            break;
        }
        if (status != Z_OK && status != Z_BUF_ERROR) {
            problem = std::string("the compressed data is damaged: ") +
                      (stream.msg ? stream.msg : "zlib error " + std::to_string(status));
            break;
        }
    }
    inflateEnd(&stream);
    return out;
}

// The local part of an element name: "sm:loc" and "loc" alike.
QStringView localName(QStringView qualified) {
    const qsizetype colon = qualified.indexOf(u':');
    return colon < 0 ? qualified : qualified.mid(colon + 1);
}

void readXml(std::string_view bytes, const SitemapLimits& limits, SitemapEntries& entries) {
    QXmlStreamReader reader(
        QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())));
    // Prefixes are matched by hand, so that one never declared does not stop
    // the reading.
    reader.setNamespaceProcessing(false);
    std::vector<QString> open;  // the elements around the reader, outermost first
    bool root = false;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::EndElement) {
            if (!open.empty()) {
                open.pop_back();
            }
            continue;
        }
        if (token != QXmlStreamReader::StartElement) {
            continue;
        }
        const QStringView name = localName(reader.qualifiedName());
        if (!root) {
            root = true;
            if (name == u"urlset") {
                entries.kind = SitemapKind::Pages;
            } else if (name == u"sitemapindex") {
                entries.kind = SitemapKind::Index;
            } else {
                entries.problem =
                    "not a sitemap: the document is <" + name.toString().toStdString() + ">";
                return;
            }
        }
        const char16_t* entry = entries.kind == SitemapKind::Pages ? u"url" : u"sitemap";
        if (name == u"loc" && !open.empty() && open.back() == entry) {
            const QString loc =
                reader.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
            if (reader.hasError()) {
                break;
            }
            if (loc.isEmpty()) {
                continue;
            }
            if (entries.urls.size() >= limits.maxUrls) {
                entries.problem = tooMany(limits.maxUrls);
                return;
            }
            entries.urls.push_back(loc.toStdString());
            continue;  // the reader is at </loc> already
        }
        open.push_back(name.toString());
    }
    if (reader.hasError()) {
        entries.problem = "broken XML at line " + std::to_string(reader.lineNumber()) + ": " +
                          reader.errorString().toStdString();
    } else if (!root) {
        entries.problem = "not a sitemap: no XML element";
    }
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f';
}

void readText(std::string_view bytes, const SitemapLimits& limits, SitemapEntries& entries) {
    if (bytes.find('\0') != std::string_view::npos) {
        entries.problem = "not a sitemap: neither XML nor text";
        return;
    }
    entries.kind = SitemapKind::Text;
    size_t skipped = 0;
    for (size_t at = 0; at < bytes.size();) {
        size_t end = bytes.find('\n', at);
        end = end == std::string_view::npos ? bytes.size() : end;
        std::string_view line = bytes.substr(at, end - at);
        at = end + 1;
        while (!line.empty() && isSpace(line.front())) {
            line.remove_prefix(1);
        }
        while (!line.empty() && isSpace(line.back())) {
            line.remove_suffix(1);
        }
        if (line.empty()) {
            continue;
        }
        const QUrl url(QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size())),
                       QUrl::StrictMode);
        const QString scheme = url.scheme().toLower();
        if (!url.isValid() || url.host().isEmpty() || (scheme != "http" && scheme != "https")) {
            ++skipped;
            continue;
        }
        if (entries.urls.size() >= limits.maxUrls) {
            entries.problem = tooMany(limits.maxUrls);
            return;
        }
        entries.urls.emplace_back(line);
    }
    if (skipped > 0) {
        entries.problem = std::to_string(skipped) + (skipped == 1 ? " line is" : " lines are") +
                          " not an http or https address; skipped";
    }
}

}  // namespace

SitemapEntries parseSitemap(std::string_view bytes, const SitemapLimits& limits) {
    SitemapEntries entries;
    std::string plain;
    std::string inflateProblem;
    if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0x1f &&
        static_cast<unsigned char>(bytes[1]) == 0x8b) {
        plain = inflated(bytes, limits.maxInflatedBytes, inflateProblem);
        bytes = plain;
    }
    std::string_view start = bytes;
    if (start.starts_with("\xEF\xBB\xBF")) {
        start.remove_prefix(3);
    }
    while (!start.empty() && isSpace(start.front())) {
        start.remove_prefix(1);
    }
    const bool utf16 = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
    if (start.empty() && !utf16) {
        entries.problem = "not a sitemap: empty";
    } else if (utf16 || start.starts_with('<')) {
        readXml(bytes, limits, entries);
    } else {
        readText(start, limits, entries);
    }
    // A cut in the compressed data explains whatever went wrong after it.
    if (!inflateProblem.empty()) {
        entries.problem = inflateProblem;
    }
    return entries;
}

}  // namespace harvest
