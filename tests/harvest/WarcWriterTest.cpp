#include "WarcWriter.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "ArchiveWriting.h"
#include "Decoders.h"
#include "RecordingContext.h"
#include "SourceKind.h"

namespace harvest {
namespace {

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Each gzip member inflated on its own, from where the one before ended, up
// to the first that does not end.
std::vector<std::string> gzipMembers(std::string_view bytes) {
    std::vector<std::string> members;
    while (!bytes.empty()) {
        std::string out(1 << 20, '\0');
        z_stream stream{};
        inflateInit2(&stream, 15 + 16);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        stream.avail_in = static_cast<uInt>(bytes.size());
        stream.next_out = reinterpret_cast<Bytef*>(out.data());
        stream.avail_out = static_cast<uInt>(out.size());
        const int status = inflate(&stream, Z_FINISH);
        out.resize(stream.total_out);
        bytes.remove_prefix(stream.total_in);
        inflateEnd(&stream);
        if (status != Z_STREAM_END) {
            break;
        }
        members.push_back(out);
    }
    return members;
}

struct Record {
    std::map<std::string, std::string> fields;
    std::string block;
};

// Frames records the way the WARC format lays them out, failing the test on
// any deviation.
std::vector<Record> records(std::string_view bytes) {
    std::vector<Record> out;
    while (!bytes.empty()) {
        const size_t headEnd = bytes.find("\r\n\r\n");
        if (!bytes.starts_with("WARC/1.1\r\n") || headEnd == std::string_view::npos) {
            ADD_FAILURE() << "not a WARC/1.1 record head";
            break;
        }
        Record record;
        std::string_view head = bytes.substr(10, headEnd + 2 - 10);
        for (size_t eol; (eol = head.find("\r\n")) != std::string_view::npos;) {
            const std::string_view line = head.substr(0, eol);
            const size_t colon = line.find(": ");
            record.fields[std::string(line.substr(0, colon))] = line.substr(colon + 2);
            head.remove_prefix(eol + 2);
        }
        const size_t length = std::stoul(record.fields["Content-Length"]);
        record.block = bytes.substr(headEnd + 4, length);
        EXPECT_EQ(bytes.substr(headEnd + 4 + length, 4), "\r\n\r\n");
        bytes.remove_prefix(std::min(bytes.size(), headEnd + 4 + length + 4));
        out.push_back(record);
    }
    return out;
}

std::string binaryBody() {
    std::string body;
    for (int c = 0; c < 256; ++c) {
        body += static_cast<char>(c);
    }
    return body;  // NUL, CR, LF and bytes above 127
}

TEST(WarcWriter, DigestsAreSha1InBase32) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "sha1:3I42H3S6NNFQ2MSVX7XZKYAYSCX5QBYJ"},
        {"abc", "sha1:VGMT4NSHA2AWVOR6EVYXQUGCNSONBWE5"},
        {binaryBody(), "sha1:JELNNPNX66HGQA3JRSVTFUKYN2SFPX6I"},
    };
    for (const auto& [bytes, digest] : cases) {
        EXPECT_EQ(warcDigest({bytes}), digest);
    }
    EXPECT_EQ(warcDigest({"a", "", "bc"}), warcDigest({"abc"}));
}

TEST(WarcWriter, WritesLinkedRecordsWithTheirFields) {
    QTemporaryDir dir;
    for (const std::string name : {"crawl.warc", "crawl.warc.gz"}) {
        SCOPED_TRACE(name);
        const std::string path = dir.filePath(QString::fromStdString(name)).toStdString();
        WarcWriter writer(path);
        ASSERT_EQ(writer.open(), std::nullopt);
        ASSERT_EQ(writer.writeInfo("gleanmark 1.0", {{"robots", "obey"}}), std::nullopt);
        WarcExchange exchange;
        exchange.url = "http://example.com/a?b=1";
        exchange.requestHead = "GET /a?b=1 HTTP/1.1\r\nHost: example.com\r\n\r\n";
        exchange.responseHead = "HTTP/1.1 200 OK\r\nContent-Length: 9999\r\n";
        exchange.body = binaryBody();
        exchange.date = QDateTime({2024, 5, 6}, {7, 8, 9}, Qt::UTC);
        exchange.ip = "192.0.2.7";
        exchange.truncated = WarcTruncation::Length;
        exchange.bodyForm = WarcBody::AsReceived;
        ASSERT_EQ(writer.writeExchange(exchange), std::nullopt);
        exchange.date = exchange.date.addMSecs(250);
        exchange.truncated = WarcTruncation::None;
        exchange.ip.clear();
        const std::string requestHead = std::exchange(exchange.requestHead, {});
        ASSERT_EQ(writer.writeExchange(exchange), std::nullopt);
        ASSERT_EQ(writer.close(), std::nullopt);

        std::string bytes = fileBytes(path);
        if (writer.compressed()) {
            const std::vector<std::string> members = gzipMembers(bytes);
            EXPECT_EQ(members.size(), 4u);  // one member a record
            bytes.clear();
            for (const std::string& member : members) {
                EXPECT_EQ(records(member).size(), 1u);
                bytes += member;
            }
        }
        const std::vector<Record> all = records(bytes);
        ASSERT_EQ(all.size(), 4u);
        const char* types[][2] = {{"warcinfo", "application/warc-fields"},
                                  {"request", "application/http;msgtype=request"},
                                  {"response", "application/http;msgtype=response"},
                                  {"response", "application/http;msgtype=response"}};
        std::set<std::string> ids;
        for (size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(all[i].fields.at("WARC-Type"), types[i][0]);
            EXPECT_EQ(all[i].fields.at("Content-Type"), types[i][1]);
            const std::string& id = all[i].fields.at("WARC-Record-ID");
            EXPECT_TRUE(id.starts_with("<urn:uuid:") && id.ends_with(">") && id.size() == 47) << id;
            ids.insert(id);
            EXPECT_EQ(all[i].fields.count("WARC-Warcinfo-ID"), i == 0 ? 0u : 1u);
        }
        EXPECT_EQ(ids.size(), all.size());
        const std::map<std::string, std::string>& info = all[0].fields;
        EXPECT_EQ(info.at("WARC-Filename"), name);
        EXPECT_EQ(all[0].block,
                  "software: gleanmark 1.0\r\nformat: WARC File Format 1.1\r\nrobots: obey\r\n");
        EXPECT_EQ(all[3].fields.at("WARC-Warcinfo-ID"), info.at("WARC-Record-ID"));

        const Record& request = all[1];
        const Record& response = all[2];
        EXPECT_EQ(request.block, requestHead);
        EXPECT_EQ(response.block, exchange.responseHead + "\r\n" + exchange.body);
        EXPECT_EQ(response.fields.at("WARC-Concurrent-To"), request.fields.at("WARC-Record-ID"));
        EXPECT_EQ(response.fields.at("WARC-Payload-Digest"), warcDigest({binaryBody()}));
        EXPECT_EQ(response.fields.at("WARC-Block-Digest"), warcDigest({response.block}));
        EXPECT_EQ(response.fields.at("WARC-Truncated"), "length");
        EXPECT_EQ(all[3].fields.count("WARC-Truncated"), 0u);
        EXPECT_EQ(all[3].fields.count("WARC-Concurrent-To"), 0u);  // no request written
        for (const Record* r : {&request, &response}) {
            EXPECT_EQ(r->fields.at("WARC-Target-URI"), exchange.url);
            EXPECT_EQ(r->fields.at("WARC-Date"), "2024-05-06T07:08:09Z");
            EXPECT_EQ(r->fields.at("WARC-IP-Address"), "192.0.2.7");
        }
        EXPECT_EQ(all[3].fields.at("WARC-Date"), "2024-05-06T07:08:09.250Z");
        EXPECT_EQ(all[3].fields.count("WARC-IP-Address"), 0u);
    }
}

TEST(WarcWriter, RewritesTheHeadOfADecodedBody) {
    struct Case {
        const char* what;
        std::string head;
        std::string expected;
    };
    const Case cases[] = {
        {"codings renamed",
         "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\ncontent-encoding: gzip\r\n\r\n",
         "HTTP/1.1 200 OK\r\nX-Crawler-Transfer-Encoding: chunked\r\n"
         "X-Crawler-content-encoding: gzip\r\n\r\n"},
        {"length kept", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX-Content-Encoding: br\r\n\r\n",
         "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX-Content-Encoding: br\r\n\r\n"},
        {"length replaced",
         "HTTP/1.1 200 OK\r\nContent-Length: 3\r\nContent-Encoding: gzip\r\n\r\n",
         "HTTP/1.1 200 OK\r\nX-Crawler-Content-Length: 3\r\nX-Crawler-Content-Encoding: gzip\r\n"
         "Content-Length: 5\r\n\r\n"},
        {"bare line feeds, no empty line", "HTTP/1.0 200 OK\nContent-Length: 3\n",
         "HTTP/1.0 200 OK\nX-Crawler-Content-Length: 3\nContent-Length: 5\n\n"},
        {"folded field", "HTTP/1.1 200 OK\r\nX-Long: a\r\n b\r\nContent-Encoding: gzip\r\n\r\nrest",
         "HTTP/1.1 200 OK\r\nX-Long: a\r\n b\r\nX-Crawler-Content-Encoding: gzip\r\n\r\n"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(decodedResponseHead(c.head, 5), c.expected) << c.what;
    }
}

// Decodes a harvest source the way a harvest does: WARC records, their pages
// as HTML.
void harvestSource(const std::string& bytes, RecordingContext& context) {
    context.onNested = [](const Blob& blob, DecodeContext& inner) {
        if (recognise(blob.bytes) == SourceKind::Html) {
            decodeHtml(blob, inner);
        }
    };
    const Blob blob = testing::blob(bytes, "crawl", 0);
    recognise(bytes) == SourceKind::Warc ? decodeWarc(blob, context) : decodeArchive(blob, context);
}

WarcExchange page(int n, WarcBody form) {
    WarcExchange exchange;
    exchange.url = "https://site.example/p" + std::to_string(n);
    exchange.requestHead = "GET /p" + std::to_string(n) + " HTTP/1.1\r\nHost: site.example\r\n";
    const std::string html =
        "<html><body><p>mail <b>user" + std::to_string(n) + "@site.example</b></p></body></html>";
    exchange.responseHead =
        "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Encoding: gzip\r\n"
        "Transfer-Encoding: chunked\r\n\r\n";
    exchange.bodyForm = form;
    if (form == WarcBody::Decoded) {
        exchange.body = html;
    } else {
        const std::string wire = testing::gzip(html);
        char size[16];
        std::snprintf(size, sizeof size, "%zx\r\n", wire.size());
        exchange.body = size + wire + "\r\n0\r\n\r\n";
    }
    return exchange;
}

TEST(WarcWriter, HarvestReadsTheFileBackUpToItsLastWholeRecord) {
    QTemporaryDir dir;
    for (const std::string name : {"crawl.warc", "crawl.warc.gz"}) {
        const std::string path = dir.filePath(QString::fromStdString(name)).toStdString();
        WarcWriter writer(path);
        ASSERT_EQ(writer.open(), std::nullopt);
        std::vector<size_t> ends;  // the file's size after each exchange, unclosed
        for (int n = 1; n <= 3; ++n) {
            const WarcBody form = n == 2 ? WarcBody::AsReceived : WarcBody::Decoded;
            ASSERT_EQ(writer.writeExchange(page(n, form)), std::nullopt);
            ends.push_back(fileBytes(path).size());
        }
        const std::string whole = fileBytes(path);
        ASSERT_EQ(whole.size(), ends.back());
        struct Cut {
            const char* what;
            size_t size;
            size_t pages;
            size_t wholeMembers;  // of a compressed file
        };
        const Cut cuts[] = {{"whole", whole.size(), 3, 6},
                            {"after the second exchange", ends[1], 2, 4},
                            {"in the last request", ends[1] + 40, 2, 4},
                            {"in the last response", ends[2] - 60, 2, 5}};
        for (const Cut& cut : cuts) {
            SCOPED_TRACE(name + ", " + cut.what);
            const std::string bytes = whole.substr(0, cut.size);
            const bool wholeRecords = cut.size == ends[1] || cut.size == ends[2];
            RecordingContext context;
            harvestSource(bytes, context);
            EXPECT_EQ(context.problems.empty(), wholeRecords);
            if (writer.compressed()) {
                // Every member before the cut inflates on its own to one record.
                std::string inflated;
                for (const std::string& member : gzipMembers(bytes)) {
                    inflated += member;
                }
                EXPECT_EQ(records(inflated).size(), cut.wholeMembers);
                if (!wholeRecords) {
                    // libarchive drops what it inflated last when the input is
                    // cut inside a member: only the records before are sure.
                    EXPECT_LE(context.nestedSources.size(), cut.pages);
                    continue;
                }
            }
            // Only the responses are handed on, and a response cut short too.
            ASSERT_GE(context.nestedSources.size(), cut.pages);
            EXPECT_LE(context.nestedSources.size(), cut.pages + 1);
            for (size_t n = 1; n <= cut.pages; ++n) {
                const std::string address = "user" + std::to_string(n) + "@site.example";
                EXPECT_EQ(context.nestedSources[n - 1].origin.source,
                          "https://site.example/p" + std::to_string(n));
                EXPECT_NE(context.allText().find(address), std::string::npos) << address;
            }
        }
    }
}

TEST(WarcWriter, RefusesWhatWouldBreakARecord) {
    QTemporaryDir dir;
    const std::string path = dir.filePath("w.warc").toStdString();
    EXPECT_NE(WarcWriter(dir.filePath("no/such/dir/w.warc").toStdString()).open(), std::nullopt);
    WarcWriter writer(path);
    EXPECT_NE(writer.writeExchange(page(1, WarcBody::Decoded)), std::nullopt);  // not open
    ASSERT_EQ(writer.open(), std::nullopt);
    const std::vector<std::function<void(WarcExchange&)>> breakers = {
        [](WarcExchange& e) { e.url = "http://a.example/\r\nWARC-Type: x"; },
        [](WarcExchange& e) { e.url = "http://a.example/a b"; },
        [](WarcExchange& e) { e.url.clear(); },
        [](WarcExchange& e) { e.ip = "1.2.3.4\n"; },
        [](WarcExchange& e) { e.responseHead.clear(); },
    };
    for (const auto& breaker : breakers) {
        WarcExchange exchange = page(1, WarcBody::Decoded);
        breaker(exchange);
        EXPECT_NE(writer.writeExchange(exchange), std::nullopt) << exchange.url;
    }
    EXPECT_NE(writer.writeInfo("x", {{"bad name", "v"}}), std::nullopt);
    EXPECT_NE(writer.writeInfo("x", {{"name", "line\r\nbreak"}}), std::nullopt);
    // A refused exchange leaves nothing behind and does not stop the writer.
    EXPECT_EQ(writer.writeExchange(page(1, WarcBody::Decoded)), std::nullopt);
    EXPECT_EQ(writer.close(), std::nullopt);
    EXPECT_EQ(records(fileBytes(path)).size(), 2u);
}

}  // namespace
}  // namespace harvest
