#include "HostileServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kSliceMs = 50;  // how often a waiting thread looks at the time and the stop flag

// Milliseconds to wait in one poll: a slice, less when `end` comes sooner.
int Slice(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    return static_cast<int>(std::max<long long>(0, std::min<long long>(kSliceMs, left.count())));
}

// The path of a request's first line, or "" when there is none.
std::string RequestPath(const std::string& head) {
    const size_t space = head.find(' ');
    if (space == std::string::npos) {
        return {};
    }
    const size_t end = head.find(' ', space + 1);
    return end == std::string::npos ? std::string() : head.substr(space + 1, end - space - 1);
}

}  // namespace

bool HostileServer::Connection::open() const {
    return !gone_ && !stopping_ && Clock::now() < end_;
}

bool HostileServer::Connection::write(std::string_view bytes) {
    while (!bytes.empty()) {
        if (!open()) {
            return false;
        }
        pollfd ready{socket_, POLLOUT, 0};
        if (poll(&ready, 1, Slice(end_)) <= 0) {
            continue;
        }
        const ssize_t n = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR || errno == EAGAIN) {
                continue;
            }
            gone_ = true;
            return false;
        }
        sent_ += n;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return open();
}

void HostileServer::Connection::hold(std::chrono::milliseconds time) {
    const auto until = std::min(end_, Clock::now() + time);
    while (!gone_ && !stopping_ && Clock::now() < until) {
        pollfd ready{socket_, POLLIN, 0};
        if (poll(&ready, 1, Slice(until)) > 0) {
            char byte;
            // The client sends nothing more after its request, so readable
            // means it closed or reset the connection.
            if (recv(socket_, &byte, 1, MSG_DONTWAIT) <= 0) {
                gone_ = true;
            }
        }
    }
}

HostileServer::HostileServer(std::chrono::milliseconds connectionTime, int maxConnections)
    : connectionTime_(connectionTime), maxConnections_(maxConnections) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener_, 16) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (listener_ >= 0) {
            close(listener_);
        }
        throw std::runtime_error("no socket on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
}

HostileServer::~HostileServer() {
    stopping_ = true;
    acceptor_.join();
    // The acceptor has ended, so the list of connections no longer grows.
    for (auto& connection : connections_) {
        connection.join();
    }
    close(listener_);
}

void HostileServer::route(const std::string& path, Route route) {
    std::lock_guard lock(mutex_);
    routes_[path] = std::move(route);
}

std::string HostileServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

int HostileServer::hits(const std::string& path) const {
    std::lock_guard lock(mutex_);
    auto it = hits_.find(path);
    return it == hits_.end() ? 0 : it->second;
}

long long HostileServer::sent(const std::string& path) const {
    std::lock_guard lock(mutex_);
    auto it = sent_.find(path);
    return it == sent_.end() ? 0 : it->second;
}

std::string HostileServer::Head(const std::string& headers) {
    return "HTTP/1.1 200 OK\r\nConnection: close\r\n" + headers + "\r\n";
}

void HostileServer::accept() {
    while (!stopping_) {
        pollfd ready{listener_, POLLIN, 0};
        if (poll(&ready, 1, kSliceMs) <= 0) {
            continue;
        }
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (socket < 0) {
            continue;
        }
        std::lock_guard lock(mutex_);
        if (accepted_ >= maxConnections_) {
            close(socket);
            continue;
        }
        ++accepted_;
        connections_.emplace_back([this, socket] { serve(socket); });
    }
}

void HostileServer::serve(int socket) {
    Connection connection(socket, Clock::now() + connectionTime_, stopping_);
    std::string head;
    char buffer[4096];
    while (head.find("\r\n\r\n") == std::string::npos && head.size() < 16384 && connection.open()) {
        pollfd ready{socket, POLLIN, 0};
        if (poll(&ready, 1, Slice(connection.end_)) <= 0) {
            continue;
        }
        const ssize_t n = recv(socket, buffer, sizeof buffer, 0);
        if (n <= 0) {
            break;
        }
        head.append(buffer, static_cast<size_t>(n));
    }
    const std::string path = RequestPath(head);
    Route route;
    {
        std::lock_guard lock(mutex_);
        ++hits_[path];
        auto it = routes_.find(path);
        if (it != routes_.end()) {
            route = it->second;
        }
    }
    if (route) {
        route(connection);
    } else {
        connection.write(
            "HTTP/1.1 404 Not Found\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
    }
    {
        std::lock_guard lock(mutex_);
        sent_[path] += connection.sent();
    }
    shutdown(socket, SHUT_RDWR);
    close(socket);
}
