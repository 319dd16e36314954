#include "QtFetcher.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryFile>

#include <QTimer>
#include <algorithm>
#include <utility>
#include "PlainHttp.h"

namespace {

constexpr int kMaxRedirects = 10;
constexpr int kPollMs = 20;
// The most the reply holds for us, and the most taken from it at a time.
// With the read buffer full, Qt's network thread stops reading from the
// connection and the server is held back by TCP; without a read buffer size
// that thread reads and queues whatever the server sends, gigabytes from a
// fast one, however quickly the body is taken in.
constexpr qint64 kReadBufferBytes = 256 * 1024;
constexpr qint64 kPieceBytes = 256 * 1024;
constexpr int kDrainMs = 10;
// A body larger than this is kept in a temporary file while it comes, so a
// page that turns out to pass the limit (an endless one, say) never takes
// more memory than this; a page that comes whole is read back from the file
// once, when it is taken.
constexpr size_t kInMemoryBytes = 8 * 1024 * 1024;

// What a body in memory that needs `size` bytes grows to: at once to all a
// body in memory may hold, a block that is mapped from the system, whose
// pages become resident only as they are written and go back to the system
// when it is freed; past that (no temporary file to be had), by doubling.
size_t Capacity(size_t size, size_t capacity) {
    return std::max({size, 2 * capacity, kInMemoryBytes + static_cast<size_t>(kPieceBytes)});
}

}  // namespace

HttpTransfer::HttpTransfer(QNetworkAccessManager& manager, const FetchLimits& limits)
    : manager_(manager), limits_(limits) {
    deadline_.setSingleShot(true);
    QObject::connect(&deadline_, &QTimer::timeout, &guard_, [this] {
        finish(TransferFailure::TimeLimit,
               "no complete answer within " + std::to_string(limits_.timeMs) + " ms");
    });
    // The body of a redirect never reaches the reply's buffer and no signal
    // tells of it, but it fills the read buffer all the same until a read
    // (which finds nothing) lets the network thread go on: without these
    // reads a redirect with a body larger than the buffer is never followed.
    drain_.setInterval(kDrainMs);
    QObject::connect(&drain_, &QTimer::timeout, &guard_, [this] { receive(); });
}

HttpTransfer::~HttpTransfer() {
    deadline_.stop();
    drain_.stop();
    drop();
}

void HttpTransfer::drop() {
    dropPlain();
    QNetworkReply* reply = reply_;
    reply_ = nullptr;
    if (reply) {
        QObject::disconnect(reply, nullptr, &guard_, nullptr);
        // A reply that failed already, or whose head carries an error status
        // (Qt reports that error once the head is through), stops its
        // transfer when it is deleted; aborting it would report a second
        // error, and Qt warns of it.
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (reply->isRunning() && reply->error() == QNetworkReply::NoError && status < 400) {
            reply->abort();
        }
        reply->deleteLater();
    }
}

std::string HttpTransfer::takeBody() {
    if (!spill_) {
        return std::exchange(body_, std::string());
    }
    std::string body;
    body.resize(static_cast<size_t>(received_));
    spill_->seek(0);
    const qint64 got = spill_->read(body.data(), received_);
    body.resize(static_cast<size_t>(std::max<qint64>(got, 0)));
    spill_.reset();
    return body;
}

void HttpTransfer::start(const std::string& address) {
    deadline_.stop();
    drain_.stop();
    drop();
    address_ = address;
    std::string().swap(body_);
    spill_.reset();
    received_ = 0;
    finalUrl_ = QUrl();
    failure_ = TransferFailure::None;
    reason_.clear();
    running_ = true;
    const QUrl url(QString::fromStdString(address));
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != "http" && scheme != "https") || url.host().isEmpty()) {
        finish(TransferFailure::Address, "not an http or https address");
        return;
    }
    redirects_ = 0;
    deadline_.start(limits_.timeMs);
    request(url);
}

void HttpTransfer::request(const QUrl& url) {
    if (url.scheme().toLower() == "http") {
        requestPlain(url);
        return;
    }
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(kMaxRedirects);
    // Over HTTP/2 Qt grants the server more window as soon as data arrives,
    // whether or not the reply's buffer has room, so only HTTP/1.1 lets the
    // read buffer below hold a fast server back.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    reply_ = manager_.get(request);
    QNetworkReply* reply = reply_;
    reply->setReadBufferSize(kReadBufferBytes);
    QObject::connect(reply, &QNetworkReply::metaDataChanged, &guard_, [this] { headReceived(); });
    QObject::connect(reply, &QNetworkReply::readyRead, &guard_, [this] { receive(); });
    // An error can come up while the body is read (Qt refusing to inflate a
    // compressed body that grows out of all proportion), and the reply then
    // waits for a read that never comes: the transfer ends on the error
    // itself, once the read that raised it has returned.
    QObject::connect(
        reply, &QNetworkReply::errorOccurred, &guard_,
        [this, reply] {
            if (running_ && reply_ == reply) {
                failed(reply);
            }
        },
        Qt::QueuedConnection);
    QObject::connect(reply, &QNetworkReply::finished, &guard_, [this, reply] {
        receive();
        if (!running_) {
            return;
        }
        finalUrl_ = reply->url();
        if (reply->error() != QNetworkReply::NoError ||
            reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() >= 400) {
            failed(reply);
        } else {
            finish(TransferFailure::None);
        }
    });
    drain_.start();
}

void HttpTransfer::requestPlain(const QUrl& url) {
    finalUrl_ = url;
    PlainHttpGet::Handlers handlers;
    handlers.head = [this](int status, const QUrl& location) {
        if (!statusAccepted(status)) {
            return false;
        }
        if (!location.isValid() || location.isEmpty()) {
            return true;
        }
        // A redirect, followed as Qt follows them for https: at most ten,
        // and never from https to http (a plain transfer never starts there).
        if (++redirects_ > kMaxRedirects) {
            finish(TransferFailure::Network, "network error: too many redirects");
            return false;
        }
        QTimer::singleShot(0, &guard_, [this, location] {
            if (!running_) {
                return;
            }
            dropPlain();
            const QString scheme = location.scheme().toLower();
            if ((scheme != "http" && scheme != "https") || location.host().isEmpty()) {
                finish(TransferFailure::Network, "network error: a redirect to no web address");
                return;
            }
            request(location);
        });
        return false;
    };
    handlers.length = [this](qint64 length) { return lengthAccepted(length); };
    handlers.body = [this](const char* data, qint64 size) { return take(data, size); };
    handlers.end = [this](const std::string& error) {
        if (error.empty()) {
            finish(TransferFailure::None);
        } else {
            finish(TransferFailure::Network, "network error: " + error);
        }
    };
    plain_ = std::make_unique<PlainHttpGet>(url, std::move(handlers));
}

void HttpTransfer::dropPlain() {
    if (plain_) {
        // It may be in the middle of a call that ended the transfer.
        plain_->stop();
        plain_.release()->deleteLater();
    }
}

void HttpTransfer::failed(QNetworkReply* reply) {
    if (statusAccepted(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt())) {
        finish(TransferFailure::Network, "network error: " + reply->errorString().toStdString());
    }
}

bool HttpTransfer::statusAccepted(int status) {
    if (status < 400) {
        return true;
    }
    // The transfer fails whatever the body, so none of it is read.
    finish(TransferFailure::HttpStatus, "HTTP status " + std::to_string(status));
    return false;
}

bool HttpTransfer::lengthAccepted(qint64 length) {
    if (length > limits_.bytes) {
        finish(TransferFailure::SizeLimit, "announced body of " + std::to_string(length) +
                                               " bytes passes the limit of " +
                                               std::to_string(limits_.bytes));
        return false;
    }
    if (length > 0 && static_cast<size_t>(length) <= kInMemoryBytes) {
        body_.reserve(static_cast<size_t>(length));
    }
    return true;
}

void HttpTransfer::headReceived() {
    QNetworkReply* reply = reply_;
    if (!statusAccepted(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt())) {
        return;
    }
    // Qt drops the length of a body it decompresses, so a length here is the
    // body's own.
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    if (length.isValid()) {
        lengthAccepted(length.toLongLong());
    }
}

void HttpTransfer::receive() {
    QNetworkReply* reply = reply_;
    if (!piece_) {
        piece_ = std::make_unique_for_overwrite<char[]>(kPieceBytes);
    }
    char* piece = piece_.get();
    while (running_ && reply) {
        // One byte past the limit is enough to tell that the body passes it.
        const qint64 room = limits_.bytes + 1 - received_;
        const qint64 got = reply->read(piece, std::min(kPieceBytes, room));
        if (got <= 0 || !take(piece, got)) {
            return;
        }
    }
}

bool HttpTransfer::take(const char* piece, qint64 size) {
    received_ += size;
    if (received_ > limits_.bytes) {
        finish(TransferFailure::SizeLimit,
               "body passes the limit of " + std::to_string(limits_.bytes) + " bytes");
        return false;
    }
    if (!keep(piece, size)) {
        finish(TransferFailure::Network, "the page cannot be kept in a temporary file");
        return false;
    }
    return running_;
}

bool HttpTransfer::keep(const char* piece, qint64 size) {
    if (spill_) {
        return spill_->write(piece, size) == size;
    }
    const size_t needed = body_.size() + static_cast<size_t>(size);
    if (needed > kInMemoryBytes) {
        auto file = std::make_unique<QTemporaryFile>();
        const qint64 held = static_cast<qint64>(body_.size());
        if (file->open() && file->write(body_.data(), held) == held) {
            spill_ = std::move(file);
            std::string().swap(body_);
            return spill_->write(piece, size) == size;
        }
        // No temporary file: the body stays in memory, within the limit.
    }
    if (needed > body_.capacity()) {
        body_.reserve(Capacity(needed, body_.capacity()));
    }
    body_.append(piece, static_cast<size_t>(size));
    return true;
}

bool HttpTransfer::running() const {
    return running_;
}

void HttpTransfer::finish(TransferFailure failure, const std::string& reason) {
    if (!running_) {
        return;
    }
    running_ = false;
    failure_ = failure;
    reason_ = reason;
    deadline_.stop();
    drain_.stop();
    drop();
    if (failure != TransferFailure::None) {
        // Frees the memory, which clear() and assigning an empty string keep,
        // and the temporary file.
        std::string().swap(body_);
        spill_.reset();
        received_ = 0;
    }
    if (onEnd) {
        onEnd({address_, failure_, reason_, received_});
    }
    if (waiting_) {
        waiting_->quit();
    }
}

void HttpTransfer::wait(int ms) {
    if (!running_) {
        return;
    }
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    waiting_ = &loop;
    loop.exec();
    waiting_ = nullptr;
}

QtFetcher::QtFetcher(FetchLimits limits) : limits(limits) {}

QtFetcher::~QtFetcher() {
    transfer_.reset();
}

void QtFetcher::open(const std::string& address) {
    if (!manager_) {
        manager_ = std::make_unique<QNetworkAccessManager>();
    }
    transfer_.reset();  // the last page's body goes before the next one comes
    transfer_ = std::make_unique<HttpTransfer>(*manager_, limits);
    transfer_->onEnd = onTransferEnd;
    transfer_->start(address);
}

bool QtFetcher::executing() {
    if (!transfer_) {
        return false;
    }
    transfer_->wait(kPollMs);
    return transfer_->running();
}

std::string QtFetcher::text() const {
    return transfer_ ? transfer_->takeBody() : std::string();
}

TransferFailure QtFetcher::failure() const {
    return transfer_ ? transfer_->failure() : TransferFailure::None;
}

std::string QtFetcher::reason() const {
    return transfer_ ? transfer_->reason() : std::string();
}
