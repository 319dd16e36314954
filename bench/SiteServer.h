#pragma once
// A web site for the benchmark: `pages` generated pages on 127.0.0.1, page N
// at /p/N linking to pages 5N+1 to 5N+5, each with some prose and an address.
// Served by a few threads over plain sockets, so the server costs the
// measured crawler as little as it can. Anything else answers 404.
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

class SiteServer {
public:
    explicit SiteServer(int pages, int threads = 4);
    ~SiteServer();
    SiteServer(const SiteServer&) = delete;
    SiteServer& operator=(const SiteServer&) = delete;

    std::string url(const std::string& path) const;
    std::int64_t requests() const { return requests_.load(); }

private:
    void serve();
    std::string page(int n) const;

    int pages_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::atomic<std::int64_t> requests_{0};
    std::vector<std::thread> threads_;
};
