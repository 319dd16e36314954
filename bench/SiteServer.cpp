#include "SiteServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

SiteServer::SiteServer(int pages, int threads) : pages_(pages) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (listener_ < 0 || ::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::listen(listener_, 256) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        throw std::runtime_error(std::string("site server: ") + std::strerror(errno));
    }
    port_ = ntohs(address.sin_port);
    for (int i = 0; i < threads; ++i) {
        threads_.emplace_back([this] { serve(); });
    }
}

SiteServer::~SiteServer() {
    stopping_ = true;
    for (std::thread& t : threads_) {
        t.join();
    }
    ::close(listener_);
}

std::string SiteServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::string SiteServer::page(int n) const {
    std::string body = "<!DOCTYPE html><html><head><title>Page " + std::to_string(n) +
                       "</title></head><body><h1>Page " + std::to_string(n) + "</h1>\n";
    for (int k = 0; k < 30; ++k) {
        body +=
            "<p>The quarterly report of the garden project is attached; send questions to "
            "the office before the meeting.</p>\n";
    }
    body += "<p>Contact <a href=\"mailto:person" + std::to_string(n) +
            "@acme-widgets.co.uk\">Person " + std::to_string(n) + "</a></p>\n<ul>";
    for (int child = 5 * n + 1; child <= 5 * n + 5 && child < pages_; ++child) {
        body += "<li><a href=\"/p/" + std::to_string(child) + "\">page " + std::to_string(child) +
                "</a></li>";
    }
    return body + "</ul></body></html>\n";
}

void SiteServer::serve() {
    while (!stopping_) {
        pollfd ready{listener_, POLLIN, 0};
        if (::poll(&ready, 1, 50) <= 0) {
            continue;
        }
        const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            continue;
        }
        std::string request;
        char buffer[4096];
        while (request.find("\r\n\r\n") == std::string::npos && request.size() < 65536) {
            const ssize_t got = ::recv(client, buffer, sizeof buffer, 0);
            if (got <= 0) {
                break;
            }
            request.append(buffer, static_cast<std::size_t>(got));
        }
        ++requests_;
        const std::size_t space = request.find(' ');
        const std::string path =
            space == std::string::npos
                ? ""
                : request.substr(space + 1, request.find(' ', space + 1) - space - 1);
        std::string head = "HTTP/1.1 404 Not Found\r\n";
        std::string body = "not here\n";
        if (path.rfind("/p/", 0) == 0) {
            const int n = std::atoi(path.c_str() + 3);
            if (n >= 0 && n < pages_) {
                head = "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n";
                body = page(n);
            }
        }
        head += "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n";
        const std::string answer = head + body;
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t n =
                ::send(client, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) {
                break;
            }
            sent += static_cast<std::size_t>(n);
        }
        ::close(client);
    }
}
