#pragma once
// The parts of the mail decoder: one message's header fields and its MIME
// parts, read with gmime.
#include <gmime/gmime.h>

#include <memory>
#include <string>
#include <string_view>

#include "DecodeContext.h"

namespace harvest::mail {

struct GObjectUnref {
    void operator()(gpointer object) const {
        if (object) {
            g_object_unref(object);
        }
    }
};
// A gmime object owned by one reference.
template <typename T>
using GPtr = std::unique_ptr<T, GObjectUnref>;

// What the decoding of one message knows while it walks it.
struct MessageScope {
    const Origin& origin;       // the source, message number and Message-ID; no field
    int depth;                  // the message's own depth
    std::string problemPrefix;  // "message 7: " for a message of an mbox
    DecodeContext& context;
};

// Hands on each header field that can name a contact as a piece of its own,
// with the display names of address fields as hints; transport records and
// machine identifiers (Received, Message-ID, DKIM-Signature, ...) are left out.
void decodeHeaders(GMimeObject* message, const MessageScope& scope);

// Hands on the text of the message's text parts, HTML through the HTML
// decoder, and every attachment and attached message as a nested source.
void decodeParts(GMimeObject* root, const MessageScope& scope);

// Undoes mboxrd quoting: one ">" less on each line that matches ^>+From .
std::string unescapeFromLines(std::string_view message);

}  // namespace harvest::mail
