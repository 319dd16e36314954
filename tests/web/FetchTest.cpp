// The network fetch and the document model against a server on 127.0.0.1:
// bodies unchanged, redirects, failures, the time and size limits, and
// addresses that never reach the network.
#include <gtest/gtest.h>
#include <QTcpServer>

#include "Fakes.h"
#include "GumboDocument.h"
#include "LoopbackServer.h"
#include "QtFetcher.h"

namespace {

const FetchLimits kTestLimits{600, 1024 * 1024};

std::string Fetch(Fetcher& fetcher, EventPump& pump, const std::string& address) {
    fetcher.open(address);
    while (fetcher.executing()) {
        pump.yield();
    }
    return fetcher.text();
}

class Site : public ::testing::Test {
protected:
    Site() {
        server.page("/plain.htm", std::string("<p>a\0b\xff</p>\r\n\r\n", 16));
        using R = LoopbackServer::Reply;
        server.route("/old.htm", R::Redirect("/new.htm"));
        server.page("/new.htm", "new page");
        R stall = R::Of(R::HeadersThenStall, 1000);
        stall.body = "<p>partial";
        server.route("/stall.htm", stall);
        server.route("/silent.htm", R::Of(R::Silent));
        server.route("/big.htm", R::Of(R::Stream, 100LL * 1024 * 1024));
        server.route("/flood.htm", R::Of(R::Stream, 3 * 1024 * 1024, false));
        server.route("/half.htm", R::Of(R::Stream, 512 * 1024, false));
        std::string bytes;
        for (int i = 0; i < 256; ++i) {
            bytes += static_cast<char>(i);
        }
        R binary;
        binary.body = bytes;
        binary.contentType = "application/octet-stream";
        server.route("/data.asp", binary);
        // A redirect whose body is larger than the reply's read buffer.
        R moved = R::Redirect("/new.htm");
        moved.body = std::string(1024 * 1024, 'm');
        server.route("/moved.htm", moved);
        R broken;
        broken.status = 500;
        server.route("/broken.htm", broken);
    }
    LoopbackServer server;
    ScriptedPump pump;
};

struct FetchCase {
    const char* name;
    std::string address;  // "~" stands for the server's address
    std::string expected;
    std::vector<std::string> requests;
    TransferFailure failure = TransferFailure::None;
};

class Fetching : public Site, public ::testing::WithParamInterface<FetchCase> {};

TEST_P(Fetching, ReturnsTheBodyUnchangedOrNothing) {
    const auto& c = GetParam();
    std::string address = c.address;
    if (address.rfind("~", 0) == 0) {
        address = server.url(address.substr(1));
    } else if (auto at = address.find("~"); at != std::string::npos) {
        address.replace(at, 1, server.url().substr(7));
    }
    QtFetcher fetcher(kTestLimits);
    std::vector<TransferOutcome> ended;
    fetcher.onTransferEnd = [&](const TransferOutcome& o) { ended.push_back(o); };
    EXPECT_EQ(Fetch(fetcher, pump, address), c.expected);
    EXPECT_EQ(server.log, c.requests);
    // Why it failed, told once, as the transfer ends.
    EXPECT_EQ(fetcher.failure(), c.failure) << fetcher.reason();
    ASSERT_EQ(ended.size(), 1u);
    EXPECT_EQ(ended[0].failure, c.failure);
    EXPECT_EQ(ended[0].reason.empty(), c.failure == TransferFailure::None) << ended[0].reason;
    EXPECT_EQ(ended[0].bytes, static_cast<qint64>(c.expected.size()));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Fetching,
    ::testing::Values(
        FetchCase{
            "Page", "~/plain.htm", std::string("<p>a\0b\xff</p>\r\n\r\n", 16), {"/plain.htm"}},
        FetchCase{"Binary",
                  "~/data.asp",
                  [] {
                      std::string b;
                      for (int i = 0; i < 256; ++i) {
                          b += static_cast<char>(i);
                      }
                      return b;
                  }(),
                  {"/data.asp"}},
        FetchCase{"RedirectFollowed", "~/old.htm", "new page", {"/old.htm", "/new.htm"}},
        FetchCase{"RedirectWithABigBody", "~/moved.htm", "new page", {"/moved.htm", "/new.htm"}},
        FetchCase{"ServerError", "~/broken.htm", "", {"/broken.htm"}, TransferFailure::HttpStatus},
        FetchCase{"NotFound", "~/missing.htm", "", {"/missing.htm"}, TransferFailure::HttpStatus},
        FetchCase{
            "HeadersThenStall", "~/stall.htm", "", {"/stall.htm"}, TransferFailure::TimeLimit},
        FetchCase{"NeverAnswers", "~/silent.htm", "", {"/silent.htm"}, TransferFailure::TimeLimit},
        FetchCase{"LengthOverTheLimit", "~/big.htm", "", {"/big.htm"}, TransferFailure::SizeLimit},
        FetchCase{
            "BodyOverTheLimit", "~/flood.htm", "", {"/flood.htm"}, TransferFailure::SizeLimit},
        FetchCase{"BodyUnderTheLimit", "~/half.htm", std::string(512 * 1024, 'x'), {"/half.htm"}},
        FetchCase{"Empty", "", "", {}, TransferFailure::Address},
        FetchCase{"NoAddress", "no address at all", "", {}, TransferFailure::Address},
        FetchCase{"False", "False", "", {}, TransferFailure::Address},
        FetchCase{"OtherScheme", "ftp://~/plain.htm", "", {}, TransferFailure::Address},
        FetchCase{"NoHost", "http:///plain.htm", "", {}, TransferFailure::Address}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Site, WaitsYieldToTheEventLoopAndEndAtTheTimeLimit) {
    QtFetcher fetcher(kTestLimits);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(Fetch(fetcher, pump, server.url("/silent.htm")), "");
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::steady_clock::now() - started)
                        .count();
    EXPECT_GE(ms, 550);
    EXPECT_LT(ms, 3000);
    EXPECT_GE(pump.count, 10);  // about one yield every 20 ms
}

TEST_F(Site, DefaultLimitRefusesA100MegabytePageAtOnce) {
    QtFetcher fetcher;
    EXPECT_EQ(fetcher.limits.timeMs, 30000);
    EXPECT_EQ(fetcher.limits.bytes, 64LL * 1024 * 1024);
    EXPECT_EQ(Fetch(fetcher, pump, server.url("/big.htm")), "");
    EXPECT_LT(pump.count, 200);
}

TEST_F(Site, RefusedConnectionFails) {
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const std::string address = "http://127.0.0.1:" + std::to_string(closed.serverPort()) + "/";
    closed.close();
    QtFetcher fetcher(kTestLimits);
    EXPECT_EQ(Fetch(fetcher, pump, address), "");
}

struct LinkCase {
    const char* name;
    std::string html;
    std::vector<std::string> links;
};

class Links : public ::testing::TestWithParam<LinkCase> {};

TEST_P(Links, ListsAnchorAndAreaTargetsInDocumentOrderMadeAbsolute) {
    EXPECT_EQ(ExtractLinks(GetParam().html, QUrl("http://h/dir/page.htm")), GetParam().links);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Links,
    ::testing::Values(
        LinkCase{
            "RelativeAndAbsolute",
            R"(<a href="a.htm">a</a><p><A HREF="/Page.HTM">b</A></p><a href="http://x/y.asp">)",
            {"http://h/dir/a.htm", "http://h/Page.HTM", "http://x/y.asp"}},
        LinkCase{"AreaMailtoAndAnchorsWithoutTarget",
                 R"(<map><area href="m.htm"></map><a name="top">t</a><a href=" mailto:a@b.org ">)",
                 {"http://h/dir/m.htm", "mailto:a@b.org"}},
        LinkCase{
            "BaseHrefCountsWhereverItStands",
            R"(<a href="c.htm">c</a><base href="/deep/"><base href="/other/"><a href="d.htm">)",
            {"http://h/deep/c.htm", "http://h/deep/d.htm"}},
        LinkCase{"EmptyHrefIsThePageItself",
                 R"(<a href="">x</a><a href="#top">)",
                 {"http://h/dir/page.htm", "http://h/dir/page.htm#top"}},
        LinkCase{"SpacesAreEscaped", R"(<a href="a b.htm">)", {"http://h/dir/a%20b.htm"}},
        LinkCase{"NotHtml", std::string("\x89PNG\r\n\x1a\n\0\0", 10), {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Site, DocumentLoadsItsOwnPageAndResolvesAgainstTheFinalAddress) {
    server.route("/moved/", LoopbackServer::Reply::Redirect("/docs/index.htm"));
    server.page("/docs/index.htm", R"(<a href="x.htm">x</a><area href="../y.htm">)");
    GumboDocumentSource source(kTestLimits);
    auto document = source.create();
    document->createDocumentFromUrl(server.url("/moved/"));
    while (!document->complete()) {
        pump.yield();
    }
    EXPECT_EQ(document->links(),
              (std::vector<std::string>{server.url("/docs/x.htm"), server.url("/y.htm")}));
    EXPECT_EQ(server.log, (std::vector<std::string>{"/moved/", "/docs/index.htm"}));

    document->createDocumentFromUrl(server.url("/stall.htm"));
    while (!document->complete()) {
        pump.yield();
    }
    EXPECT_TRUE(document->links().empty());
}

}  // namespace
