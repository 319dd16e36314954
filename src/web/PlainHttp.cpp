#include "PlainHttp.h"

#include <zlib.h>

#include <QTcpSocket>
#include <algorithm>
#include <cstring>

namespace {

// What the socket holds for us before it stops reading from the connection,
// and what one read or one inflated piece takes.
constexpr qint64 kReadBufferBytes = 256 * 1024;
constexpr qint64 kPieceBytes = 64 * 1024;
constexpr qint64 kInflatedPieceBytes = 256 * 1024;
// The longest head, and the longest chunk-size or trailer line, accepted.
constexpr qsizetype kHeadBytes = 64 * 1024;
constexpr qsizetype kLineBytes = 4 * 1024;

bool IsRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

}  // namespace

// A gzip or deflate body, inflated as it comes.
struct PlainHttpGet::Inflater {
    Inflater() { ok = inflateInit2(&stream, 15 + 32) == Z_OK; }  // zlib or gzip, by its header
    ~Inflater() {
        if (ok) {
            inflateEnd(&stream);
        }
    }
    z_stream stream{};
    bool ok = false;
    bool ended = false;
    std::unique_ptr<char[]> out = std::make_unique_for_overwrite<char[]>(kInflatedPieceBytes);
};

PlainHttpGet::PlainHttpGet(const QUrl& url, Handlers handlers)
    : url_(url), handlers_(std::move(handlers)), socket_(new QTcpSocket(this)) {
    socket_->setReadBufferSize(kReadBufferBytes);
    connect(socket_, &QTcpSocket::connected, this, [this] {
        QByteArray target = url_.path(QUrl::FullyEncoded).toLatin1();
        if (target.isEmpty()) {
            target = "/";
        }
        if (url_.hasQuery()) {
            target += "?" + url_.query(QUrl::FullyEncoded).toLatin1();
        }
        QByteArray host = url_.host(QUrl::FullyEncoded).toLatin1();
        if (host.contains(':')) {
            host = "[" + host + "]";
        }
        if (url_.port() != -1 && url_.port() != 80) {
            host += ":" + QByteArray::number(url_.port());
        }
        socket_->write("GET " + target + " HTTP/1.1\r\nHost: " + host +
                       "\r\nUser-Agent: Mozilla/5.0\r\nAccept-Encoding: gzip, deflate\r\n"
                       "Connection: close\r\n\r\n");
    });
    connect(socket_, &QTcpSocket::readyRead, this, [this] { readAvailable(); });
    connect(socket_, &QTcpSocket::disconnected, this, [this] { closed(); });
    connect(socket_, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError e) {
        if (e == QAbstractSocket::RemoteHostClosedError) {
            closed();
        } else {
            finish(socket_->errorString().toStdString());
        }
    });
    socket_->connectToHost(url_.host(), static_cast<quint16>(url_.port(80)));
}

PlainHttpGet::~PlainHttpGet() = default;

void PlainHttpGet::stop() {
    over_ = true;
    socket_->abort();
}

void PlainHttpGet::finish(const std::string& error) {
    if (over_) {
        return;
    }
    over_ = true;
    socket_->abort();
    if (handlers_.end) {
        handlers_.end(error);
    }
}

void PlainHttpGet::readAvailable() {
    char piece[kPieceBytes];
    while (!over_ && socket_->bytesAvailable() > 0) {
        const qint64 got = socket_->read(piece, kPieceBytes);
        if (got <= 0 || !take(piece, got)) {
            return;
        }
    }
}

void PlainHttpGet::closed() {
    readAvailable();
    if (over_) {
        return;
    }
    if (stage_ == Stage::Body && framing_ == Framing::Close) {
        finish("");
    } else if (stage_ == Stage::Head) {
        finish("the connection closed before an answer came");
    } else {
        finish("the connection closed before the whole body came");
    }
}

bool PlainHttpGet::take(const char* data, qint64 size) {
    while (size > 0 && !over_) {
        switch (stage_) {
            case Stage::Head: {
                pending_.append(data, static_cast<qsizetype>(size));
                size = 0;
                const qsizetype end = pending_.indexOf("\r\n\r\n");
                if (end < 0) {
                    if (pending_.size() > kHeadBytes) {
                        finish("the answer's head is too long");
                    }
                    break;
                }
                const QByteArray rest = pending_.mid(end + 4);
                pending_.truncate(end);
                if (!takeHead()) {
                    return false;
                }
                return take(rest.constData(), rest.size());
            }
            case Stage::Body: {
                const qint64 n = framing_ == Framing::Length ? std::min(size, left_) : size;
                if (!deliver(data, n)) {
                    return false;
                }
                data += n;
                size -= n;
                if (framing_ == Framing::Length) {
                    left_ -= n;
                    if (left_ == 0) {
                        finish("");
                    }
                }
                break;
            }
            case Stage::ChunkData: {
                const qint64 n = std::min(size, left_);
                if (!deliver(data, n)) {
                    return false;
                }
                data += n;
                size -= n;
                left_ -= n;
                if (left_ == 0) {
                    stage_ = Stage::ChunkEnd;
                }
                break;
            }
            case Stage::ChunkSize:
            case Stage::ChunkEnd:
            case Stage::Trailer: {
                // Lines: a chunk's size, the line end after a chunk's data,
                // and the trailer up to its empty line.
                const char* nl = static_cast<const char*>(std::memchr(data, '\n', size));
                const qint64 n = nl ? nl - data + 1 : size;
                pending_.append(data, static_cast<qsizetype>(n));
                data += n;
                size -= n;
                if (!nl) {
                    if (pending_.size() > kLineBytes) {
                        finish("a chunk of the body is malformed");
                    }
                    break;
                }
                const QByteArray line = pending_.trimmed();
                pending_.clear();
                if (stage_ == Stage::ChunkEnd) {
                    stage_ = Stage::ChunkSize;
                } else if (stage_ == Stage::Trailer) {
                    if (line.isEmpty()) {
                        finish("");
                    }
                } else {
                    bool ok = false;
                    const qsizetype semicolon = line.indexOf(';');  // chunk extensions
                    const QByteArray digits = semicolon < 0 ? line : line.left(semicolon);
                    left_ = digits.trimmed().toLongLong(&ok, 16);
                    if (!ok || left_ < 0) {
                        finish("a chunk of the body is malformed");
                    } else {
                        stage_ = left_ == 0 ? Stage::Trailer : Stage::ChunkData;
                    }
                }
                break;
            }
        }
    }
    return !over_;
}

bool PlainHttpGet::takeHead() {
    const QList<QByteArray> lines = pending_.split('\n');
    pending_.clear();
    const QList<QByteArray> statusLine = lines.value(0).trimmed().split(' ');
    bool ok = false;
    const int status = statusLine.value(1).toInt(&ok);
    if (!statusLine.value(0).startsWith("HTTP/") || !ok) {
        finish("the answer is not HTTP");
        return false;
    }
    if (status >= 100 && status < 200) {
        return true;  // an interim answer; the real one follows
    }
    QByteArray encoding, transfer, location;
    std::optional<qint64> length;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray& line = lines[i];
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            continue;
        }
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-length") {
            const qint64 n = value.toLongLong(&ok);
            if (ok && n >= 0) {
                length = n;
            }
        } else if (name == "transfer-encoding") {
            transfer = value.toLower();
        } else if (name == "content-encoding") {
            encoding = value.toLower();
        } else if (name == "location") {
            location = value;
        }
    }
    const QUrl target = IsRedirect(status) && !location.isEmpty()
                            ? url_.resolved(QUrl::fromEncoded(location, QUrl::TolerantMode))
                            : QUrl();
    if (!handlers_.head(status, target) || over_) {
        stop();
        return false;
    }
    if (encoding == "gzip" || encoding == "x-gzip" || encoding == "deflate") {
        inflater_ = std::make_unique<Inflater>();
        if (!inflater_->ok) {
            finish("the compressed body cannot be read");
            return false;
        }
    }
    if (transfer.contains("chunked")) {
        framing_ = Framing::Chunked;
        stage_ = Stage::ChunkSize;
    } else if (length) {
        framing_ = Framing::Length;
        left_ = *length;
        stage_ = Stage::Body;
        if (!inflater_ && !handlers_.length(*length)) {
            stop();
            return false;
        }
    } else {
        framing_ = Framing::Close;
        stage_ = Stage::Body;
    }
    if (status == 204 || status == 304 || (framing_ == Framing::Length && left_ == 0)) {
        finish("");
        return false;
    }
    return true;
}

bool PlainHttpGet::deliver(const char* data, qint64 size) {
    if (!inflater_) {
        if (!handlers_.body(data, size) || over_) {
            stop();
            return false;
        }
        return true;
    }
    if (inflater_->ended) {
        return true;  // what follows a compressed stream's end is left alone
    }
    z_stream& z = inflater_->stream;
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    z.avail_in = static_cast<uInt>(size);
    // A small piece can inflate to a great deal: it is handed on a bounded
    // piece at a time, each taken before the next is made.
    while (!inflater_->ended) {
        z.next_out = reinterpret_cast<Bytef*>(inflater_->out.get());
        z.avail_out = static_cast<uInt>(kInflatedPieceBytes);
        const int result = inflate(&z, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            finish("the compressed body is broken");
            return false;
        }
        inflater_->ended = result == Z_STREAM_END;
        const qint64 made = kInflatedPieceBytes - static_cast<qint64>(z.avail_out);
        if (made > 0 && (!handlers_.body(inflater_->out.get(), made) || over_)) {
            stop();
            return false;
        }
        if (result == Z_BUF_ERROR || (z.avail_in == 0 && z.avail_out > 0)) {
            break;  // all of this piece is out
        }
    }
    return true;
}
