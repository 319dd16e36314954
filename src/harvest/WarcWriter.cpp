#include "WarcWriter.h"

#include <zlib.h>

#include <QCryptographicHash>
#include <QFileInfo>
#include <QUuid>
#include <algorithm>

#include "TextOps.h"

namespace harvest {
namespace {

constexpr size_t kOutChunk = 64 << 10;
// zlib counts input in 32-bit units: larger pieces go in slices.
constexpr size_t kMaxSlice = 1u << 30;

using textops::EqualsNoCase;
using textops::TrimBlanks;

// A field value may not break the record's head: no line breaks, no other
// control characters.
bool safeValue(std::string_view value) {
    return std::none_of(value.begin(), value.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

bool safeName(std::string_view name) {
    return !name.empty() && safeValue(name) && name.find_first_of(" :") == std::string_view::npos;
}

std::string recordId() {
    return "<urn:uuid:" + QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString() + ">";
}

std::string warcDate(const QDateTime& date) {
    const QDateTime utc = (date.isValid() ? date : QDateTime::currentDateTimeUtc()).toUTC();
    const Qt::DateFormat format = utc.time().msec() == 0 ? Qt::ISODate : Qt::ISODateWithMs;
    return utc.toString(format).toStdString();
}

const char* truncationName(WarcTruncation truncation) {
    switch (truncation) {
        case WarcTruncation::Length:
            return "length";
        case WarcTruncation::Time:
            return "time";
        case WarcTruncation::Disconnect:
            return "disconnect";
        case WarcTruncation::Unspecified:
        case WarcTruncation::None:
            break;
    }
    return "unspecified";
}

// An HTTP head as it must be in a record: ending with its empty line.
std::string endedHead(std::string head) {
    if (head.ends_with("\r\n\r\n") || head.ends_with("\n\n")) {
        return head;
    }
    if (head.ends_with("\r\n")) {
        return head + "\r\n";
    }
    if (head.ends_with('\n')) {
        return head + "\n";
    }
    return head + "\r\n\r\n";
}

std::string base32(const QByteArray& bytes) {
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
    std::string out;
    unsigned buffer = 0;
    int bits = 0;
    for (const char c : bytes) {
        buffer = (buffer << 8) | static_cast<unsigned char>(c);
        bits += 8;
        while (bits >= 5) {
            out += kAlphabet[(buffer >> (bits - 5)) & 31];
            bits -= 5;
        }
    }
    if (bits > 0) {
        out += kAlphabet[(buffer << (5 - bits)) & 31];
    }
    while (out.size() % 8 != 0) {
        out += '=';
    }
    return out;
}

}  // namespace

std::string warcDigest(const std::vector<std::string_view>& pieces) {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const std::string_view piece : pieces) {
        hash.addData(QByteArrayView(piece.data(), static_cast<qsizetype>(piece.size())));
    }
    return "sha1:" + base32(hash.result());
}

std::string decodedResponseHead(std::string_view head, size_t bodySize) {
    const size_t firstBreak = head.find('\n');
    const std::string eol =
        firstBreak != std::string_view::npos && firstBreak > 0 && head[firstBreak - 1] == '\r'
            ? "\r\n"
            : "\n";
    std::string out;
    bool statusLine = true;
    bool lengthRenamed = false;
    for (size_t at = 0; at < head.size();) {
        size_t end = head.find('\n', at);
        end = end == std::string_view::npos ? head.size() : end + 1;
        std::string_view line = head.substr(at, end - at);
        at = end;
        std::string_view content = line;
        while (!content.empty() && (content.back() == '\n' || content.back() == '\r')) {
            content.remove_suffix(1);
        }
        if (content.empty()) {
            break;  // the empty line that ends the head
        }
        if (!line.ends_with('\n')) {
            line = content;
        }
        std::string copy(line);
        if (!copy.ends_with('\n')) {
            copy += eol;
        }
        const size_t colon = content.find(':');
        if (statusLine || content.front() == ' ' || content.front() == '\t' ||
            colon == std::string_view::npos) {
            statusLine = false;
            out += copy;
            continue;
        }
        const std::string_view name = TrimBlanks(content.substr(0, colon));
        const std::string_view value = TrimBlanks(content.substr(colon + 1));
        const bool coding =
            EqualsNoCase(name, "Transfer-Encoding") || EqualsNoCase(name, "Content-Encoding");
        const bool wrongLength =
            EqualsNoCase(name, "Content-Length") && value != std::to_string(bodySize);
        if (coding || wrongLength) {
            out += "X-Crawler-";
        }
        lengthRenamed = lengthRenamed || wrongLength;
        out += copy;
    }
    if (lengthRenamed) {
        out += "Content-Length: " + std::to_string(bodySize) + eol;
    }
    return out + eol;
}

struct WarcWriter::Deflater {
    z_stream stream{};
    bool ready = false;
    ~Deflater() {
        if (ready) {
            deflateEnd(&stream);
        }
    }
};

WarcWriter::WarcWriter(std::string path) : path_(std::move(path)) {}

WarcWriter::~WarcWriter() {
    close();
}

std::optional<std::string> WarcWriter::open() {
    if (file_.isOpen()) {
        return "the WARC file is open already";
    }
    compressed_ = path_.size() >= 3 && EqualsNoCase(path_.substr(path_.size() - 3), ".gz");
    if (compressed_) {
        deflater_ = std::make_unique<Deflater>();
        // windowBits 15 + 16: a gzip header and trailer around each member.
        if (deflateInit2(&deflater_->stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8,
                         Z_DEFAULT_STRATEGY) != Z_OK) {
            deflater_.reset();
            return "zlib could not be set up";
        }
        deflater_->ready = true;
    }
    file_.setFileName(QString::fromStdString(path_));
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return "cannot create " + path_ + ": " + file_.errorString().toStdString();
    }
    failed_.clear();
    return std::nullopt;
}

std::optional<std::string> WarcWriter::close() {
    if (!file_.isOpen()) {
        return std::nullopt;
    }
    const bool flushed = file_.flush();
    const std::string error = file_.errorString().toStdString();
    file_.close();
    deflater_.reset();
    if (!flushed) {
        return "cannot write " + path_ + ": " + error;
    }
    return std::nullopt;
}

std::optional<std::string> WarcWriter::writeInfo(
    const std::string& software, const std::vector<std::pair<std::string, std::string>>& fields) {
    if (!safeValue(software)) {
        return "the software name holds a line break or control character";
    }
    std::string block = "software: " + software + "\r\nformat: WARC File Format 1.1\r\n";
    for (const auto& [name, value] : fields) {
        if (!safeName(name) || !safeValue(value)) {
            return "a warcinfo field holds a line break or control character: " + name;
        }
        block += name + ": " + value + "\r\n";
    }
    const std::string id = recordId();
    const QString fileName = QFileInfo(QString::fromStdString(path_)).fileName();
    std::string head = "WARC-Type: warcinfo\r\nWARC-Record-ID: " + id +
                       "\r\nWARC-Date: " + warcDate({}) +
                       "\r\nWARC-Filename: " + fileName.toStdString() +
                       "\r\nContent-Type: application/warc-fields\r\n";
    if (auto error = writeRecord(head, {block})) {
        return error;
    }
    infoId_ = id;
    return std::nullopt;
}

std::optional<std::string> WarcWriter::writeExchange(const WarcExchange& exchange) {
    if (exchange.url.empty() || !safeValue(exchange.url) ||
        exchange.url.find(' ') != std::string::npos) {
        return "not an address a record can name: " + exchange.url;
    }
    if (!safeValue(exchange.ip) || exchange.ip.find(' ') != std::string::npos) {
        return "not an IP address: " + exchange.ip;
    }
    if (exchange.responseHead.empty()) {
        return "no response head for " + exchange.url;
    }
    // Fields both records share.
    std::string common =
        "WARC-Date: " + warcDate(exchange.date) + "\r\nWARC-Target-URI: " + exchange.url + "\r\n";
    if (!infoId_.empty()) {
        common += "WARC-Warcinfo-ID: " + infoId_ + "\r\n";
    }
    if (!exchange.ip.empty()) {
        common += "WARC-IP-Address: " + exchange.ip + "\r\n";
    }

    std::string fields = "WARC-Type: response\r\nWARC-Record-ID: " + recordId() + "\r\n" + common;
    if (!exchange.requestHead.empty()) {
        const std::string requestId = recordId();
        const std::string request = endedHead(exchange.requestHead);
        if (auto error = writeRecord("WARC-Type: request\r\nWARC-Record-ID: " + requestId + "\r\n" +
                                         common + "WARC-Block-Digest: " + warcDigest({request}) +
                                         "\r\nContent-Type: application/http;msgtype=request\r\n",
                                     {request})) {
            return error;
        }
        fields += "WARC-Concurrent-To: " + requestId + "\r\n";
    }

    const std::string head = exchange.bodyForm == WarcBody::Decoded
                                 ? decodedResponseHead(exchange.responseHead, exchange.body.size())
                                 : endedHead(exchange.responseHead);
    fields += "WARC-Block-Digest: " + warcDigest({head, exchange.body}) +
              "\r\nWARC-Payload-Digest: " + warcDigest({exchange.body}) + "\r\n";
    if (exchange.truncated != WarcTruncation::None) {
        fields += std::string("WARC-Truncated: ") + truncationName(exchange.truncated) + "\r\n";
    }
    fields += "Content-Type: application/http;msgtype=response\r\n";
    return writeRecord(fields, {head, exchange.body});
}

std::optional<std::string> WarcWriter::writeRecord(const std::string& fields,
                                                   const std::vector<std::string_view>& block) {
    if (!file_.isOpen()) {
        return "the WARC file is not open";
    }
    if (!failed_.empty()) {
        return "an earlier record could not be written: " + failed_;
    }
    size_t length = 0;
    for (const std::string_view piece : block) {
        length += piece.size();
    }
    const std::string head =
        "WARC/1.1\r\n" + fields + "Content-Length: " + std::to_string(length) + "\r\n\r\n";
    std::optional<std::string> error = put(head, false);
    for (const std::string_view piece : block) {
        if (!error) {
            error = put(piece, false);
        }
    }
    if (!error) {
        error = put("\r\n\r\n", true);
    }
    if (!error && !file_.flush()) {
        error = "cannot write " + path_ + ": " + file_.errorString().toStdString();
    }
    if (error) {
        failed_ = *error;
    }
    return error;
}

std::optional<std::string> WarcWriter::put(std::string_view bytes, bool last) {
    const auto written = [this](const char* data, size_t size) -> std::optional<std::string> {
        if (file_.write(data, static_cast<qint64>(size)) != static_cast<qint64>(size)) {
            return "cannot write " + path_ + ": " + file_.errorString().toStdString();
        }
        return std::nullopt;
    };
    if (!compressed_) {
        return written(bytes.data(), bytes.size());
    }
    z_stream& stream = deflater_->stream;
    char out[kOutChunk];
    for (;;) {
        const size_t slice = std::min(bytes.size(), kMaxSlice);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        stream.avail_in = static_cast<uInt>(slice);
        const int flush = last && slice == bytes.size() ? Z_FINISH : Z_NO_FLUSH;
        int status = Z_OK;
        do {
            stream.next_out = reinterpret_cast<Bytef*>(out);
            stream.avail_out = sizeof out;
            status = deflate(&stream, flush);
            if (status == Z_STREAM_ERROR) {
                return "zlib failed while compressing a record";
            }
            if (auto error = written(out, sizeof out - stream.avail_out)) {
                return error;
            }
        } while (stream.avail_out == 0 || (flush == Z_FINISH && status != Z_STREAM_END));
        bytes.remove_prefix(slice);
        if (bytes.empty()) {
            break;
        }
    }
    if (last) {
        deflateReset(&stream);  // the next record starts a member of its own
    }
    return std::nullopt;
}

}  // namespace harvest
