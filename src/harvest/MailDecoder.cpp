// Mail messages and mbox files. An mbox is split by hand on its "From "
// separator lines, so a file of many thousands of messages is one pass, and
// each message is parsed by gmime from memory.
#include "MailDecoder.h"

#include <algorithm>

#include <mutex>

#include "Decoders.h"
#include "MboxSplit.h"
#include "TextDecoder.h"

namespace harvest {
namespace mail {
namespace {

void ensureGMime() {
    static std::once_flag once;
    std::call_once(once, [] { g_mime_init(); });
}

GPtr<GMimeMessage> parseMessage(std::string_view bytes) {
    GPtr<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    GPtr<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    g_mime_parser_set_format(parser.get(), GMIME_FORMAT_MESSAGE);
    return GPtr<GMimeMessage>(g_mime_parser_construct_message(parser.get(), nullptr));
}

void decodeMessage(std::string_view bytes, const Origin& base, int depth, DecodeContext& context) {
    const std::string prefix =
        base.message ? "message " + std::to_string(*base.message) + ": " : std::string();
    const GPtr<GMimeMessage> message = parseMessage(bytes);
    if (!message) {
        // Nothing of it is lost: what is not a message is still text.
        context.problem(base.source, prefix + "not a readable mail message; read as plain text");
        decodeText(Blob{bytes, base, depth}, context);
        return;
    }
    Origin origin = base;
    origin.field.clear();
    const char* id = g_mime_message_get_message_id(message.get());
    origin.messageId = id ? cleanUtf8(id) : std::string();
    const MessageScope scope{origin, depth, prefix, context};
    decodeHeaders(GMIME_OBJECT(message.get()), scope);
    if (GMimeObject* root = g_mime_message_get_mime_part(message.get())) {
        decodeParts(root, scope);
    }
}

// Whether a message may hold a line that mboxrd quoting changed.
bool mayBeQuoted(std::string_view message) {
    return message.starts_with('>') || message.find("\n>") != std::string_view::npos;
}

}  // namespace

std::string unescapeFromLines(std::string_view message) {
    std::string out;
    out.reserve(message.size());
    for (std::size_t at = 0; at < message.size();) {
        const std::size_t eol = message.find('\n', at);
        const std::size_t end = eol == std::string_view::npos ? message.size() : eol + 1;
        std::string_view line = message.substr(at, end - at);
        const std::size_t text = line.find_first_not_of('>');
        if (text > 0 && text != std::string_view::npos && line.substr(text).starts_with("From ")) {
            line.remove_prefix(1);
        }
        out += line;
        at = end;
    }
    return out;
}

}  // namespace mail

void decodeMail(const Blob& blob, DecodeContext& context) {
    mail::ensureGMime();
    std::string_view bytes = blob.bytes;
    // A single message saved with its mbox separator line.
    if (bytes.starts_with("From ")) {
        const std::size_t eol = bytes.find('\n');
        bytes = eol == std::string_view::npos ? std::string_view() : bytes.substr(eol + 1);
    }
    mail::decodeMessage(bytes, blob.origin, blob.depth, context);
}

void decodeMbox(const Blob& blob, DecodeContext& context) {
    mail::ensureGMime();
    int number = 0;
    splitMbox(blob.bytes, [&](std::string_view message) {
        Origin origin = blob.origin;
        origin.message = ++number;
        if (mail::mayBeQuoted(message)) {
            mail::decodeMessage(mail::unescapeFromLines(message), origin, blob.depth, context);
        } else {
            mail::decodeMessage(message, origin, blob.depth, context);
        }
        return !context.cancelled();
    });
}

}  // namespace harvest
