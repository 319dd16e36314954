// The plain http transfer against answers written byte for byte: the ways
// a body is framed and encoded, sent in small pieces, and answers it must
// refuse.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <thread>

#include "Fakes.h"
#include "HostileServer.h"
#include "QtFetcher.h"

namespace {

// `text` compressed whole, as zlib (deflate) or gzip wants it.
std::string Compressed(const std::string& text, bool gzip) {
    z_stream z{};
    deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip ? 15 + 16 : 15, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&z, text.size()) + 64, '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(out.size() - z.avail_out);
    deflateEnd(&z);
    return out;
}

const std::string kPage = "<p>Write to office@club.example</p>";

std::string Chunked(const std::string& body) {
    char size[16];
    std::snprintf(size, sizeof size, "%zx", body.size());
    return std::string(size) + ";note=1\r\n" + body + "\r\n0\r\nX-Trailer: yes\r\n\r\n";
}

struct Answer {
    const char* name;
    std::string bytes;  // the whole answer; "@" stands for the server's address
    size_t pieceSize;   // written this many bytes at a time
    std::string text;   // what the fetch gives
    TransferFailure failure;
};

class PlainHttp : public ::testing::TestWithParam<Answer> {};

TEST_P(PlainHttp, TakesTheAnswerAsSentOrRefusesIt) {
    const Answer& a = GetParam();
    HostileServer server(std::chrono::seconds(5), 8);
    server.route("/page.htm", [bytes = a.bytes, size = a.pieceSize](HostileServer::Connection& c) {
        for (size_t at = 0; at < bytes.size(); at += size) {
            if (!c.write(std::string_view(bytes).substr(at, size))) {
                return;
            }
            if (size < bytes.size()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
    });
    server.route("/new.htm", [](HostileServer::Connection& c) {
        c.write(HostileServer::Head("Content-Length: 8\r\n") + "new page");
    });
    QtFetcher fetcher(FetchLimits{3000, 1024 * 1024});
    ScriptedPump pump;
    fetcher.open(server.url("/page.htm"));
    while (fetcher.executing()) {
        pump.yield();
    }
    EXPECT_EQ(fetcher.failure(), a.failure) << fetcher.reason();
    EXPECT_EQ(fetcher.text(), a.text);
}

const std::string kOk = "HTTP/1.1 200 OK\r\nConnection: close\r\n";

INSTANTIATE_TEST_SUITE_P(
    Answers, PlainHttp,
    ::testing::Values(
        Answer{"Length", kOk + "Content-Length: 35\r\n\r\n" + kPage, 1 << 20, kPage,
               TransferFailure::None},
        Answer{"LengthByteByByte", kOk + "Content-Length: 35\r\n\r\n" + kPage, 1, kPage,
               TransferFailure::None},
        Answer{"UntilClosed", kOk + "\r\n" + kPage, 1 << 20, kPage, TransferFailure::None},
        Answer{"ChunkedWithExtensionAndTrailer",
               kOk + "Transfer-Encoding: chunked\r\n\r\n" + Chunked(kPage), 1 << 20, kPage,
               TransferFailure::None},
        Answer{"ChunkedByteByByte", kOk + "Transfer-Encoding: chunked\r\n\r\n" + Chunked(kPage), 1,
               kPage, TransferFailure::None},
        Answer{"Gzip", kOk + "Content-Encoding: gzip\r\n\r\n" + Compressed(kPage, true), 1 << 20,
               kPage, TransferFailure::None},
        Answer{"DeflateChunked",
               kOk + "Content-Encoding: deflate\r\nTransfer-Encoding: chunked\r\n\r\n" +
                   Chunked(Compressed(kPage, false)),
               3, kPage, TransferFailure::None},
        Answer{"InterimAnswerFirst",
               "HTTP/1.1 100 Continue\r\n\r\n" + kOk + "Content-Length: 35\r\n\r\n" + kPage,
               1 << 20, kPage, TransferFailure::None},
        Answer{"RelativeRedirect",
               "HTTP/1.1 302 Found\r\nLocation: new.htm\r\nContent-Length: 5\r\n\r\nmoved", 1 << 20,
               "new page", TransferFailure::None},
        Answer{"NoContent", "HTTP/1.1 204 No Content\r\n\r\n", 1 << 20, "", TransferFailure::None},
        Answer{"CutShort", kOk + "Content-Length: 99\r\n\r\n" + kPage, 1 << 20, "",
               TransferFailure::Network},
        Answer{"BrokenChunk", kOk + "Transfer-Encoding: chunked\r\n\r\nzz\r\n" + kPage, 1 << 20, "",
               TransferFailure::Network},
        Answer{"BrokenGzip", kOk + "Content-Encoding: gzip\r\n\r\n" + kPage, 1 << 20, "",
               TransferFailure::Network},
        Answer{"NotHttp", "SSH-2.0-OpenSSH\r\n\r\n", 1 << 20, "", TransferFailure::Network},
        Answer{"EndlessHead", kOk + std::string(100 * 1024, 'x'), 1 << 20, "",
               TransferFailure::Network}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
