#include "SiteFetch.h"

#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkProxyFactory>
#include <algorithm>

#include "SiteExchange.h"

namespace harvest {

namespace {

// Cookies kept in all, and taken from one answer: a site that sets cookies
// without end costs no more than this.
constexpr qsizetype kMaxCookies = 3000;
constexpr size_t kMaxCookiesPerAnswer = 50;

class BoundedCookieJar : public QNetworkCookieJar {
public:
    using QNetworkCookieJar::QNetworkCookieJar;

protected:
    bool insertCookie(const QNetworkCookie& cookie) override {
        const QList<QNetworkCookie> all = allCookies();
        if (all.size() >= kMaxCookies &&
            std::none_of(all.begin(), all.end(),
                         [&](const QNetworkCookie& c) { return c.hasSameIdentifier(cookie); })) {
            return false;  // full: only cookies already kept are updated
        }
        return QNetworkCookieJar::insertCookie(cookie);
    }
};

}  // namespace

SiteFetcher::SiteFetcher(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)), cookies_(new BoundedCookieJar(this)) {}

SiteFetcher::~SiteFetcher() {
    for (SiteExchange* exchange : exchanges_) {
        exchange->stop();
    }
}

QNetworkProxy SiteFetcher::proxyFor(const QUrl& url) const {
    if (options_.proxy.type() != QNetworkProxy::DefaultProxy) {
        return options_.proxy;
    }
    if (options_.systemProxy) {
        for (const QNetworkProxy& proxy :
             QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url))) {
            switch (proxy.type()) {
                case QNetworkProxy::NoProxy:
                case QNetworkProxy::HttpProxy:
                case QNetworkProxy::HttpCachingProxy:
                case QNetworkProxy::Socks5Proxy:
                    return proxy;
                default:
                    break;
            }
        }
    }
    return QNetworkProxy(QNetworkProxy::NoProxy);
}

void SiteFetcher::fetch(const FetchRequest& request, std::function<void(FetchResponse)> done) {
    QByteArray cookies;
    for (const QNetworkCookie& cookie : cookies_->cookiesForUrl(request.url)) {
        cookies +=
            (cookies.isEmpty() ? "" : "; ") + cookie.toRawForm(QNetworkCookie::NameAndValueOnly);
    }
    auto finished = [this, done = std::move(done)](SiteExchange* exchange, FetchResponse response,
                                                   const HttpHead& head) {
        exchanges_.erase(std::remove(exchanges_.begin(), exchanges_.end(), exchange),
                         exchanges_.end());
        exchange->deleteLater();
        const std::vector<std::string> set = head.values("set-cookie");
        for (size_t i = 0; i < set.size() && i < kMaxCookiesPerAnswer; ++i) {
            cookies_->setCookiesFromUrl(
                QNetworkCookie::parseCookies(QByteArray::fromStdString(set[i])), response.url);
        }
        done(std::move(response));
    };
    auto* exchange =
        new SiteExchange(request, proxyFor(request.url), cookies, std::move(finished), this);
    exchanges_.push_back(exchange);
    exchange->start();
}

void SiteFetcher::abortAll() {
    const std::vector<SiteExchange*> exchanges = std::move(exchanges_);
    exchanges_.clear();
    for (SiteExchange* exchange : exchanges) {
        exchange->stop();
        exchange->deleteLater();
    }
}

}  // namespace harvest
