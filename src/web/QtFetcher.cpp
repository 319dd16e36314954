#include "QtFetcher.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>

namespace {

constexpr int kMaxRedirects = 10;
constexpr int kPollMs = 20;

}  // namespace

HttpTransfer::HttpTransfer(QNetworkAccessManager& manager, const FetchLimits& limits)
    : manager_(manager), limits_(limits) {
    deadline_.setSingleShot(true);
    QObject::connect(&deadline_, &QTimer::timeout, &guard_, [this] { finish(true); });
}

HttpTransfer::~HttpTransfer() {
    deadline_.stop();
    drop();
}

void HttpTransfer::drop() {
    QNetworkReply* reply = reply_;
    reply_ = nullptr;
    if (reply) {
        QObject::disconnect(reply, nullptr, &guard_, nullptr);
        if (reply->isRunning()) {
            reply->abort();
        }
        reply->deleteLater();
    }
}

void HttpTransfer::start(const std::string& address) {
    deadline_.stop();
    drop();
    body_.clear();
    finalUrl_ = QUrl();
    failed_ = false;
    running_ = true;
    const QUrl url(QString::fromStdString(address));
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != "http" && scheme != "https") || url.host().isEmpty()) {
        finish(true);
        return;
    }
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(kMaxRedirects);
    reply_ = manager_.get(request);
    QNetworkReply* reply = reply_;
    QObject::connect(reply, &QNetworkReply::metaDataChanged, &guard_, [this, reply] {
        const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > limits_.bytes) {
            finish(true);
        }
    });
    QObject::connect(reply, &QNetworkReply::readyRead, &guard_, [this, reply] {
        body_ += reply->readAll();
        if (body_.size() > limits_.bytes) {
            finish(true);
        }
    });
    QObject::connect(reply, &QNetworkReply::finished, &guard_, [this, reply] {
        body_ += reply->readAll();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        finalUrl_ = reply->url();
        finish(reply->error() != QNetworkReply::NoError || status >= 400 ||
               body_.size() > limits_.bytes);
    });
    deadline_.start(limits_.timeMs);
}

bool HttpTransfer::running() const {
    return running_;
}

void HttpTransfer::finish(bool failed) {
    if (!running_) {
        return;
    }
    running_ = false;
    failed_ = failed;
    deadline_.stop();
    drop();
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
    transfer_ = std::make_unique<HttpTransfer>(*manager_, limits);
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
    if (!transfer_) {
        return {};
    }
    const QByteArray body = transfer_->body();
    return std::string(body.constData(), static_cast<size_t>(body.size()));
}
