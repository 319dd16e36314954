// A message's header fields as pieces: addresses with their display names,
// and the free text fields (Subject, List-Post, ...) as they read decoded.
#include <algorithm>
#include <string_view>

#include "MailDecoder.h"
#include "TextDecoder.h"

namespace harvest::mail {
namespace {

enum class FieldKind { Skip, Addresses, Text };

// Fields that hold mailboxes.
constexpr std::string_view kAddressFields[] = {"from",
                                               "to",
                                               "cc",
                                               "bcc",
                                               "reply-to",
                                               "sender",
                                               "return-path",
                                               "delivered-to",
                                               "disposition-notification-to",
                                               "return-receipt-to",
                                               "errors-to",
                                               "mail-followup-to",
                                               "mail-reply-to",
                                               "x-original-to",
                                               "x-original-from",
                                               "x-original-sender",
                                               "envelope-to",
                                               "x-envelope-from",
                                               "x-envelope-to",
                                               "apparently-to",
                                               "x-apparently-to",
                                               "x-sender",
                                               "x-beenthere",
                                               "resent-from",
                                               "resent-to",
                                               "resent-cc",
                                               "resent-bcc",
                                               "resent-sender",
                                               "resent-reply-to"};

// Transport records, signatures and identifiers: they look like addresses
// (relay names, "<id@host>", "smtp.mailfrom=bounce-123@...") but name no one.
constexpr std::string_view kSkipFields[] = {
    "references",   "in-reply-to",      "authentication-results", "received-spf",
    "mime-version", "list-unsubscribe", "list-unsubscribe-post",  "autocrypt",
    "thread-index", "x-originating-ip"};
constexpr std::string_view kSkipPrefixes[] = {
    "arc-",         "content-", "x-google-", "x-gm-",      "x-ms-",         "x-microsoft-",
    "x-forefront-", "x-ses-",   "x-sg-",     "x-mailgun-", "x-proofpoint-", "x-mimecast-",
    "x-spam-",      "x-virus-", "x-yahoo-",  "x-ymail-",   "x-apple-"};
// "Message-ID", "X-Feedback-ID", "List-Id"; "DKIM-Signature"; "X-Received".
constexpr std::string_view kSkipSuffixes[] = {"-id", "-signature", "received",
                                              "authentication-results"};

template <std::size_t N>
bool contains(const std::string_view (&names)[N], std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

FieldKind kindOf(std::string_view name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    if (contains(kAddressFields, lower)) {
        return FieldKind::Addresses;
    }
    if (contains(kSkipFields, lower) ||
        std::any_of(std::begin(kSkipPrefixes), std::end(kSkipPrefixes),
                    [&](std::string_view p) { return lower.starts_with(p); }) ||
        std::any_of(std::begin(kSkipSuffixes), std::end(kSkipSuffixes),
                    [&](std::string_view s) { return lower.ends_with(s); })) {
        return FieldKind::Skip;
    }
    return FieldKind::Text;
}

std::string trimmed(std::string s) {
    const std::size_t first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return {};
    }
    return s.substr(first, s.find_last_not_of(" \t\r\n") - first + 1);
}

// "Name <addr>, addr2" for the mailboxes of list, groups expanded, with a
// hint for each mailbox that has a name.
void addMailboxes(InternetAddressList* list, TextPiece& piece, int level) {
    const int count = internet_address_list_length(list);
    for (int i = 0; i < count; ++i) {
        InternetAddress* address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            if (level < 4) {
                addMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)),
                             piece, level + 1);
            }
            continue;
        }
        if (!INTERNET_ADDRESS_IS_MAILBOX(address)) {
            continue;
        }
        const char* addr = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address));
        const std::string mailbox = trimmed(cleanUtf8(addr ? addr : ""));
        if (mailbox.empty()) {
            continue;
        }
        const char* rawName = internet_address_get_name(address);
        const std::string name = trimmed(cleanUtf8(rawName ? rawName : ""));
        if (!piece.text.empty()) {
            piece.text += ", ";
        }
        if (name.empty() || name == mailbox) {
            piece.text += mailbox;
        } else {
            piece.text += name + " <" + mailbox + ">";
            piece.names.push_back({mailbox, name});
        }
    }
}

}  // namespace

void decodeHeaders(GMimeObject* message, const MessageScope& scope) {
    GMimeHeaderList* headers = g_mime_object_get_header_list(message);
    const int count = headers ? g_mime_header_list_get_count(headers) : 0;
    for (int i = 0; i < count; ++i) {
        GMimeHeader* header = g_mime_header_list_get_header_at(headers, i);
        const char* name = g_mime_header_get_name(header);
        const FieldKind kind = name ? kindOf(name) : FieldKind::Skip;
        if (kind == FieldKind::Skip) {
            continue;
        }
        TextPiece piece;
        piece.origin = scope.origin;
        piece.origin.field = cleanUtf8(name);
        if (kind == FieldKind::Addresses) {
            if (const char* raw = g_mime_header_get_raw_value(header)) {
                GPtr<InternetAddressList> list(internet_address_list_parse(nullptr, raw));
                if (list) {
                    addMailboxes(list.get(), piece, 0);
                }
            }
        }
        if (piece.text.empty()) {
            const char* value = g_mime_header_get_value(header);
            piece.text = trimmed(cleanUtf8(value ? value : ""));
        }
        if (!piece.text.empty()) {
            scope.context.text(std::move(piece));
        }
    }
}

}  // namespace harvest::mail
