// A message's MIME tree: text parts become pieces, HTML goes through the HTML
// decoder, and attachments and attached messages go on as nested sources
// named "source!file name" (or "source!part-N" for a part without a name).
#include <string>
#include <string_view>

#include "HtmlDecoder.h"
#include "MailDecoder.h"
#include "TextDecoder.h"

namespace harvest::mail {
namespace {

// Deeper than any real message nests its multiparts.
constexpr int kMaxLevels = 64;

// Bytes written to a memory stream, kept alive with the stream.
struct StreamBytes {
    GPtr<GMimeStream> stream{g_mime_stream_mem_new()};
    std::string_view bytes() const {
        const GByteArray* array = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
        return array ? std::string_view(reinterpret_cast<const char*>(array->data), array->len)
                     : std::string_view();
    }
};

std::string cleanName(const char* name) {
    if (!name) {
        return {};
    }
    std::string clean = cleanUtf8(name);
    const std::size_t first = clean.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return clean.substr(first, clean.find_last_not_of(' ') - first + 1);
}

class PartWalk {
public:
    explicit PartWalk(const MessageScope& scope) : scope_(scope) {}

    void walk(GMimeObject* object, int level) {
        if (level > kMaxLevels) {
            problem("parts nested too deeply; the deeper ones were skipped");
            return;
        }
        if (GMIME_IS_MULTIPART(object)) {
            GMimeMultipart* multipart = GMIME_MULTIPART(object);
            const int count = g_mime_multipart_get_count(multipart);
            for (int i = 0; i < count; ++i) {
                walk(g_mime_multipart_get_part(multipart, i), level + 1);
            }
        } else if (GMIME_IS_MESSAGE_PART(object)) {
            ++parts_;
            attachedMessage(GMIME_MESSAGE_PART(object));
        } else if (GMIME_IS_PART(object)) {
            ++parts_;
            part(GMIME_PART(object));
        }
    }

private:
    const MessageScope& scope_;
    int parts_ = 0;  // leaf parts so far, numbered from 1 in the message's order

    std::string partName(const char* fileName) const {
        std::string name = cleanName(fileName);
        return name.empty() ? "part-" + std::to_string(parts_) : name;
    }

    void problem(const std::string& reason) const {
        scope_.context.problem(scope_.origin.source, scope_.problemPrefix + reason);
    }

    void nested(std::string_view bytes, const std::string& name) const {
        Origin origin = scope_.origin;
        origin.source += "!" + name;
        origin.field.clear();
        scope_.context.nested(bytes, std::move(origin), scope_.depth + 1);
    }

    void attachedMessage(GMimeMessagePart* part) const {
        GMimeObject* object = GMIME_OBJECT(part);
        const char* fileName = g_mime_object_get_content_disposition_parameter(object, "filename");
        if (!fileName) {
            fileName = g_mime_object_get_content_type_parameter(object, "name");
        }
        const std::string name = partName(fileName);
        GMimeMessage* message = g_mime_message_part_get_message(part);
        StreamBytes out;
        if (!message ||
            g_mime_object_write_to_stream(GMIME_OBJECT(message), nullptr, out.stream.get()) < 0) {
            problem("attached message " + name + " could not be read");
            return;
        }
        nested(out.bytes(), name);
    }

    void part(GMimePart* part) const {
        GMimeObject* object = GMIME_OBJECT(part);
        const char* fileName = g_mime_part_get_filename(part);
        GMimeContentDisposition* disposition = g_mime_object_get_content_disposition(object);
        const bool attachment =
            fileName || (disposition && g_mime_content_disposition_is_attachment(disposition));
        if (!g_mime_part_get_content(part)) {
            return;  // a part without a body
        }
        if (GMIME_IS_TEXT_PART(object) && !attachment) {
            text(GMIME_TEXT_PART(object));
            return;
        }
        const std::string name = partName(fileName);
        StreamBytes out;
        if (g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(part), out.stream.get()) <
            0) {
            problem("part " + name + " could not be decoded");
            return;
        }
        if (!out.bytes().empty()) {
            nested(out.bytes(), name);
        }
    }

    // The transfer encoding undone and the charset converted by gmime.
    void text(GMimeTextPart* part) const {
        char* raw = g_mime_text_part_get_text(part);
        if (!raw) {
            problem("part " + partName(nullptr) + " (text) could not be decoded");
            return;
        }
        std::string utf8 = cleanUtf8(raw);
        g_free(raw);
        GMimeContentType* type = g_mime_object_get_content_type(GMIME_OBJECT(part));
        if (type && g_mime_content_type_is_type(type, "text", "html")) {
            decodeHtmlUtf8(utf8, scope_.origin, scope_.context);
            return;
        }
        if (utf8.empty()) {
            return;
        }
        TextPiece piece;
        piece.origin = scope_.origin;
        piece.origin.field.clear();
        piece.text = std::move(utf8);
        scope_.context.text(std::move(piece));
    }
};

}  // namespace

void decodeParts(GMimeObject* root, const MessageScope& scope) {
    PartWalk walk(scope);
    walk.walk(root, 0);
}

}  // namespace harvest::mail
