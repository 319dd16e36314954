// Why a transfer failed, as the fetch tells it and records it, for every
// way a transfer can end.
#include <gtest/gtest.h>
#include <QTcpServer>

#include "LoopbackServer.h"
#include "QtFetcher.h"

namespace {

const FetchLimits kTestLimits{600, 1024 * 1024};

struct OutcomeCase {
    const char* name;
    std::string address;  // "~" stands for the server's address
    TransferFailure failure;
    std::string reason;  // what the reason says, in part
    std::string body;
};

class Outcomes : public ::testing::TestWithParam<OutcomeCase> {
protected:
    Outcomes() {
        using R = LoopbackServer::Reply;
        server.page("/plain.htm", "<p>plain</p>");
        // A redirect whose body is larger than the reply's read buffer.
        R moved = R::Redirect("/new.htm");
        moved.body = std::string(1024 * 1024, 'm');
        server.route("/moved.htm", moved);
        server.page("/new.htm", "new page");
        R broken;
        broken.status = 500;
        server.route("/broken.htm", broken);
        server.route("/stall.htm", R::Of(R::HeadersThenStall, 1000));
        server.route("/big.htm", R::Of(R::Stream, 100LL * 1024 * 1024));
        server.route("/flood.htm", R::Of(R::Stream, 3 * 1024 * 1024, false));
    }
    LoopbackServer server;
};

TEST_P(Outcomes, TellWhyTheTransferFailed) {
    const auto& c = GetParam();
    std::string address = c.address;
    if (address == "refused") {
        QTcpServer closed;
        ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
        address = "http://127.0.0.1:" + std::to_string(closed.serverPort()) + "/";
    } else if (auto at = address.find('~'); at != std::string::npos) {
        address.replace(at, 1, server.url());
    }
    QtFetcher fetcher(kTestLimits);
    std::vector<TransferOutcome> recorded;
    fetcher.onTransferEnd = [&](const TransferOutcome& o) { recorded.push_back(o); };
    fetcher.open(address);
    while (fetcher.executing()) {
    }
    EXPECT_EQ(fetcher.failure(), c.failure);
    EXPECT_NE(fetcher.reason().find(c.reason), std::string::npos) << fetcher.reason();
    EXPECT_EQ(c.reason.empty(), fetcher.reason().empty()) << fetcher.reason();
    ASSERT_EQ(recorded.size(), 1u);
    EXPECT_EQ(recorded[0].address, address);
    EXPECT_EQ(recorded[0].failure, c.failure);
    EXPECT_EQ(recorded[0].reason, fetcher.reason());
    EXPECT_EQ(recorded[0].bytes, static_cast<qint64>(c.body.size()));
    EXPECT_EQ(fetcher.text(), c.body);
    EXPECT_EQ(fetcher.text(), "");  // the body was handed over
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Outcomes,
    ::testing::Values(
        OutcomeCase{"Page", "~/plain.htm", TransferFailure::None, "", "<p>plain</p>"},
        OutcomeCase{"RedirectWithABigBody", "~/moved.htm", TransferFailure::None, "", "new page"},
        OutcomeCase{"NotFound", "~/missing.htm", TransferFailure::HttpStatus, "HTTP status 404",
                    ""},
        OutcomeCase{"ServerError", "~/broken.htm", TransferFailure::HttpStatus, "HTTP status 500",
                    ""},
        OutcomeCase{"Stall", "~/stall.htm", TransferFailure::TimeLimit,
                    "no complete answer within 600 ms", ""},
        OutcomeCase{"LengthOverTheLimit", "~/big.htm", TransferFailure::SizeLimit,
                    "announced body of 104857600 bytes passes the limit of 1048576", ""},
        OutcomeCase{"BodyOverTheLimit", "~/flood.htm", TransferFailure::SizeLimit,
                    "body passes the limit of 1048576 bytes", ""},
        OutcomeCase{"OtherScheme", "ftp://127.0.0.1/plain.htm", TransferFailure::Address,
                    "not an http or https address", ""},
        OutcomeCase{"Refused", "refused", TransferFailure::Network,
                    "network error: Connection refused", ""}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
