#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// An HTTP server on 127.0.0.1 (a free port) for tests of a client facing a
// server that does not play fair. It answers from threads of its own over
// plain sockets, so it sends as fast as the connection takes bytes whatever
// the client's event loop is doing. Every answer closes its connection; a
// connection lasts at most `connectionTime`, at most `maxConnections` are
// accepted, and the destructor stops and joins every thread.
class HostileServer {
public:
    // One accepted connection, as a route sees it. Writing stops (false) once
    // the client has gone, the connection's time is up or the server stops.
    class Connection {
    public:
        bool write(std::string_view bytes);
        // Waits `time` or until the client goes, whichever comes first.
        void hold(std::chrono::milliseconds time);
        long long sent() const { return sent_; }

    private:
        friend class HostileServer;
        Connection(int socket, std::chrono::steady_clock::time_point end,
                   const std::atomic<bool>& stopping)
            : socket_(socket), end_(end), stopping_(stopping) {}
        bool open() const;

        int socket_;
        std::chrono::steady_clock::time_point end_;
        const std::atomic<bool>& stopping_;
        long long sent_ = 0;
        bool gone_ = false;
    };
    using Route = std::function<void(Connection&)>;

    explicit HostileServer(std::chrono::milliseconds connectionTime = std::chrono::seconds(5),
                           int maxConnections = 64);
    ~HostileServer();
    HostileServer(const HostileServer&) = delete;
    HostileServer& operator=(const HostileServer&) = delete;

    void route(const std::string& path, Route route);
    // "http://127.0.0.1:<port>" followed by `path`.
    std::string url(const std::string& path) const;
    // Requests for `path` so far, and the body bytes sent for them.
    int hits(const std::string& path) const;
    long long sent(const std::string& path) const;

    // "HTTP/1.1 200 OK" with `headers` (each ending in CR LF) and the blank
    // line that ends the head.
    static std::string Head(const std::string& headers);

private:
    void accept();
    void serve(int socket);

    std::chrono::milliseconds connectionTime_;
    int maxConnections_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    std::map<std::string, Route> routes_;
    std::map<std::string, int> hits_;
    std::map<std::string, long long> sent_;
    std::vector<std::thread> connections_;
    int accepted_ = 0;
    std::thread acceptor_;
};
