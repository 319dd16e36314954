// A whole harvest over folders of real-looking sources: every kind decoded,
// found, validated, deduplicated and placed; bad sources reported without
// losing the others; a run that is stopped keeps what it found.
#include "Harvester.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <cstdio>
#include <map>

#include "ArchiveWriting.h"
#include "TempDir.h"

namespace harvest {
namespace {

struct Outcome {
    std::vector<Contact> contacts;
    std::vector<Sighting> sightings;
    std::vector<Problem> problems;
    bool finished = false;
};

Outcome harvestPaths(std::vector<std::string> paths) {
    HarvestOptions options;
    options.paths = std::move(paths);
    Harvester harvester(options);
    std::atomic<bool> cancel{false};
    Outcome run;
    run.finished = harvester.run(cancel);
    run.contacts = harvester.contacts();
    harvester.sightings().forEach([&](const Sighting& s) { run.sightings.push_back(s); });
    run.problems = harvester.problems();
    return run;
}

const Contact* findContact(const Outcome& run, const std::string& address) {
    for (const Contact& c : run.contacts) {
        if (c.address == address) {
            return &c;
        }
    }
    return nullptr;
}

std::string problemsText(const Outcome& run) {
    std::string text;
    for (const Problem& p : run.problems) {
        text += p.source + ": " + p.reason + "\n";
    }
    return text;
}

const char* const kMessage =
    "Return-Path: <carol@mail.de>\r\n"
    "Received: from relay (relay.mail.de [192.0.2.1]) by mx id 4711@relay.mail.de\r\n"
    "From: =?UTF-8?B?Q2Fyb2wgSMO2bGw=?= <carol@mail.de>\r\n"
    "To: team@firm.com\r\n"
    "Message-ID: <20240101.abc@mail.de>\r\n"
    "Subject: hello\r\n"
    "MIME-Version: 1.0\r\n"
    "Content-Type: text/plain; charset=utf-8\r\n"
    "Content-Transfer-Encoding: quoted-printable\r\n"
    "\r\n"
    "Write to erin.long-name@resea=\r\nrch.firm.com soon.\r\n";

TEST(Harvester, MixedFolderGivesCleanContactsWithTheirPlaces) {
    TempDir dir;
    dir.write("docs/a-notes.txt",
              "Contact (ann.green@riverside.example.org), not logo@2x.png or @types/node.\n");
    dir.write("docs/b-page.html",
              "<html><body><p>Ask <a href=\"mailto:bob@shop.co.uk\">Bob Stone</a></p></body>"
              "</html>");
    dir.write("docs/c-message.eml", kMessage);
    dir.write("docs/d-archive.zip", testing::zip({{"inner/d.txt", "Dave: dave@firm.com\n"}}));
    Outcome run = harvestPaths({dir.file("docs")});
    EXPECT_TRUE(run.finished);
    EXPECT_TRUE(run.problems.empty()) << problemsText(run);

    struct Expected {
        const char* address;
        const char* name;
        const char* kind;
        bool reserved;
        const char* firstSource;
    };
    const std::vector<Expected> expected = {
        {"ann.green@riverside.example.org", "", "personal", true, "docs/a-notes.txt"},
        {"bob@shop.co.uk", "Bob Stone", "personal", false, "docs/b-page.html"},
        {"carol@mail.de", "Carol H\xC3\xB6ll", "personal", false, "docs/c-message.eml"},
        {"team@firm.com", "", "role", false, "docs/c-message.eml"},
        {"erin.long-name@research.firm.com", "", "personal", false, "docs/c-message.eml"},
        {"dave@firm.com", "", "personal", false, "docs/d-archive.zip!inner/d.txt"},
    };
    for (const Expected& e : expected) {
        const Contact* c = findContact(run, e.address);
        ASSERT_NE(c, nullptr) << e.address;
        EXPECT_EQ(c->name, e.name) << e.address;
        EXPECT_EQ(c->kind, e.kind) << e.address;
        EXPECT_EQ(c->reserved, e.reserved) << e.address;
        EXPECT_EQ(c->firstSource, dir.file(e.firstSource)) << e.address;
    }
    for (const Contact& c : run.contacts) {
        if (c.kind != "web") {
            EXPECT_TRUE(c.address.find("2x.png") == std::string::npos &&
                        c.address.find("abc@") == std::string::npos &&
                        c.address.find("4711@") == std::string::npos)
                << "not an address: " << c.address;
        }
    }
    // Contacts come in the order of their first sighting: sources as sorted.
    EXPECT_EQ(run.contacts.front().address, "ann.green@riverside.example.org");
    for (const Sighting& s : run.sightings) {
        if (s.address == "carol@mail.de" && s.origin.field == "From") {
            EXPECT_EQ(s.origin.messageId, "20240101.abc@mail.de");
        }
    }
}

TEST(Harvester, MaildirMessagesAndPhoneNumbersOnRequest) {
    TempDir dir;
    dir.write("Maildir/cur/1700000000.1.host:2,S",
              "From: Gus <gus@firm.com>\nDate: Mon, 1 Jan 2024\nSubject: call\n\n"
              "Ring 020 7946 0958 or see https://Firm.COM:443/team#top\n");
    dir.write("Maildir/new/1700000001.2.host", "From: hal@firm.com\nDate: x\n\nhi\n");
    dir.write("Maildir/tmp/.keep", "");
    HarvestOptions options;
    options.paths = {dir.file("Maildir")};
    options.finders.phoneRegion = "GB";
    Harvester harvester(options);
    std::atomic<bool> cancel{false};
    ASSERT_TRUE(harvester.run(cancel));
    std::vector<std::string> found;
    for (const Contact& c : harvester.contacts()) {
        found.push_back(c.address + " " + c.kind + " " + c.name);
    }
    EXPECT_EQ(found,
              (std::vector<std::string>{"gus@firm.com personal Gus", "+442079460958 phone ",
                                        "https://firm.com/team web ", "hal@firm.com personal "}));
}

TEST(Harvester, BadSourcesAreProblemsOfTheirOwnAndTheOthersAreRead) {
    TempDir dir;
    std::string zip = testing::zip({{"a.txt", std::string(5000, 'a') + " zed@firm.com"}});
    zip[zip.size() / 2] ^= 0x55;
    zip[zip.size() / 2 + 1] ^= 0x55;
    dir.write("1-broken.zip", zip.substr(0, zip.size() - 40));
    dir.write("2-truncated.pdf", "%PDF-1.4\n1 0 obj << /Type /Catalog");
    dir.write("3-binary.bin", std::string("\0\xFF\xFE ok@firm.com \0\x80", 20));
    dir.write("4-good.txt", "good@firm.com");
    Outcome run = harvestPaths({dir.path()});
    EXPECT_NE(findContact(run, "ok@firm.com"), nullptr);
    EXPECT_NE(findContact(run, "good@firm.com"), nullptr);
    std::map<std::string, int> problemsBySource;
    for (const Problem& p : run.problems) {
        ++problemsBySource[p.source.substr(dir.path().size() + 1, 5)];
    }
    EXPECT_GE(problemsBySource["1-bro"], 1) << problemsText(run);
    EXPECT_GE(problemsBySource["2-tru"], 1) << problemsText(run);
}

TEST(Harvester, ContainersNestedTwentyDeepStopAtTheLimitWithAProblem) {
    TempDir dir;
    std::string inner = "deepest@firm.com";
    for (int level = 20; level >= 1; --level) {
        inner = testing::zip({{"level" + std::to_string(level) + ".txt",
                               "level" + std::to_string(level) + "@firm.com"},
                              {"next.zip", inner}});
    }
    dir.write("nested.zip", inner);
    Outcome run = harvestPaths({dir.file("nested.zip")});
    EXPECT_NE(findContact(run, "level1@firm.com"), nullptr);
    EXPECT_NE(findContact(run, "level16@firm.com"), nullptr);
    EXPECT_EQ(findContact(run, "deepest@firm.com"), nullptr);
    ASSERT_EQ(run.problems.size(), 1u) << problemsText(run);
    EXPECT_NE(run.problems[0].reason.find("nested deeper"), std::string::npos);
}

TEST(Harvester, TenThousandMessagesOfAnMboxAreAllRead) {
    TempDir dir;
    std::string mbox;
    for (int i = 1; i <= 10000; ++i) {
        std::string n = std::to_string(i);
        mbox += "From sender" + n +
                "@firm.com Mon Jan  1 00:00:00 2024\n"
                "From: Sender " +
                n + " <sender" + n +
                "@firm.com>\n"
                "Message-ID: <m" +
                n +
                "@firm.com>\n"
                "Subject: note " +
                n +
                "\n\n"
                "From the desk of sender " +
                n + ".\n>From here on.\n\n";
    }
    dir.write("big.mbox", mbox);
    Outcome run = harvestPaths({dir.file("big.mbox")});
    EXPECT_TRUE(run.problems.empty()) << problemsText(run);
    ASSERT_EQ(run.contacts.size(), 10000u);
    EXPECT_EQ(run.contacts[9999].address, "sender10000@firm.com");
    EXPECT_EQ(run.contacts[9999].name, "Sender 10000");
    EXPECT_EQ(run.sightings.back().origin.message, 10000);
}

class StopAfterFirst : public HarvestObserver {
public:
    explicit StopAfterFirst(std::atomic<bool>& cancel) : cancel_(cancel) {}
    void progress(const HarvestProgress&) override {}
    void batch(const HarvestBatch& batch) override {
        if (!batch.sources.empty()) {
            cancel_.store(true);
        }
    }

private:
    std::atomic<bool>& cancel_;
};

// Everything a run hands out, one line per sighting or problem, to compare
// runs by.
std::string everything(const HarvestOptions& options) {
    Harvester harvester(options);
    std::atomic<bool> cancel{false};
    EXPECT_TRUE(harvester.run(cancel));
    std::string all;
    harvester.sightings().forEach([&](const Sighting& s) {
        all += s.address + "|" + s.name + "|" + s.origin.source + "|" +
               std::to_string(s.origin.message.value_or(0)) + "|" + s.origin.messageId + "|" +
               std::to_string(s.line) + "|" + std::to_string(s.offset) + "|" + s.origin.field +
               "|" + s.context + "\n";
    });
    for (const Problem& p : harvester.problems()) {
        all += "problem " + p.source + ": " + p.reason + "\n";
    }
    for (const Contact& c : harvester.contacts()) {
        all += "contact " + c.address + " " + c.kind + " " + std::to_string(c.sightings) + " " +
               c.firstSource;
        for (const std::string& name : c.names) {
            all += " [" + name + "]";
        }
        all += "\n";
    }
    harvester.sources().forEach(
        [&](const SourceInfo& s) { all += "source " + s.path + " " + s.kind + "\n"; });
    return all;
}

TEST(Harvester, SameOutputWhateverTheWorkersAndWhereLargeFilesAreCut) {
    TempDir dir;
    std::string text, line, mbox;
    for (int i = 0; i < 300; ++i) {
        // Every address comes back under several names, some pieces apart.
        text += "Line " + std::to_string(i) + " to Person " + std::to_string(i % 7) + " <person" +
                std::to_string(i % 11) + "@firm.com> (see https://firm.com/p/" + std::to_string(i) +
                ")\n";
        line += "x" + std::string(static_cast<std::size_t>(i % 37), 'y') + " p" +
                std::to_string(i) + "@line.org ";
        mbox += "From a@b.org Mon Jan  1 00:00:00 2024\nFrom: Writer " + std::to_string(i) + " <w" +
                std::to_string(i) + "@mail.org>\nMessage-ID: <m" + std::to_string(i) +
                "@mail.org>\n\nBody of " + std::to_string(i) + ", cc c" + std::to_string(i) +
                "@mail.org\n\n";
        if (i == 150) {
            mbox += "From nobody Mon Jan  1 00:00:00 2024\n\x01 not a message c@mail.org\n\n";
        }
    }
    dir.write("a-text.txt", text);
    dir.write("b-one-line.txt", line);
    dir.write("c-mail.mbox", mbox);
    dir.write("d-page.html", "<html><a href=\"mailto:h@page.org\">Page Person</a></html>");
    dir.write("e-archive.zip", testing::zip({{"in.txt", "z@zip.org"}}));
    HarvestOptions options;
    options.paths = {dir.path()};
    options.jobs = 1;
    options.cut.cutFrom = 1LL << 40;  // nothing cut
    const std::string reference = everything(options);
    EXPECT_NE(reference.find("message 152: not a readable mail message"), std::string::npos)
        << reference;
    options.cut.cutFrom = 1000;
    for (std::int64_t piece : {300, 1000, 4096}) {
        options.cut.pieceBytes = piece;
        for (int jobs : {1, 2, 8}) {
            options.jobs = jobs;
            EXPECT_EQ(everything(options), reference)
                << "pieces of " << piece << ", " << jobs << " jobs";
        }
    }
    // Not keeping the sightings changes nothing else: the same contacts with
    // the same counts, problems and sources.
    options.keepSightings = false;
    const std::string contactsOnly = everything(options);
    EXPECT_EQ(contactsOnly, reference.substr(reference.find("problem ")));
}

// A large page is cut before tags that start a line and its pieces are done
// apart: the same output whatever the workers, the same contacts with the
// same names and counts as the page read whole (in another order: the
// addresses of a piece's links come after its text, not after the whole
// page's), and places that keep counting on.
TEST(Harvester, LargePageInPiecesGivesTheContactsOfTheWholePage) {
    TempDir dir;
    std::string page = "<html><head><meta charset=\"utf-8\"></head><body>\n";
    for (int i = 0; i < 200; ++i) {
        const std::string n = std::to_string(i);
        page += "<p>Paragraph " + n + " &amp; more, ask <a href=\"mailto:p" + n +
                "@firm.com\">Person " + n + "</a> or write to shop" + std::to_string(i % 9) +
                "&#64;firm.com.\n</p>\n";
    }
    page += "</body></html>\n";
    dir.write("page.html", page);
    HarvestOptions options;
    options.paths = {dir.path()};
    options.cut.cutFrom = 1LL << 40;
    auto contactsOf = [](const HarvestOptions& o) {
        Harvester h(o);
        std::atomic<bool> cancel{false};
        EXPECT_TRUE(h.run(cancel));
        std::vector<std::string> all;
        for (const Contact& c : h.contacts()) {
            all.push_back(c.address + " [" + c.name + "] " + std::to_string(c.sightings));
        }
        std::sort(all.begin(), all.end());
        return all;
    };
    const std::vector<std::string> reference = contactsOf(options);
    ASSERT_EQ(reference.size(), 209u);
    EXPECT_TRUE(
        std::binary_search(reference.begin(), reference.end(), "p199@firm.com [Person 199] 1"));
    options.cut.cutFrom = 1000;
    options.cut.pieceBytes = 700;
    EXPECT_EQ(contactsOf(options), reference);
    options.jobs = 1;
    const std::string one = everything(options);
    for (int jobs : {2, 8}) {
        options.jobs = jobs;
        EXPECT_EQ(everything(options), one) << jobs << " jobs";
    }
    // Offsets of the sightings of one source only grow, piece after piece.
    Harvester h(options);
    std::atomic<bool> cancel{false};
    ASSERT_TRUE(h.run(cancel));
    std::int64_t lastOffset = -1;
    std::size_t count = 0;
    h.sightings().forEach([&](const Sighting& s) {
        if (s.address.starts_with("shop")) {
            EXPECT_GT(s.offset, lastOffset) << s.address;
            lastOffset = s.offset;
            ++count;
        }
    });
    EXPECT_EQ(count, 200u);
}

TEST(Harvester, StoppedRunKeepsAnUnbrokenRunOfTheFirstSources) {
    TempDir dir;
    for (int i = 0; i < 1000; ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "%03d.txt", i);
        dir.write(name, "person" + std::to_string(i) + "@firm.com");
    }
    HarvestOptions options;
    options.paths = {dir.path()};
    options.jobs = 2;
    Harvester harvester(options);
    std::atomic<bool> cancel{false};
    StopAfterFirst observer(cancel);
    EXPECT_FALSE(harvester.run(cancel, &observer));
    const auto& contacts = harvester.contacts();
    ASSERT_GE(contacts.size(), 1u);
    EXPECT_LT(contacts.size(), 1000u);
    for (std::size_t i = 0; i < contacts.size(); ++i) {
        EXPECT_EQ(contacts[i].address, "person" + std::to_string(i) + "@firm.com");
    }
}

}  // namespace
}  // namespace harvest
