// The crawl over a scripted site: which pages are visited in which order, at
// each depth, with the filter, the "False" visit and the early level end.
#include "WebFiles.h"
#include "WebRig.h"

namespace {

using Site = std::map<std::string, std::vector<std::string>>;

struct CrawlCase {
    const char* name;
    Site site;
    int depth;
    bool filter;
    bool online;
    std::vector<std::string> visits;  // addresses fetched, in order
    int processCalls;
};

class Crawl : public WebRig, public ::testing::WithParamInterface<CrawlCase> {};

TEST_P(Crawl, VisitsPagesLevelByLevel) {
    const auto& c = GetParam();
    site(c.site);
    webfiles::WriteRecord(settings.value("Gleanmark", "Setting", "FilterDir").value() + "//filter",
                          "\r\nads");
    crawl("A.htm", c.depth, c.filter, c.online);
    EXPECT_EQ(fetcher.requests, c.visits);
    EXPECT_EQ(documents.requests, c.visits);  // the document loads each page itself
    EXPECT_EQ(mainSide.processCalls, c.processCalls);
    ASSERT_EQ(mainSide.list2.size(), c.visits.size());
    for (size_t i = 0; i < c.visits.size(); ++i) {
        EXPECT_EQ(mainSide.list2[i], page(static_cast<int>(i)));
    }
    EXPECT_EQ(form.crawler.searchedCount, static_cast<int>(c.visits.size()));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Crawl,
    ::testing::Values(
        CrawlCase{"NoLinksDepthOneRuns", {{"A.htm", {}}}, 1, false, true, {"A.htm"}, 1},
        CrawlCase{"NoLinksDepthTwoEndsWithoutRun", {{"A.htm", {}}}, 2, false, true, {"A.htm"}, 0},
        CrawlCase{"DepthOneVisitsFalseOnce",
                  {{"A.htm", {"B.htm", "C.htm"}}},
                  1,
                  false,
                  true,
                  {"A.htm", "False"},
                  1},
        CrawlCase{"OfflineStartsNoRun", {{"A.htm", {}}}, 1, false, false, {"A.htm"}, 0},
        // The stack gives the last link first. C ends its level at once
        // because nothing has been collected for the next level yet.
        CrawlCase{"PageWithoutNewLinksEndsItsLevel",
                  {{"A.htm", {"B.htm", "C.htm"}}, {"B.htm", {"D.htm"}}, {"C.htm", {}}},
                  2,
                  false,
                  true,
                  {"A.htm", "False", "C.htm"},
                  1},
        CrawlCase{"LevelGoesOnWhileTheNextLevelHoldsLinks",
                  {{"A.htm", {"C.htm", "B.htm"}}, {"B.htm", {"D.htm"}}, {"C.htm", {}}},
                  2,
                  false,
                  true,
                  {"A.htm", "False", "B.htm", "C.htm"},
                  1},
        CrawlCase{"ThreeLevels",
                  {{"A.htm", {"B.htm"}}, {"B.htm", {"C.htm"}}, {"C.htm", {}}},
                  3,
                  false,
                  true,
                  {"A.htm", "False", "B.htm", "C.htm"},
                  1},
        CrawlCase{"OnlyPageLinksQualifyAndMailtoIsNeverFollowed",
                  {{"A.htm", {"MAILTO:a@b.htm", "Page.HTM", "pic.gif", "x.ASP", "A.htm"}},
                   {"x.ASP", {"n.htm"}},
                   {"Page.HTM", {"A.htm"}}},
                  2,
                  false,
                  true,
                  {"A.htm", "False", "x.ASP", "Page.HTM"},
                  1},
        CrawlCase{"FilterMatchesCaseSensitively",
                  {{"A.htm", {"x/ads/a.htm", "x/Ads/b.htm"}}, {"x/Ads/b.htm", {}}},
                  2,
                  true,
                  true,
                  {"A.htm", "False", "x/Ads/b.htm"},
                  1},
        CrawlCase{"FilterOff",
                  {{"A.htm", {"x/Ads/b.htm", "x/ads/a.htm"}}, {"x/ads/a.htm", {"n.htm"}}},
                  2,
                  false,
                  true,
                  {"A.htm", "False", "x/ads/a.htm", "x/Ads/b.htm"},
                  1},
        CrawlCase{"LinkWaitingTwiceIsVisitedOnce",
                  {{"A.htm", {"B.htm", "B.htm"}}, {"B.htm", {"n.htm"}}},
                  2,
                  false,
                  true,
                  {"A.htm", "False", "B.htm"},
                  1}),
    [](const auto& info) { return std::string(info.param.name); });

class CrawlRig : public WebRig {};

TEST_F(CrawlRig, FilterLinesAreCaseSensitivePartsAndAMissingFileFiltersNothing) {
    EXPECT_FALSE(form.crawler.IsFilter("x/ads/a.htm"));
    dir.write("filter", "\r\nbanner\r\nads");
    EXPECT_TRUE(form.crawler.IsFilter("x/ads/a.htm"));
    EXPECT_FALSE(form.crawler.IsFilter("x/Ads/a.htm"));
    EXPECT_FALSE(form.crawler.IsFilter(""));
}

TEST_F(CrawlRig, ErrorWhileCollectingLinksEndsThatVisitOnly) {
    site(
        {{"A.htm", {"B.htm", "C.htm"}}, {"C.htm", {"D.htm"}}, {"B.htm", {"E.htm"}}, {"D.htm", {}}});
    documents.failing = {"B.htm"};
    crawl("A.htm", 3);
    EXPECT_EQ(fetcher.requests,
              (std::vector<std::string>{"A.htm", "False", "C.htm", "B.htm", "D.htm"}));
    EXPECT_EQ(mainSide.list2.size(), 5u);
    ASSERT_FALSE(pointer.shapes.empty());
    EXPECT_EQ(pointer.shapes.size(), 10u);  // hourglass and back for every page
    EXPECT_EQ(pointer.shapes.back(), MousePointer::Default);
}

TEST_F(CrawlRig, KeepsTheFirst1001LinksOfAPage) {
    std::vector<std::string> links;
    for (int i = 0; i < 1500; ++i) {
        links.push_back("p" + std::to_string(i) + ".htm");
    }
    site({{"A.htm", links}});
    crawl("A.htm", 2);
    EXPECT_EQ(form.crawler.pageLinks[1000], "");  // the last page visited had no links
    EXPECT_EQ(fetcher.requests, (std::vector<std::string>{"A.htm", "False", "p1000.htm"}));
    form.crawler.CollectLinks("A.htm");
    EXPECT_EQ(form.crawler.pageLinks[1000], "p1000.htm");
}

TEST_F(CrawlRig, SearchedListHolds900AddressesAndLaterCrawlsStillEnd) {
    std::vector<std::string> links;
    for (int i = 0; i < 950; ++i) {
        links.push_back("p" + std::to_string(i) + ".htm");
        documents.links[links.back()] = {"next.htm"};
    }
    site({{"A.htm", links}});
    crawl("A.htm", 2);
    EXPECT_EQ(fetcher.requests.size(), 952u);
    EXPECT_EQ(form.crawler.searchedCount, 900);
    EXPECT_EQ(form.crawler.searchedUrls[900], "p52.htm");
    EXPECT_FALSE(form.crawler.HasUrlBeenSearchedBefore("p51.htm"));
    EXPECT_FALSE(form.crawler.SetUrlSearched("late.htm"));
    EXPECT_EQ(mainSide.processCalls, 1);

    // The list is full: nothing is recorded, so "False" would be visited
    // without end; it is visited once a level instead.
    fetcher.requests.clear();
    crawl("A.htm", 2);
    EXPECT_EQ(fetcher.requests.size(), 953u);
    EXPECT_EQ(fetcher.requests[1], "False");
    EXPECT_EQ(fetcher.requests.back(), "False");
    EXPECT_EQ(mainSide.processCalls, 2);
}

TEST_F(CrawlRig, CrawlDeeperThanTheStackEndsAtLevelSixteen) {
    Site chain;
    for (int i = 0; i < 20; ++i) {
        chain["L" + std::to_string(i) + ".htm"] = {"L" + std::to_string(i + 1) + ".htm"};
    }
    site(chain);
    crawl("L0.htm", 20);
    // Levels 1 to 15 each visit one page ("False" once in the first).
    EXPECT_EQ(fetcher.requests.size(), 17u);
    EXPECT_EQ(fetcher.requests.back(), "L15.htm");
    EXPECT_EQ(mainSide.processCalls, 0);
}

TEST_F(CrawlRig, TerminateFinishesThePageInHandAndStopsLaterCrawls) {
    site({{"A.htm", {"B.htm", "C.htm", "D.htm"}}, {"D.htm", {"x.htm"}}, {"C.htm", {"x.htm"}}});
    fetcher.polls = 1;
    pump.every = [&](long) {
        if (fetcher.requests.size() == 3 && form.ctl("Terminate").enabled) {
            form.click("Terminate");
        }
    };
    settings.preset("Depth", "2");
    form.setAddressText("A.htm");
    form.click("Process");
    EXPECT_EQ(fetcher.requests, (std::vector<std::string>{"A.htm", "False", "D.htm"}));
    EXPECT_EQ(mainSide.list2.size(), 3u);
    EXPECT_EQ(mainSide.processCalls, 0);
    form.click("Process");
    EXPECT_EQ(fetcher.requests.size(), 3u);
}

TEST_F(CrawlRig, WaitProcessorTimeEndsOneSecondPastTheRoundedTime) {
    clock.moment = QDateTime(QDate(2026, 3, 7), QTime(23, 59, 59, 600));
    pump.every = [&](long) { clock.moment = clock.moment.addMSecs(100); };
    form.crawler.WaitProcessorTime();
    // 23:59:59.6 rounds to midnight; the wait ends at 00:00:01 the next day.
    EXPECT_EQ(clock.moment, QDateTime(QDate(2026, 3, 8), QTime(0, 0, 1)));
    EXPECT_EQ(pump.count, 14);
}

}  // namespace
