#include "LoopbackServer.h"

#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <memory>
#include <stdexcept>

namespace {

const char* Reason(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 301:
            return "Moved Permanently";
        case 404:
            return "Not Found";
        default:
            return "Status";
    }
}

constexpr qint64 kChunk = 64 * 1024;

}  // namespace

LoopbackServer::LoopbackServer() {
    if (!server_.listen(QHostAddress::LocalHost, 0)) {
        throw std::runtime_error("cannot listen on 127.0.0.1");
    }
    QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::readyRead, socket,
                             [this, socket] { serve(socket); });
        }
    });
}

LoopbackServer::~LoopbackServer() {
    server_.close();
    for (QTcpSocket* socket : server_.findChildren<QTcpSocket*>()) {
        socket->abort();
    }
}

std::string LoopbackServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(server_.serverPort()) + path;
}

int LoopbackServer::hits(const std::string& path) const {
    return static_cast<int>(std::count(log.begin(), log.end(), path));
}

void LoopbackServer::serve(QTcpSocket* socket) {
    // The request so far is kept on the socket until its head is complete.
    QByteArray head = socket->property("head").toByteArray() + socket->readAll();
    socket->setProperty("head", head);
    if (!head.contains("\r\n\r\n") || socket->property("answered").toBool()) {
        return;
    }
    socket->setProperty("answered", true);
    const QList<QByteArray> requestLine = head.left(head.indexOf("\r\n")).split(' ');
    const std::string path = requestLine.size() > 1 ? requestLine[1].toStdString() : "";
    log.push_back(path);
    if (static_cast<int>(log.size()) > maxRequests) {
        socket->abort();
        return;
    }
    if (onRequest) {
        onRequest();
    }
    auto it = routes_.find(path);
    if (it != routes_.end() && it->second.delayMs > 0) {
        QTimer::singleShot(it->second.delayMs, socket,
                           [this, socket, path] { answer(socket, path); });
    } else {
        answer(socket, path);
    }
}

void LoopbackServer::answer(QTcpSocket* socket, const std::string& path) {
    Reply reply;
    if (auto it = routes_.find(path); it != routes_.end()) {
        reply = it->second;
    } else {
        reply.status = 404;
        reply.body = "<h1>Not Found</h1>";
    }
    if (reply.mode == Reply::Silent) {
        return;
    }
    const long long length =
        reply.mode == Reply::Whole ? static_cast<long long>(reply.body.size()) : reply.streamBytes;
    std::string headers = "HTTP/1.1 " + std::to_string(reply.status) + " " + Reason(reply.status) +
                          "\r\nContent-Type: " + reply.contentType + "\r\nConnection: close\r\n";
    if (reply.contentLength) {
        headers += "Content-Length: " + std::to_string(length) + "\r\n";
    }
    if (!reply.location.empty()) {
        headers += "Location: " + reply.location + "\r\n";
    }
    socket->write((headers + "\r\n").data(), static_cast<qint64>(headers.size() + 2));
    if (reply.mode == Reply::HeadersThenStall) {
        socket->write(reply.body.data(), static_cast<qint64>(reply.body.size()));
        return;
    }
    if (reply.mode == Reply::Whole) {
        socket->write(reply.body.data(), static_cast<qint64>(reply.body.size()));
        socket->disconnectFromHost();
        return;
    }
    // Stream: top the socket's buffer up with zeros as the client reads.
    auto left = std::make_shared<long long>(length);
    auto topUp = [socket, left] {
        while (*left > 0 && socket->bytesToWrite() < 4 * kChunk) {
            const qint64 n = std::min<long long>(kChunk, *left);
            socket->write(QByteArray(n, 'x'));
            *left -= n;
        }
        if (*left == 0) {
            socket->disconnectFromHost();
        }
    };
    QObject::connect(socket, &QTcpSocket::bytesWritten, socket, topUp);
    topUp();
}
