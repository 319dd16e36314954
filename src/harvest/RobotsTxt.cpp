#include "RobotsTxt.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "UrlEscapes.h"

namespace harvest {

namespace {

enum class Field { Unknown, UserAgent, Allow, Disallow, CrawlDelay, Sitemap };

// Field names after lower-casing and dropping "-", "_" and blanks, with the
// misspellings of "disallow" that sites are known to write.
struct FieldName {
    std::string_view name;
    Field field;
};
constexpr std::array<FieldName, 11> kFieldNames = {{
    {"useragent", Field::UserAgent},
    {"allow", Field::Allow},
    {"disallow", Field::Disallow},
    {"disalow", Field::Disallow},
    {"dissallow", Field::Disallow},
    {"dissalow", Field::Disallow},
    {"disallaw", Field::Disallow},
    {"diasllow", Field::Disallow},
    {"crawldelay", Field::CrawlDelay},
    {"sitemap", Field::Sitemap},
    {"sitemaps", Field::Sitemap},
}};

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kRobotsPath = "/robots.txt";

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && isBlank(s.front())) {
        s.remove_prefix(1);
    }
    while (!s.empty() && isBlank(s.back())) {
        s.remove_suffix(1);
    }
    return s;
}

bool startsWithNoCase(std::string_view s, std::string_view prefix) {
    if (s.size() < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (asciiLower(s[i]) != prefix[i]) {
            return false;
        }
    }
    return true;
}

Field fieldOf(std::string_view key) {
    std::string folded;
    for (char c : key) {
        if (c != '-' && c != '_' && !isBlank(c)) {
            folded += asciiLower(c);
        }
        if (folded.size() > 16) {
            return Field::Unknown;
        }
    }
    for (const FieldName& known : kFieldNames) {
        if (folded == known.name) {
            return known.field;
        }
    }
    return Field::Unknown;
}

// The lower-case product token at the start of a user-agent value:
// "Gleanmark/1.4 (...)" gives "gleanmark".
std::string productToken(std::string_view value) {
    value = trimmed(value);
    std::string token;
    for (char c : value) {
        const bool tokenChar = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                               (c >= '0' && c <= '9') || c == '-' || c == '_';
        if (!tokenChar) {
            break;
        }
        token += asciiLower(c);
    }
    return token;
}

// A plain decimal number of seconds ("10", "0.5", ".5"); anything else is junk.
std::optional<double> parseSeconds(std::string_view value) {
    double seconds = 0;
    double scale = 1;
    bool digits = false;
    bool point = false;
    for (char c : value) {
        if (c == '.' && !point) {
            point = true;
        } else if (c >= '0' && c <= '9') {
            digits = true;
            if (point) {
                scale /= 10;
                seconds += (c - '0') * scale;
            } else {
                seconds = seconds * 10 + (c - '0');
            }
        } else {
            return std::nullopt;
        }
    }
    if (!digits || !std::isfinite(seconds)) {
        return std::nullopt;
    }
    return seconds;
}

// Whether a normalised pattern, split at its "*"s, matches the start of the
// path (or all of it when anchored). Each piece is placed at its leftmost
// place after the one before; that is always right for "*" wildcards and
// keeps the work to a few scans of the path, however many "*"s there are.
bool patternMatches(std::string_view pattern, bool anchored, std::string_view path) {
    std::size_t star = pattern.find('*');
    const std::string_view first = pattern.substr(0, star);
    if (path.substr(0, first.size()) != first) {
        return false;
    }
    if (star == std::string_view::npos) {
        return !anchored || path.size() == first.size();
    }
    std::size_t at = first.size();
    pattern.remove_prefix(star + 1);
    while ((star = pattern.find('*')) != std::string_view::npos) {
        const std::string_view piece = pattern.substr(0, star);
        if (!piece.empty()) {
            const std::size_t found = path.find(piece, at);
            if (found == std::string_view::npos) {
                return false;
            }
            at = found + piece.size();
        }
        pattern.remove_prefix(star + 1);
    }
    if (!anchored) {
        return path.find(pattern, at) != std::string_view::npos;
    }
    return path.size() >= at + pattern.size() && path.ends_with(pattern);
}

// The lines of the body, without the byte-order mark and cut at kMaxBytes; a
// line cut short there is dropped, since half a pattern means something else.
std::vector<std::string_view> linesOf(std::string_view body) {
    if (body.starts_with(kByteOrderMark)) {
        body.remove_prefix(kByteOrderMark.size());
    }
    if (body.size() > RobotsTxt::kMaxBytes) {
        const bool cutAtLineEnd =
            body[RobotsTxt::kMaxBytes] == '\n' || body[RobotsTxt::kMaxBytes] == '\r' ||
            body[RobotsTxt::kMaxBytes - 1] == '\n' || body[RobotsTxt::kMaxBytes - 1] == '\r';
        body = body.substr(0, RobotsTxt::kMaxBytes);
        if (!cutAtLineEnd) {
            const std::size_t lastEnd = body.find_last_of("\r\n");
            body = body.substr(0, lastEnd == std::string_view::npos ? 0 : lastEnd);
        }
    }
    std::vector<std::string_view> lines;
    while (!body.empty()) {
        const std::size_t end = body.find_first_of("\r\n");
        lines.push_back(body.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        const bool crlf = body[end] == '\r' && end + 1 < body.size() && body[end + 1] == '\n';
        body.remove_prefix(end + (crlf ? 2 : 1));
    }
    return lines;
}

struct Line {
    Field field = Field::Unknown;
    std::string_view value;
};

// "Field: value # comment". Without a ":", a known field name followed by a
// blank is taken too ("Disallow /tmp").
Line parseLine(std::string_view text) {
    text = trimmed(text.substr(0, text.find('#')));
    Line line;
    const std::size_t colon = text.find(':');
    if (colon != std::string_view::npos) {
        line.field = fieldOf(text.substr(0, colon));
        line.value = trimmed(text.substr(colon + 1));
        return line;
    }
    const auto blank = std::find_if(text.begin(), text.end(), isBlank);
    if (blank != text.end()) {
        const auto at = static_cast<std::size_t>(blank - text.begin());
        line.field = fieldOf(text.substr(0, at));
        line.value = trimmed(text.substr(at));
    }
    return line;
}

}  // namespace

bool RobotsRules::allowed(std::string_view pathAndQuery) const {
    pathAndQuery = pathAndQuery.substr(0, pathAndQuery.find('#'));
    std::string path = normalisedEscapes(pathAndQuery);
    if (path.empty() || path.front() != '/') {
        path.insert(0, 1, '/');
    }
    if (std::string_view(path).substr(0, path.find('?')) == kRobotsPath) {
        return true;
    }
    const Rule* best = nullptr;
    for (const Rule& rule : rules_) {
        if (best != nullptr && (rule.specificity < best->specificity ||
                                (rule.specificity == best->specificity && best->allow))) {
            continue;
        }
        if (patternMatches(rule.pattern, rule.anchored, path)) {
            best = &rule;
        }
    }
    return best == nullptr || best->allow;
}

void RobotsRules::addRule(bool allow, std::string_view pattern) {
    pattern = trimmed(pattern);
    if (pattern.empty()) {
        return;
    }
    Rule rule;
    rule.allow = allow;
    rule.pattern = normalisedEscapes(pattern);
    if (rule.pattern.front() != '/' && rule.pattern.front() != '*') {
        rule.pattern.insert(0, 1, '/');
    }
    rule.specificity = rule.pattern.size();
    if (rule.pattern.back() == '$') {
        rule.anchored = true;
        rule.pattern.pop_back();
    }
    rules_.push_back(std::move(rule));
}

void RobotsRules::setCrawlDelay(double seconds) {
    if (!crawlDelay_ || seconds > *crawlDelay_) {
        crawlDelay_ = seconds;
    }
}

void RobotsRules::merge(const RobotsRules& other) {
    rules_.insert(rules_.end(), other.rules_.begin(), other.rules_.end());
    if (other.crawlDelay_) {
        setCrawlDelay(*other.crawlDelay_);
    }
}

RobotsTxt RobotsTxt::parse(std::string_view body) {
    RobotsTxt robots;
    // Whether a rule has been read since the last user-agent line: the next
    // one then starts a new group. Rules before the first group are dropped.
    bool inRules = true;
    for (std::string_view text : linesOf(body)) {
        const Line line = parseLine(text);
        switch (line.field) {
            case Field::UserAgent: {
                if (inRules) {
                    robots.groups_.emplace_back();
                    inRules = false;
                }
                std::string agent = productToken(line.value);
                if (agent.empty() && line.value.starts_with('*')) {
                    agent = "*";
                }
                if (!agent.empty()) {
                    robots.groups_.back().agents.push_back(std::move(agent));
                }
                break;
            }
            case Field::Allow:
            case Field::Disallow:
                inRules = true;
                if (!robots.groups_.empty()) {
                    robots.groups_.back().rules.addRule(line.field == Field::Allow, line.value);
                }
                break;
            case Field::CrawlDelay: {
                inRules = true;
                const std::optional<double> delay = parseSeconds(line.value);
                if (delay && !robots.groups_.empty()) {
                    robots.groups_.back().rules.setCrawlDelay(*delay);
                }
                break;
            }
            case Field::Sitemap: {
                const std::string url(line.value);
                const bool absolute = (startsWithNoCase(url, "http://") && url.size() > 7) ||
                                      (startsWithNoCase(url, "https://") && url.size() > 8);
                if (absolute && std::find(robots.sitemaps_.begin(), robots.sitemaps_.end(), url) ==
                                    robots.sitemaps_.end()) {
                    robots.sitemaps_.push_back(url);
                }
                break;
            }
            case Field::Unknown:
                break;
        }
    }
    return robots;
}

RobotsTxt RobotsTxt::forStatus(int httpStatus, std::string_view body) {
    if (httpStatus >= 200 && httpStatus < 300) {
        return parse(body);
    }
    // 429 asks the crawler to come back later, like a server error.
    if (httpStatus >= 300 && httpStatus < 500 && httpStatus != 429) {
        return RobotsTxt();
    }
    return disallowAll();
}

RobotsTxt RobotsTxt::disallowAll() {
    RobotsTxt robots;
    robots.groups_.push_back(Group{{"*"}, {}});
    robots.groups_.back().rules.addRule(false, "/");
    return robots;
}

RobotsRules RobotsTxt::rulesFor(std::string_view userAgent) const {
    const std::string token = productToken(userAgent);
    std::string_view chosen = "*";
    bool named = false;
    for (const Group& group : groups_) {
        for (const std::string& name : group.agents) {
            const bool names = name != "*" && (token == name || (token.size() > name.size() &&
                                                                 token.starts_with(name) &&
                                                                 token[name.size()] == '-'));
            if (names && (!named || name.size() > chosen.size())) {
                chosen = name;
                named = true;
            }
        }
    }
    RobotsRules rules;
    for (const Group& group : groups_) {
        if (std::find(group.agents.begin(), group.agents.end(), chosen) != group.agents.end()) {
            rules.merge(group.rules);
        }
    }
    return rules;
}

}  // namespace harvest
