#include "HarvestForm.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QUrl>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "HarvestRunner.h"
#include "SettingsStore.h"
#include "SourceSizing.h"

namespace harvest {
namespace {

constexpr const char* kApplication = "Gleanmark";
constexpr const char* kSection = "Harvest";

// How often, and how much at most, the run's findings are taken onto the
// form's thread: small slices while the time of one delivery lasts, so the
// window stays responsive however fast the run finds.
constexpr int kDeliverEveryMs = 50;
constexpr int kDeliverAfterStopMs = 10;
constexpr std::size_t kSliceSightings = 500;
constexpr std::size_t kMostSightingsPerDelivery = 20000;
constexpr qint64 kDeliveryBudgetMs = 15;
// How long adding paths may spend counting the sizes of folders.
constexpr std::chrono::milliseconds kSizingTime(200);

std::optional<int> wholeNumber(const std::optional<std::string>& text, int least) {
    if (!text) {
        return std::nullopt;
    }
    int value = 0;
    const char* end = text->data() + text->size();
    const auto [at, ec] = std::from_chars(text->data(), end, value);
    if (ec != std::errc() || at != end || value < least) {
        return std::nullopt;
    }
    return value;
}

const char* scopeName(CrawlScope scope) {
    switch (scope) {
        case CrawlScope::Domain:
            return "domain";
        case CrawlScope::Prefix:
            return "prefix";
        case CrawlScope::Any:
            return "any";
        case CrawlScope::Host:
            break;
    }
    return "host";
}

HarvestSource::Kind kindOf(SizedSource::What what) {
    switch (what) {
        case SizedSource::What::Folder:
            return HarvestSource::Kind::Folder;
        case SizedSource::What::MailFolder:
        case SizedSource::What::Mbox:
            return HarvestSource::Kind::MailArchive;
        case SizedSource::What::Warc:
            return HarvestSource::Kind::WebArchive;
        case SizedSource::What::File:
        case SizedSource::What::Missing:
            break;
    }
    return HarvestSource::Kind::File;
}

std::string userAgent() {
    const QString version = QCoreApplication::applicationVersion();
    return (version.isEmpty() ? std::string("Gleanmark") : "Gleanmark/" + version.toStdString()) +
           " (contact harvester; obeys robots.txt)";
}

QString megabytes(std::int64_t bytes) {
    return QString::number(static_cast<double>(bytes) / 1e6, 'f', 1);
}

QString clockTime(double seconds) {
    const auto s = static_cast<long long>(seconds + 0.5);
    char text[32];
    if (s >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld", s / 60, s % 60);
    }
    return QString::fromLatin1(text);
}

}  // namespace

QString kindName(HarvestSource::Kind kind) {
    switch (kind) {
        case HarvestSource::Kind::Folder:
            return QStringLiteral("Folder");
        case HarvestSource::Kind::MailArchive:
            return QStringLiteral("Mail archive");
        case HarvestSource::Kind::WebArchive:
            return QStringLiteral("Web archive");
        case HarvestSource::Kind::Site:
            return QStringLiteral("Web site");
        case HarvestSource::Kind::File:
            break;
    }
    return QStringLiteral("File");
}

HarvestForm::HarvestForm(SettingsStore& settings, QObject* parent)
    : QObject(parent), settings_(settings), run_(std::make_unique<Run>()) {
    view_.setContacts(&contacts_);
    run_->timer.setInterval(kDeliverEveryMs);
    connect(&run_->timer, &QTimer::timeout, this, [this] { deliver(); });
}

HarvestForm::~HarvestForm() {
    run_->timer.stop();
    run_->runner.reset();  // cancels the run and waits for its threads
}

// Sources.

void HarvestForm::addPaths(const QStringList& paths) {
    const auto deadline = std::chrono::steady_clock::now() + kSizingTime;
    bool added = false;
    for (const QString& path : paths) {
        const std::string key = sourcePathKey(path.toStdString());
        const bool known = std::any_of(sources_.begin(), sources_.end(), [&](const auto& s) {
            return s.kind != HarvestSource::Kind::Site && s.location == key;
        });
        if (key.empty() || known) {
            continue;
        }
        const SizedSource sized = sizeSource(key, deadline);
        HarvestSource source;
        source.kind = kindOf(sized.what);
        source.location = sized.path;
        source.bytes = sized.bytes;
        sources_.push_back(std::move(source));
        added = true;
    }
    if (added) {
        emit sourcesChanged();
    }
}

bool HarvestForm::addSite(const QString& url, const SitePoliteness& politeness, QString& problem) {
    const QString text = url.trimmed();
    const QUrl parsed(text, QUrl::StrictMode);
    if (!parsed.isValid() || !crawlable(parsed)) {
        problem = QStringLiteral("\"%1\" is not an http or https address with a host").arg(text);
        return false;
    }
    const std::string key = urlKey(parsed);
    auto known = std::find_if(sources_.begin(), sources_.end(), [&](const HarvestSource& s) {
        return s.kind == HarvestSource::Kind::Site && s.location == key;
    });
    if (known != sources_.end()) {
        known->site = politeness;  // the same site again: the newer politeness holds
    } else {
        HarvestSource source;
        source.kind = HarvestSource::Kind::Site;
        source.location = key;
        source.site = politeness;
        sources_.push_back(std::move(source));
    }
    emit sourcesChanged();
    return true;
}

void HarvestForm::removeSources(std::vector<int> rows) {
    std::sort(rows.begin(), rows.end(), std::greater<>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    bool removed = false;
    for (int row : rows) {
        if (row >= 0 && row < static_cast<int>(sources_.size())) {
            sources_.erase(sources_.begin() + row);
            removed = true;
        }
    }
    if (removed) {
        emit sourcesChanged();
    }
}

void HarvestForm::clearSources() {
    if (!sources_.empty()) {
        sources_.clear();
        emit sourcesChanged();
    }
}

// Settings.

SitePoliteness HarvestForm::defaultPoliteness() const {
    auto value = [this](const char* key) { return settings_.value(kApplication, kSection, key); };
    SitePoliteness p;
    p.maxDepth = wholeNumber(value("maxDepth"), 0).value_or(p.maxDepth);
    p.maxPages = wholeNumber(value("maxPages"), 1).value_or(p.maxPages);
    p.perHost = wholeNumber(value("perHost"), 1).value_or(p.perHost);
    if (auto delay = value("delay")) {
        bool ok = false;
        const double seconds = QString::fromStdString(*delay).toDouble(&ok);
        if (ok && std::isfinite(seconds) && seconds >= 0) {
            p.delay = seconds;
        }
    }
    if (auto scope = value("scope")) {
        p.scope = parseScope(*scope).value_or(p.scope);
    }
    if (auto robots = value("obeyRobots")) {
        p.obeyRobots = *robots != "false";
    }
    return p;
}

void HarvestForm::setDefaultPoliteness(const SitePoliteness& p) {
    auto write = [this](const char* key, const std::string& value) {
        settings_.setValue(kApplication, kSection, key, value);
    };
    write("maxDepth", std::to_string(std::max(0, p.maxDepth)));
    write("maxPages", std::to_string(std::max(1, p.maxPages)));
    write("perHost", std::to_string(std::max(1, p.perHost)));
    const double delay = std::isfinite(p.delay) && p.delay >= 0 ? p.delay : SitePoliteness{}.delay;
    write("delay", QString::number(delay, 'g', 10).toStdString());
    write("scope", scopeName(p.scope));
    write("obeyRobots", p.obeyRobots ? "true" : "false");
}

QString HarvestForm::setting(const QString& key) const {
    return QString::fromStdString(
        settings_.value(kApplication, kSection, key.toStdString()).value_or(std::string()));
}

void HarvestForm::setSetting(const QString& key, const QString& value) {
    settings_.setValue(kApplication, kSection, key.toStdString(), value.toStdString());
}

// The run.

bool HarvestForm::harvest() {
    if (running_ || sources_.empty()) {
        return false;
    }
    std::vector<std::string> paths;
    std::vector<HarvestSource> sites;
    std::int64_t knownBytes = 0;
    for (const HarvestSource& source : sources_) {
        if (source.kind == HarvestSource::Kind::Site) {
            sites.push_back(source);
        } else {
            paths.push_back(source.location);
            knownBytes = source.bytes < 0 || knownBytes < 0 ? -1 : knownBytes + source.bytes;
        }
    }
    // A run adds to the contacts already found; once the table has been
    // emptied, the problems and sources read of earlier runs go with it.
    const bool fresh = contacts_.rowCount() == 0;
    if (fresh) {
        run_->read.clear();
    }
    if (fresh && !problems_.empty()) {
        problems_.clear();
        emit problemsChanged();
    }
    run_->sites = !sites.empty();
    run_->knownBytes = knownBytes;
    run_->cancelled = false;
    run_->start = std::chrono::steady_clock::now();
    run_->runner = std::make_unique<HarvestRunner>(std::move(paths), std::move(sites), userAgent());
    progress_ = HarvestRunProgress{};
    running_ = true;
    run_->timer.setInterval(kDeliverEveryMs);
    run_->timer.start();
    emit runStarted();
    emit progressChanged();
    return true;
}

void HarvestForm::cancel() {
    if (!running_ || !run_->runner) {
        return;
    }
    run_->runner->cancel();
    run_->cancelled = true;
    // The run stops within a few tens of milliseconds; what it still hands
    // over is taken promptly so the end comes soon after.
    run_->timer.setInterval(kDeliverAfterStopMs);
}

void HarvestForm::deliver() {
    HarvestRunner* runner = run_->runner.get();
    if (runner == nullptr) {
        run_->timer.stop();
        return;
    }
    QElapsedTimer spent;
    spent.start();
    std::size_t delivered = 0;
    std::vector<Sighting> slice;
    while (delivered < kMostSightingsPerDelivery && spent.elapsed() < kDeliveryBudgetMs) {
        slice.clear();
        const std::size_t taken = runner->takeSightings(slice, kSliceSightings);
        if (taken == 0) {
            break;
        }
        contacts_.addSightings(slice);
        delivered += taken;
    }
    const std::size_t problemsBefore = problems_.size();
    runner->takeRest(problems_, run_->read);

    const HarvestProgress p = runner->progress();
    progress_.sourcesDone = p.sourcesDone;
    progress_.sourcesTotal = p.sourcesTotal;
    progress_.bytesDone = p.bytesDone;
    progress_.bytesTotal = p.bytesTotal;
    // A stopped walk's totals are only what it found before the stop.
    progress_.walked = p.walked && !run_->cancelled;
    // The walk finds the sources only as far as the work ahead reaches; the
    // sizes counted when the paths were added show the total before that.
    if (!progress_.walked && run_->knownBytes > p.bytesTotal) {
        progress_.bytesTotal = run_->knownBytes;
    }
    progress_.pages = runner->pages();
    progress_.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - run_->start).count();

    bool completed = false;
    const bool over = delivered < kMostSightingsPerDelivery && runner->over(completed);
    if (over) {
        run_->timer.stop();
        run_->runner.reset();
        running_ = false;
    }
    if (problems_.size() != problemsBefore) {
        emit problemsChanged();
    }
    emit progressChanged();
    if (over) {
        emit runFinished(completed);
    }
}

QString HarvestForm::progressText() const {
    const HarvestRunProgress& p = progress_;
    if (!running_ && p.sourcesTotal == 0 && p.pages == 0) {
        return {};
    }
    // Small harvests (a site's pages, a few files) in KB, so that they do
    // not read "0.0/0.0 MB".
    const bool small = p.bytesTotal < 1000000 && p.bytesDone < 1000000;
    const auto size = [small](std::int64_t bytes) {
        return small ? QString::number(static_cast<double>(bytes) / 1e3, 'f', 1) : megabytes(bytes);
    };
    const QString unit = small ? QStringLiteral("KB") : QStringLiteral("MB");
    QString line = QStringLiteral("%1/%2 sources, %3/%4 %5")
                       .arg(p.sourcesDone)
                       .arg(p.sourcesTotal)
                       .arg(size(p.bytesDone), size(p.bytesTotal), unit);
    if (run_->sites) {
        line += QStringLiteral(", %1 pages fetched").arg(p.pages);
    }
    if (p.seconds > 0.2 && p.bytesDone > 0) {
        const double rate = static_cast<double>(p.bytesDone) / p.seconds;
        line += QStringLiteral(", %1 %2/s").arg(size(static_cast<std::int64_t>(rate)), unit);
        // While sites are crawled the total still grows: no time left yet.
        if (running_ && (p.walked || !run_->sites)) {
            const double left = static_cast<double>(p.bytesTotal - p.bytesDone) / rate;
            line += QStringLiteral(", %1 left").arg(clockTime(std::max(0.0, left)));
        }
    }
    return line;
}

const std::vector<SourceInfo>& HarvestForm::sourcesRead() const {
    return run_->read;
}

}  // namespace harvest
