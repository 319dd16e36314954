// One fetch of a site crawl against a server on 127.0.0.1 that answers
// well, badly, slowly, hugely or not at all.
#include <gtest/gtest.h>

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <fstream>

#include "SiteFetch.h"
#include "TestSite.h"

namespace harvest {
namespace {

using Reply = TestSite::Reply;
using Clock = std::chrono::steady_clock;

struct Outcome {
    FetchResponse response;
    double seconds = 0;
};

SiteFetcher::Options Direct() {
    SiteFetcher::Options options;
    options.proxy = QNetworkProxy(QNetworkProxy::NoProxy);
    return options;
}

Outcome Fetch(SiteFetcher& fetcher, const QUrl& url, std::int64_t maxBytes = 1 << 20,
              int timeoutMs = 3000, const QByteArray& agent = "Gleanmark-test") {
    Outcome out;
    QEventLoop loop;
    bool done = false;
    const auto start = Clock::now();
    fetcher.fetch({url, agent, maxBytes, timeoutMs}, [&](FetchResponse response) {
        out.response = std::move(response);
        done = true;
        loop.quit();
    });
    QTimer::singleShot(timeoutMs + 10000, &loop, &QEventLoop::quit);  // a hung fetch fails here
    if (!done) {
        loop.exec();
    }
    EXPECT_TRUE(done) << "no answer from the fetcher";
    out.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return out;
}

// The process's peak resident memory so far, in bytes.
std::int64_t PeakMemory() {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "VmHWM:") {
            std::int64_t kb = 0;
            status >> kb;
            return kb * 1024;
        }
    }
    return 0;
}

struct AnswerCase {
    const char* name;
    Reply reply;
    std::int64_t maxBytes;
    int status;
    std::string body;
    std::string error;  // a part of the error; "" for none
    bool truncated;
    std::string contentType = "";
    std::string charset = "";
    QString location = "";  // "/..." is on the test site
    std::optional<double> retryAfter = std::nullopt;
};

void PrintTo(const AnswerCase& c, std::ostream* os) {
    *os << c.name;
}

class SiteFetchAnswers : public ::testing::TestWithParam<AnswerCase> {};

TEST_P(SiteFetchAnswers, HandsOnWhatTheServerSaid) {
    const AnswerCase& c = GetParam();
    TestSite site;
    site.route("/a/d/page", c.reply);
    SiteFetcher fetcher(Direct());
    const FetchResponse r = Fetch(fetcher, site.url("/a/d/page"), c.maxBytes).response;
    EXPECT_EQ(r.status, c.status);
    EXPECT_EQ(r.body, c.body);
    if (c.error.empty()) {
        EXPECT_EQ(r.error, "");
    } else {
        EXPECT_NE(r.error.find(c.error), std::string::npos) << r.error;
    }
    EXPECT_EQ(r.truncated, c.truncated);
    EXPECT_EQ(r.contentType, c.contentType);
    EXPECT_EQ(r.charset, c.charset);
    const QUrl location = c.location.startsWith('/') ? site.url(c.location) : QUrl(c.location);
    EXPECT_EQ(r.location, location) << r.location.toString().toStdString();
    EXPECT_EQ(r.retryAfter, c.retryAfter);
    EXPECT_EQ(site.count("/a/b/c"), 0) << "a redirect was followed";
}

Reply With(Reply reply, void (*change)(Reply&)) {
    change(reply);
    return reply;
}

const QByteArray kPage = "<p>Write to office@club.example</p>";
const Reply kText = Reply::page("text/plain", kPage);

INSTANTIATE_TEST_SUITE_P(
    Answers, SiteFetchAnswers,
    ::testing::Values(
        AnswerCase{"Length", Reply::page("Text/HTML; charset=\"ISO-8859-1\"", kPage), 1 << 20, 200,
                   kPage.toStdString(), "", false, "text/html", "iso-8859-1"},
        AnswerCase{"ChunkedInDribs",
                   With(kText,
                        [](Reply& r) {
                            r.framing = Reply::Framing::Chunked;
                            r.pieceBytes = 3;
                        }),
                   1 << 20, 200, kPage.toStdString(), "", false, "text/plain"},
        AnswerCase{"GzipChunked",
                   With(kText,
                        [](Reply& r) {
                            r.gzip().framing = Reply::Framing::Chunked;
                            r.pieceBytes = 5;
                        }),
                   1 << 20, 200, kPage.toStdString(), "", false, "text/plain"},
        AnswerCase{"DeflateToTheClose",
                   With(kText,
                        [](Reply& r) {
                            r.body = TestSite::deflate(r.body, true);
                            r.field("Content-Encoding", "deflate").framing = Reply::Framing::Close;
                        }),
                   1 << 20, 200, kPage.toStdString(), "", false, "text/plain"},
        AnswerCase{"ClosedMidBody",
                   With(Reply::page("text/html", QByteArray(1000, 'x')),
                        [](Reply& r) { r.closeAfter = 100; }),
                   1 << 20, 200, std::string(100, 'x'), "closed mid-body", true, "text/html"},
        AnswerCase{"ClosedMidChunks",
                   With(Reply::page("text/html", QByteArray(1000, 'x')),
                        [](Reply& r) {
                            r.framing = Reply::Framing::Chunked;
                            r.closeAfter = 100;
                        }),
                   1 << 20, 200, std::string(100, 'x'), "closed mid-body", true, "text/html"},
        AnswerCase{"OverTheLimit", Reply::page("text/html", QByteArray(5000, 'x')), 1024, 200,
                   std::string(1024, 'x'), "larger than 1 KB: cut there", true, "text/html"},
        AnswerCase{"WholeGzipBomb",
                   With(Reply(),
                        [](Reply& r) {
                            r.generate = TestSite::gzipZeros((3 << 20) + 5);
                            r.field("Content-Encoding", "gzip").framing = Reply::Framing::Chunked;
                        }),
                   16 << 20, 200, std::string((3 << 20) + 5, '\0'), "", false},
        AnswerCase{"InterimAnswerFirst",
                   Reply::rawBytes("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n"
                                   "Content-Length: 2\r\n\r\nok"),
                   1 << 20, 200, "ok", "", false},
        AnswerCase{"BareLineFeeds",
                   Reply::rawBytes("\r\nHTTP/1.0 200 OK\nContent-Type: text/plain\n\nhello"),
                   1 << 20, 200, "hello", "", false, "text/plain"},
        AnswerCase{"NotHttp", Reply::rawBytes("SSH-2.0-OpenSSH_9.2\r\n"), 1 << 20, 0, "",
                   "not an HTTP answer", false},
        AnswerCase{"ClosedBeforeAnswer", Reply::rawBytes(""), 1 << 20, 0, "",
                   "closed before an answer", false},
        AnswerCase{"NoContent", Reply::page("text/html", "", 204), 1 << 20, 204, "", "", false,
                   "text/html"},
        AnswerCase{"MovedRelative", Reply::redirect(301, "../b/c?x=1"), 1 << 20, 301,
                   "<a href=\"../b/c?x=1\">moved</a>", "", false, "text/html", "", "/a/b/c?x=1"},
        AnswerCase{"MovedElsewhere", Reply::redirect(308, "https://other.example/x#top"), 1 << 20,
                   308, "<a href=\"https://other.example/x#top\">moved</a>", "", false, "text/html",
                   "", "https://other.example/x#top"},
        AnswerCase{"LocationOutsideRedirect",
                   With(kText, [](Reply& r) { r.field("Location", "/elsewhere"); }), 1 << 20, 200,
                   kPage.toStdString(), "", false, "text/plain"},
        AnswerCase{"RetryAfterSeconds",
                   With(Reply::page("text/plain", "slow down", 429),
                        [](Reply& r) { r.field("Retry-After", "2"); }),
                   1 << 20, 429, "slow down", "", false, "text/plain", "", "", 2.0},
        AnswerCase{"RetryAfterDate",
                   With(Reply::page("text/plain", "busy", 503),
                        [](Reply& r) {
                            r.field("Date", "Sun, 06 Nov 1994 08:49:37 GMT")
                                .field("Retry-After", "Sun, 06 Nov 1994 08:51:07 GMT");
                        }),
                   1 << 20, 503, "busy", "", false, "text/plain", "", "", 90.0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(SiteFetch, SendsItsHeadKeepsCookiesAndFollowsNoRedirect) {
    TestSite site;
    site.route("/login", Reply::redirect(302, "/home").field("Set-Cookie", "sid=abc; Path=/"));
    site.route("/home", Reply::page("text/html", "home"));
    SiteFetcher fetcher(Direct());
    const FetchResponse login =
        Fetch(fetcher, site.url("/login?x=1"), 1 << 20, 3000, "Gleanmark/2\r\nX-Evil: 1").response;
    EXPECT_EQ(login.status, 302);
    EXPECT_EQ(login.location, site.url("/home"));
    EXPECT_EQ(site.count("/home"), 0);
    const std::string host = "Host: 127.0.0.1:" + std::to_string(site.port()) + "\r\n";
    EXPECT_EQ(login.requestHead.rfind("GET /login?x=1 HTTP/1.1\r\n" + host, 0), 0u)
        << login.requestHead;
    EXPECT_TRUE(login.requestHead.ends_with("\r\n\r\n"));
    EXPECT_EQ(login.responseHead.rfind("HTTP/1.1 302 Found\r\n", 0), 0u);
    EXPECT_NE(login.responseHead.find("\r\nSet-Cookie: sid=abc; Path=/\r\n"), std::string::npos);
    EXPECT_TRUE(login.responseHead.ends_with("\r\nConnection: close\r\n\r\n"));

    const FetchResponse home = Fetch(fetcher, site.url("/home")).response;
    EXPECT_NE(home.requestHead.find("\r\nCookie: sid=abc\r\n"), std::string::npos);
    SiteFetcher stranger(Direct());
    Fetch(stranger, site.url("/home"));

    const std::vector<TestSite::Request> seen = site.requests();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].userAgent(), "Gleanmark/2X-Evil: 1");  // no field of the agent's making
    EXPECT_EQ(seen[0].field("x-evil"), "");
    EXPECT_EQ(seen[0].field("accept-encoding"), "gzip, deflate");
    EXPECT_EQ(seen[1].field("cookie"), "sid=abc");
    EXPECT_EQ(seen[2].field("cookie"), "");
}

TEST(SiteFetch, HttpProxyGetsAbsoluteTargetsAndItsCredentialsStayUnrecorded) {
    TestSite proxy;
    proxy.otherwise([](const TestSite::Request&) { return Reply::page("text/plain", "proxied"); });
    SiteFetcher::Options options;
    options.proxy = QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1", proxy.port(), "u", "pw");
    SiteFetcher fetcher(options);
    const FetchResponse r = Fetch(fetcher, QUrl("http://site.invalid/p?q=1#frag")).response;
    EXPECT_EQ(r.body, "proxied");
    EXPECT_EQ(r.requestHead.find("Proxy-Authorization"), std::string::npos);
    const std::vector<TestSite::Request> seen = proxy.requests();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].target, "http://site.invalid/p?q=1");
    EXPECT_EQ(seen[0].field("host"), "site.invalid");
    EXPECT_EQ(seen[0].field("proxy-authorization"), "Basic dTpwdw==");
}

TEST(SiteFetch, RefusedConnection) {
    QTcpServer probe;
    ASSERT_TRUE(probe.listen(QHostAddress::LocalHost, 0));
    const quint16 port = probe.serverPort();
    probe.close();
    SiteFetcher fetcher(Direct());
    const Outcome o = Fetch(fetcher, QUrl("http://127.0.0.1:" + QString::number(port) + "/"));
    EXPECT_EQ(o.response.status, 0);
    EXPECT_EQ(o.response.error, "connection refused");
    EXPECT_LT(o.seconds, 3.0);
}

TEST(SiteFetch, HttpsToAServerWithoutTlsFailsAtOnce) {
    QTcpServer plain;
    ASSERT_TRUE(plain.listen(QHostAddress::LocalHost, 0));
    QObject::connect(&plain, &QTcpServer::newConnection, [&plain] {
        QTcpSocket* socket = plain.nextPendingConnection();
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    });
    SiteFetcher fetcher(Direct());
    const QString url = "https://127.0.0.1:" + QString::number(plain.serverPort()) + "/";
    const Outcome o = Fetch(fetcher, QUrl(url), 1 << 20, 5000);
    EXPECT_EQ(o.response.status, 0);
    EXPECT_EQ(o.response.body, "");
    EXPECT_TRUE(o.response.error.starts_with("TLS handshake failed") ||
                o.response.error == "TLS is not available")
        << o.response.error;
    EXPECT_LT(o.seconds, 4.0);
}

struct HugeCase {
    const char* name;
    Reply reply;
    std::string error;
};

void PrintTo(const HugeCase& c, std::ostream* os) {
    *os << c.name;
}

class SiteFetchHuge : public ::testing::TestWithParam<HugeCase> {};

// Bodies of 200 MB and 10 GB stop at the limit: the rest is never read, and
// memory never holds more than a little beyond the limit.
TEST_P(SiteFetchHuge, StopsAtTheLimitWithoutReadingOn) {
    TestSite site;
    site.route("/huge", GetParam().reply);
    SiteFetcher fetcher(Direct());
    const std::int64_t peakBefore = PeakMemory();
    const Outcome o = Fetch(fetcher, site.url("/huge"), 4 << 20, 10000);
    EXPECT_EQ(o.response.status, 200);
    EXPECT_TRUE(o.response.truncated);
    EXPECT_EQ(o.response.error, GetParam().error);
    ASSERT_EQ(o.response.body.size(), 4u << 20);
    EXPECT_TRUE(std::all_of(o.response.body.begin(), o.response.body.end(),
                            [](char c) { return c == '\0'; }));
    EXPECT_LT(o.seconds, 8.0);
    EXPECT_LT(PeakMemory() - peakBefore, 64 << 20);
    const auto until = Clock::now() + std::chrono::seconds(3);
    while (site.openConnections() > 0 && Clock::now() < until) {
        QThread::msleep(20);  // the server notices the client has gone
    }
    EXPECT_LT(site.bytesSent(), 48 << 20);
}

Reply Zeros(Reply::Framing framing) {
    Reply r;
    r.framing = framing;
    r.generate = TestSite::repeat(QByteArray(64 << 10, '\0'), 3200);  // 200 MB
    r.length = 200LL << 20;
    return r;
}

INSTANTIATE_TEST_SUITE_P(Bodies, SiteFetchHuge,
                         ::testing::Values(HugeCase{"Length", Zeros(Reply::Framing::Length),
                                                    "larger than 4 MB: cut there"},
                                           HugeCase{"Chunked", Zeros(Reply::Framing::Chunked),
                                                    "larger than 4 MB: cut there"},
                                           HugeCase{"GzipBomb",
                                                    With(Reply(),
                                                         [](Reply& r) {
                                                             r.generate =
                                                                 TestSite::gzipZeros(10LL << 30);
                                                             r.field("Content-Encoding", "gzip");
                                                             r.framing = Reply::Framing::Chunked;
                                                         }),
                                                    "body expands past 4 MB: cut there"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(SiteFetch, AbortAllSilencesEveryRequestAndBadUrlsAnswerLater) {
    TestSite site;
    site.route("/silent", Reply::silence());
    SiteFetcher fetcher(Direct());
    int answers = 0;
    for (int i = 0; i < 3; ++i) {
        fetcher.fetch({site.url("/silent"), "t", 1024, 5000}, [&](FetchResponse) { ++answers; });
    }
    EXPECT_EQ(fetcher.inFlight(), 3);
    fetcher.abortAll();
    EXPECT_EQ(fetcher.inFlight(), 0);

    std::optional<FetchResponse> refused;
    fetcher.fetch({QUrl("ftp://127.0.0.1/file"), "t", 1024, 5000},
                  [&](FetchResponse r) { refused = std::move(r); });
    EXPECT_FALSE(refused) << "answered from within fetch()";
    QEventLoop loop;
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(answers, 0);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 0);
    EXPECT_EQ(refused->error, "not an http or https URL");
}

// The test server itself: answers on a kept connection, and stops at once
// with a client idle and another in the middle of an endless body.
TEST(TestSiteServer, KeepsConnectionsAndStopsWithClientsConnected) {
    std::optional<TestSite> site(std::in_place);
    site->route("/a", Reply::page("text/plain", "first"));
    Reply endless;
    endless.framing = Reply::Framing::Close;
    endless.generate = TestSite::repeat(QByteArray(64 << 10, 'e'), 1 << 30);
    site->route("/endless", endless);
    QTcpSocket idle, reading;
    idle.connectToHost(QHostAddress::LocalHost, site->port());
    reading.connectToHost(QHostAddress::LocalHost, site->port());
    ASSERT_TRUE(idle.waitForConnected(2000) && reading.waitForConnected(2000));
    reading.write("GET /a HTTP/1.1\r\nHost: x\r\n\r\nGET /endless HTTP/1.1\r\nHost: x\r\n\r\n");
    QByteArray got;
    const auto until = Clock::now() + std::chrono::seconds(3);
    while (!got.contains("eeee") && Clock::now() < until && reading.waitForReadyRead(500)) {
        got += reading.read(1 << 20);
    }
    EXPECT_TRUE(
        got.startsWith("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"
                       "Content-Length: 5\r\n\r\nfirstHTTP/1.1 200 OK\r\n"))
        << got.left(200).toStdString();
    const std::vector<TestSite::Request> seen = site->requests();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].connection, seen[1].connection);
    EXPECT_EQ(site->openConnections(), 2);

    const auto start = Clock::now();
    site.reset();
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - start).count(), 2.0);
    reading.readAll();
    EXPECT_TRUE(reading.state() == QAbstractSocket::UnconnectedState ||
                reading.waitForDisconnected(2000));
}

}  // namespace
}  // namespace harvest
