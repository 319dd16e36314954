#pragma once
// A site's robots.txt: which paths a crawler may fetch, how long it should
// wait between fetches and where the site lists its sitemaps. The parser takes
// what sites write in practice: any case in field names, spaces around ":",
// common misspellings, CR, LF or CRLF line ends, a byte-order mark, and junk,
// which it skips.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace harvest {

// The rules of the group that applies to one crawler.
class RobotsRules {
public:
    // Whether a path with its query ("/a/b?c=d") may be fetched. The longest
    // matching pattern decides and Allow wins a tie; with no match the path
    // is allowed. "/robots.txt" itself is always allowed. An empty path
    // stands for "/".
    bool allowed(std::string_view pathAndQuery) const;

    // Seconds to wait between fetches, when the group asks for it.
    std::optional<double> crawlDelay() const { return crawlDelay_; }

    // A pattern as written in the file: "*" matches any run of characters
    // and a "$" at the end anchors it to the end of the path. An empty
    // pattern is no rule at all.
    void addRule(bool allow, std::string_view pattern);
    // Keeps the longest delay asked for, so that merged groups stay polite.
    void setCrawlDelay(double seconds);
    // Takes over the rules and delay of another group for the same crawler.
    void merge(const RobotsRules& other);

private:
    struct Rule {
        bool allow = false;
        bool anchored = false;      // the pattern ended in "$"
        std::string pattern;        // normalised, without the "$"
        std::size_t specificity{};  // octets of the normalised pattern as written
    };

    std::vector<Rule> rules_;
    std::optional<double> crawlDelay_;
};

class RobotsTxt {
public:
    // Content past this many bytes is ignored.
    static constexpr std::size_t kMaxBytes = 500 * 1024;

    // Allows everything: what a site without robots.txt means.
    RobotsTxt() = default;

    static RobotsTxt parse(std::string_view body);

    // What the answer to the robots.txt request means. A 2xx status: the
    // body's rules. A 4xx status (a missing file, or one the crawler may not
    // read): no rules. A 3xx status, left when redirects were not followed
    // to an end: the file is unavailable, so no rules either. A 5xx status,
    // any other status, or 0 or less for no answer at all: nothing may be
    // fetched until a later attempt reads the file.
    static RobotsTxt forStatus(int httpStatus, std::string_view body = {});

    // Disallows every path but "/robots.txt".
    static RobotsTxt disallowAll();

    // The rules for a crawler, given its User-Agent header or just its product
    // token ("Gleanmark/1.4 (+https://...)" or "Gleanmark"). A group names
    // the crawler when its user-agent line equals the product token, or
    // equals it up to a "-" in the token ("gleanmark" for "Gleanmark-News"),
    // ignoring case; the longest such name wins. Otherwise the "*" group
    // applies, and without one everything is allowed. All groups naming the
    // same agent count as one; their rules are put together here, so a
    // crawler asks once per site and keeps the answer.
    RobotsRules rulesFor(std::string_view userAgent) const;

    // The absolute URLs of the Sitemap lines, in order, each once.
    const std::vector<std::string>& sitemaps() const { return sitemaps_; }

private:
    // Consecutive user-agent lines and the rules after them. The rules are
    // kept once per group, not once per agent, so that a file naming many
    // agents stays small.
    struct Group {
        std::vector<std::string> agents;  // lower case product tokens, or "*"
        RobotsRules rules;
    };

    std::vector<Group> groups_;
    std::vector<std::string> sitemaps_;
};

}  // namespace harvest
