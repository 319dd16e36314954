#pragma once

#include <QTcpServer>
#include <functional>
#include <map>
#include <string>
#include <vector>

class QTcpSocket;

// A small HTTP server on 127.0.0.1 (a free port) for tests. It answers GET
// requests from its routes, counts them, refuses every request beyond
// `maxRequests`, and closes all connections when it goes.
class LoopbackServer {
public:
    struct Reply {
        enum Mode {
            Whole,             // headers and body, then close
            HeadersThenStall,  // headers announcing `streamBytes`, `body`, then nothing more
            Silent,            // never answers
            Stream             // `streamBytes` of body, written as the client reads
        };
        int status = 200;
        std::string body;
        std::string contentType = "text/html";
        std::string location;  // a redirect's target
        Mode mode = Whole;
        long long streamBytes = 0;
        bool contentLength = true;
        int delayMs = 0;  // the answer waits this long

        static Reply Of(Mode mode, long long streamBytes = 0, bool contentLength = true) {
            Reply r;
            r.mode = mode;
            r.streamBytes = streamBytes;
            r.contentLength = contentLength;
            return r;
        }
        static Reply Redirect(const std::string& location) {
            Reply r;
            r.status = 301;
            r.location = location;
            r.body = "<a href=\"" + location + "\">moved</a>";
            return r;
        }
    };

    LoopbackServer();
    ~LoopbackServer();

    void route(const std::string& path, Reply reply) { routes_[path] = std::move(reply); }
    void page(const std::string& path, const std::string& html) { routes_[path].body = html; }
    // "http://127.0.0.1:<port>" followed by `path`.
    std::string url(const std::string& path = "") const;
    int hits(const std::string& path) const;
    // The body a route serves.
    const std::string& body(const std::string& path) const { return routes_.at(path).body; }

    std::vector<std::string> log;     // the paths requested, in order
    std::function<void()> onRequest;  // after each request is logged
    int maxRequests = 4000;

private:
    void serve(QTcpSocket* socket);
    void answer(QTcpSocket* socket, const std::string& path);

    QTcpServer server_;
    std::map<std::string, Reply> routes_;
};
