// Stored pages: their names, bytes and order in List2, the counter's limit,
// a temporary folder that cannot be made, and the shortcut commands.
#include <filesystem>

#include "WebFiles.h"
#include "WebRig.h"

namespace {

class PageStoreRig : public WebRig {};

TEST_F(PageStoreRig, PagesAreNumberedFilesJoinedToTheFolderWithNothingBetween) {
    form.store.StoreInternetPage("first", "http://h/a.htm");
    form.store.StoreInternetPage("", "http://h/WS.htm");
    EXPECT_EQ(mainSide.list2, (std::vector<std::string>{page(0), page(1)}));
    EXPECT_EQ(ReadBytes(page(0)), "first\r\n");
    EXPECT_EQ(ReadBytes(page(1)), "\r\n");
    EXPECT_EQ(form.store.escapedAddress, "httpWCWSWShWSWWSWThtm");
    EXPECT_EQ(form.ctl("lblPages").caption, "Pages stored: 2");

    // Without TmpPath the pages go to the working directory.
    settings.values.erase("Gleanmark/Setting/TmpPath");
    form.store.StoreInternetPage("third", "x");
    EXPECT_EQ(mainSide.list2.back(), "2.html");
    EXPECT_EQ(ReadBytes(dir.file("2.html")), "third\r\n");
}

TEST_F(PageStoreRig, CounterStaysAt32767AndTheLastFileIsReplaced) {
    form.store.pageCounter = 32766;
    for (const char* text : {"a", "b", "c"}) {
        form.store.StoreInternetPage(text, "x");
    }
    EXPECT_EQ(form.store.pageCounter, 32767);
    EXPECT_EQ(mainSide.list2, (std::vector<std::string>{page(32766), page(32767), page(32767)}));
    EXPECT_EQ(ReadBytes(page(32767)), "c\r\n");
}

TEST_F(PageStoreRig, FolderThatCannotBeMadeStillListsThePathAndCounts) {
    dir.write("blocked", "a file where the folder should be");
    settings.preset("TmpPath", dir.file("blocked") + "/sub/");
    form.store.StoreInternetPage("page", "x");
    EXPECT_EQ(mainSide.list2, (std::vector<std::string>{dir.file("blocked") + "/sub/0.html"}));
    EXPECT_EQ(form.store.pageCounter, 1);
    EXPECT_FALSE(std::filesystem::exists(dir.file("blocked") + "/sub"));
}

TEST_F(PageStoreRig, ShortcutFileKeepsAddressesInTheOrderSaved) {
    const std::string file = dir.path() + "//shortcut";
    form.click("mnuLoadSC");  // no shortcut file yet: nothing to process
    EXPECT_TRUE(fetcher.requests.empty());
    EXPECT_EQ(mainSide.processCalls, 0);
    form.setAddressText("http://h/a.htm");
    form.click("SaveShort");
    form.click("mnuSave");
    EXPECT_EQ(ReadBytes(file), "http://h/a.htm\r\nhttp://h/a.htm\r\n");
    form.click("Clear");
    EXPECT_EQ(ReadBytes(file), "\r\n");
    form.setAddressText("http://h/b.htm");
    form.click("SaveShort");

    fetcher.pages["http://h/b.htm"] = "bee";
    form.click("ProcessShort");
    // The empty line is fetched and stored too.
    EXPECT_EQ(fetcher.requests, (std::vector<std::string>{"", "http://h/b.htm"}));
    EXPECT_EQ(ReadBytes(page(0)), "\r\n");
    EXPECT_EQ(ReadBytes(page(1)), "bee\r\n");
    EXPECT_EQ(mainSide.processCalls, 1);
    EXPECT_TRUE(documents.requests.empty());

    settings.preset("ShortcutDir", dir.file("missing"));
    form.click("SaveShort");  // a folder that does not exist: nothing written, no error
    EXPECT_FALSE(std::filesystem::exists(dir.file("missing")));
}

TEST_F(PageStoreRig, WindowShowsTheCrawlAndLocksItsCommandsWhileItRuns) {
    site({{"http://h/A.htm", {"http://h/B.htm"}}, {"http://h/B.htm", {"http://h/C.htm"}}});
    settings.preset("Depth", "2");
    settings.preset("Online", "False");
    fetcher.polls = 1;
    std::vector<std::string> seen;
    pump.every = [&](long) {
        seen.push_back(form.ctl("lblVisiting").caption + " | " + form.ctl("lblPages").caption);
        EXPECT_TRUE(form.busy());
        for (const char* name : {"Process", "mnuProcess", "ProcessShort", "mnuLoadSC", "Setting"}) {
            EXPECT_FALSE(form.ctl(name).enabled) << name;
        }
        EXPECT_TRUE(form.ctl("Terminate").enabled);
        form.click("Process");  // ignored while the crawl runs
    };
    form.setAddressText("http://h/A.htm");
    form.click("mnuProcess");
    EXPECT_EQ(seen, (std::vector<std::string>{"Visiting: http://h/A.htm | Pages stored: 0",
                                              "Visiting: False | Pages stored: 1",
                                              "Visiting: http://h/B.htm | Pages stored: 2"}));
    EXPECT_FALSE(form.busy());
    EXPECT_TRUE(form.ctl("Process").enabled);
    EXPECT_EQ(form.ctl("lblVisiting").caption, "");
    EXPECT_EQ(form.ctl("lblPages").caption, "Pages stored: 3");
    EXPECT_EQ(mainSide.processCalls, 0);
}

}  // namespace
