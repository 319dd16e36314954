// `gleanmark crawl` and `gleanmark shortcut` as processes, against a site on
// 127.0.0.1, with the settings kept in a temporary configuration folder.
#include <gtest/gtest.h>
#include <signal.h>
#include <QCoreApplication>
#include <QProcess>
#include <QTimer>

#include <filesystem>

#include "LoopbackServer.h"
#include "ProcessRun.h"
#include "TempDir.h"

namespace {

using Result = ProcessResult;

class Commands : public ::testing::Test {
protected:
    Commands() {
        server.page(
            "/index.htm",
            "<a href=\"a.htm\">a</a> <a href=\"b.htm\">b</a> ann@x.org, bob@x.org, cy@x.org");
        server.page("/a.htm", "<a href=\"c.htm\">c</a> dan@x.org, eve@x.org");
        server.page("/b.htm", "<a href=\"c.htm\">c</a>");
        server.page("/c.htm", "fay@x.org");
        server.page("/lone.htm", "no links here");
    }

    // Runs gleanmark with `args` ("~" in an argument stands for the
    // server's address) while the server answers.
    Result gleanmark(std::vector<std::string> args) {
        QProcess p;
        QStringList list;
        for (auto& a : args) {
            if (auto at = a.find('~'); at != std::string::npos) {
                a.replace(at, 1, server.url());
            }
            list << QString::fromStdString(a);
        }
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert("XDG_CONFIG_HOME", QString::fromStdString(dir.file("config")));
        p.setProcessEnvironment(env);
        p.setWorkingDirectory(QString::fromStdString(dir.path()));
        process = &p;
        p.start(GLEANMARK_BIN, list);
        bool timedOut = false;
        QTimer::singleShot(60000, [&] { timedOut = true; });
        while (p.state() != QProcess::NotRunning && !timedOut) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        process = nullptr;
        EXPECT_FALSE(timedOut);
        return {p.exitCode(), p.readAllStandardOutput().toStdString(),
                p.readAllStandardError().toStdString()};
    }
    std::string pages(int n) const { return dir.path() + "/pages/" + std::to_string(n) + ".html"; }

    TempDir dir;
    LoopbackServer server;
    QProcess* process = nullptr;
};

// Offline crawls print their stored pages and tell of a page that did not
// come; a crawl that ends before its depth starts no run. None saves a setting.
TEST_F(Commands, CrawlsPrintTheStoredPagesAndTellWhatDidNotCome) {
    server.page("/broken.htm", "<a href=\"gone.htm\">g</a>");
    struct Case {
        std::vector<std::string> args;
        int printed;
        std::string err;
        int page;  // a stored page and its bytes
        std::string bytes;
    };
    const Case cases[] = {
        // The start page, "False", then the last link first.
        {{"--depth", "2", "--offline", "~/index.htm"}, 4, "", 2, "<a href=\"c.htm\">c</a>\r\n"},
        // Stored empty after the start page and "False".
        {{"--depth", "2", "--offline", "~/broken.htm"},
         3,
         "gleanmark: " + server.url("/gone.htm") + ": HTTP status 404\n",
         2,
         "\r\n"},
        {{"--depth", "3", "--email", "~/lone.htm"}, 0, "", 0, "no links here\r\n"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = {"crawl", "--tmp-dir", "pages"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        Result r = gleanmark(args);
        EXPECT_EQ(r.status, 0) << r.err;
        std::string printed;
        for (int i = 0; i < c.printed; ++i) {
            printed += pages(i) + "\n";
        }
        EXPECT_EQ(r.out, printed);
        EXPECT_EQ(r.err, c.err);
        EXPECT_EQ(ReadBytes(pages(c.page)), c.bytes);
    }
    EXPECT_FALSE(std::filesystem::exists(dir.file("config")));
}

TEST_F(Commands, OnlineCrawlRunsLikeRun) {
    const std::string out = dir.file("results.txt");
    Result r = gleanmark({"crawl", "--depth", "2", "--tmp-dir", "pages", "--email", "--file-name",
                          "--process-time", "-o", out, "~/index.htm"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "The processing is finished, do you want to save the results?\n");
    const std::string results = ReadBytes(out);
    EXPECT_NE(results.find("ann@x.org,\tbob@x.org,\t" + pages(0) + "\t"), std::string::npos)
        << results;
    EXPECT_NE(results.find("dan@x.org,\teve@x.org\t" + pages(3) + "\t"), std::string::npos);

    r = gleanmark({"crawl", "--tmp-dir", "more", "~/index.htm"});
    EXPECT_EQ(r.status, 1);  // no function ticked: the run refuses
    EXPECT_EQ(r.err, "There is no process setting, so the files can not be process.\n");
}

TEST_F(Commands, StoredSettingsApplyWhereNoOptionIsGiven) {
    dir.write("config/Gleanmark.ini",
              "[Setting]\nDepth=1\nOnline=False\nTmpPath=" + dir.path() + "/kept/\n");
    Result r = gleanmark({"crawl", "~/index.htm"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, dir.path() + "/kept/0.html\n" + dir.path() + "/kept/1.html\n");
    r = gleanmark({"crawl", "--depth", "2", "--tmp-dir", "other", "~/index.htm"});
    EXPECT_EQ(ReadBytes(dir.file("config/Gleanmark.ini")),
              "[Setting]\nDepth=1\nOnline=False\nTmpPath=" + dir.path() + "/kept/\n");
}

TEST_F(Commands, ShortcutsAreSavedClearedAndProcessed) {
    const std::vector<std::string> at = {"--shortcut-dir", dir.path()};
    for (const auto& args :
         std::vector<std::vector<std::string>>{{"shortcut", "clear"},
                                               {"shortcut", "save", "~/a.htm"},
                                               {"shortcut", "save", "~/c.htm"}}) {
        auto full = args;
        full.insert(full.end(), at.begin(), at.end());
        Result r = gleanmark(full);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out + r.err, "");
    }
    EXPECT_EQ(ReadBytes(dir.path() + "//shortcut"),
              "\r\n" + server.url("/a.htm") + "\r\n" + server.url("/c.htm") + "\r\n");
    const std::string out = dir.file("results.txt");
    Result r = gleanmark({"shortcut", "process", "--shortcut-dir", dir.path(), "--tmp-dir", "sc",
                          "--email", "--file-name", "--process-time", "-o", out});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(server.log, (std::vector<std::string>{"/a.htm", "/c.htm"}));
    EXPECT_EQ(ReadBytes(dir.path() + "/sc/0.html"), "\r\n");  // the empty line
    EXPECT_NE(ReadBytes(out).find("dan@x.org,\teve@x.org\t" + dir.path() + "/sc/1.html"),
              std::string::npos);

    r = gleanmark({"shortcut", "process", "--shortcut-dir", dir.file("none"), "--email"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err,
              "gleanmark: cannot read the shortcut file " + dir.file("none") + "//shortcut\n");
}

TEST_F(Commands, CtrlCEndsTheCrawlAfterThePageInHand) {
    for (const char* path : {"/a.htm", "/b.htm", "/c.htm"}) {
        LoopbackServer::Reply slow;
        slow.body = "<a href=\"c.htm\">c</a>";
        slow.delayMs = 300;
        server.route(path, slow);
    }
    server.onRequest = [&] {
        if (server.log.size() == 3 && process) {
            ::kill(static_cast<pid_t>(process->processId()), SIGINT);
        }
    };
    Result r = gleanmark({"crawl", "--depth", "3", "--email", "--tmp-dir", "pages", "~/index.htm"});
    EXPECT_EQ(r.status, 130) << r.err;  // ended by Ctrl+C
    EXPECT_EQ(r.out, "");
    // The page in hand (b.htm) is fetched and searched for links, then the crawl stops.
    EXPECT_EQ(server.log,
              (std::vector<std::string>{"/index.htm", "/index.htm", "/b.htm", "/b.htm"}));
}

struct UsageCase {
    const char* name;
    std::vector<std::string> args;
    const char* mentions;
};

class WebUsage : public Commands, public ::testing::WithParamInterface<UsageCase> {};

TEST_P(WebUsage, ExitsWithStatusTwo) {
    Result r = gleanmark(GetParam().args);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(GetParam().mentions), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("usage: gleanmark "), std::string::npos);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(server.log.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, WebUsage,
    ::testing::Values(
        UsageCase{"NoAddress", {"crawl", "--email"}, "no ADDRESS given"},
        UsageCase{"TwoAddresses", {"crawl", "~/a.htm", "~/b.htm"}, "more than one ADDRESS"},
        UsageCase{"DepthNotANumber", {"crawl", "--depth", "two", "~/a.htm"}, "--depth takes"},
        UsageCase{"DepthZero", {"crawl", "--depth", "0", "~/a.htm"}, "--depth takes"},
        UsageCase{"FolderRun", {"crawl", "--directory", "~/a.htm"}, "--directory does not apply"},
        UsageCase{"RunOptionChecked", {"crawl", "--keywords"}, "Missing value after '--keywords'"},
        UsageCase{"UnknownOption", {"crawl", "--fast", "~/a.htm"}, "Unknown option 'fast'"},
        UsageCase{"SaveWithoutAddress", {"shortcut", "save"}, "save takes one ADDRESS"},
        UsageCase{"ClearWithAddress", {"shortcut", "clear", "x"}, "clear takes no ADDRESS"},
        UsageCase{"ProcessWithAddress", {"shortcut", "process", "x"}, "process takes no ADDRESS"},
        UsageCase{"UnknownShortcutCommand", {"shortcut", "load"}, "unknown shortcut command"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
