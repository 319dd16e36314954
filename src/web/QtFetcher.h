#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <functional>
#include <memory>
#include <string>

#include "Fetcher.h"

class QEventLoop;
class QNetworkAccessManager;
class PlainHttpGet;
class QNetworkReply;
class QTemporaryFile;

// What a network transfer may take before it counts as failed.
struct FetchLimits {
    int timeMs = 30000;                 // the whole transfer, redirects included
    qint64 bytes = 64LL * 1024 * 1024;  // the body, after any decompression
};

// Why a transfer failed.
enum class TransferFailure {
    None,        // it did not fail (or has not ended)
    Address,     // not an http or https address with a host
    TimeLimit,   // no complete answer within the time limit
    SizeLimit,   // the body, as announced or as received, passed the limit
    HttpStatus,  // the server answered with an error status
    Network,     // the connection, the protocol or the content's encoding failed
};

// How a transfer ended, for whoever keeps a record of the crawl.
struct TransferOutcome {
    std::string address;  // as asked for
    TransferFailure failure = TransferFailure::None;
    std::string reason;  // a few words on the failure; empty when there was none
    qint64 bytes = 0;    // the body's size; 0 after a failure
};

// True when a server should have sent the page and did not: every failure
// but an address that is none (as the crawl's "False").
inline bool PageDidNotCome(const TransferOutcome& outcome) {
    return outcome.failure != TransferFailure::None && outcome.failure != TransferFailure::Address;
}

// One GET over http or https with redirects followed and the limits applied.
// Anything else (another scheme, a refused connection, an unknown host, an
// HTTP error status, a limit passed) fails with an empty body.
//
// The body is read in pieces as it arrives from a connection that buffers no
// more than one read buffer, so a server that sends faster than the body is
// taken in is held back by the connection and never by memory; a body that
// passes the limit ends the transfer at once and its memory is freed. A body
// past a few megabytes waits in a temporary file until it is taken, so a
// page that turns out too big never costs memory on its way.
//
// Plain http goes over a socket of our own (PlainHttpGet): Qt's HTTP layer
// reads a chunked body, and the whole body of a 401 or 407 answer, as fast
// as the server sends, whatever the reply's read buffer. https goes through
// Qt, where those two remain.
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
    // Hands the body over, leaving the transfer without it; empty when the
    // transfer failed.
    std::string takeBody();
    bool failed() const { return failure_ != TransferFailure::None; }
    TransferFailure failure() const { return failure_; }
    // A few words on why the transfer failed; empty when it did not.
    const std::string& reason() const { return reason_; }
    // The address the body came from, after redirects.
    QUrl finalUrl() const { return finalUrl_; }

    // Told how each transfer ended, as it ends.
    std::function<void(const TransferOutcome&)> onEnd;

private:
    // Asks for `url`: plain http on a socket of our own, https through Qt.
    void request(const QUrl& url);
    void requestPlain(const QUrl& url);
    void dropPlain();
    // Checks the status and the announced length as soon as the head is in.
    void headReceived();
    // Moves what the reply holds into the body, a piece at a time.
    void receive();
    // False, with the transfer ended, for an error status or a body
    // announced past the limit.
    bool statusAccepted(int status);
    bool lengthAccepted(qint64 length);
    // Counts and keeps a piece of the body; false once the transfer is over.
    bool take(const char* piece, qint64 size);
    // Keeps a piece of the body; false when it cannot be kept.
    bool keep(const char* piece, qint64 size);
    // Ends the transfer on the reply's error status or error.
    void failed(QNetworkReply* reply);
    void finish(TransferFailure failure, const std::string& reason = {});
    // Lets go of the reply, aborting it when it still runs.
    void drop();

    QNetworkAccessManager& manager_;
    FetchLimits limits_;
    QObject guard_;  // the context of every connection, so none outlives the transfer
    QTimer deadline_;
    QTimer drain_;  // reads now and then, for the bodies no signal announces
    QEventLoop* waiting_ = nullptr;
    QPointer<QNetworkReply> reply_;
    std::unique_ptr<PlainHttpGet> plain_;
    int redirects_ = 0;
    std::string address_;
    std::unique_ptr<char[]> piece_;  // what one read from the reply takes
    // A big body while it comes: in a temporary file, not in `body_`.
    std::unique_ptr<QTemporaryFile> spill_;
    qint64 received_ = 0;  // the body's bytes so far
    std::string body_;
    QUrl finalUrl_;
    bool running_ = false;
    TransferFailure failure_ = TransferFailure::None;
    std::string reason_;
};

// The page fetch over the network.
class QtFetcher : public Fetcher {
public:
    explicit QtFetcher(FetchLimits limits = {});
    ~QtFetcher() override;

    void open(const std::string& address) override;
    bool executing() override;
    // Hands the body over rather than copying it, so a big page is held once:
    // a second call for the same transfer gives an empty text.
    std::string text() const override;
    // Why the last transfer failed (None while it runs or when it did not).
    TransferFailure failure() const;
    std::string reason() const;

    FetchLimits limits;
    // Told how each transfer ended.
    std::function<void(const TransferOutcome&)> onTransferEnd;

private:
    std::unique_ptr<QNetworkAccessManager> manager_;
    std::unique_ptr<HttpTransfer> transfer_;
};
