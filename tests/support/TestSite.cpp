#include "TestSite.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <map>
#include <mutex>

namespace {

// Output is made only while the socket holds less than this unsent.
constexpr qint64 kWindowBytes = 64 * 1024;
constexpr int kPieceBytes = 64 * 1024;
constexpr qsizetype kRequestHeadBytes = 64 * 1024;

QByteArray ReasonPhrase(int status) {
    static const std::map<int, QByteArray> kReasons = {{200, "OK"},
                                                       {204, "No Content"},
                                                       {206, "Partial Content"},
                                                       {301, "Moved Permanently"},
                                                       {302, "Found"},
                                                       {303, "See Other"},
                                                       {304, "Not Modified"},
                                                       {307, "Temporary Redirect"},
                                                       {308, "Permanent Redirect"},
                                                       {400, "Bad Request"},
                                                       {403, "Forbidden"},
                                                       {404, "Not Found"},
                                                       {410, "Gone"},
                                                       {429, "Too Many Requests"},
                                                       {431, "Request Header Fields Too Large"},
                                                       {500, "Internal Server Error"},
                                                       {503, "Service Unavailable"}};
    const auto it = kReasons.find(status);
    return it == kReasons.end() ? QByteArray("Status") : it->second;
}

bool HasField(const QList<QPair<QByteArray, QByteArray>>& fields, const QByteArray& name) {
    for (const auto& field : fields) {
        if (field.first.compare(name, Qt::CaseInsensitive) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

QByteArray TestSite::Request::field(const QByteArray& name) const {
    for (const auto& f : fields) {
        if (f.first == name.toLower()) {
            return f.second;
        }
    }
    return {};
}

TestSite::Reply& TestSite::Reply::field(const QByteArray& name, const QByteArray& value) {
    fields.append({name, value});
    return *this;
}

TestSite::Reply& TestSite::Reply::gzip() {
    body = TestSite::gzip(body);
    return field("Content-Encoding", "gzip");
}

TestSite::Reply TestSite::Reply::page(const QByteArray& contentType, const QByteArray& body,
                                      int status) {
    Reply r;
    r.status = status;
    r.body = body;
    return r.field("Content-Type", contentType);
}

TestSite::Reply TestSite::Reply::redirect(int status, const QByteArray& location) {
    Reply r = page("text/html", "<a href=\"" + location + "\">moved</a>", status);
    return r.field("Location", location);
}

TestSite::Reply TestSite::Reply::silence() {
    Reply r;
    r.silent = true;
    return r;
}

TestSite::Reply TestSite::Reply::rawBytes(const QByteArray& bytes) {
    Reply r;
    r.raw = bytes;
    return r;
}

// What the test's thread and the server's thread share.
struct SiteState {
    mutable std::mutex mutex;
    std::map<QByteArray, TestSite::Handler> routes;
    TestSite::Handler otherwise;
    std::vector<TestSite::Request> requests;
    std::int64_t sent = 0;
    int open = 0;
};

// One accepted connection, on the server's thread: requests are read one at
// a time and each answer is written as the socket takes it.
class SiteConnection : public QObject {
public:
    SiteConnection(QTcpSocket* socket, int id, SiteState& state, QObject* parent)
        : QObject(parent), socket_(socket), id_(id), state_(state) {
        socket_->setParent(this);
        delay_.setSingleShot(true);
        connect(&delay_, &QTimer::timeout, this, [this] {
            delayed_ = true;
            pump();
        });
        connect(socket_, &QTcpSocket::readyRead, this, [this] { readRequests(); });
        connect(socket_, &QTcpSocket::bytesWritten, this, [this](qint64 n) {
            {
                std::lock_guard lock(state_.mutex);
                state_.sent += n;
            }
            pump();
        });
        connect(socket_, &QTcpSocket::disconnected, this, [this] { deleteLater(); });
        std::lock_guard lock(state_.mutex);
        ++state_.open;
    }
    ~SiteConnection() override {
        socket_->disconnect(this);
        socket_->abort();
        std::lock_guard lock(state_.mutex);
        --state_.open;
    }

private:
    void readRequests();
    void answer(const TestSite::Request& request, bool keepAlive);
    void pump();
    QByteArray nextPiece();
    void endReply();

    QTcpSocket* socket_;
    int id_;
    SiteState& state_;
    QByteArray in_;
    QTimer delay_;
    bool replying_ = false;
    TestSite::Reply reply_;
    bool keepAlive_ = false;
    QByteArray head_;         // not yet written
    QByteArray carry_;        // made by `generate`, not yet written
    bool generated_ = false;  // `generate` gave its empty piece
    qsizetype bodyAt_ = 0;
    std::int64_t bodyOut_ = 0;
    bool delayed_ = false;  // the pause before the next piece is over
};

void SiteConnection::readRequests() {
    in_.append(socket_->readAll());
    while (!replying_) {
        const qsizetype end = in_.indexOf("\r\n\r\n");
        if (end < 0) {
            if (in_.size() > kRequestHeadBytes) {
                replying_ = true;
                socket_->write(
                    "HTTP/1.1 431 Request Header Fields Too Large\r\n"
                    "Content-Length: 0\r\nConnection: close\r\n\r\n");
                socket_->disconnectFromHost();
            }
            return;
        }
        const QList<QByteArray> lines = in_.left(end).split('\n');
        TestSite::Request request;
        request.received = std::chrono::steady_clock::now();
        request.connection = id_;
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.target = first.value(1);
        request.path = request.target.split('?').value(0);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            if (colon > 0) {
                request.fields.append(
                    {lines[i].left(colon).trimmed().toLower(), lines[i].mid(colon + 1).trimmed()});
            }
        }
        const qsizetype length = request.field("content-length").toLongLong();
        if (in_.size() < end + 4 + length) {
            return;  // the request's body is still coming
        }
        in_.remove(0, end + 4 + length);
        const bool keepAlive = first.value(2) == "HTTP/1.1" &&
                               !request.field("connection").toLower().contains("close");
        answer(request, keepAlive);
    }
}

void SiteConnection::answer(const TestSite::Request& request, bool keepAlive) {
    TestSite::Handler handler;
    {
        std::lock_guard lock(state_.mutex);
        state_.requests.push_back(request);
        const auto it = state_.routes.find(request.path);
        handler = it != state_.routes.end() ? it->second : state_.otherwise;
    }
    reply_ = handler ? handler(request) : TestSite::Reply::page("text/plain", "not found", 404);
    replying_ = true;
    carry_.clear();
    generated_ = false;
    bodyAt_ = 0;
    bodyOut_ = 0;
    delayed_ = false;
    if (reply_.silent) {
        return;  // held open, and nothing more is read
    }
    using Framing = TestSite::Reply::Framing;
    keepAlive_ = keepAlive && !reply_.raw && reply_.framing != Framing::Close &&
                 reply_.closeAfter < 0 &&
                 !(reply_.framing == Framing::Length && reply_.generate && reply_.length < 0);
    head_.clear();
    if (!reply_.raw) {
        head_ = "HTTP/1.1 " + QByteArray::number(reply_.status) + " " +
                ReasonPhrase(reply_.status) + "\r\n";
        for (const auto& [name, value] : reply_.fields) {
            head_ += name + ": " + value + "\r\n";
        }
        if (!HasField(reply_.fields, "content-length") &&
            !HasField(reply_.fields, "transfer-encoding")) {
            if (reply_.framing == Framing::Chunked) {
                head_ += "Transfer-Encoding: chunked\r\n";
            } else if (reply_.framing == Framing::Length && !reply_.generate) {
                head_ += "Content-Length: " + QByteArray::number(reply_.body.size()) + "\r\n";
            } else if (reply_.framing == Framing::Length && reply_.length >= 0) {
                head_ += "Content-Length: " + QByteArray::number(reply_.length) + "\r\n";
            }
        }
        if (!keepAlive_ && !HasField(reply_.fields, "connection")) {
            head_ += "Connection: close\r\n";
        }
        head_ += "\r\n";
    } else {
        reply_.body = *reply_.raw;
        reply_.generate = nullptr;
        reply_.framing = Framing::Close;
    }
    pump();
}

QByteArray SiteConnection::nextPiece() {
    qsizetype limit = reply_.pieceBytes > 0 ? reply_.pieceBytes : kPieceBytes;
    if (reply_.closeAfter >= 0) {
        limit = static_cast<qsizetype>(std::min<std::int64_t>(limit, reply_.closeAfter - bodyOut_));
    }
    QByteArray piece;
    if (reply_.generate) {
        while (carry_.size() < limit && !generated_) {
            const QByteArray more = reply_.generate();
            generated_ = more.isEmpty();
            carry_ += more;
        }
        piece = carry_.left(limit);
        carry_.remove(0, piece.size());
    } else {
        piece = reply_.body.mid(bodyAt_, limit);
        bodyAt_ += piece.size();
    }
    bodyOut_ += piece.size();
    return piece;
}

void SiteConnection::pump() {
    if (!replying_ || reply_.silent || socket_->state() != QAbstractSocket::ConnectedState) {
        return;
    }
    if (!head_.isEmpty()) {
        socket_->write(head_);
        head_.clear();
    }
    while (socket_->bytesToWrite() < kWindowBytes && !delay_.isActive()) {
        if (reply_.delayMs > 0 && !delayed_) {
            delay_.start(reply_.delayMs);
            return;
        }
        delayed_ = false;
        const QByteArray piece = nextPiece();
        if (piece.isEmpty()) {
            endReply();
            return;
        }
        if (reply_.framing == TestSite::Reply::Framing::Chunked) {
            socket_->write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
        } else {
            socket_->write(piece);
        }
    }
}

void SiteConnection::endReply() {
    const bool cut = reply_.closeAfter >= 0 && bodyOut_ >= reply_.closeAfter;
    if (reply_.framing == TestSite::Reply::Framing::Chunked && !cut) {
        socket_->write("0\r\n\r\n");
    }
    if (!keepAlive_) {
        socket_->disconnectFromHost();  // after what is written has gone
        return;
    }
    replying_ = false;
    QTimer::singleShot(0, this, [this] { readRequests(); });
}

class TestSite::Server {
public:
    Server() {
        root_ = new QObject;
        root_->moveToThread(&thread_);
        thread_.start();
    }
    ~Server() {
        QMetaObject::invokeMethod(
            root_,
            [this] {
                delete listener_;
                for (QObject* child : root_->children()) {
                    delete child;
                }
            },
            Qt::BlockingQueuedConnection);
        thread_.quit();
        thread_.wait();
        delete root_;
    }

    quint16 listen() {
        quint16 port = 0;
        QMetaObject::invokeMethod(
            root_,
            [this, &port] {
                listener_ = new QTcpServer;
                QObject::connect(listener_, &QTcpServer::newConnection, root_, [this] {
                    while (QTcpSocket* socket = listener_->nextPendingConnection()) {
                        new SiteConnection(socket, ++accepted_, state, root_);
                    }
                });
                listener_->listen(QHostAddress::LocalHost, 0);
                port = listener_->serverPort();
            },
            Qt::BlockingQueuedConnection);
        return port;
    }

    SiteState state;

private:
    QThread thread_;
    QObject* root_;
    QTcpServer* listener_ = nullptr;  // on the thread; not a child of root_
    int accepted_ = 0;
};

TestSite::TestSite() : server_(std::make_unique<Server>()) {
    port_ = server_->listen();
}

TestSite::~TestSite() = default;

QUrl TestSite::url(const QString& pathAndQuery) const {
    return QUrl("http://127.0.0.1:" + QString::number(port_) + pathAndQuery);
}

void TestSite::route(const QByteArray& path, Handler handler) {
    std::lock_guard lock(server_->state.mutex);
    server_->state.routes[path] = std::move(handler);
}

void TestSite::route(const QByteArray& path, Reply reply) {
    route(path, [reply](const Request&) { return reply; });
}

void TestSite::otherwise(Handler handler) {
    std::lock_guard lock(server_->state.mutex);
    server_->state.otherwise = std::move(handler);
}

std::vector<TestSite::Request> TestSite::requests() const {
    std::lock_guard lock(server_->state.mutex);
    return server_->state.requests;
}

int TestSite::count(const QByteArray& path) const {
    std::lock_guard lock(server_->state.mutex);
    int n = 0;
    for (const Request& request : server_->state.requests) {
        n += request.path == path ? 1 : 0;
    }
    return n;
}

std::int64_t TestSite::bytesSent() const {
    std::lock_guard lock(server_->state.mutex);
    return server_->state.sent;
}

int TestSite::openConnections() const {
    std::lock_guard lock(server_->state.mutex);
    return server_->state.open;
}
