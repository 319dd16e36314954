#pragma once

#include <QObject>
#include <QString>
#include <QTcpServer>
#include <functional>
#include <map>
#include <string>
#include <vector>

// A small web server on 127.0.0.1 for one test: it answers GET requests from
// a fixed set of pages (404 for anything else), stops listening after
// `maxRequests` and when it goes.
class LoopbackServer : public QObject {
public:
    explicit LoopbackServer(std::map<std::string, std::string> pages, int maxRequests = 100);
    ~LoopbackServer() override;

    // "http://127.0.0.1:<port>/" + path.
    QString url(const std::string& path) const;
    std::string address(const std::string& path) const { return url(path).toStdString(); }
    // The number of requests for `path` so far.
    int hits(const std::string& path) const;

    // Paths in the order they were asked for.
    std::vector<std::string> requests;
    // Told each path as it is asked for, before the answer goes out.
    std::function<void(const std::string& path)> onRequest;

private:
    void answer(class QTcpSocket* socket);

    std::map<std::string, std::string> pages_;
    int maxRequests_;
    QTcpServer server_;
};

// A loopback port that nothing listens on: connections to it are refused.
quint16 ClosedLoopbackPort();
