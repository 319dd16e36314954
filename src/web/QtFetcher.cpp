#include "QtFetcher.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

HttpTransfer::HttpTransfer(QNetworkAccessManager& manager, const FetchLimits& limits)
    : manager_(manager), limits_(limits) {}
HttpTransfer::~HttpTransfer() = default;
void HttpTransfer::start(const std::string&) {
    (void)manager_;
    (void)limits_;
}
bool HttpTransfer::running() const {
    return running_;
}
void HttpTransfer::wait(int) {}
void HttpTransfer::finish(bool failed) {
    failed_ = failed;
}

QtFetcher::QtFetcher(FetchLimits limits) : limits(limits) {}
QtFetcher::~QtFetcher() = default;
void QtFetcher::open(const std::string&) {}
bool QtFetcher::executing() {
    return false;
}
std::string QtFetcher::text() const {
    return {};
}
