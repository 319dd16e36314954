#include "ContactFilter.h"

#include <gtest/gtest.h>

#include <functional>

#include "TempDir.h"

namespace harvest {
namespace {

Contact contact(std::string address, std::string kind, std::string domain, bool reserved = false) {
    Contact c;
    c.address = std::move(address);
    c.kind = std::move(kind);
    c.domain = std::move(domain);
    c.reserved = reserved;
    return c;
}

const Contact kAda = contact("Ada@Mail.Example.org", "personal", "mail.example.org");
const Contact kInfo = contact("info@example.org", "role", "example.org");
const Contact kNoReply = contact("noreply@github.com", "no-reply", "github.com");
const Contact kDocs = contact("user@example.com", "personal", "example.com", true);
const Contact kWeb = contact("https://www.Example.org/about", "web", "www.example.org");
const Contact kPhone = contact("+441632960000", "phone", "");
const Contact kLookalike = contact("bob@notexample.org", "personal", "notexample.org");
const Contact kUnicode = contact("Jörg@Bücher.example", "personal", "bücher.example");

struct FilterCase {
    std::string setting;
    std::function<void(ContactFilter&)> set;
    // Which of kAll the filter keeps.
    std::string kept;  // one letter per contact: "y" kept, "." dropped
};

const std::vector<Contact> kAll = {kAda, kInfo,  kNoReply,   kDocs,
                                   kWeb, kPhone, kLookalike, kUnicode};

TEST(ContactFilter, KeepsByEachSetting) {
    const std::vector<FilterCase> cases = {
        {"nothing set", [](ContactFilter&) {}, "yyyyyyyy"},
        {"only example.org and subdomains",
         [](ContactFilter& f) { f.onlyDomains({"EXAMPLE.org"}); }, "yy..y..."},
        {"only, written with @ and a dot",
         [](ContactFilter& f) { f.onlyDomains({"@github.com."}); }, "..y....."},
        {"only an internationalised domain",
         [](ContactFilter& f) { f.onlyDomains({"BÜCHER.example"}); }, ".......y"},
        {"exclude example.org", [](ContactFilter& f) { f.excludeDomains({"example.org"}); },
         "..yy.yyy"},
        {"exclude a subdomain only",
         [](ContactFilter& f) { f.excludeDomains({"mail.example.org"}); }, ".yyyyyyy"},
        {"kinds personal and role",
         [](ContactFilter& f) {
             f.kinds({"personal", "role"});
         },
         "yy.y..yy"},
        {"kind phone", [](ContactFilter& f) { f.kinds({"phone"}); }, ".....y.."},
        {"no reserved", [](ContactFilter& f) { f.noReserved(true); }, "yyy.yyyy"},
        {"stop a domain and its web hosts", [](ContactFilter& f) { f.addStopEntry("example.org"); },
         "..yy.yyy"},
        {"stop an address in another case",
         [](ContactFilter& f) { f.addStopEntry("ada@mail.EXAMPLE.org"); }, ".yyyyyyy"},
        {"stop an address is not a domain",
         [](ContactFilter& f) { f.addStopEntry("mail.example.org@x"); }, "yyyyyyyy"},
        {"stop a pattern on the domain part",
         [](ContactFilter& f) { f.addStopEntry("*@GitHub.com"); }, "yy.yyyyy"},
        {"stop a pattern on the local part", [](ContactFilter& f) { f.addStopEntry("no*"); },
         "yy.yyyyy"},
        {"stop a pattern with stars inside",
         [](ContactFilter& f) { f.addStopEntry("*@*.example.org"); }, ".yyyyyyy"},
        {"stop subdomains by pattern", [](ContactFilter& f) { f.addStopEntry("*.example.org"); },
         ".yyyyyyy"},
        {"stop a Unicode address", [](ContactFilter& f) { f.addStopEntry("JÖRG@bücher.example"); },
         "yyyyyyy."},
        {"settings together",
         [](ContactFilter& f) {
             f.onlyDomains({"example.org", "example.com"});
             f.noReserved(true);
             f.kinds({"personal", "web"});
         },
         "y...y..."},
    };
    ASSERT_EQ(kAll.size(), 8u);
    for (const FilterCase& c : cases) {
        ContactFilter filter;
        c.set(filter);
        std::string kept;
        for (const Contact& contact : kAll) {
            kept += filter.keeps(contact) ? 'y' : '.';
        }
        EXPECT_EQ(kept, c.kept) << c.setting;
    }
}

TEST(ContactFilter, SightingsFollowTheSameRules) {
    ContactFilter filter;
    filter.addStopEntry("*@github.com");
    filter.noReserved(true);
    for (const Contact& c : kAll) {
        Sighting s;
        s.address = c.address;
        s.kind = c.kind;
        s.domain = c.domain;
        s.reserved = c.reserved;
        EXPECT_EQ(filter.keeps(s), filter.keeps(c)) << c.address;
    }
}

TEST(ContactFilter, StopListFileWithCommentsPatternsDomainsAndAddresses) {
    TempDir dir;
    const std::string path = dir.write("stop.txt",
                                       "\xEF\xBB\xBF# addresses never to keep\r\n"
                                       "\n"
                                       "   noreply*  \r\n"
                                       "# example.org would drop almost everything\n"
                                       "INFO@example.org\n"
                                       "@notexample.org\n"
                                       "bücher.example");
    ContactFilter filter;
    EXPECT_EQ(filter.loadStopList(path), std::nullopt);
    std::string kept;
    for (const Contact& contact : kAll) {
        kept += filter.keeps(contact) ? 'y' : '.';
    }
    EXPECT_EQ(kept, "y..yyy..");

    const std::string missing = dir.file("none.txt");
    const auto error = filter.loadStopList(missing);
    ASSERT_TRUE(error.has_value());
    EXPECT_TRUE(error->starts_with("cannot read " + missing + ": ")) << *error;
}

}  // namespace
}  // namespace harvest
