#include <gtest/gtest.h>

#include "ArchiveWriting.h"
#include "Decoders.h"
#include "RecordingContext.h"

namespace harvest {
namespace {

using testing::Member;
using testing::writeArchive;

std::vector<std::pair<std::string, std::string>> handedOn(const RecordingContext& context) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const NestedSource& source : context.nestedSources) {
        out.emplace_back(source.origin.source, source.bytes);
    }
    return out;
}

TEST(ArchiveDecoder, HandsArchiveMembersOn) {
    const std::vector<Member> members = {
        {"dir/", "", true}, {"dir/a.txt", "amy@example.org"}, {"b.txt", "ben@example.org"}};
    struct Case {
        const char* name;
        int format;
        int filter;
    };
    const Case cases[] = {
        {"x.tar", ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_NONE},
        {"x.tar.gz", ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_GZIP},
        {"x.tar.bz2", ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_BZIP2},
        {"x.tar.xz", ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_XZ},
        {"x.7z", ARCHIVE_FORMAT_7ZIP, ARCHIVE_FILTER_NONE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string bytes = writeArchive(members, c.format, c.filter);
        RecordingContext context;
        decodeArchive(testing::blob(bytes, c.name, 1), context);
        EXPECT_TRUE(context.problems.empty());
        const std::string name = c.name;
        const std::vector<std::pair<std::string, std::string>> expected = {
            {name + "!dir/a.txt", "amy@example.org"}, {name + "!b.txt", "ben@example.org"}};
        EXPECT_EQ(handedOn(context), expected);
        for (const NestedSource& source : context.nestedSources) {
            EXPECT_EQ(source.depth, 2);
        }
    }
}

std::string rawStream(const std::string& bytes, int filter) {
    return writeArchive({{"data", bytes}}, ARCHIVE_FORMAT_RAW, filter);
}

TEST(ArchiveDecoder, HandsASingleCompressedStreamOnUnderItsName) {
    const std::string text = "cy@example.org\n";
    struct Case {
        std::string source;
        std::string bytes;
        std::string nested;
    };
    const Case cases[] = {
        {"in/x.gz", testing::gzip(text, "dir/notes.txt"), "in/x.gz!notes.txt"},
        {"in/report.txt.gz", testing::gzip(text), "in/report.txt.gz!report.txt"},
        {"a.zip!b.txt.bz2", rawStream(text, ARCHIVE_FILTER_BZIP2), "a.zip!b.txt.bz2!b.txt"},
        {"plain.xz", rawStream(text, ARCHIVE_FILTER_XZ), "plain.xz!plain"},
        {"noext", rawStream(text, ARCHIVE_FILTER_XZ), "noext!data"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        RecordingContext context;
        decodeArchive(testing::blob(c.bytes, c.source, 0), context);
        EXPECT_TRUE(context.problems.empty());
        const std::vector<std::pair<std::string, std::string>> expected = {{c.nested, text}};
        EXPECT_EQ(handedOn(context), expected);
    }
    // An empty file compressed, as packages ship some manual pages: nothing
    // to read, and nothing wrong.
    RecordingContext empty;
    decodeArchive(testing::blob(testing::gzip(""), "empty.1.gz", 0), empty);
    EXPECT_TRUE(empty.problems.empty());
    EXPECT_TRUE(empty.nestedSources.empty());
}

TEST(ArchiveDecoder, UnreadableInputIsAProblem) {
    const std::string tarGz =
        writeArchive({{"a.txt", testing::noise(300000, 1)}, {"b.txt", testing::noise(300000, 2)}},
                     ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_GZIP);
    const std::string steepTarGz =
        writeArchive({{"a.txt", std::string(2 << 20, 'a')}}, ARCHIVE_FORMAT_TAR_PAX_RESTRICTED,
                     ARCHIVE_FILTER_GZIP);
    struct Case {
        const char* what;
        std::string bytes;
        std::int64_t maxRatio;
        size_t handedOn;
        std::string reason;
    };
    const Case cases[] = {
        {"not compressed", "just text", 1000, 0, "neither an archive nor a compressed stream"},
        {"cut-off tar.gz", tarGz.substr(0, tarGz.size() * 2 / 3), 1000, 1, "damaged"},
        {"steep bzip2", rawStream(std::string(4 << 20, 'x'), ARCHIVE_FILTER_BZIP2), 1000, 0,
         "expands more than 1000 times over; a zip bomb?"},
        {"steep tar.gz", steepTarGz, 50, 0, "a zip bomb?"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingContext context;
        context.limitsInUse.maxRatio = static_cast<double>(c.maxRatio);
        decodeArchive(testing::blob(c.bytes, "in", 0), context);
        EXPECT_EQ(context.nestedSources.size(), c.handedOn);
        ASSERT_EQ(context.problems.size(), 1u);
        EXPECT_NE(context.problems[0].reason.find(c.reason), std::string::npos)
            << context.problems[0].reason;
    }
}

std::string warcRecord(const std::string& type, const std::string& uri, const std::string& block) {
    std::string head = "WARC/1.0\r\nWARC-Type: " + type +
                       "\r\nWARC-Date: 2024-01-02T03:04:05Z\r\nWARC-Record-ID: <urn:uuid:1>\r\n";
    if (!uri.empty()) {
        head += "WARC-Target-URI: " + uri + "\r\n";
    }
    return head + "Content-Length: " + std::to_string(block.size()) + "\r\n\r\n" + block +
           "\r\n\r\n";
}

TEST(WarcDecoder, HandsResponseAndResourcePayloadsOn) {
    const std::string page = "<p>dee@example.org</p>";
    const std::vector<std::string> records = {
        warcRecord("warcinfo", "", "software: test\r\n"),
        warcRecord("metadata", "http://example.com/", std::string(4000, 'm')),
        warcRecord("request", "http://example.com/", "GET / HTTP/1.1\r\nHost: example.com\r\n\r\n"),
        warcRecord(
            "response", "http://example.com/",
            "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nTransfer-Encoding: chunked\r\n\r\n"
            "5\r\n<p>de\r\n11\r\ne@example.org</p>\r\n0\r\n\r\n"),
        warcRecord("response", "https://example.com/z",
                   "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + testing::gzip(page)),
        warcRecord("resource", "file:///tmp/notes.txt", "eli@example.org"),
    };
    std::string plain, compressed;
    for (const std::string& record : records) {
        plain += record;
        compressed += testing::gzip(record);
    }
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"http://example.com/", page},
        {"https://example.com/z", page},
        {"file:///tmp/notes.txt", "eli@example.org"}};
    // A compressed WARC given to decodeArchive is read as a WARC too, a
    // record at a time.
    const auto archive = [](const Blob& blob, DecodeContext& context) {
        decodeArchive(blob, context);
    };
    struct Case {
        std::string bytes;
        void (*decode)(const Blob&, DecodeContext&);
    };
    for (const Case& c :
         {Case{plain, decodeWarc}, Case{compressed, decodeWarc}, Case{compressed, archive}}) {
        RecordingContext context;
        context.limitsInUse.maxMemberBytes = 1024;  // far less than the whole WARC
        c.decode(testing::blob(c.bytes, "crawl.warc", 0), context);
        EXPECT_TRUE(context.problems.empty());
        EXPECT_EQ(handedOn(context), expected);
        ASSERT_FALSE(context.nestedSources.empty());
        EXPECT_EQ(context.nestedSources[0].depth, 1);
    }
}

TEST(WarcDecoder, DamagedWarcKeepsTheRecordsBefore) {
    const std::string first = warcRecord("resource", "http://a.example/1", "one");
    const std::string second = warcRecord("resource", "http://a.example/2", "two, longer");
    struct Case {
        const char* what;
        std::string bytes;
        std::string reason;
    };
    const Case cases[] = {
        {"cut off", first + second.substr(0, second.size() - 10), "cut off"},
        {"not a record", first + "garbage\r\n\r\n", "does not start with WARC/"},
        {"head without end", first + "WARC/1.0\r\nContent-Length: 3\r\n", "header does not end"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingContext context;
        decodeWarc(testing::blob(c.bytes, "w.warc", 0), context);
        ASSERT_GE(context.nestedSources.size(), 1u);
        EXPECT_EQ(context.nestedSources[0].bytes, "one");
        ASSERT_EQ(context.problems.size(), 1u);
        EXPECT_NE(context.problems[0].reason.find(c.reason), std::string::npos)
            << context.problems[0].reason;
    }
}

}  // namespace
}  // namespace harvest
