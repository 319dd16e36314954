// Crawls against a server on 127.0.0.1 that floods, lies and stalls: every
// such page ends at once as a failed transfer with its reason, the crawl goes
// on to the next page, and the process's peak resident memory stays under
// 300 MB, also for a legitimate page just under the body limit.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include "Fakes.h"
#include "GumboDocument.h"
#include "HostileServer.h"
#include "NetworkForm.h"
#include "QtFetcher.h"
#include "TempDir.h"
#include "WebFakes.h"
#include "WebForm.h"

namespace {

using Connection = HostileServer::Connection;
constexpr long long kMB = 1024 * 1024;
constexpr long long kPeakLimitMB = 300;

// The peak resident memory of this process is measured from here on.
void ResetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

long long PeakMB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stoll(line.substr(6)) / 1024;
        }
    }
    return -1;
}

// Deterministic words, so every page can be produced again for comparison.
class Words {
public:
    explicit Words(unsigned seed) : state_(seed * 2654435761u + 1) {}
    std::string next() {
        static const char* const kWords[] = {
            "lorem", "ipsum",  "dolor",   "sit",     "amet",   "office", "sales", "contact",
            "offer", "prices", "weather", "station", "garden", "river",  "north", "delivery"};
        state_ = state_ * 1103515245u + 12345u;
        return kWords[(state_ >> 16) % 16];
    }

private:
    unsigned state_;
};

// Text that looks like a page's body, for floods.
std::string FloodText(size_t bytes) {
    Words words(7);
    std::string text;
    while (text.size() < bytes) {
        text += "<p>" + words.next() + " " + words.next() + " <a href=\"/x.htm\">x</a></p>\n";
    }
    return text;
}

// A legitimate page of about `bytes`: items of text with links, lists, and
// now and then a table. Item i is the same whenever it is produced, so the
// page is sent and checked piece by piece, never held whole.
class GeneratedPage {
public:
    explicit GeneratedPage(long long bytes) {
        size_ = static_cast<long long>(head().size() + tail().size());
        while (size_ < bytes) {
            size_ += static_cast<long long>(item(count_++).size());
        }
    }
    long long size() const { return size_; }
    static std::string head() {
        return "<!DOCTYPE html>\n<html><head><title>Catalogue</title></head>\n<body><div "
               "id=\"page\">\n";
    }
    static std::string tail() { return "</div></body></html>\n"; }
    static std::string item(int i) {
        Words words(static_cast<unsigned>(i));
        const std::string n = std::to_string(i);
        std::string text = "<div class=\"item\" id=\"i" + n + "\"><h3>Item " + n + "</h3>\n<p>";
        for (int w = 0; w < 24; ++w) {
            text += words.next() + (w % 8 == 7 ? ",\n" : " ");
        }
        text += "<a href=\"/item/" + n + ".htm\">read more about item " + n +
                "</a> or write to <b>" + words.next() + n + "@example.com</b>.</p>\n<ul><li>" +
                words.next() + "</li><li>" + words.next() + " &amp; " + words.next() +
                "</li></ul>\n";
        if (i % 10 == 0) {
            text += "<table><tr><td>" + words.next() + "</td><td><a href=\"/cell/" + n +
                    ".htm\">cell</a></td></tr></table>\n";
        }
        return text + "</div>\n";
    }
    // The link paths of the first `count` links, in document order.
    static std::vector<std::string> links(size_t count) {
        std::vector<std::string> paths;
        for (int i = 0; paths.size() < count; ++i) {
            paths.push_back("/item/" + std::to_string(i) + ".htm");
            if (i % 10 == 0) {
                paths.push_back("/cell/" + std::to_string(i) + ".htm");
            }
        }
        paths.resize(count);
        return paths;
    }
    // Calls `piece` with the page's bytes in order, in pieces of about 1 MB.
    template <class Piece>
    bool each(Piece piece) const {
        std::string buffer = head();
        for (int i = 0; i < count_; ++i) {
            buffer += item(i);
            if (buffer.size() >= kMB) {
                if (!piece(std::string_view(buffer))) {
                    return false;
                }
                buffer.clear();
            }
        }
        buffer += tail();
        return piece(std::string_view(buffer));
    }

private:
    long long size_ = 0;
    int count_ = 0;
};

// A gzip stream that expands to `copies` times `block`. The block is deflated
// once, ending in a full flush so that it refers to nothing before it, and
// the compressed block is repeated; a final empty block and the trailer end
// the stream.
class GzipStream {
public:
    GzipStream(const std::string& block, int copies) : copies_(copies) {
        z_stream z{};
        deflateInit2(&z, Z_BEST_SPEED, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        std::string out(deflateBound(&z, block.size()) + 64, '\0');
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(block.data()));
        z.avail_in = static_cast<uInt>(block.size());
        z.next_out = reinterpret_cast<Bytef*>(out.data());
        z.avail_out = static_cast<uInt>(out.size());
        deflate(&z, Z_FULL_FLUSH);
        out.resize(out.size() - z.avail_out);
        deflateEnd(&z);
        compressed_ = out;
        const uLong crc =
            crc32(0, reinterpret_cast<const Bytef*>(block.data()), static_cast<uInt>(block.size()));
        uLong total = crc32(0, nullptr, 0);
        for (int i = 0; i < copies; ++i) {
            total = crc32_combine(total, crc, static_cast<z_off_t>(block.size()));
        }
        const unsigned long long expanded = static_cast<unsigned long long>(block.size()) * copies;
        trailer_ = std::string("\x03\x00", 2);  // the final block, empty
        for (int shift = 0; shift < 32; shift += 8) {
            trailer_ += static_cast<char>((total >> shift) & 0xff);
        }
        for (int shift = 0; shift < 32; shift += 8) {
            trailer_ += static_cast<char>((expanded >> shift) & 0xff);
        }
    }
    long long size() const {
        return 10 + static_cast<long long>(compressed_.size()) * copies_ +
               static_cast<long long>(trailer_.size());
    }
    bool send(Connection& c) const {
        if (!c.write(std::string("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10))) {
            return false;
        }
        for (int i = 0; i < copies_; ++i) {
            if (!c.write(compressed_)) {
                return false;
            }
        }
        return c.write(trailer_);
    }

private:
    std::string compressed_;
    std::string trailer_;
    int copies_;
};

const FetchLimits kLimits{5000, 64 * kMB};  // time enough to take in 64 MB on a busy machine
const std::string kHtml = "Content-Type: text/html\r\n";

// A route that sends its head, then `body` over and over until the client
// goes, waiting `pause` after each body.
HostileServer::Route Flood(const std::string& headers, const std::string& body,
                           std::chrono::microseconds pause = {}) {
    return [head = HostileServer::Head(headers), body, pause](Connection& c) {
        if (c.write(head)) {
            while (c.write(body)) {
                std::this_thread::sleep_for(pause);
            }
        }
    };
}

// A route that sends a page whole.
HostileServer::Route Page(const std::string& body) {
    return [head = HostileServer::Head(kHtml + "Content-Length: " + std::to_string(body.size()) +
                                       "\r\n"),
            body](Connection& c) { c.write(head + body); };
}

class HostileCrawl : public ::testing::Test, protected NetworkForm {
protected:
    HostileCrawl() : NetworkForm(kLimits) {
        fetcher.onTransferEnd =
            documents.onTransferEnd = [this](const TransferOutcome& o) { outcomes.push_back(o); };
    }
    void crawl(const std::string& start, int depth) {
        form.crawler.Lc2kEngine(server.url(start), static_cast<int16_t>(depth), false, true);
    }
    // How the transfers of `path` ended: the page's and its document's.
    std::vector<TransferOutcome> outcomesOf(const std::string& path) const {
        std::vector<TransferOutcome> found;
        for (const auto& o : outcomes) {
            if (o.address == server.url(path)) {
                found.push_back(o);
            }
        }
        return found;
    }
    // The stored page of each visited address, without the record's CR LF.
    std::map<std::string, std::string> storedByAddress() const {
        std::map<std::string, std::string> pages;
        for (size_t i = 0; i < mainSide.list2.size() && i < visited.size(); ++i) {
            std::string bytes = ReadBytes(mainSide.list2[i]);
            pages[visited[i]] = bytes.substr(0, bytes.size() - std::min<size_t>(bytes.size(), 2));
        }
        return pages;
    }

    HostileServer server{std::chrono::seconds(15)};
    std::vector<std::string> visited;
    std::vector<TransferOutcome> outcomes;
};

struct Hostile {
    const char* path;
    TransferFailure failure;
    const char* reason;  // what the reason says, in part
};

const Hostile kHostile[] = {
    {"/endless.htm", TransferFailure::SizeLimit, "body passes the limit of 67108864 bytes"},
    {"/declared.htm", TransferFailure::SizeLimit, "announced body of 4294967296 bytes"},
    {"/chunked.htm", TransferFailure::SizeLimit, "body passes the limit of 67108864 bytes"},
    {"/gzip.htm", TransferFailure::SizeLimit, "body passes the limit of 67108864 bytes"},
    {"/spaces.htm", TransferFailure::SizeLimit, "body passes the limit of 67108864 bytes"},
    {"/stall.htm", TransferFailure::TimeLimit, "no complete answer within 5000 ms"},
    {"/missing.htm", TransferFailure::HttpStatus, "HTTP status 404"},
    {"/secret.htm", TransferFailure::HttpStatus, "HTTP status 401"},
};

TEST_F(HostileCrawl, FloodsAndStallsFailAtTheirLimitAndTheCrawlGoesOn) {
    const std::string flood = FloodText(256 * 1024);
    server.route("/endless.htm", Flood(kHtml, flood));
    server.route("/declared.htm", Flood(kHtml + "Content-Length: 4294967296\r\n", flood));
    std::ostringstream chunk;
    chunk << std::hex << flood.size() << "\r\n" << flood << "\r\n";
    server.route("/chunked.htm", Flood(kHtml + "Transfer-Encoding: chunked\r\n", chunk.str()));
    const GzipStream text(FloodText(kMB), 1024);  // 1 GB of text in 90 MB
    server.route("/gzip.htm", [&](Connection& c) {
        if (c.write(HostileServer::Head(kHtml + "Content-Encoding: gzip\r\nContent-Length: " +
                                        std::to_string(text.size()) + "\r\n"))) {
            text.send(c);
        }
    });
    const GzipStream spaces(std::string(kMB, ' '), 4096);  // 4 GB of spaces in 18 MB
    server.route("/spaces.htm", [&](Connection& c) {
        if (c.write(HostileServer::Head(kHtml + "Content-Encoding: gzip\r\n"))) {
            spaces.send(c);
        }
    });
    server.route("/stall.htm", [&](Connection& c) {
        if (c.write(HostileServer::Head(kHtml + "Content-Length: 100000\r\n") + "<p>partial")) {
            c.hold(std::chrono::seconds(10));
        }
    });
    // Error pages whose bodies never end fail on their heads, a request for
    // a password too.
    const std::pair<const char*, const char*> errorPages[] = {{"/missing.htm", "404 Not Found"},
                                                              {"/secret.htm", "401 Unauthorized"}};
    for (const auto& [path, status] : errorPages) {
        const std::string head = std::string("HTTP/1.1 ") + status + "\r\nConnection: close\r\n" +
                                 kHtml + "WWW-Authenticate: Basic realm=\"club\"\r\n\r\n";
        server.route(path, [&, head](Connection& c) {
            if (c.write(head)) {
                while (c.write(flood)) {
                }
            }
        });
    }
    const std::string normal = "<p>write to office@site.example</p><a href=\"next.htm\">next</a>";
    server.route("/normal.htm", Page(normal));
    // The crawl takes a level's pages last link first, and a level ends at a
    // page that adds no links, so the first page of level 2 has one.
    server.route("/first.htm", Page("<a href=\"more.htm\">more</a>"));
    const std::string index =
        "<a href=\"normal.htm\">n</a> <a href=\"endless.htm\">e</a> <a "
        "href=\"declared.htm\">d</a> <a href=\"chunked.htm\">c</a> <a href=\"gzip.htm\">g</a> "
        "<a href=\"spaces.htm\">z</a> <a href=\"stall.htm\">s</a> <a href=\"missing.htm\">m</a> "
        "<a href=\"secret.htm\">p</a> "
        "<a href=\"first.htm\">f</a>";
    server.route("/index.htm", Page(index));
    // The peak of each visit, from its start to the next one's.
    std::vector<long long> peaks;
    auto visitEnds = [&] {
        if (!visited.empty()) {
            peaks.push_back(PeakMB());
        }
        ResetPeak();
    };
    form.crawler.onVisit = [&](const std::string& address) {
        visitEnds();
        visited.push_back(address);
    };

    const auto started = std::chrono::steady_clock::now();
    crawl("/index.htm", 2);
    visitEnds();
    const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started);

    const long long peak = *std::max_element(peaks.begin(), peaks.end());
    std::cout << "hostile crawl: peak " << peak << " MB in " << seconds.count() << " s\n";
    for (size_t i = 0; i < visited.size(); ++i) {
        std::cout << "  " << visited[i] << ": peak " << peaks[i] << " MB\n";
    }
    const auto pages = storedByAddress();
    for (const auto& h : kHostile) {
        const auto ended = outcomesOf(h.path);
        ASSERT_EQ(ended.size(), 2u) << h.path;  // the page and its document
        for (const auto& o : ended) {
            EXPECT_EQ(o.failure, h.failure) << h.path << ": " << o.reason;
            EXPECT_NE(o.reason.find(h.reason), std::string::npos) << h.path << ": " << o.reason;
        }
        EXPECT_EQ(pages.at(server.url(h.path)), "") << h.path;
        // The client held the server back rather than taking in all it sent.
        EXPECT_LT(server.sent(h.path), 2 * (kLimits.bytes + 32 * kMB)) << h.path;
    }
    for (const auto& o : outcomesOf("/normal.htm")) {
        EXPECT_EQ(o.failure, TransferFailure::None) << o.reason;
    }
    EXPECT_EQ(pages.at(server.url("/index.htm")), index);
    EXPECT_EQ(pages.at(server.url("/normal.htm")), normal);
    EXPECT_EQ(visited.back(), server.url("/normal.htm"));  // after every hostile page
    EXPECT_EQ(mainSide.processCalls, 1);
    EXPECT_LT(peak, kPeakLimitMB);
}

TEST_F(HostileCrawl, APageJustUnderTheLimitIsStoredUnchangedWithItsLinks) {
    const GeneratedPage page(60 * kMB);
    server.route("/big.htm", [&](Connection& c) {
        if (c.write(HostileServer::Head(kHtml + "Content-Length: " + std::to_string(page.size()) +
                                        "\r\n"))) {
            page.each([&](std::string_view piece) { return c.write(piece); });
        }
    });
    fetcher.limits = documents.limits = FetchLimits{};
    // The links of the page, as they stand when the crawl moves on from it.
    std::vector<std::string> links;
    form.crawler.onVisit = [&](const std::string& address) {
        if (address == "False") {
            links.assign(form.crawler.pageLinks.begin(), form.crawler.pageLinks.end());
        }
    };

    ResetPeak();
    const auto started = std::chrono::steady_clock::now();
    crawl("/big.htm", 1);
    const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started);
    const long long peak = PeakMB();
    std::cout << "60 MB page: peak " << peak << " MB in " << seconds.count() << " s\n";

    const auto ended = outcomesOf("/big.htm");
    ASSERT_EQ(ended.size(), 2u);
    for (const auto& o : ended) {
        EXPECT_EQ(o.failure, TransferFailure::None) << o.reason;
        EXPECT_EQ(o.bytes, page.size());
    }
    ASSERT_FALSE(mainSide.list2.empty());
    std::ifstream stored(mainSide.list2[0], std::ios::binary);
    std::string piece;
    const bool same = page.each([&](std::string_view expected) {
        piece.resize(expected.size());
        stored.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        return stored.gcount() == static_cast<std::streamsize>(expected.size()) &&
               piece == expected;
    });
    EXPECT_TRUE(same);
    piece.assign(3, '\0');
    stored.read(piece.data(), 3);
    EXPECT_EQ(piece.substr(0, static_cast<size_t>(stored.gcount())), "\r\n");  // and no more

    std::vector<std::string> expected;
    for (const auto& path : GeneratedPage::links(Crawler::kLinkSlots)) {
        expected.push_back(server.url(path));
    }
    EXPECT_EQ(links, expected);
    EXPECT_LT(peak, kPeakLimitMB);
}

}  // namespace
