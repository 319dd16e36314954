#include "HarvestSiteOptions.h"

#include <QNetworkProxy>
#include <QUrl>
#include <cmath>

namespace HarvestSiteOptions {

const char* const kHelp =
    "Web sites (a PATH that starts with http:// or https://):\n"
    "  --scope SCOPE          host (default: the start page's host), domain (its\n"
    "                         registrable domain and subdomains), prefix (its folder\n"
    "                         and below) or any\n"
    "  --max-depth N          follow links N deep from a start page (default 3)\n"
    "  --max-pages N          fetch at most N pages (default 500)\n"
    "  --max-bytes SIZE       read at most SIZE of a page, as 16M or 500K (default 16M)\n"
    "  --page-timeout SECONDS give up on a page after this long (default 30)\n"
    "  --max-time SECONDS     end the crawl after this long (default: no limit)\n"
    "  --delay SECONDS        wait between requests to one host (default 1; a longer\n"
    "                         Crawl-delay in robots.txt holds)\n"
    "  --per-host N           requests at once to one host (default 1)\n"
    "  --ignore-robots        do not read robots.txt (for your own sites only)\n"
    "  --no-sitemaps          do not read sitemaps\n"
    "  --user-agent TEXT      the User-Agent sent (default: Gleanmark and its version)\n"
    "  --proxy URL            fetch through this HTTP or SOCKS5 proxy (default: the\n"
    "                         system's settings)\n"
    "  --warc FILE            keep every request and answer in a WARC file (.warc.gz\n"
    "                         compressed); harvesting it later finds the same contacts\n"
    "  --state DIR            keep the crawl's progress in DIR; run again with the same\n"
    "                         DIR to go on where an interrupted crawl stopped\n";

void addTo(QCommandLineParser& parser) {
    parser.addOptions({
        {"scope", "", "SCOPE"},
        {"max-depth", "", "N"},
        {"max-pages", "", "N"},
        {"max-bytes", "", "SIZE"},
        {"page-timeout", "", "SECONDS"},
        {"max-time", "", "SECONDS"},
        {"delay", "", "SECONDS"},
        {"per-host", "", "N"},
        {"ignore-robots", ""},
        {"no-sitemaps", ""},
        {"user-agent", "", "TEXT"},
        {"proxy", "", "URL"},
        {"warc", "", "FILE"},
        {"state", "", "DIR"},
    });
}

bool isUrl(const std::string& argument) {
    const QString text = QString::fromStdString(argument);
    return text.startsWith("http://", Qt::CaseInsensitive) ||
           text.startsWith("https://", Qt::CaseInsensitive);
}

namespace {

bool readCount(const QCommandLineParser& parser, const char* name, int least, int& out,
               std::string& problem) {
    if (!parser.isSet(name)) {
        return true;
    }
    bool ok = false;
    const int value = parser.value(name).toInt(&ok);
    if (!ok || value < least) {
        problem = std::string("--") + name + " takes a whole number, " + std::to_string(least) +
                  " or more";
        return false;
    }
    out = value;
    return true;
}

bool readSeconds(const QCommandLineParser& parser, const char* name, bool zeroAllowed, double& out,
                 std::string& problem) {
    if (!parser.isSet(name)) {
        return true;
    }
    bool ok = false;
    const double value = parser.value(name).toDouble(&ok);
    if (!ok || !std::isfinite(value) || value < 0 || (!zeroAllowed && value == 0)) {
        problem = std::string("--") + name + " takes a number of seconds" +
                  (zeroAllowed ? ", 0 or more" : ", more than 0");
        return false;
    }
    out = value;
    return true;
}

bool readSize(const QCommandLineParser& parser, std::int64_t& out, std::string& problem) {
    if (!parser.isSet("max-bytes")) {
        return true;
    }
    QString text = parser.value("max-bytes").trimmed().toUpper();
    double unit = 1;
    if (text.endsWith('K') || text.endsWith('M') || text.endsWith('G')) {
        unit = text.endsWith('K') ? 1024.0 : text.endsWith('M') ? 1048576.0 : 1073741824.0;
        text.chop(1);
    }
    bool ok = false;
    const double value = text.toDouble(&ok) * unit;
    if (!ok || !(value >= 1) || value > 4.0 * 1073741824.0) {
        problem = "--max-bytes takes a size such as 16M, 500K or 100000 (at most 4G)";
        return false;
    }
    out = static_cast<std::int64_t>(value);
    return true;
}

}  // namespace

bool read(const QCommandLineParser& parser, const std::vector<std::string>& urls, int jobs,
          harvest::SiteCrawlOptions& options, std::string& problem) {
    harvest::CrawlOptions& frontier = options.frontier;
    for (const std::string& url : urls) {
        const QUrl start(QString::fromStdString(url));
        if (!harvest::crawlable(start)) {
            problem = url + " is not an http or https address with a host";
            return false;
        }
        frontier.start.push_back(start);
    }
    if (parser.isSet("scope")) {
        auto scope = harvest::parseScope(parser.value("scope").toStdString());
        if (!scope) {
            problem = "--scope takes host, domain, prefix or any";
            return false;
        }
        frontier.scope = *scope;
    }
    if (jobs > 0) {
        frontier.jobs = jobs;
    }
    if (!readCount(parser, "max-depth", 0, frontier.maxDepth, problem) ||
        !readCount(parser, "max-pages", 1, frontier.maxPages, problem) ||
        !readCount(parser, "per-host", 1, frontier.perHost, problem) ||
        !readSize(parser, options.maxBytes, problem) ||
        !readSeconds(parser, "page-timeout", false, options.pageTimeout, problem) ||
        !readSeconds(parser, "max-time", false, options.maxTime, problem) ||
        !readSeconds(parser, "delay", true, frontier.delay, problem)) {
        return false;
    }
    frontier.obeyRobots = !parser.isSet("ignore-robots");
    frontier.sitemaps = !parser.isSet("no-sitemaps");
    options.userAgent = parser.isSet("user-agent") ? parser.value("user-agent").toStdString()
                                                   : std::string("Gleanmark/") + GLEANMARK_VERSION +
                                                         " (contact harvester; obeys robots.txt)";
    frontier.userAgent = options.userAgent;
    if (parser.isSet("proxy")) {
        const QUrl proxy(parser.value("proxy"));
        const QString scheme = proxy.scheme().toLower();
        if (!proxy.isValid() || proxy.host().isEmpty() ||
            (scheme != "http" && scheme != "socks5")) {
            problem = "--proxy takes an address such as http://proxy:3128 or socks5://host:1080";
            return false;
        }
        options.proxy = QNetworkProxy(
            scheme == "http" ? QNetworkProxy::HttpProxy : QNetworkProxy::Socks5Proxy, proxy.host(),
            static_cast<quint16>(proxy.port(scheme == "http" ? 3128 : 1080)), proxy.userName(),
            proxy.password());
    }
    options.warcPath = parser.value("warc").toStdString();
    options.stateDir = parser.value("state").toStdString();
    return true;
}

std::string describe(const harvest::CrawlCounts& c) {
    return "pages: " + std::to_string(c.pages) + " harvested, " + std::to_string(c.queued) +
           " queued, " + std::to_string(c.outOfScope) + " out of scope, " +
           std::to_string(c.robotsDenied) + " kept out by robots.txt, " + std::to_string(c.errors) +
           " failed";
}

}  // namespace HarvestSiteOptions
