#pragma once
// One request of a SiteFetcher on a connection of its own: the request goes
// out, the head of the answer is read (interim 1xx answers skipped), then its
// body through an HttpBodyReader until it is whole, the limit is passed, the
// connection closes or the time is up. The socket holds at most one read
// buffer of unread bytes, so a server is held back by the connection and
// never by memory.
#include <QNetworkProxy>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "HttpBody.h"
#include "HttpFields.h"
#include "SiteFetch.h"

class QTcpSocket;

namespace harvest {

class SiteExchange : public QObject {
    Q_OBJECT
public:
    // Called once, when the exchange is over, with the head as read (empty
    // when no answer came). Not called after stop().
    using Done = std::function<void(SiteExchange*, FetchResponse, const HttpHead&)>;

    // `proxy` is the one to use (NoProxy to go direct); `cookies` is the
    // value of the Cookie field, "" for none.
    SiteExchange(FetchRequest request, QNetworkProxy proxy, QByteArray cookies, Done done,
                 QObject* parent);
    ~SiteExchange() override;

    void start();
    // Ends the exchange without a word to anyone.
    void stop();

    // The request head sent for `url`: absolute form for an HTTP proxy.
    static std::string RequestHead(const QUrl& url, const QByteArray& userAgent,
                                   const QByteArray& cookies, bool absoluteForm);

private:
    void readAvailable();
    void closed();
    void take(const char* data, qint64 size);
    // Reads the head once it is whole, skipping interim answers.
    void takeHead();
    void timeUp();
    void fail(const std::string& error);
    void finish();
    // Closes the connection and stops the clock.
    void end();
    void report(FetchResponse response);

    FetchRequest request_;
    QNetworkProxy proxy_;
    QByteArray cookies_;
    Done done_;
    QTcpSocket* socket_ = nullptr;
    QTimer timer_;
    std::string requestHead_;
    std::string pendingHead_;  // bytes of the head not yet whole
    size_t scannedTo_ = 0;     // where to look on for its end
    std::string responseHead_;
    HttpHead head_;
    std::unique_ptr<HttpBodyReader> body_;  // once the head is in
    std::string error_;                     // why no answer came
    bool over_ = false;
    bool muted_ = false;     // stop() came: no word to anyone
    bool starting_ = false;  // within start()
};

}  // namespace harvest
