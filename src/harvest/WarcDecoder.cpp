// A WARC web archive, plain or compressed (usually one gzip member a record).
// libarchive's own WARC reader names a record by its URI's path without the
// host and drops every record whose URI ends in "/", so the records are framed
// here, on the stream libarchive decompresses.
#include <zlib.h>

#include <QString>
#include <algorithm>

#include "ArchiveReading.h"
#include "Decoders.h"
#include "TextOps.h"

namespace harvest {
namespace {

constexpr size_t kMaxHead = 64 << 10;

using textops::EqualsNoCase;
using textops::TrimBlanks;

// The value of a header field in a block of "Name: value" lines.
std::string headerValue(std::string_view head, std::string_view name) {
    size_t at = 0;
    while (at < head.size()) {
        size_t end = head.find('\n', at);
        if (end == std::string_view::npos) {
            end = head.size();
        }
        const std::string_view line = head.substr(at, end - at);
        const size_t colon = line.find(':');
        if (colon != std::string_view::npos &&
            EqualsNoCase(TrimBlanks(line.substr(0, colon)), name)) {
            return std::string(TrimBlanks(line.substr(colon + 1)));
        }
        at = end + 1;
    }
    return {};
}

// Where a head ends: after its first empty line ("\r\n\r\n", or "\n\n").
size_t endOfHead(std::string_view bytes) {
    const size_t crlf = bytes.find("\r\n\r\n");
    const size_t lf = bytes.find("\n\n");
    if (crlf != std::string_view::npos && (lf == std::string_view::npos || crlf < lf)) {
        return crlf + 4;
    }
    return lf == std::string_view::npos ? std::string_view::npos : lf + 2;
}

// Undoes "Transfer-Encoding: chunked"; a cut-off body keeps what came.
std::string unchunked(std::string_view body) {
    std::string out;
    size_t at = 0;
    while (at < body.size()) {
        const size_t eol = body.find('\n', at);
        if (eol == std::string_view::npos) {
            break;
        }
        const std::string sizeText(body.substr(at, eol - at));
        char* end = nullptr;
        const unsigned long long size = std::strtoull(sizeText.c_str(), &end, 16);
        if (end == sizeText.c_str() || size == 0) {
            break;
        }
        at = eol + 1;
        out.append(body.substr(at, std::min<size_t>(size, body.size() - at)));
        at += std::min<size_t>(size, body.size() - at);
        at = std::min(body.find('\n', at) + 1, body.size());
    }
    return out;
}

// Undoes gzip or deflate (with or without its zlib wrapper), keeping at most
// maxBytes. False when the body does not inflate or inflates too far.
bool inflated(std::string_view body, std::int64_t maxBytes, std::string& out) {
    for (int windowBits : {15 + 32, -15}) {
        out.clear();
        z_stream stream{};
        if (inflateInit2(&stream, windowBits) != Z_OK) {
            return false;
        }
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(body.data()));
        stream.avail_in = static_cast<uInt>(body.size());
        int status = Z_OK;
        char chunk[16384];
        while (status == Z_OK && static_cast<std::int64_t>(out.size()) <= maxBytes) {
            stream.next_out = reinterpret_cast<Bytef*>(chunk);
            stream.avail_out = sizeof chunk;
            status = inflate(&stream, Z_NO_FLUSH);
            out.append(chunk, sizeof chunk - stream.avail_out);
            if (status == Z_BUF_ERROR && stream.avail_in == 0) {
                status = Z_STREAM_END;  // cut off: keep what came
            }
        }
        inflateEnd(&stream);
        if (static_cast<std::int64_t>(out.size()) > maxBytes) {
            return false;
        }
        if (status == Z_STREAM_END) {
            return true;
        }
    }
    return false;
}

// A response record's payload: the HTTP body with its transfer and content
// encodings undone.
std::string responseBody(std::string_view record, const std::string& source,
                         DecodeContext& context) {
    const size_t end = endOfHead(record);
    if (end == std::string_view::npos) {
        return std::string(record);  // no HTTP head to remove
    }
    const std::string_view head = record.substr(0, end);
    std::string body(record.substr(end));
    if (EqualsNoCase(headerValue(head, "Transfer-Encoding"), "chunked")) {
        body = unchunked(body);
    }
    const std::string encoding = headerValue(head, "Content-Encoding");
    if (EqualsNoCase(encoding, "gzip") || EqualsNoCase(encoding, "x-gzip") ||
        EqualsNoCase(encoding, "deflate")) {
        std::string plain;
        if (!inflated(body, context.limits().maxMemberBytes, plain)) {
            context.problem(source, "body does not inflate, or inflates too far; kept as it came");
            return body;
        }
        context.expandedBytes() += static_cast<std::int64_t>(plain.size());
        return plain;
    }
    return body;
}

// Whether a response record holds a page that came: an answer with a 2xx
// status. Redirects, errors and "wait" answers are not the site's pages.
bool answeredWithPage(std::string_view record) {
    if (!record.starts_with("HTTP/")) {
        return true;  // no HTTP head: the payload as it is
    }
    const std::size_t space = record.find(' ');
    return space != std::string_view::npos && space + 1 < record.size() && record[space + 1] == '2';
}

// The decompressed stream, read a block at a time.
class WarcStream {
public:
    WarcStream(ArchiveReading& reading, const std::string& source)
        : reading_(reading), source_(source) {}

    // Makes at least n bytes available unless the stream ends first.
    bool fill(size_t n) {
        while (buffer_.size() - at_ < n) {
            if (at_ > 0) {
                buffer_.erase(0, at_);
                at_ = 0;
            }
            char chunk[65536];
            const std::int64_t got = reading_.readSome(chunk, sizeof chunk, source_);
            if (got <= 0) {
                return false;
            }
            buffer_.append(chunk, static_cast<size_t>(got));
        }
        return true;
    }
    std::string_view available() const { return std::string_view(buffer_).substr(at_); }
    void consume(size_t n) { at_ += std::min(n, buffer_.size() - at_); }
    // Reads a record's head, up to and with its empty line.
    bool head(std::string& out) {
        for (;;) {
            // Blank lines between records.
            while (fill(1) && (available().front() == '\r' || available().front() == '\n')) {
                consume(1);
            }
            const size_t end = endOfHead(available());
            if (end != std::string_view::npos) {
                out.assign(available().substr(0, end));
                consume(end);
                return true;
            }
            if (available().size() > kMaxHead || !fill(available().size() + 1)) {
                return false;
            }
        }
    }

private:
    ArchiveReading& reading_;
    const std::string& source_;
    std::string buffer_;
    size_t at_ = 0;
};

}  // namespace

void decodeWarc(const Blob& blob, DecodeContext& context) {
    ArchiveReading reading(blob, context, ArchiveFormats::Raw);
    if (!reading.next()) {
        if (reading.damaged()) {
            context.problem(blob.origin.source, "damaged WARC: " + reading.error());
        }
        return;
    }
    const std::int64_t maxBytes = context.limits().maxMemberBytes;
    WarcStream stream(reading, blob.origin.source);
    std::string head;
    while (!reading.stopped() && stream.head(head)) {
        if (!head.starts_with("WARC/")) {
            context.problem(blob.origin.source, "damaged WARC: a record does not start with WARC/");
            return;
        }
        const std::string type = headerValue(head, "WARC-Type");
        std::string uri = headerValue(head, "WARC-Target-URI");
        if (uri.size() >= 2 && uri.front() == '<' && uri.back() == '>') {
            uri = uri.substr(1, uri.size() - 2);
        }
        const std::string lengthText = headerValue(head, "Content-Length");
        char* end = nullptr;
        const long long length = std::strtoll(lengthText.c_str(), &end, 10);
        if (lengthText.empty() || *end != '\0' || length < 0) {
            context.problem(blob.origin.source, "damaged WARC: a record without a length");
            return;
        }
        const bool wanted = EqualsNoCase(type, "response") || EqualsNoCase(type, "resource");
        Origin origin;
        origin.source = uri.empty() ? blob.origin.source : QString::fromUtf8(uri).toStdString();
        if (wanted && length > maxBytes) {
            context.problem(origin.source,
                            "larger than " + std::to_string(maxBytes >> 20) + " MB; skipped");
        }
        if (!wanted || length > maxBytes) {
            for (long long left = length; left > 0;) {
                const size_t step = static_cast<size_t>(std::min<long long>(left, 1 << 20));
                if (!stream.fill(1)) {
                    break;
                }
                const size_t taken = std::min(step, stream.available().size());
                stream.consume(taken);
                left -= static_cast<long long>(taken);
            }
            continue;
        }
        const bool complete = stream.fill(static_cast<size_t>(length));
        std::string record(stream.available().substr(0, static_cast<size_t>(length)));
        stream.consume(record.size());
        if (!complete && !reading.stopped()) {
            context.problem(origin.source, "damaged WARC: the record is cut off");
        }
        const bool response = EqualsNoCase(type, "response");
        if (response && !answeredWithPage(record)) {
            if (!complete) {
                return;
            }
            continue;
        }
        std::string payload =
            response ? responseBody(record, origin.source, context) : std::move(record);
        if (!payload.empty()) {
            context.nested(payload, std::move(origin), blob.depth + 1);
        }
        if (!complete) {
            return;
        }
    }
    if (!reading.stopped() && !stream.available().empty()) {
        context.problem(blob.origin.source, "damaged WARC: a record header does not end");
    }
}

}  // namespace harvest
