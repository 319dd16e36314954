#pragma once
// One GET of a site crawl, bounded in time and memory whatever the server
// does. The fetcher never follows a redirect (the crawl frontier does, hop by
// hop): a 3xx comes back with its Location resolved.
//
// Both http and https go over a connection of the fetcher's own (a TCP or TLS
// socket whose read buffer is bounded), read no faster than the body is taken
// in. The body is kept up to `maxBytes` of decoded text; past it the transfer
// stops and the rest is never read, and a compressed body is inflated a
// bounded piece at a time, so a body that expands without end costs no more
// than the limit. The time limit is for the whole request, connecting
// included, so a server that drips a byte now and then is cut off as surely
// as one that never answers.
//
// Cookies the sites set are kept in memory for the fetcher's life and sent
// back as their domain and path say. Each request has a connection of its own
// ("Connection: close").
#include <QNetworkProxy>
#include <QObject>
#include <QUrl>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QNetworkCookieJar;

namespace harvest {

class SiteExchange;

struct FetchRequest {
    QUrl url;                          // http or https
    QByteArray userAgent;              // sent as User-Agent (line breaks dropped)
    std::int64_t maxBytes = 16 << 20;  // of the decoded body; beyond it, cut there
    int timeoutMs = 30000;             // the whole request, however the server drips
};

struct FetchResponse {
    QUrl url;                          // as asked for
    int status = 0;                    // 0: no answer
    std::string error;                 // empty when the whole body came, else a short reason
    bool truncated = false;            // an answer came but its body is cut (size, time, close)
    std::string contentType;           // lower case, parameters dropped ("text/html")
    std::string charset;               // from Content-Type, lower case, if any
    QUrl location;                     // Location of a 3xx, resolved against url
    std::optional<double> retryAfter;  // seconds, from delta-seconds or a date
    std::string requestHead;   // the request line and fields as sent, ending with the empty line
    std::string responseHead;  // the status line and fields as received, ending likewise
    std::string body;          // Content-Encoding (gzip, deflate) undone
};

class SiteFetcher : public QObject {
    Q_OBJECT
public:
    struct Options {
        // The proxy for every request. A DefaultProxy asks the system (the
        // environment's http_proxy, https_proxy and no_proxy on Linux) for
        // each URL when systemProxy is set and goes direct when it is not;
        // NoProxy always goes direct. An HTTP proxy gets http requests in
        // absolute form and https ones through CONNECT; SOCKS5 carries both.
        QNetworkProxy proxy = QNetworkProxy(QNetworkProxy::DefaultProxy);
        bool systemProxy = true;
    };

    explicit SiteFetcher(Options options, QObject* parent = nullptr);
    ~SiteFetcher() override;

    // Starts a request. `done` is called once, on this object's thread and
    // never from within fetch(), unless abortAll() (or the fetcher's end)
    // comes first. `done` may start more requests or call abortAll(), but
    // must not destroy the fetcher (deleteLater() is fine).
    void fetch(const FetchRequest& request, std::function<void(FetchResponse)> done);
    int inFlight() const { return static_cast<int>(exchanges_.size()); }
    // Stops every request in flight; none of their `done` is called.
    void abortAll();

private:
    QNetworkProxy proxyFor(const QUrl& url) const;

    Options options_;
    QNetworkCookieJar* cookies_;
    std::vector<SiteExchange*> exchanges_;
};

}  // namespace harvest
