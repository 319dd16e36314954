#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <string>

#include "Fetcher.h"

class QEventLoop;
class QNetworkAccessManager;
class QNetworkReply;

// What a network transfer may take before it counts as failed.
struct FetchLimits {
    int timeMs = 30000;                 // the whole transfer, redirects included
    qint64 bytes = 64LL * 1024 * 1024;  // the body
};

// One GET over http or https with redirects followed and the limits applied.
// Anything else (another scheme, a refused connection, an unknown host, an
// HTTP error status, a limit passed) fails with an empty body.
class HttpTransfer {
public:
    HttpTransfer(QNetworkAccessManager& manager, const FetchLimits& limits);
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    void start(const std::string& address);
    bool running() const;
    // Runs the event loop until the transfer ends or `ms` have passed.
    void wait(int ms);
    // The body as received; empty when the transfer failed.
    QByteArray body() const { return failed_ ? QByteArray() : body_; }
    bool failed() const { return failed_; }
    // The address the body came from, after redirects.
    QUrl finalUrl() const { return finalUrl_; }

private:
    void finish(bool failed);
    // Lets go of the reply, aborting it when it still runs.
    void drop();

    QNetworkAccessManager& manager_;
    FetchLimits limits_;
    QObject guard_;  // the context of every connection, so none outlives the transfer
    QTimer deadline_;
    QEventLoop* waiting_ = nullptr;
    QPointer<QNetworkReply> reply_;
    QByteArray body_;
    QUrl finalUrl_;
    bool running_ = false;
    bool failed_ = false;
};

// The page fetch over the network.
class QtFetcher : public Fetcher {
public:
    explicit QtFetcher(FetchLimits limits = {});
    ~QtFetcher() override;

    void open(const std::string& address) override;
    bool executing() override;
    std::string text() const override;

    FetchLimits limits;

private:
    std::unique_ptr<QNetworkAccessManager> manager_;
    std::unique_ptr<HttpTransfer> transfer_;
};
