#pragma once

#include <QByteArray>
#include <QObject>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QTcpSocket;

// One GET over plain HTTP/1.1 on a socket of its own, read no faster than
// its body is taken in. Qt's own HTTP layer reads a chunked body (and the
// body of a 401 or 407 answer) as fast as the server sends it, whatever the
// reply's read buffer, so a fast server on a busy machine fills memory; here
// the socket's read buffer is bounded and the connection holds the server
// back. The body is handed on decoded (chunks joined, gzip or deflate
// inflated) in pieces of at most a few hundred kilobytes.
class PlainHttpGet : public QObject {
    Q_OBJECT
public:
    struct Handlers {
        // The head is in: the status and the Location of a redirect (empty
        // when none); false stops the transfer.
        std::function<bool(int status, const QUrl& location)> head;
        // The body's announced length, when there is one and it is the
        // body's own (not compressed); false stops the transfer.
        std::function<bool(qint64 length)> length;
        // A piece of the decoded body; false stops the transfer.
        std::function<bool(const char* data, qint64 size)> body;
        // The transfer is over: "" when the body came whole, else why not.
        std::function<void(const std::string& error)> end;
    };

    PlainHttpGet(const QUrl& url, Handlers handlers);
    ~PlainHttpGet() override;

    // Stops reading; no handler is called after this.
    void stop();

private:
    struct Inflater;
    enum class Framing { Length, Chunked, Close };
    enum class Stage { Head, ChunkSize, ChunkData, ChunkEnd, Trailer, Body };

    void readAvailable();
    void closed();
    // Takes in bytes from the connection; false once the transfer is over.
    bool take(const char* data, qint64 size);
    bool takeHead();
    bool deliver(const char* data, qint64 size);
    void finish(const std::string& error);

    QUrl url_;
    Handlers handlers_;
    QTcpSocket* socket_;
    QByteArray pending_;  // bytes of the head or of a chunk-size line not yet complete
    Stage stage_ = Stage::Head;
    Framing framing_ = Framing::Close;
    qint64 left_ = 0;  // of the body's length, or of the chunk in hand
    std::unique_ptr<Inflater> inflater_;
    bool over_ = false;
};
