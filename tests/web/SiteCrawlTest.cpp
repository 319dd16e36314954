// Crawls of a small site served on 127.0.0.1 with the real fetch and
// document model: requests, stored files, List2's order, each depth, the
// filter, and the batch run that an Online crawl starts.
#include <QDir>

#include "FormFixture.h"
#include "GumboDocument.h"
#include "LoopbackServer.h"
#include "MainFormSide.h"
#include "NetworkForm.h"
#include "QtFetcher.h"
#include "WebFakes.h"
#include "WebFiles.h"
#include "WebForm.h"

namespace {

const FetchLimits kTestLimits{500, 1024 * 1024};

// Three levels: index -> a, b, Page.HTM, ads/banner -> deep pages, a
// redirect, a 404, a page that never answers, a binary file and a page of
// 1,500 links.
void BuildSite(LoopbackServer& s) {
    using R = LoopbackServer::Reply;
    s.page(
        "/index.htm",
        "<html><body><a href=\"a.htm\">a</a> <a href=\"" + s.url("/b.html") +
            "\">b</a> <a href=\"Page.HTM\">caps</a> "
            "<a href=\"mailto:info@site.example?subject=index.htm\">mail</a> "
            "<a href=\"ads/banner.htm\">ad</a> <a href=\"logo.png\">logo</a> "
            "write to office@site.example, help@site.example or jobs@site.example</body></html>");
    s.page("/a.htm", "<a href=\"deep/c.htm\">c</a> sales@site.example, shop@site.example");
    s.page("/b.html", "<head><base href=\"/deep/\"></head><a href=\"d.asp\">d</a>");
    s.page("/Page.HTM",
           "<a href=\"old.htm\"></a><a href=\"missing.htm\"></a><a href=\"slow.htm\"></a>"
           "<a href=\"data.asp\"></a><a href=\"many.htm\"></a>");
    s.page("/ads/banner.htm", "<a href=\"more.htm\">more</a>");
    s.page("/deep/c.htm", "<a href=\"e.htm\">e</a>");
    s.page("/deep/d.asp", "d");
    s.route("/old.htm", R::Redirect("/new.htm"));
    s.page("/new.htm", "new");
    s.route("/slow.htm", R::Of(R::Silent));
    R binary;
    binary.body = std::string("\0\x01\xfe\xff", 4);
    binary.contentType = "application/octet-stream";
    s.route("/data.asp", binary);
    std::string many;
    for (int i = 0; i < 1500; ++i) {
        many += "<a href=\"p" + std::to_string(i) + ".htm\">" + std::to_string(i) + "</a>\n";
    }
    s.page("/many.htm", many);
}

class SiteCrawl : public ::testing::Test, protected NetworkForm {
protected:
    SiteCrawl() : NetworkForm(kTestLimits) {
        BuildSite(server);
        settings.preset("FilterDir", dir.path());
        dir.write("filter", "ads\r\n");
    }
    void crawl(int depth, bool filter = false) {
        form.crawler.Lc2kEngine(server.url("/index.htm"), static_cast<int16_t>(depth), filter,
                                true);
    }
    std::vector<std::string> stored() const {
        std::vector<std::string> bytes;
        for (const auto& path : mainSide.list2) {
            bytes.push_back(ReadBytes(path));
        }
        return bytes;
    }
    std::string body(const std::string& path) { return ReadBytes(dir.path() + "/pages/" + path); }

    LoopbackServer server;
};

// Two requests a visit (the page and its document); "False" is stored empty.
TEST_F(SiteCrawl, DepthTwoWithTheFilterFollowsResolvedLinksLastFirst) {
    crawl(2, true);
    EXPECT_EQ(server.log,
              (std::vector<std::string>{"/index.htm", "/index.htm", "/Page.HTM", "/Page.HTM",
                                        "/b.html", "/b.html", "/a.htm", "/a.htm"}));
    EXPECT_EQ(stored(),
              (std::vector<std::string>{
                  server.body("/index.htm") + "\r\n", "\r\n", server.body("/Page.HTM") + "\r\n",
                  server.body("/b.html") + "\r\n", server.body("/a.htm") + "\r\n"}));
    const std::vector<std::string> searched(form.crawler.searchedUrls.begin(),
                                            form.crawler.searchedUrls.begin() + 6);
    EXPECT_EQ(searched, (std::vector<std::string>{"", server.url("/index.htm"), "False",
                                                  server.url("/Page.HTM"), server.url("/b.html"),
                                                  server.url("/a.htm")}));
    EXPECT_EQ(pointer.shapes.size(), 10u);
    EXPECT_EQ(pointer.shapes.front(), MousePointer::Hourglass);
    EXPECT_EQ(pointer.shapes.back(), MousePointer::Default);
    EXPECT_EQ(mainSide.processCalls, 1);
}

TEST_F(SiteCrawl, DepthThreeVisitsEveryKindOfPageOnce) {
    crawl(3);
    const std::vector<std::string> visited = {
        "/index.htm",   "/ads/banner.htm", "/Page.HTM", "/b.html",      "/a.htm",
        "/deep/c.htm",  "/deep/d.asp",     "/many.htm", "/data.asp",    "/slow.htm",
        "/missing.htm", "/old.htm",        "/new.htm",  "/ads/more.htm"};
    for (const auto& path : visited) {
        EXPECT_EQ(server.hits(path), 2) << path;
    }
    EXPECT_EQ(server.log.size(), 2 * visited.size());
    EXPECT_EQ(server.hits("/deep/e.htm") + server.hits("/p0.htm") + server.hits("/logo.png"), 0);
    EXPECT_EQ(form.store.pageCounter, 14);
    const auto bytes = stored();
    ASSERT_EQ(bytes.size(), 14u);
    EXPECT_EQ(bytes[8], server.body("/many.htm") + "\r\n");
    EXPECT_EQ(bytes[9], std::string("\0\x01\xfe\xff\r\n", 6));  // binary kept byte for byte
    EXPECT_EQ(bytes[10], "\r\n");                               // no answer in time
    EXPECT_EQ(bytes[11], "\r\n");                               // 404
    EXPECT_EQ(bytes[12], "new\r\n");                            // redirect followed
    EXPECT_EQ(form.crawler.searchedCount, 14);
    EXPECT_EQ(mainSide.processCalls, 1);
}

// The main window's form and the web window's form together, as the program
// wires them.
class OnlineRun : public FormFixture {
protected:
    OnlineRun() {
        BuildSite(server);
        settings.preset("TmpPath", dir.path() + "/pages/");
        settings.preset("Depth", "2");
    }
    LoopbackServer server;
    QtFetcher fetcher{kTestLimits};
    GumboDocumentSource documents{kTestLimits};
    MemorySettings settings;
    MainFormSide mainSide{form};
    NoPointer pointer;
    WebForm web{{fetcher, documents, settings, mainSide, pump, pointer, clock}};
};

TEST_F(OnlineRun, CrawledPagesJoinChosenFilesAndTheBatchRunRecordsTheirAddresses) {
    load();
    form.click("mnuEmail");
    form.setCheck("chkFileName", 1);
    form.setCheck("chkTime", 1);
    std::vector<std::string> chosen;
    pump.every = [&](long) {
        if (form.running() && chosen.empty()) {
            chosen = form.ctl("List2").items;
        }
    };
    prompts.savePaths = {file("results.txt")};
    web.setAddressText(server.url("/index.htm"));
    web.click("Process");
    std::vector<std::string> expected;
    for (int i = 0; i < 6; ++i) {  // index, False, banner, Page.HTM, b.html, a.htm
        expected.push_back(dir.path() + "/pages/" + std::to_string(i) + ".html");
    }
    EXPECT_EQ(chosen, expected);
    EXPECT_EQ(
        prompts.texts(),
        (std::vector<std::string>{"The processing is finished, do you want to save the results?"}));
    // Rows come from the pages that hold addresses: the start page and a.htm.
    const std::string results = ReadBytes(file("results.txt"));
    const std::string page0 = "\t" + expected[0] + "\tMar-7-26 9:05\r\n";
    const std::string page5 = "\t" + expected[5] + "\tMar-7-26 9:05\r\n";
    EXPECT_NE(results.find("office@site.example,\t"), std::string::npos) << results;
    EXPECT_NE(results.find("help@site.example\tjobs@site.example" + page0), std::string::npos);
    EXPECT_NE(results.find("sales@site.example,\tshop@site.example" + page5), std::string::npos);
    EXPECT_TRUE(form.ctl("List2").items.empty());  // the run re-initialises the window
    EXPECT_FALSE(web.busy());
}

}  // namespace
