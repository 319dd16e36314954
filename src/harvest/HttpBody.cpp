#include "HttpBody.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace harvest {

namespace {

// What one inflate call makes at most, and the longest chunk-size or
// trailer line accepted.
constexpr size_t kInflatedPieceBytes = 64 * 1024;
constexpr size_t kLineBytes = 4 * 1024;

// The comma-separated codings of a field, lower case, "identity" left out.
std::vector<std::string> Codings(const std::vector<std::string>& values) {
    std::vector<std::string> out;
    for (const std::string& value : values) {
        size_t at = 0;
        while (at <= value.size()) {
            const size_t comma = std::min(value.find(',', at), value.size());
            std::string coding;
            for (size_t i = at; i < comma; ++i) {
                if (value[i] != ' ' && value[i] != '\t') {
                    coding += static_cast<char>(std::tolower(static_cast<unsigned char>(value[i])));
                }
            }
            if (!coding.empty() && coding != "identity") {
                out.push_back(coding);
            }
            at = comma + 1;
        }
    }
    return out;
}

std::optional<std::int64_t> ContentLength(const HttpHead& head) {
    std::optional<std::int64_t> length;
    for (const std::string& value : head.values("content-length")) {
        std::int64_t n = -1;
        const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), n);
        if (ec != std::errc() || end != value.data() + value.size() || n < 0 ||
            (length && *length != n)) {
            return std::nullopt;  // unreadable or contradictory: the close ends the body
        }
        length = n;
    }
    return length;
}

}  // namespace

// A gzip or deflate body, inflated as it comes. The wrapper is told by the
// first two bytes, since servers label raw deflate, zlib and gzip streams
// loosely.
struct HttpBodyReader::Inflater {
    ~Inflater() {
        if (started) {
            inflateEnd(&stream);
        }
    }
    z_stream stream{};
    bool started = false;
    bool ended = false;       // a stream (or gzip member) ended and no text came after it
    bool nextMember = false;  // the next bytes may start another gzip member
    bool junk = false;        // what is left is not compressed text
    bool gzip = false;        // gzip members may follow one another
    std::string firstBytes;   // held until the wrapper can be told
    std::unique_ptr<char[]> out = std::make_unique_for_overwrite<char[]>(kInflatedPieceBytes);

    bool start() {
        const auto b0 = static_cast<unsigned char>(firstBytes.size() > 0 ? firstBytes[0] : 0);
        const auto b1 = static_cast<unsigned char>(firstBytes.size() > 1 ? firstBytes[1] : 0);
        gzip = b0 == 0x1f && b1 == 0x8b;
        const bool zlib = (b0 & 0x0f) == 8 && ((b0 << 8) | b1) % 31 == 0;
        started = inflateInit2(&stream, gzip ? 15 + 16 : zlib ? 15 : -15) == Z_OK;
        return started;
    }
};

HttpBodyReader::HttpBodyReader(const HttpHead& head, std::int64_t maxBytes)
    : maxBytes_(std::max<std::int64_t>(0, maxBytes)) {
    if ((head.status >= 100 && head.status < 200) || head.status == 204 || head.status == 304) {
        framing_ = Framing::None;
        state_ = State::Complete;
        return;
    }
    std::vector<std::string> transfer = Codings(head.values("transfer-encoding"));
    std::vector<std::string> codings = Codings(head.values("content-encoding"));
    const bool chunked = !transfer.empty() && transfer.back() == "chunked";
    if (chunked) {
        transfer.pop_back();
    }
    codings.insert(codings.end(), transfer.begin(), transfer.end());
    if (codings.size() == 1 &&
        (codings[0] == "gzip" || codings[0] == "x-gzip" || codings[0] == "deflate")) {
        inflater_ = std::make_unique<Inflater>();
    } else {
        for (const std::string& coding : codings) {
            unsupported_ += (unsupported_.empty() ? "" : ", ") + coding;
        }
    }
    const auto length = ContentLength(head);
    if (chunked) {
        framing_ = Framing::Chunked;
        stage_ = Stage::ChunkSize;
    } else if (length) {
        framing_ = Framing::Length;
        left_ = *length;
        if (left_ == 0) {
            stop(State::Complete, "");
        }
    } else {
        framing_ = Framing::Close;
    }
}

HttpBodyReader::~HttpBodyReader() = default;

void HttpBodyReader::take(std::string_view bytes) {
    while (!bytes.empty() && state_ == State::Reading) {
        if (framing_ == Framing::Chunked) {
            takeChunked(bytes);
            continue;
        }
        const size_t n = framing_ == Framing::Length
                             ? static_cast<size_t>(std::min<std::int64_t>(left_, bytes.size()))
                             : bytes.size();
        deliver(bytes.substr(0, n));
        bytes.remove_prefix(n);
        if (framing_ == Framing::Length && state_ == State::Reading) {
            left_ -= static_cast<std::int64_t>(n);
            if (left_ == 0) {
                stop(State::Complete, "");
            }
        }
    }
}

void HttpBodyReader::takeChunked(std::string_view& bytes) {
    if (stage_ == Stage::Data) {
        const size_t n = static_cast<size_t>(std::min<std::int64_t>(left_, bytes.size()));
        deliver(bytes.substr(0, n));
        bytes.remove_prefix(n);
        left_ -= static_cast<std::int64_t>(n);
        if (left_ == 0) {
            stage_ = Stage::ChunkDataEnd;
        }
        return;
    }
    // Lines: a chunk's size, the line end after its data, and the trailer up
    // to its empty line.
    const size_t nl = bytes.find('\n');
    const size_t n = nl == std::string_view::npos ? bytes.size() : nl + 1;
    line_.append(bytes.substr(0, n));
    bytes.remove_prefix(n);
    if (nl == std::string_view::npos) {
        if (line_.size() > kLineBytes) {
            stop(State::Cut, "malformed chunked body");
        }
        return;
    }
    std::string_view line = line_;
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) {
        line.remove_suffix(1);
    }
    if (stage_ == Stage::ChunkDataEnd) {
        stage_ = Stage::ChunkSize;
    } else if (stage_ == Stage::Trailer) {
        if (line.empty()) {
            stop(State::Complete, "");
        }
    } else {
        line = line.substr(0, line.find(';'));  // chunk extensions
        while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) {
            line.remove_prefix(1);
        }
        while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) {
            line.remove_suffix(1);
        }
        std::int64_t size = -1;
        const auto [end, ec] = std::from_chars(line.data(), line.data() + line.size(), size, 16);
        if (line.empty() || line.size() > 15 || ec != std::errc() ||
            end != line.data() + line.size() || size < 0) {
            stop(State::Cut, "malformed chunked body");
        } else if (size == 0) {
            stage_ = Stage::Trailer;
        } else {
            left_ = size;
            stage_ = Stage::Data;
        }
    }
    line_.clear();
}

void HttpBodyReader::deliver(std::string_view bytes) {
    if (inflater_) {
        inflate(bytes);
    } else {
        keep(bytes.data(), bytes.size());
    }
}

void HttpBodyReader::inflate(std::string_view bytes) {
    Inflater& in = *inflater_;
    std::string held;
    if (!in.started) {
        in.firstBytes.append(bytes);
        if (in.firstBytes.size() < 2) {
            return;
        }
        if (!in.start()) {
            stop(State::Cut, "compressed body cannot be read");
            return;
        }
        held.swap(in.firstBytes);
        bytes = held;
    }
    if (in.junk) {
        return;
    }
    z_stream& z = in.stream;
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    z.avail_in = static_cast<uInt>(bytes.size());
    // A small piece can inflate to a great deal: it is made and kept a
    // bounded piece at a time, and the limit stops it.
    while (state_ == State::Reading) {
        if (in.nextMember) {
            if (z.avail_in == 0) {
                return;
            }
            inflateReset(&z);  // another gzip member may follow
            in.nextMember = false;
        }
        z.next_out = reinterpret_cast<Bytef*>(in.out.get());
        z.avail_out = static_cast<uInt>(kInflatedPieceBytes);
        const int result = ::inflate(&z, Z_NO_FLUSH);
        const size_t made = kInflatedPieceBytes - z.avail_out;
        keep(in.out.get(), made);
        if (result == Z_STREAM_END) {
            in.ended = true;
            in.nextMember = in.gzip;
            in.junk = !in.gzip;  // what follows a deflate stream is left alone
            if (in.junk) {
                return;
            }
            continue;
        }
        if (result != Z_OK && result != Z_BUF_ERROR) {
            if (in.ended) {
                in.junk = true;  // not a gzip member after all: left alone
            } else {
                stop(State::Cut, "broken compressed body");
            }
            return;
        }
        if (made > 0) {
            in.ended = false;
        }
        if (result == Z_BUF_ERROR || (z.avail_in == 0 && z.avail_out > 0)) {
            return;  // all of this piece is out
        }
    }
}

void HttpBodyReader::keep(const char* data, size_t size) {
    const auto room = static_cast<size_t>(maxBytes_ - static_cast<std::int64_t>(body_.size()));
    if (size <= room) {
        body_.append(data, size);
        return;
    }
    body_.append(data, room);
    stop(State::Cut, inflater_ ? "body expands past " + ByteCountText(maxBytes_) + ": cut there"
                               : "larger than " + ByteCountText(maxBytes_) + ": cut there");
}

void HttpBodyReader::closed() {
    if (state_ != State::Reading) {
        return;
    }
    if (framing_ != Framing::Close) {
        stop(State::Cut, "connection closed mid-body");
    } else {
        stop(State::Complete, "");
    }
}

void HttpBodyReader::cut(std::string error) {
    if (state_ == State::Reading) {
        stop(State::Cut, std::move(error));
    }
}

void HttpBodyReader::stop(State state, std::string error) {
    if (state_ != State::Reading) {
        return;  // stopped already, e.g. while the last bytes were inflated
    }
    // A compressed stream that began (one byte is a beginning) and did not end.
    const bool unfinished =
        inflater_ && (inflater_->started ? !inflater_->ended : !inflater_->firstBytes.empty());
    if (state == State::Complete && unfinished) {
        state = State::Cut;
        error = "compressed body ends early";
    } else if (state == State::Complete && !unsupported_.empty()) {
        error = "body kept in its Content-Encoding: " + unsupported_;
    }
    state_ = state;
    error_ = std::move(error);
}

}  // namespace harvest
