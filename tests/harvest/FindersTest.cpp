// E-mail addresses: what counts as one, its key, kind, name and place.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Finders.h"

namespace harvest {
namespace {

std::vector<Sighting> findIn(const std::string& text, FinderOptions options = {},
                             std::vector<NameHint> names = {}) {
    Finders finders(std::move(options));
    TextPiece piece;
    piece.origin.source = "notes.txt";
    piece.text = text;
    piece.names = std::move(names);
    std::vector<Sighting> out;
    finders.find(piece, out);
    return out;
}

std::vector<std::string> addresses(const std::vector<Sighting>& sightings) {
    std::vector<std::string> out;
    for (const Sighting& s : sightings) {
        out.push_back(s.address);
    }
    return out;
}

struct Expected {
    std::string address;
    std::string name = {};
    std::string kind = "personal";
    bool reserved = false;
};

struct PositiveCase {
    std::string text;
    std::vector<Expected> expected;
};

TEST(AddressFinder, FindsAddressesAndDescribesThem) {
    const std::vector<PositiveCase> cases = {
        {"(ann.green@riverside.example.org),",
         {{"ann.green@riverside.example.org", "", "personal", true}}},
        {"<ann@riverside.org>", {{"ann@riverside.org"}}},
        {"'ann@riverside.org'", {{"ann@riverside.org"}}},
        {"Write to ann@riverside.org.", {{"ann@riverside.org"}}},
        {"mailto:ann@riverside.org", {{"ann@riverside.org"}}},
        {"Ann.Green@Riverside.ORG", {{"Ann.Green@riverside.org"}}},
        {"o'brien+list@mail.riverside.co.uk;", {{"o'brien+list@mail.riverside.co.uk"}}},
        {"jürgen@bücher.de", {{"jürgen@bücher.de"}}},
        {"ann&#64;riverside.org ann&#x40;riverside.net ann&commat;riverside.com",
         {{"ann@riverside.org"}, {"ann@riverside.net"}, {"ann@riverside.com"}}},
        {"href=\"ann%40riverside.org\"", {{"ann@riverside.org"}}},
        {"mailto:a@x.org,b%40y.org?cc=c@z.org&bcc=d@w.org&subject=hi",
         {{"a@x.org"}, {"b@y.org"}, {"c@z.org"}, {"d@w.org"}}},
        {"mailto:a@x.org?cc=b@y.org&amp;bcc=c@z.org", {{"a@x.org"}, {"b@y.org"}, {"c@z.org"}}},
        {"mailto:J%C3%BCrgen@b%C3%BCcher.de?subject=hello", {{"Jürgen@bücher.de"}}},
        {"ann [at] riverside [dot] org", {{"ann@riverside.org"}}},
        {"ann (at) riverside (dot) org", {{"ann@riverside.org"}}},
        {"ann(at)riverside.org", {{"ann@riverside.org"}}},
        {"ann [at] riverside.org", {{"ann@riverside.org"}}},
        {"ann {AT} riverside {dot} org", {{"ann@riverside.org"}}},
        {"ann at riverside dot org", {{"ann@riverside.org"}}},
        {"a@host.localhost b@x.test c@mail.example.net",
         {{"a@host.localhost", "", "personal", true},
          {"b@x.test", "", "personal", true},
          {"c@mail.example.net", "", "personal", true}}},
        {"noreply-billing@riverside.org Bounces+x@riverside.org",
         {{"noreply-billing@riverside.org", "", "no-reply"},
          {"Bounces+x@riverside.org", "", "no-reply"}}},
        {"Info+news@riverside.org postmaster@riverside.org",
         {{"Info+news@riverside.org", "", "role"}, {"postmaster@riverside.org", "", "role"}}},
        {"From: Ann Green <ann@riverside.org>", {{"ann@riverside.org", "Ann Green"}}},
        {"\"Green, Ann\" <ann@riverside.org>", {{"ann@riverside.org", "Green, Ann"}}},
        {"To: Ann Green <ann@riverside.org>, Bob Brown <bob@riverside.org>",
         {{"ann@riverside.org", "Ann Green"}, {"bob@riverside.org", "Bob Brown"}}},
        {"a@x.org <b@y.org>", {{"a@x.org"}, {"b@y.org"}}},
        {"\u201CAnn Green\u201D <ann@riverside.org>", {{"ann@riverside.org", "Ann Green"}}},
        {"ann@riverside.org Bob <bob@riverside.org>",
         {{"ann@riverside.org"}, {"bob@riverside.org", "Bob"}}},
        {"ann [dot] green [at] riverside [dot] org", {{"ann.green@riverside.org"}}},
        {"ann dot green at riverside dot org", {{"ann.green@riverside.org"}}},
        {"?to=%3Cann@riverside.org%3E", {{"ann@riverside.org"}}},
        {"mailto:Ann%20%3Cann@riverside.org%3E", {{"ann@riverside.org"}}},
        {"Contact:\nann@riverside.org", {{"ann@riverside.org"}}},
        // The lead-in of changelog and copyright lines is not part of the name.
        {"2022-02-19  Ann Green  <ann@riverside.org>", {{"ann@riverside.org", "Ann Green"}}},
        {" -- Ann Green <ann@riverside.org>  Mon, 01 Jan 2024",
         {{"ann@riverside.org", "Ann Green"}}},
        {"Copyright (C) 1996-1999 Ann Green <ann@riverside.org>",
         {{"ann@riverside.org", "Ann Green"}}},
        {"  * 2024 <ann@riverside.org>", {{"ann@riverside.org"}}},
    };
    for (const PositiveCase& c : cases) {
        SCOPED_TRACE(c.text);
        const std::vector<Sighting> found = findIn(c.text);
        ASSERT_EQ(found.size(), c.expected.size()) << ::testing::PrintToString(addresses(found));
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].what, FindKind::Email);
            EXPECT_EQ(found[i].address, c.expected[i].address);
            EXPECT_EQ(found[i].name, c.expected[i].name);
            EXPECT_EQ(found[i].kind, c.expected[i].kind);
            EXPECT_EQ(found[i].reserved, c.expected[i].reserved);
            EXPECT_EQ(found[i].domain,
                      c.expected[i].address.substr(c.expected[i].address.rfind('@') + 1));
        }
    }
}

TEST(AddressFinder, IgnoresWhatOnlyLooksLikeAnAddress) {
    const std::vector<std::string> cases = {
        "logo@2x.png",
        "a@b",
        "user@localhost",
        "pkg@1.2.3",
        "name@domain",
        "foo@bar",
        "@@",
        "import from '@types/node'",
        "@media screen { }",
        "x@1.5x.jpg",
        "icon@2x.webp",
        "lodash@4.17.21",
        "a@co.uk",
        "a@xn--zzzz.de",
        "ann.green@riverside.\nexample.org",
        "ann.green\n@riverside.example.org",
        "ann@mail.riverside.\nexample.org",
        "a..b@riverside.org",
        "a.@riverside.org",
        "ann@-riverside.org",
        "ann at riverside.org",
        "https://ann@riverside.org/",
        "x%FF@riverside.org",
        "ann [at] riverside",
        "we met at noon",
        "mailto:",
        "mailto:?subject=hi",
        "%40riverside.org &#64; (at) [at]",
        std::string(70, 'a') + "@riverside.org",
        "Message-ID: <20240101.abc@mail.riverside.org>",
        "> > Content-ID: <part1.x@riverside.org>",
        "References: <a1@riverside.org> <a2@riverside.org>",
        "Received: from mx by relay id 4711@relay.riverside.org",
    };
    for (const std::string& text : cases) {
        EXPECT_EQ(addresses(findIn(text, {.webAddresses = false, .phoneRegion = {}})),
                  std::vector<std::string>{})
            << text;
    }
}

TEST(AddressFinder, KindsByLocalPart) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"noreply", "no-reply"},
        {"No-Reply", "no-reply"},
        {"no_reply", "no-reply"},
        {"donotreply", "no-reply"},
        {"do-not-reply", "no-reply"},
        {"do_not_reply", "no-reply"},
        {"MAILER-DAEMON", "no-reply"},
        {"bounce", "no-reply"},
        {"bounces-42", "no-reply"},
        {"noreply-billing", "no-reply"},
        {"info", "role"},
        {"Sales", "role"},
        {"support+ticket", "role"},
        {"hr", "role"},
        {"webmaster", "role"},
        {"ann.green", "personal"},
        {"information.desk", "personal"},
        {"salesman", "personal"},
        {"", "personal"},
    };
    for (const auto& [local, kind] : cases) {
        EXPECT_STREQ(addressKind(local), kind.c_str()) << local;
    }
}

TEST(AddressFinder, PlacesEachFindByLineOffsetAndContext) {
    Finders finders;
    TextPiece piece;
    piece.origin.source = "book.pdf";
    piece.origin.page = 3;
    piece.text = "first line\nsecond\tline has ann@riverside.org in it\r\nthird bob@riverside.org";
    piece.firstLine = 10;
    piece.firstOffset = 1000;
    std::vector<Sighting> out;
    finders.find(piece, out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].line, 11);
    EXPECT_EQ(out[0].offset, 1000 + static_cast<std::int64_t>(piece.text.find("ann@")));
    EXPECT_EQ(out[0].context,
              "first line second line has ann@riverside.org in it third bob@riverside.org");
    EXPECT_EQ(out[0].origin.source, "book.pdf");
    EXPECT_EQ(out[0].origin.page, 3);
    EXPECT_EQ(out[1].line, 12);
    EXPECT_EQ(out[1].offset, 1000 + static_cast<std::int64_t>(piece.text.find("bob@")));

    // Forty code points either side, never half of one.
    std::string wide;
    for (int i = 0; i < 60; ++i) {
        wide += "é";
    }
    const std::vector<Sighting> found = findIn(wide + " ann@riverside.org " + wide);
    ASSERT_EQ(found.size(), 1u);
    std::string expected;
    for (int i = 0; i < 39; ++i) {
        expected += "é";
    }
    EXPECT_EQ(found[0].context, expected + " ann@riverside.org " + expected);
}

TEST(AddressFinder, PunycodeAndUnicodeDomainsGiveOneKey) {
    const std::vector<Sighting> found =
        findIn("Ann@xn--bcher-kva.de, Ann@BÜCHER.de, Ann@bücher.de and Ann@XN--BCHER-KVA.DE");
    ASSERT_EQ(found.size(), 4u);
    for (const Sighting& s : found) {
        EXPECT_EQ(s.address, "Ann@bücher.de");
        EXPECT_EQ(s.domain, "bücher.de");
    }
}

TEST(AddressFinder, NamesFromTheDecodersHints) {
    const std::vector<NameHint> hints = {{"Ann@XN--BCHER-KVA.DE", "Ann Green"},
                                         {"someone@else.org", "Someone Else"}};
    const std::vector<Sighting> found =
        findIn("Bob <Ann@bücher.de> ann@bücher.de Carol <carol@riverside.org>", {}, hints);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].name, "Ann Green");  // the hint wins over the text
    EXPECT_EQ(found[1].name, "");           // the local part is compared as written
    EXPECT_EQ(found[2].name, "Carol");
}

TEST(AddressFinder, ToleratesAnyBytes) {
    std::string noise;
    unsigned state = 12345;
    for (int i = 0; i < 200000; ++i) {
        state = state * 1103515245u + 12345u;
        const char pick[] = "@&#%x40;.:/[](at)dot mailto http\xC3\xA9\xE2\x82\n-a1";
        noise += (state >> 24) % 3 == 0 ? static_cast<char>(state >> 16)
                                        : pick[(state >> 16) % (sizeof(pick) - 1)];
    }
    FinderOptions options;
    options.phoneRegion = "GB";
    EXPECT_NO_THROW(findIn(noise, options));
}

}  // namespace
}  // namespace harvest
