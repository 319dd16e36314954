#pragma once
// The Harvest window's behaviour without widgets, driven alike by the window
// and by tests: the sources to harvest (files, folders, mail and web
// archives, web sites with their politeness), a run on threads of its own
// whose contacts come back in batches, its progress and problems, the
// contacts table with its filters, and exports. Everything the window shows
// is decided here; the window only shows it and forwards what the user does.
#include <QObject>
#include <QString>
#include <QStringList>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ContactFilterModel.h"
#include "ContactTableModel.h"
#include "CrawlUrl.h"
#include "HarvestTypes.h"
#include "Writers.h"

class SettingsStore;

namespace harvest {

// How a web site is crawled.
struct SitePoliteness {
    int maxDepth = 3;
    int maxPages = 500;
    CrawlScope scope = CrawlScope::Host;
    double delay = 1.0;
    int perHost = 1;
    bool obeyRobots = true;
};

struct HarvestSource {
    enum class Kind { Folder, File, MailArchive, WebArchive, Site };
    Kind kind = Kind::File;
    std::string location;     // a path, or a site's start URL
    std::int64_t bytes = -1;  // -1 when not known (a site)
    SitePoliteness site;      // for a site
};

// "Folder", "File", "Mail archive", "Web archive", "Web site".
QString kindName(HarvestSource::Kind kind);

struct HarvestRunProgress {
    std::int64_t sourcesDone = 0, sourcesTotal = 0;
    std::int64_t bytesDone = 0, bytesTotal = 0;
    std::int64_t pages = 0;  // of web sites, fetched so far
    double seconds = 0;
    bool walked = false;  // the totals are final
};

class HarvestForm : public QObject {
    Q_OBJECT
public:
    // Settings live under the application's own name ("Gleanmark"), in the
    // section "Harvest".
    explicit HarvestForm(SettingsStore& settings, QObject* parent = nullptr);
    ~HarvestForm() override;  // stops a run and waits for its threads

    // Sources. Paths are recognised as folders, mail archives (mbox,
    // Maildir), web archives (WARC) or other files, each with its size.
    void addPaths(const QStringList& paths);
    // False with a problem for an address that is not http or https.
    bool addSite(const QString& url, const SitePoliteness& politeness, QString& problem);
    void removeSources(std::vector<int> rows);
    void clearSources();
    const std::vector<HarvestSource>& sources() const { return sources_; }

    // The politeness a new site gets; remembered between sessions.
    SitePoliteness defaultPoliteness() const;
    void setDefaultPoliteness(const SitePoliteness& politeness);

    // A run. harvest() starts one (false when there is nothing to harvest or
    // one runs); the contacts table fills while it goes on; cancel() stops it
    // within 200 ms, keeping what was found.
    bool running() const { return running_; }
    bool harvest();
    void cancel();
    HarvestRunProgress progress() const { return progress_; }
    // "12/340 sources, 1.2/45.6 MB, 12.3 MB/s, 0:42 left"
    QString progressText() const;
    const std::vector<Problem>& problems() const { return problems_; }
    // The sources the runs read (files, container members, pages), each with
    // the kind it was recognised as.
    const std::vector<SourceInfo>& sourcesRead() const;

    ContactTableModel& contacts() { return contacts_; }
    ContactFilterModel& view() { return view_; }

    // Rows are rows of contacts(); empty means every row. The vCard format
    // writes one card per contact. progress (may be empty) is told rows done
    // of rows in all and stops the export when it returns false.
    bool exportTo(const QString& path, Format format, const std::vector<int>& rows, QString& error,
                  const std::function<bool(int done, int total)>& progress = {});
    // The rows as tab-separated text with a header line, for the clipboard.
    QString copyText(const std::vector<int>& rows) const;

    // A remembered value of the window (last folder, geometry, splitter
    // positions, columns shown), under the Harvest section.
    QString setting(const QString& key) const;
    void setSetting(const QString& key, const QString& value);

signals:
    void sourcesChanged();
    void runStarted();
    void progressChanged();
    void problemsChanged();
    // After the last batch of a run; completed is false when it was cancelled.
    void runFinished(bool completed);

private:
    struct Run;
    void deliver();  // takes what the run handed over, on this object's thread

    SettingsStore& settings_;
    std::vector<HarvestSource> sources_;
    ContactTableModel contacts_;
    ContactFilterModel view_;
    std::vector<Problem> problems_;
    HarvestRunProgress progress_;
    bool running_ = false;
    std::unique_ptr<Run> run_;
};

}  // namespace harvest
