// The kind of an e-mail address, judged by its local part alone: mailboxes
// that nobody reads (no-reply and bounce addresses), mailboxes of a function
// rather than a person (info@, support@), and everything else.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "Finders.h"
#include "TextScan.h"

namespace harvest {

namespace {

// Matched at the start of the local part, so "noreply-billing" and
// "bounces+123" count too.
constexpr std::array<std::string_view, 17> kNoReplyPrefixes = {
    "noreply",       "no-reply",     "no_reply",      "no.reply",   "donotreply",  "do-not-reply",
    "do_not_reply",  "do.not.reply", "dontreply",     "dont-reply", "notreply",    "not-reply",
    "mailer-daemon", "mailerdaemon", "mailer_daemon", "bounce",     "unsubscribe",
};

// Matched whole, after a "+tag" is removed; kept sorted for binary search.
constexpr std::array<std::string_view, 62> kRoles = {
    "abuse",         "accounting",  "accounts",     "admin",
    "administrator", "admissions",  "all",          "billing",
    "booking",       "bookings",    "careers",      "compliance",
    "contact",       "contactus",   "customercare", "customerservice",
    "dev",           "development", "dpo",          "editor",
    "enquiries",     "enquiry",     "events",       "feedback",
    "finance",       "general",     "hello",        "help",
    "helpdesk",      "hostmaster",  "hr",           "info",
    "information",   "inquiries",   "inquiry",      "it",
    "jobs",          "legal",       "mail",         "marketing",
    "media",         "news",        "newsletter",   "office",
    "orders",        "partners",    "postmaster",   "press",
    "privacy",       "recruiting",  "recruitment",  "reservations",
    "root",          "sales",       "security",     "service",
    "services",      "shop",        "staff",        "support",
    "team",          "webmaster",
};

static_assert(std::is_sorted(kRoles.begin(), kRoles.end()));

}  // namespace

const char* addressKind(std::string_view localPart) {
    std::string local = asciiLowered(localPart.substr(0, localPart.find('+')));
    for (std::string_view prefix : kNoReplyPrefixes) {
        if (std::string_view(local).substr(0, prefix.size()) == prefix) {
            return "no-reply";
        }
    }
    if (std::binary_search(kRoles.begin(), kRoles.end(), std::string_view(local))) {
        return "role";
    }
    return "personal";
}

}  // namespace harvest
