#include "LoopbackServer.h"

#include <QTcpSocket>
#include <algorithm>

LoopbackServer::LoopbackServer(std::map<std::string, std::string> pages, int maxRequests)
    : pages_(std::move(pages)), maxRequests_(maxRequests) {
    server_.listen(QHostAddress::LocalHost);
    connect(&server_, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

LoopbackServer::~LoopbackServer() {
    server_.close();
}

QString LoopbackServer::url(const std::string& path) const {
    return QString("http://127.0.0.1:%1/%2").arg(server_.serverPort()).arg(path.c_str());
}

int LoopbackServer::hits(const std::string& path) const {
    return static_cast<int>(std::count(requests.begin(), requests.end(), path));
}

void LoopbackServer::answer(QTcpSocket* socket) {
    // The request head may come in pieces; it ends with an empty line.
    const QByteArray head = socket->property("head").toByteArray() + socket->readAll();
    socket->setProperty("head", head);
    if (!head.contains("\r\n\r\n") || socket->property("answered").toBool()) {
        return;
    }
    socket->setProperty("answered", true);
    const QList<QByteArray> words = head.left(head.indexOf("\r\n")).split(' ');
    std::string path = words.size() > 1 ? words[1].mid(1).toStdString() : std::string();
    requests.push_back(path);
    if (static_cast<int>(requests.size()) >= maxRequests_) {
        server_.close();
    }
    if (onRequest) {
        onRequest(path);
    }
    const auto page = pages_.find(path);
    const bool found = page != pages_.end();
    const QByteArray body = found ? QByteArray::fromStdString(page->second) : "Not found";
    QByteArray reply = found ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n";
    reply += "Content-Type: text/html; charset=utf-8\r\nContent-Length: " +
             QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
    socket->write(reply);
    socket->disconnectFromHost();
}

quint16 ClosedLoopbackPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}
