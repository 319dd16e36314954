#include "RobotsTxt.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

namespace harvest {
namespace {

// The group example of RFC 9309, section 5.1.
constexpr std::string_view kGroups =
    "User-Agent: *\n"
    "Disallow: *.gif$\n"
    "Disallow: /example/\n"
    "Allow: /publications/\n"
    "\n"
    "User-Agent: foobot\n"
    "Disallow:/\n"
    "Allow:/example/page.html\n"
    "Allow:/example/allowed.gif\n"
    "\n"
    "User-Agent: barbot\n"
    "User-Agent: bazbot\n"
    "Disallow: /example/page.html\n"
    "\n"
    "User-Agent: quxbot\n";

constexpr std::string_view kAgents =
    "Disallow: /before-any-group\n"
    "User-agent: Gleanmark/1.0\n"
    "Disallow: /g\n"
    "User-agent: gleanmark-news\n"
    "Disallow: /n\n"
    "User-agent: *\n"
    "Disallow: /star\n"
    "User-agent: other\n"
    "Disallow: /o\n"
    "User-agent: GLEANMARK\n"
    "Disallow: /second-group\n";

constexpr std::string_view kPatterns =
    "User-agent: *\n"
    "Allow: /example/page/\n"
    "Disallow: /example/page/disallowed.gif\n"
    "Disallow: /*.php$\n"
    "Disallow: /fish*\n"
    "Disallow: /*?sessionid=\n"
    "Disallow: /a$b\n"
    "Allow: /tie\n"
    "Disallow: /tie\n"
    "Allow: /star\n"
    "Disallow: /*star\n"
    "Disallow: /%7Ejoe/\n"
    "Disallow: /~ann/\n"
    "Disallow: /q%3cx\n"
    "Disallow: /caf\xC3\xA9\n"
    "Disallow: /a%2Fb\n"
    "Disallow: private\n";

// Spellings sites use in practice: a byte-order mark, CR and CRLF line ends,
// spaces around ":", field names in any case and misspelt, no ":" at all.
constexpr std::string_view kSloppy =
    "\xEF\xBB\xBF"
    "# comment line\r\n"
    "useragent : sloppy # trailing comment\r"
    "USER AGENT:  tidy \r\n"
    "DISALOW : /one # not part of it\n"
    "dissallow:/two\r\n"
    "Disallow /three\n"
    "\x01\xFF\xFE junk: line\n"
    "Disallow: /four\n";

struct PathCase {
    std::string_view body;
    std::string_view agent;
    std::string_view path;
    bool allowed;
};

const PathCase kPathCases[] = {
    // Group choice and the rules of each group.
    {kGroups, "foobot", "/example/page.html", true},
    {kGroups, "foobot", "/example/allowed.gif", true},
    {kGroups, "foobot", "/example/other.gif", false},
    {kGroups, "foobot", "/", false},
    {kGroups, "FooBot/2.1 (+http://foo.example)", "/elsewhere", false},
    {kGroups, "barbot", "/example/page.html", false},
    {kGroups, "bazbot", "/example/page.html", false},
    {kGroups, "bazbot", "/example/", true},
    {kGroups, "quxbot", "/example/a.gif", true},
    {kGroups, "somebot", "/x/y.gif", false},
    {kGroups, "somebot", "/x/y.gif?z", true},
    {kGroups, "somebot", "/example/x", false},
    {kGroups, "somebot", "/publications/x", true},
    {kGroups, "", "/example/", false},
    {kAgents, "Gleanmark/1.4 (+https://gleanmark.example/bot)", "/g", false},
    {kAgents, "Gleanmark/1.4", "/second-group", false},
    {kAgents, "Gleanmark/1.4", "/star", true},
    {kAgents, "Gleanmark/1.4", "/before-any-group", true},
    {kAgents, "Gleanmark-News/2", "/n", false},
    {kAgents, "Gleanmark-News/2", "/g", true},
    {kAgents, "Gleanmark-Images/2", "/g", false},
    {kAgents, "Gleanmarker", "/g", true},
    {kAgents, "Gleanmarker", "/star", false},
    {kAgents, "Other", "/o", false},
    {kAgents, "Other", "/second-group", true},
    // Longest match, wildcards, the "$" anchor and ties.
    {kPatterns, "bot", "/example/page/", true},
    {kPatterns, "bot", "/example/page/disallowed.gif", false},
    {kPatterns, "bot", "/index.php", false},
    {kPatterns, "bot", "/a/b/index.php", false},
    {kPatterns, "bot", "/index.php?x=1", true},
    {kPatterns, "bot", "/index.phps", true},
    {kPatterns, "bot", "/fish", false},
    {kPatterns, "bot", "/fishheads/yummy.html", false},
    {kPatterns, "bot", "/Fish", true},
    {kPatterns, "bot", "/page?sessionid=3", false},
    {kPatterns, "bot", "/page?id=3", true},
    {kPatterns, "bot", "/a$b", false},
    {kPatterns, "bot", "/a", true},
    {kPatterns, "bot", "/tie", true},
    {kPatterns, "bot", "/star", false},
    {kPatterns, "bot", "/private/x", false},
    // Escapes compared after normalisation, both ways.
    {kPatterns, "bot", "/~joe/x", false},
    {kPatterns, "bot", "/%7ejoe/x", false},
    {kPatterns, "bot", "/%7Eann/x", false},
    {kPatterns, "bot", "/q%3Cx", false},
    {kPatterns, "bot", "/caf%c3%a9", false},
    {kPatterns, "bot", "/caf\xC3\xA9", false},
    {kPatterns, "bot", "/a/b", true},
    {kPatterns, "bot", "/a%2fb", false},
    // Sloppy spellings.
    {kSloppy, "sloppy", "/one", false},
    {kSloppy, "tidy", "/two", false},
    {kSloppy, "tidy", "/three", false},
    {kSloppy, "tidy", "/four", false},
    {kSloppy, "Tidy", "/on", true},
    {kSloppy, "tidy", "/five", true},
    // An empty Disallow allows everything; robots.txt itself always is.
    {"User-agent: *\nDisallow:\n", "bot", "/anything", true},
    {"User-agent: *\nDisallow: /\n", "bot", "/robots.txt", true},
    {"User-agent: *\nDisallow: /\n", "bot", "", false},
    {"User-agent: *\nDisallow: /\n", "bot", "/robots.txt?x=1", true},
    {"User-agent: *\nDisallow: /robots\n", "bot", "/robots.txt.bak", false},
};

TEST(RobotsTxt, DecidesPathsByTheChosenGroup) {
    for (const PathCase& c : kPathCases) {
        const RobotsTxt robots = RobotsTxt::parse(c.body);
        EXPECT_EQ(robots.rulesFor(c.agent).allowed(c.path), c.allowed)
            << c.agent << " " << c.path << "\n"
            << c.body;
    }
}

TEST(RobotsTxt, MergesGroupsForTheSameAgent) {
    const RobotsTxt robots = RobotsTxt::parse(
        "user-agent: ExampleBot\ndisallow: /foo\ndisallow: /bar\n\n"
        "user-agent: ExampleBot\ndisallow: /baz\n");
    const RobotsRules rules = robots.rulesFor("examplebot");
    for (const char* path : {"/foo", "/bar", "/baz"}) {
        EXPECT_FALSE(rules.allowed(path)) << path;
    }
    EXPECT_TRUE(rules.allowed("/qux"));
}

struct DelayCase {
    std::string_view body;
    std::string_view agent;
    std::optional<double> delay;
};

const DelayCase kDelayCases[] = {
    {"User-agent: *\nCrawl-delay: 10\n", "bot", 10.0},
    {"User-agent: *\ncrawl-delay: 0.5\n", "bot", 0.5},
    {"User-agent: *\nCrawl-Delay : .25 # quarter\n", "bot", 0.25},
    {"User-agent: *\nCrawldelay: 3\n", "bot", 3.0},
    {"User-agent: *\nCrawl-delay: ten\n", "bot", std::nullopt},
    {"User-agent: *\nCrawl-delay: 5s\n", "bot", std::nullopt},
    {"User-agent: *\nCrawl-delay: -1\n", "bot", std::nullopt},
    {"User-agent: *\nCrawl-delay: 1.2.3\n", "bot", std::nullopt},
    {"User-agent: *\nCrawl-delay:\n", "bot", std::nullopt},
    {"Crawl-delay: 9\nUser-agent: *\n", "bot", std::nullopt},
    {"User-agent: *\nCrawl-delay: 2\nUser-agent: bot\nCrawl-delay: 7\n", "bot", 7.0},
    {"User-agent: *\nCrawl-delay: 2\nUser-agent: bot\nCrawl-delay: 7\n", "other", 2.0},
    {"User-agent: bot\nCrawl-delay: 4\nUser-agent: bot\nCrawl-delay: 6\n", "bot", 6.0},
};

TEST(RobotsTxt, CrawlDelayOfTheChosenGroup) {
    for (const DelayCase& c : kDelayCases) {
        EXPECT_EQ(RobotsTxt::parse(c.body).rulesFor(c.agent).crawlDelay(), c.delay) << c.body;
    }
}

TEST(RobotsTxt, SitemapsAnywhereAbsoluteAndOnce) {
    const RobotsTxt robots = RobotsTxt::parse(
        "Sitemap: https://example.com/a.xml\n"
        "User-agent: *\n"
        "sitemap:http://example.com/b.xml # comment\n"
        "Disallow: /x\n"
        "Site-map: /relative.xml\n"
        "Sitemap: https://example.com/a.xml\n"
        "Sitemap: https://\n"
        "SITEMAP : HTTPS://example.com/c.xml\n");
    const std::vector<std::string> expected = {
        "https://example.com/a.xml", "http://example.com/b.xml", "HTTPS://example.com/c.xml"};
    EXPECT_EQ(robots.sitemaps(), expected);
}

struct StatusCase {
    int status;
    bool allowed;
};

TEST(RobotsTxt, FetchStatusDecidesWhatCounts) {
    const StatusCase cases[] = {{200, false}, {206, false}, {301, true}, {400, true},  {401, true},
                                {403, true},  {404, true},  {410, true}, {429, false}, {500, false},
                                {503, false}, {0, false},   {-1, false}, {100, false}};
    for (const StatusCase& c : cases) {
        const RobotsTxt robots = RobotsTxt::forStatus(c.status, "User-agent: *\nDisallow: /p\n");
        EXPECT_EQ(robots.rulesFor("bot").allowed("/p"), c.allowed) << c.status;
        EXPECT_TRUE(robots.rulesFor("bot").allowed("/robots.txt")) << c.status;
    }
    EXPECT_TRUE(RobotsTxt().rulesFor("bot").allowed("/p"));
    EXPECT_TRUE(RobotsTxt::forStatus(200, "").rulesFor("bot").allowed("/"));
    EXPECT_FALSE(RobotsTxt::forStatus(503).rulesFor("bot").allowed("/"));
}

// A body with a line that starts at the given offset, comment lines before it.
std::string bodyWithLineAt(std::size_t at, std::string_view line) {
    std::string body = "User-agent: *\nDisallow: /early\n";
    while (body.size() + 10 < at) {
        body += "# filler\n";
    }
    body += std::string(at - body.size() - 1, '#') + "\n";
    return body += line;
}

struct LimitCase {
    std::size_t at;
    std::string_view line;
    bool allowed;  // "/p"
};

TEST(RobotsTxt, ContentPastTheLimitIsIgnored) {
    constexpr std::size_t kEnd = RobotsTxt::kMaxBytes;
    const LimitCase cases[] = {
        {kEnd - 12, "Disallow: /p\n", false},
        {kEnd - 12, "Disallow: /p", false},
        // Cut inside the line: half a pattern is dropped, not taken as a
        // shorter one.
        {kEnd - 12, "Disallow: /partial\n", true},
        {kEnd - 12, "Disallow: /p\rartial\n", false},
        {kEnd + 1, "Disallow: /p\n", true},
    };
    for (const LimitCase& c : cases) {
        const RobotsRules rules = RobotsTxt::parse(bodyWithLineAt(c.at, c.line)).rulesFor("bot");
        EXPECT_FALSE(rules.allowed("/early"));
        EXPECT_EQ(rules.allowed("/p"), c.allowed) << c.at << " " << c.line;
    }
}

TEST(RobotsTxt, ManyWildcardsMatchInLinearTime) {
    // Backtracking over each "*" would take too many steps to finish here.
    std::string pattern = "/";
    for (int i = 0; i < 60; ++i) {
        pattern += "*a";
    }
    const RobotsRules rules = RobotsTxt::parse("User-agent: *\nDisallow: /\nDisallow: " + pattern +
                                               "b\nAllow: " + pattern + "$\n")
                                  .rulesFor("bot");
    const std::string many = "/" + std::string(4000, 'a');
    EXPECT_TRUE(rules.allowed(many));
    EXPECT_FALSE(rules.allowed(many + "b"));
    EXPECT_FALSE(rules.allowed(many + "c"));
    EXPECT_TRUE(rules.allowed("/" + std::string(60, 'a')));
    EXPECT_FALSE(rules.allowed("/" + std::string(59, 'a')));
}

TEST(RobotsTxt, JunkNeverCrashes) {
    std::uint32_t state = 12345;
    for (int round = 0; round < 200; ++round) {
        std::string body = round % 2 == 0 ? "User-agent: *\n" : "";
        const int size = (round * 37) % 2000;
        for (int i = 0; i < size; ++i) {
            state = state * 1664525 + 1013904223;
            const char pick = static_cast<char>(state >> 24);
            // Sprinkle in the characters the parser cares about.
            body += (state & 0x300) == 0 ? ":*$\n%/#"[(state >> 10) % 7] : pick;
        }
        const RobotsTxt robots = RobotsTxt::parse(body);
        const RobotsRules rules = robots.rulesFor(body.substr(0, 20));
        rules.allowed(body.substr(size / 2));
        EXPECT_TRUE(rules.allowed("/robots.txt"));
    }
}

}  // namespace
}  // namespace harvest
