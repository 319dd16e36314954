#pragma once
// A scriptable HTTP/1.1 web server on 127.0.0.1 for tests of web clients.
//
// It listens on a free port of 127.0.0.1 and serves from a thread of its own
// (with its own event loop), so a test's thread may block or run its own
// event loop while it waits. The program needs a QCoreApplication (or
// QApplication) object.
//
// Answers come from routes: exact paths (without the query) mapped to
// handlers that get the request and return a Reply. A Reply is a status,
// header fields and a body, sent with a Content-Length, in chunks or up to
// the connection's close; the body can also be made as it goes out (an
// endless or very large body never held in memory), dripped in small pieces
// with a pause between them, cut off part way, or never sent at all. Paths
// without a route get what the `otherwise` handler says (404 by default).
//
//     TestSite site;
//     site.route("/", TestSite::Reply::page("text/html", "<a href=/b>b</a>"));
//     site.route("/b", [](const TestSite::Request& r) {
//         return TestSite::Reply::redirect(301, "/c?from=" + r.path);
//     });
//     fetch(site.url("/"));
//     EXPECT_EQ(site.count("/b"), 1);
//
// Every request is recorded (method, target, fields, the steady-clock time it
// came in), so tests can count requests per path and measure the pauses
// between them. Connections stay open for further requests unless the request
// or the reply ends them. The destructor closes every connection, whatever
// state its clients are in, and joins the thread.
#include <QByteArray>
#include <QList>
#include <QPair>
#include <QUrl>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class TestSite {
public:
    struct Request {
        QByteArray method;
        QByteArray target;  // as on the request line: "/a?b=1", or absolute through a proxy
        QByteArray path;    // the target without its query
        QList<QPair<QByteArray, QByteArray>> fields;  // names in lower case, in order
        std::chrono::steady_clock::time_point received;
        int connection = 0;  // which connection brought it: 1, 2, ... in order of accepting

        // The first value of a field ("user-agent"), "" when there is none.
        QByteArray field(const QByteArray& name) const;
        QByteArray userAgent() const { return field("user-agent"); }
    };

    struct Reply {
        enum class Framing {
            Length,   // Content-Length (of `body`, or `length` for a generated body)
            Chunked,  // Transfer-Encoding: chunked, one chunk a piece
            Close,    // no length: the body ends when the connection closes
        };

        int status = 200;
        // Sent as given after the status line. The framing field
        // (Content-Length or Transfer-Encoding) is added unless one is here
        // (so a test can send a wrong one).
        QList<QPair<QByteArray, QByteArray>> fields;
        QByteArray body;
        Framing framing = Framing::Length;
        // A body made as it goes out, instead of `body`: called for the next
        // piece whenever the connection takes more; an empty piece ends it.
        // With Length framing `length` is the announced Content-Length (none
        // when negative: the close then ends the body).
        std::function<QByteArray()> generate;
        std::int64_t length = -1;
        int pieceBytes = 0;            // the body goes out in pieces of this size (0: any size)
        int delayMs = 0;               // pause before each piece of the body (a drip)
        std::int64_t closeAfter = -1;  // the connection closes after this many body bytes
        bool silent = false;           // nothing is sent and the connection is held open
        // When set, sent instead of a formed answer (in pieces as above),
        // then the connection closes; "" closes it without a word.
        std::optional<QByteArray> raw;

        // Adds a field.
        Reply& field(const QByteArray& name, const QByteArray& value);
        // Compresses `body` with gzip and says so in Content-Encoding.
        Reply& gzip();

        static Reply page(const QByteArray& contentType, const QByteArray& body, int status = 200);
        static Reply redirect(int status, const QByteArray& location);
        static Reply silence();
        static Reply rawBytes(const QByteArray& bytes);
    };
    using Handler = std::function<Reply(const Request&)>;

    TestSite();
    ~TestSite();
    TestSite(const TestSite&) = delete;
    TestSite& operator=(const TestSite&) = delete;

    quint16 port() const { return port_; }
    // "http://127.0.0.1:<port>" followed by `pathAndQuery`.
    QUrl url(const QString& pathAndQuery = "/") const;

    // Handlers run on the server's thread, one request at a time; they may
    // call requests() and count() but not route().
    void route(const QByteArray& path, Handler handler);
    void route(const QByteArray& path, Reply reply);
    void otherwise(Handler handler);

    std::vector<Request> requests() const;
    int count(const QByteArray& path) const;
    // Bytes (heads and bodies) that the system took from the server's sockets
    // so far, every connection together.
    std::int64_t bytesSent() const;
    int openConnections() const;

    // Body helpers.
    static QByteArray gzip(const QByteArray& data);
    static QByteArray deflate(const QByteArray& data, bool zlibWrapper);
    // `unit` `times` over, made as it goes out.
    static std::function<QByteArray()> repeat(const QByteArray& unit, std::int64_t times);
    // A gzip stream that inflates to `bytes` zero bytes, made as it goes out
    // at about a thousandth of that size (a compression bomb).
    static std::function<QByteArray()> gzipZeros(std::int64_t bytes);

private:
    class Server;
    std::unique_ptr<Server> server_;
    quint16 port_ = 0;
};
