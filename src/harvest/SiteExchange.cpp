#include "SiteExchange.h"

#include <QDateTime>
#include <QSslSocket>
#include <QTcpSocket>
#include <algorithm>

namespace harvest {

namespace {

// What the socket holds for us before it stops reading from the connection,
// what one read takes, and the longest head accepted.
constexpr qint64 kReadBufferBytes = 256 * 1024;
constexpr qint64 kPieceBytes = 64 * 1024;
constexpr size_t kHeadBytes = 64 * 1024;

std::string Seconds(int ms) {
    QString text = QString::number(ms / 1000.0, 'f', ms % 1000 == 0 ? 0 : 1);
    return text.toStdString() + " s";
}

std::string SocketError(QAbstractSocket* socket, QAbstractSocket::SocketError error) {
    switch (error) {
        case QAbstractSocket::ConnectionRefusedError:
            return "connection refused";
        case QAbstractSocket::HostNotFoundError:
            return "host not found";
        case QAbstractSocket::NetworkError:
            return "network error: " + socket->errorString().toStdString();
        case QAbstractSocket::SslHandshakeFailedError:
            return "TLS handshake failed: " + socket->errorString().toStdString();
        default:
            return socket->errorString().toStdString();
    }
}

bool IsHttpProxy(const QNetworkProxy& proxy) {
    return proxy.type() == QNetworkProxy::HttpProxy ||
           proxy.type() == QNetworkProxy::HttpCachingProxy;
}

}  // namespace

SiteExchange::SiteExchange(FetchRequest request, QNetworkProxy proxy, QByteArray cookies, Done done,
                           QObject* parent)
    : QObject(parent),
      request_(std::move(request)),
      proxy_(std::move(proxy)),
      cookies_(std::move(cookies)),
      done_(std::move(done)) {
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, [this] { timeUp(); });
}

SiteExchange::~SiteExchange() {
    stop();
}

std::string SiteExchange::RequestHead(const QUrl& url, const QByteArray& userAgent,
                                      const QByteArray& cookies, bool absoluteForm) {
    QByteArray target;
    if (absoluteForm) {
        target = url.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    } else {
        target = url.path(QUrl::FullyEncoded).toLatin1();
        if (target.isEmpty()) {
            target = "/";
        }
        if (url.hasQuery()) {
            target += "?" + url.query(QUrl::FullyEncoded).toLatin1();
        }
    }
    QByteArray host = url.host(QUrl::FullyEncoded).toLatin1();
    if (host.contains(':')) {
        host = "[" + host + "]";
    }
    const int standardPort = url.scheme().toLower() == "https" ? 443 : 80;
    if (url.port() != -1 && url.port() != standardPort) {
        host += ":" + QByteArray::number(url.port());
    }
    QByteArray agent;
    for (char c : userAgent) {
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f) {
            agent += c;  // a line break would start a field of the caller's making
        }
    }
    QByteArray head = "GET " + target + " HTTP/1.1\r\nHost: " + host + "\r\n";
    if (!agent.isEmpty()) {
        head += "User-Agent: " + agent + "\r\n";
    }
    head += "Accept: */*\r\nAccept-Encoding: gzip, deflate\r\n";
    if (!cookies.isEmpty()) {
        head += "Cookie: " + cookies + "\r\n";
    }
    head += "Connection: close\r\n\r\n";
    return head.toStdString();
}

void SiteExchange::start() {
    const QUrl& url = request_.url;
    const QString scheme = url.scheme().toLower();
    const bool https = scheme == "https";
    const bool absoluteForm = !https && IsHttpProxy(proxy_);
    requestHead_ = RequestHead(url, request_.userAgent, cookies_, absoluteForm);
    std::string refusal;
    if (!url.isValid() || (scheme != "http" && !https) || url.host().isEmpty()) {
        refusal = "not an http or https URL";
    } else if (https && !QSslSocket::supportsSsl()) {
        refusal = "TLS is not available";
    }
    if (!refusal.empty()) {
        // Answered from the event loop, as every other outcome is.
        QTimer::singleShot(0, this, [this, refusal] { fail(refusal); });
        return;
    }
    socket_ = https ? new QSslSocket(this) : new QTcpSocket(this);
    socket_->setReadBufferSize(kReadBufferBytes);
    QByteArray sent = QByteArray::fromStdString(requestHead_);
    if (absoluteForm && !proxy_.user().isEmpty()) {
        // Sent, but kept out of the recorded head: it would end up in archives.
        const QByteArray credentials = (proxy_.user() + ":" + proxy_.password()).toUtf8();
        sent.insert(sent.size() - 2,
                    "Proxy-Authorization: Basic " + credentials.toBase64() + "\r\n");
    }
    const auto send = [this, sent] { socket_->write(sent); };
    connect(socket_, &QTcpSocket::readyRead, this, [this] { readAvailable(); });
    connect(socket_, &QTcpSocket::disconnected, this, [this] { closed(); });
    connect(socket_, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError e) {
        if (e == QAbstractSocket::RemoteHostClosedError) {
            closed();
        } else {
            fail(SocketError(socket_, e));
        }
    });
    starting_ = true;  // an outcome while connecting is handed on from the event loop
    timer_.start(std::max(0, request_.timeoutMs));
    const QString host = url.host(QUrl::FullyEncoded);
    const auto port = static_cast<quint16>(url.port(https ? 443 : 80));
    if (absoluteForm) {
        socket_->setProxy(QNetworkProxy::NoProxy);
        connect(socket_, &QTcpSocket::connected, this, send);
        socket_->connectToHost(proxy_.hostName(), proxy_.port());
        starting_ = false;
        return;
    }
    QNetworkProxy proxy = proxy_;
    if (proxy.type() == QNetworkProxy::HttpCachingProxy) {
        proxy.setType(QNetworkProxy::HttpProxy);  // a tunnel, for TLS
    } else if (proxy.type() == QNetworkProxy::DefaultProxy) {
        proxy.setType(QNetworkProxy::NoProxy);  // never the application's proxy
    }
    socket_->setProxy(proxy);
    if (https) {
        auto* tls = static_cast<QSslSocket*>(socket_);
        connect(tls, &QSslSocket::encrypted, this, send);
        tls->connectToHostEncrypted(host, port);
    } else {
        connect(socket_, &QTcpSocket::connected, this, send);
        socket_->connectToHost(host, port);
    }
    starting_ = false;
}

void SiteExchange::stop() {
    muted_ = true;
    end();
}

void SiteExchange::end() {
    over_ = true;
    timer_.stop();
    if (socket_) {
        socket_->disconnect(this);
        socket_->abort();
    }
}

void SiteExchange::readAvailable() {
    char piece[kPieceBytes];
    while (!over_ && socket_->bytesAvailable() > 0) {
        const qint64 got = socket_->read(piece, kPieceBytes);
        if (got <= 0) {
            return;
        }
        take(piece, got);
    }
}

void SiteExchange::take(const char* data, qint64 size) {
    if (!body_) {
        pendingHead_.append(data, static_cast<size_t>(size));
        takeHead();
        return;
    }
    body_->take(std::string_view(data, static_cast<size_t>(size)));
    if (body_->state() != HttpBodyReader::State::Reading) {
        finish();
    }
}

void SiteExchange::takeHead() {
    while (!over_ && !body_) {
        // Empty lines before the status line are allowed; anything else
        // that is not HTTP ends the exchange at once.
        const size_t first = pendingHead_.find_first_not_of("\r\n");
        if (first == std::string::npos) {
            return;
        }
        if (pendingHead_.size() - first >= 5 && pendingHead_.compare(first, 5, "HTTP/") != 0) {
            fail("not an HTTP answer");
            return;
        }
        // The head ends at an empty line, after CR LF or a bare LF.
        size_t fieldsEnd = std::string::npos, headEnd = 0;
        for (size_t at = pendingHead_.find('\n', std::max(first, scannedTo_));
             at != std::string::npos; at = pendingHead_.find('\n', at + 1)) {
            size_t next = at + 1;
            if (next < pendingHead_.size() && pendingHead_[next] == '\r') {
                ++next;
            }
            if (next < pendingHead_.size() && pendingHead_[next] == '\n') {
                fieldsEnd = at;
                headEnd = next + 1;
                break;
            }
        }
        if (fieldsEnd == std::string::npos) {
            if (pendingHead_.size() > kHeadBytes) {
                fail("the answer's head is too long");
            }
            scannedTo_ = pendingHead_.size() < 3 ? 0 : pendingHead_.size() - 3;
            return;
        }
        const auto head =
            ParseHttpHead(std::string_view(pendingHead_).substr(first, fieldsEnd - first));
        if (!head) {
            fail("not an HTTP answer");
            return;
        }
        if (head->status == 101) {
            fail("the server switched protocols");
            return;
        }
        if (head->status >= 100 && head->status < 200) {
            pendingHead_.erase(0, headEnd);  // an interim answer; the real one follows
            scannedTo_ = 0;
            continue;
        }
        head_ = *head;
        responseHead_ = pendingHead_.substr(first, headEnd - first);
        body_ = std::make_unique<HttpBodyReader>(head_, request_.maxBytes);
        const std::string rest = pendingHead_.substr(headEnd);
        pendingHead_.clear();
        if (body_->state() != HttpBodyReader::State::Reading) {
            finish();
        } else if (!rest.empty()) {
            take(rest.data(), static_cast<qint64>(rest.size()));
        }
    }
}

void SiteExchange::closed() {
    if (over_) {
        return;
    }
    readAvailable();
    if (over_) {
        return;
    }
    if (!body_) {
        fail(pendingHead_.find_first_not_of("\r\n") == std::string::npos
                 ? "connection closed before an answer"
                 : "connection closed in the answer's head");
        return;
    }
    body_->closed();
    finish();
}

void SiteExchange::timeUp() {
    if (over_) {
        return;
    }
    const std::string limit = Seconds(request_.timeoutMs);
    if (!body_) {
        fail("no answer within " + limit);
        return;
    }
    body_->cut("body not whole within " + limit + ": cut there");
    finish();
}

void SiteExchange::fail(const std::string& error) {
    if (over_) {
        return;
    }
    if (body_) {
        body_->cut(error);
    } else {
        error_ = error;
    }
    finish();
}

void SiteExchange::finish() {
    if (over_) {
        return;
    }
    end();
    FetchResponse response;
    response.url = request_.url;
    response.requestHead = requestHead_;
    if (!body_) {
        response.error = error_;
        report(std::move(response));
        return;
    }
    response.status = head_.status;
    response.error = body_->error();
    response.truncated = body_->state() == HttpBodyReader::State::Cut;
    std::tie(response.contentType, response.charset) =
        SplitContentType(head_.value("content-type"));
    const std::string location = head_.value("location");
    if (head_.status >= 300 && head_.status < 400 && !location.empty()) {
        const QUrl target =
            QUrl::fromEncoded(QByteArray::fromStdString(location), QUrl::TolerantMode);
        if (target.isValid()) {
            response.location = request_.url.resolved(target);
        }
    }
    if (head_.has("retry-after")) {
        const auto date = ParseHttpDate(head_.value("date"));
        response.retryAfter = ParseRetryAfter(head_.value("retry-after"),
                                              date ? *date : QDateTime::currentSecsSinceEpoch());
    }
    response.responseHead = std::move(responseHead_);
    response.body = std::move(body_->body());
    report(std::move(response));
}

void SiteExchange::report(FetchResponse response) {
    if (!starting_) {
        done_(this, std::move(response), head_);
        return;
    }
    QTimer::singleShot(0, this, [this, response = std::move(response)]() mutable {
        if (!muted_) {
            done_(this, std::move(response), head_);
        }
    });
}

}  // namespace harvest
