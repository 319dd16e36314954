// The parts of an HTTP answer read without a connection: dates, Retry-After,
// Content-Type, the head, and bodies fed in pieces of every size.
#include <gtest/gtest.h>

#include <string>

#include "HttpBody.h"
#include "HttpFields.h"
#include "TestSite.h"

namespace harvest {
namespace {

constexpr std::int64_t k1994 = 784111777;  // Sun, 06 Nov 1994 08:49:37 GMT

TEST(HttpFields, DatesInEveryFormAndNothingElse) {
    const struct {
        const char* text;
        std::optional<std::int64_t> seconds;
    } cases[] = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", k1994},
        {"Sunday, 06-Nov-94 08:49:37 GMT", k1994},
        {"Sun Nov  6 08:49:37 1994", k1994},
        {"sun, 06 NOV 1994 08:49:37 utc", k1994},
        {"Thursday, 01-Jan-30 00:00:00 GMT", 1893456000},
        {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
        {"Tue, 29 Feb 2000 12:00:00 GMT", 951825600},
        {"Sun, 06 Nov 1994 08:49:37 +0100", std::nullopt},
        {"Mon, 29 Feb 1999 12:00:00 GMT", std::nullopt},
        {"Sun, 06 Nov 1994 24:00:00 GMT", std::nullopt},
        {"Sun, 06 Nov 1994 GMT", std::nullopt},
        {"yesterday", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ParseHttpDate(c.text), c.seconds) << c.text;
    }
}

TEST(HttpFields, RetryAfterAsSecondsOrDate) {
    const struct {
        const char* value;
        std::int64_t now;
        std::optional<double> wait;
    } cases[] = {
        {"120", 0, 120.0},
        {" 2 ", 0, 2.0},
        {"0", 0, 0.0},
        {"Sun, 06 Nov 1994 08:50:07 GMT", k1994, 30.0},
        {"Sun, 06 Nov 1994 08:49:37 GMT", k1994 + 60, 0.0},  // past: no wait
        {"-5", 0, std::nullopt},
        {"1.5", 0, std::nullopt},
        {"99999999999999999999", 0, std::nullopt},
        {"soon", 0, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ParseRetryAfter(c.value, c.now), c.wait) << c.value;
    }
}

TEST(HttpFields, ContentTypeSplitsIntoTypeAndCharset) {
    const struct {
        const char* value;
        const char* type;
        const char* charset;
    } cases[] = {
        {"text/html", "text/html", ""},
        {"Text/HTML; Charset=\"UTF-8\"", "text/html", "utf-8"},
        {" application/xhtml+xml ;q=1; charset = iso-8859-1 ", "application/xhtml+xml",
         "iso-8859-1"},
        {"text/plain;format=flowed", "text/plain", ""},
        {"", "", ""},
    };
    for (const auto& c : cases) {
        const auto [type, charset] = SplitContentType(c.value);
        EXPECT_EQ(type, c.type) << c.value;
        EXPECT_EQ(charset, c.charset) << c.value;
    }
}

TEST(HttpFields, HeadReadsLooseServersAndRefusesNonHttp) {
    const auto head = ParseHttpHead(
        "HTTP/1.0 404\nContent-TYPE :  text/html \r\nX-Long: one\r\n two\r\nno colon\r\n"
        "Set-Cookie: a=1\r\nSet-Cookie: b=2");
    ASSERT_TRUE(head);
    EXPECT_EQ(head->status, 404);
    EXPECT_EQ(head->value("content-type"), "text/html");
    EXPECT_EQ(head->value("x-long"), "one two");
    EXPECT_EQ(head->values("set-cookie"), (std::vector<std::string>{"a=1", "b=2"}));
    EXPECT_EQ(head->fields.size(), 4u);
    for (const char* bad : {"HTTP/1.1 2000 OK", "HTTP/1.1 OK", "ICY 200 OK", "", "HTTP/1.1"}) {
        EXPECT_FALSE(ParseHttpHead(bad)) << bad;
    }
}

struct BodyCase {
    const char* name;
    std::string head;  // status line and fields
    std::string wire;  // bytes after the head
    std::int64_t maxBytes;
    std::string body;
    HttpBodyReader::State state;
    std::string error;  // a part of the error; "" for none
};

void PrintTo(const BodyCase& c, std::ostream* os) {
    *os << c.name;
}

class HttpBody : public ::testing::TestWithParam<BodyCase> {};

// However the bytes are split, the body, its end and its error are the same.
TEST_P(HttpBody, SameOutcomeWhateverThePieces) {
    const BodyCase& c = GetParam();
    const auto head = ParseHttpHead(c.head);
    ASSERT_TRUE(head);
    for (size_t piece : {size_t{1}, size_t{2}, size_t{7}, c.wire.size() + 1}) {
        HttpBodyReader reader(*head, c.maxBytes);
        for (size_t at = 0; at < c.wire.size() && reader.state() == HttpBodyReader::State::Reading;
             at += piece) {
            reader.take(std::string_view(c.wire).substr(at, piece));
        }
        reader.closed();
        EXPECT_EQ(reader.body(), c.body) << "pieces of " << piece;
        EXPECT_EQ(reader.state(), c.state) << "pieces of " << piece;
        if (c.error.empty()) {
            EXPECT_EQ(reader.error(), "") << "pieces of " << piece;
        } else {
            EXPECT_NE(reader.error().find(c.error), std::string::npos)
                << reader.error() << ", pieces of " << piece;
        }
    }
}

std::string Gz(const std::string& text) {
    return TestSite::gzip(text.c_str()).toStdString();
}
std::string Raw(const std::string& text) {
    return TestSite::deflate(text.c_str(), false).toStdString();
}

std::string Chunked(const std::string& data) {
    return QByteArray::number(static_cast<int>(data.size()), 16).toStdString() + "\r\n" + data +
           "\r\n0\r\n\r\n";
}

using State = HttpBodyReader::State;
const std::string kText = "Write to office@club.example, or call.";
const std::string kOk = "HTTP/1.1 200 OK\r\n";
const std::string kGzip = kOk + "Content-Encoding: gzip\r\n";

INSTANTIATE_TEST_SUITE_P(
    Framings, HttpBody,
    ::testing::Values(
        BodyCase{"LengthLeavesWhatFollows", kOk + "Content-Length: 5", "helloEXTRA", 100, "hello",
                 State::Complete, ""},
        BodyCase{"LengthCutByClose", kOk + "Content-Length: 9", "hello", 100, "hello", State::Cut,
                 "closed mid-body"},
        BodyCase{"ContradictoryLengthsReadToClose", kOk + "Content-Length: 3\r\nContent-Length: 4",
                 "hello", 100, "hello", State::Complete, ""},
        BodyCase{"ChunksWithExtensionsAndTrailer", kOk + "Transfer-Encoding: chunked",
                 "5;x=1\r\nhello\r\nA \r\n, world!!!\r\n0\r\nX-T: 1\r\n\r\nJUNK", 100,
                 "hello, world!!!", State::Complete, ""},
        BodyCase{"ChunkSizeNotHex", kOk + "Transfer-Encoding: chunked", "5\r\nhello\r\nzz\r\n", 100,
                 "hello", State::Cut, "malformed"},
        BodyCase{"ChunksCutByClose", kOk + "Transfer-Encoding: chunked", "5\r\nhel", 100, "hel",
                 State::Cut, "closed mid-body"},
        BodyCase{"OverTheLimit", kOk, std::string(3000, 'x'), 1024, std::string(1024, 'x'),
                 State::Cut, "larger than 1 KB"},
        BodyCase{"ExactlyTheLimit", kOk + "Content-Length: 4", "abcd", 4, "abcd", State::Complete,
                 ""},
        BodyCase{"NoBodyFor304", "HTTP/1.1 304 Not Modified\r\nContent-Length: 50", "", 100, "",
                 State::Complete, ""},
        BodyCase{"Gzip", kGzip, Gz(kText), 100, kText, State::Complete, ""},
        BodyCase{"GzipMembersInARow", kGzip, Gz("one ") + Gz("two"), 100, "one two",
                 State::Complete, ""},
        BodyCase{"GzipThenJunk", kGzip, Gz(kText) + "\n\n<junk>", 100, kText, State::Complete, ""},
        BodyCase{"RawDeflateCalledGzip", kGzip, Raw(kText), 100, kText, State::Complete, ""},
        BodyCase{"GzipCutShort", kGzip, Gz(kText).substr(0, 10), 100, "", State::Cut, "ends early"},
        BodyCase{"GzipBroken", kGzip, "\x1f\x8b" + std::string(30, 'z'), 100, "", State::Cut,
                 "broken"},
        BodyCase{"GzipPastTheLimit", kGzip, Gz(std::string(100000, 'a')), 1000,
                 std::string(1000, 'a'), State::Cut, "expands past 1000 bytes"},
        BodyCase{"EmptyGzipBody", kGzip + "Content-Length: 0", "", 100, "", State::Complete, ""},
        BodyCase{"GzipAsTransferCoding", kOk + "Transfer-Encoding: gzip, chunked",
                 Chunked(Gz("abc")), 100, "abc", State::Complete, ""},
        BodyCase{"UnknownEncodingKeptAsSent", kOk + "Content-Encoding: br", "\x0b\x01", 100,
                 "\x0b\x01", State::Complete, "Content-Encoding: br"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace harvest
