#pragma once
// The body of an HTTP answer, taken in as it comes off the connection: its
// framing undone (a length, chunks, or up to the connection's close), then
// its Content-Encoding (gzip or deflate), and kept up to a limit of decoded
// bytes. Whatever the server sends, memory stays within the limit plus one
// piece: a compressed body is inflated a bounded piece at a time and stops
// the moment the limit is passed.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "HttpFields.h"

namespace harvest {

class HttpBodyReader {
public:
    enum class Framing { None, Length, Chunked, Close };
    enum class State {
        Reading,   // more is expected
        Complete,  // the whole body came
        Cut,       // the body stopped early (limit, broken framing or encoding, close)
    };

    // How the body of an answer to a GET with `head` is framed and encoded.
    // A body in an encoding other than gzip or deflate is kept as sent, with
    // an error saying so.
    HttpBodyReader(const HttpHead& head, std::int64_t maxBytes);
    ~HttpBodyReader();
    HttpBodyReader(const HttpBodyReader&) = delete;
    HttpBodyReader& operator=(const HttpBodyReader&) = delete;

    // Takes bytes from the connection. Bytes after the end of the body are
    // left alone.
    void take(std::string_view bytes);
    // The connection closed: a body framed by the close is complete, any
    // other is cut.
    void closed();
    // The body stops here for a reason of the caller's (e.g. time).
    void cut(std::string error);

    State state() const { return state_; }
    Framing framing() const { return framing_; }
    // Why the body is not whole: empty when it is (or is still coming). Set
    // also for a whole body kept in an encoding that is not undone.
    const std::string& error() const { return error_; }
    std::string& body() { return body_; }

private:
    struct Inflater;
    enum class Stage { Data, ChunkSize, ChunkDataEnd, Trailer };

    void takeChunked(std::string_view& bytes);
    void deliver(std::string_view bytes);
    void inflate(std::string_view bytes);
    void keep(const char* data, size_t size);
    void stop(State state, std::string error);

    std::int64_t maxBytes_;
    Framing framing_ = Framing::Close;
    Stage stage_ = Stage::Data;
    State state_ = State::Reading;
    std::int64_t left_ = 0;  // of the length, or of the chunk in hand
    std::string line_;       // a chunk-size or trailer line not yet whole
    std::string error_;
    std::string unsupported_;  // an encoding not undone
    std::unique_ptr<Inflater> inflater_;
    std::string body_;
};

}  // namespace harvest
