#pragma once
// A WARC/1.1 file of a crawl: one "request" and one "response" record for
// every fetch, after an optional "warcinfo" record. A file whose name ends in
// ".gz" gets every record as a gzip member of its own, so that a reader can
// start at any record. Every record goes to disk whole and is flushed before
// the call returns: a crawl cut short leaves a file readable up to its last
// record, and no more than one record is ever held in memory.
#include <QDateTime>
#include <QFile>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace harvest {

// Why a fetch's body is shorter than the response said, as WARC-Truncated
// names it.
enum class WarcTruncation { None, Length, Time, Disconnect, Unspecified };

// What the body of a WarcExchange holds.
enum class WarcBody {
    // The bytes as they came on the wire after the head: chunked, gzip and
    // so on left in place, the response head written as it came.
    AsReceived,
    // The payload with transfer and content codings undone (what an HTTP
    // client library hands over). The response head's Transfer-Encoding and
    // Content-Encoding fields are renamed X-Crawler-Transfer-Encoding and
    // X-Crawler-Content-Encoding, so that readers do not undo them a second
    // time, and a Content-Length that does not match the body is renamed
    // X-Crawler-Content-Length and followed by the body's own length.
    Decoded,
};

// One fetch: the request as sent and the response as received.
struct WarcExchange {
    std::string url;
    // "GET /x HTTP/1.1\r\nHost: ...\r\n\r\n"; no request record when empty.
    std::string requestHead;
    std::string responseHead;  // the status line and fields, up to the empty line
    std::string body;
    WarcBody bodyForm = WarcBody::Decoded;
    QDateTime date;  // when the fetch started; the current time when not valid
    std::string ip;  // the server's address; no WARC-IP-Address when empty
    WarcTruncation truncated = WarcTruncation::None;
};

class WarcWriter {
public:
    explicit WarcWriter(std::string path);
    ~WarcWriter();
    WarcWriter(const WarcWriter&) = delete;
    WarcWriter& operator=(const WarcWriter&) = delete;

    // Creates the file, or empties it. The error text, if any.
    std::optional<std::string> open();
    // A "warcinfo" record naming the software, with further "name: value"
    // fields (robots, operator, ...). Records written after it refer to it.
    std::optional<std::string> writeInfo(
        const std::string& software,
        const std::vector<std::pair<std::string, std::string>>& fields = {});
    // A "request" record and a "response" record that refers to it. The
    // payload digest is of the body as written.
    std::optional<std::string> writeExchange(const WarcExchange& exchange);
    std::optional<std::string> close();

    const std::string& path() const { return path_; }
    bool compressed() const { return compressed_; }

private:
    struct Deflater;

    // Writes one record: its head fields, then the block given in pieces.
    std::optional<std::string> writeRecord(const std::string& fields,
                                           const std::vector<std::string_view>& block);
    std::optional<std::string> put(std::string_view bytes, bool last);

    std::string path_;
    bool compressed_ = false;
    QFile file_;
    std::unique_ptr<Deflater> deflater_;
    std::string infoId_;  // the warcinfo record's ID, once written
    std::string failed_;  // why a record could not be written: the file ends badly
};

// The response head of a "Decoded" exchange, rewritten as WarcBody::Decoded
// describes, ending with its empty line.
std::string decodedResponseHead(std::string_view head, size_t bodySize);
// "sha1:" and the SHA-1 of the bytes in base32, as WARC digests are written.
std::string warcDigest(const std::vector<std::string_view>& pieces);

}  // namespace harvest
