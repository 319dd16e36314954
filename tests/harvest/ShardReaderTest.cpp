// Shards read back: every field of a sighting survives the trip through JSON
// Lines or SQLite, kinds come back as the finders gave them, and a broken row
// is a problem of its own while the rest is still read.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <fstream>
#include <random>

#include "ShardReader.h"
#include "TempDir.h"
#include "Writers.h"

namespace harvest {
namespace {

// Every field of a sighting on one line, to compare and to show when they differ.
std::string fields(const Sighting& s) {
    auto opt = [](const std::optional<int>& n) { return n ? std::to_string(*n) : "-"; };
    return s.address + "|" + s.name + "|" + s.origin.source + "|" + opt(s.origin.page) + "|" +
           opt(s.origin.message) + "|" + s.origin.messageId + "|" + std::to_string(s.line) + "|" +
           std::to_string(s.offset) + "|" + s.origin.field + "|" + s.context + "|" +
           std::to_string(static_cast<int>(s.what)) + "|" + s.kind + "|" + s.domain + "|" +
           (s.reserved ? "reserved" : "");
}

struct Collect : ShardSink {
    void sighting(const Sighting& s) override { rows.push_back(fields(s)); }
    void problem(Problem p) override { problems.push_back(p.source + ": " + p.reason); }
    std::vector<std::string> rows;
    std::vector<std::string> problems;
};

// Sightings of every kind with awkward text: quotes, backslashes, control
// characters, Unicode beyond the BMP, empty and missing values.
std::vector<Sighting> generated(unsigned seed, int count) {
    const std::vector<std::string> pieces = {
        "a",        "Ann \"Q\" Green", "tab\there", "\\path\\", "línea\nnext",
        "\x01\x1f", "😀 smile",         "",          "/x"};
    struct Address {
        const char* address;
        FindKind what;
        const char* kind;
        const char* domain;
        bool reserved;
    };
    const std::vector<Address> addresses = {
        {"ann@firm.com", FindKind::Email, "personal", "firm.com", false},
        {"info@firm.com", FindKind::Email, "role", "firm.com", false},
        {"no-reply@bücher.de", FindKind::Email, "no-reply", "bücher.de", false},
        {"test@example.org", FindKind::Email, "personal", "example.org", true},
        {"https://shop.co.uk/a?b=c@d", FindKind::Web, "web", "shop.co.uk", false},
        {"http://example.com:8080/", FindKind::Web, "web", "example.com", true},
        {"+441632960961", FindKind::Phone, "phone", "", false},
    };
    std::mt19937 random(seed);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    std::vector<Sighting> out;
    for (int i = 0; i < count; ++i) {
        const Address& a = addresses[pick(addresses.size())];
        Sighting s;
        s.address = a.address;
        s.what = a.what;
        s.kind = a.kind;
        s.domain = a.domain;
        s.reserved = a.reserved;
        s.name = pieces[pick(pieces.size())];
        s.origin.source = "dir/f" + std::to_string(i) + pieces[pick(pieces.size())];
        if (pick(2) != 0) {
            s.origin.page = static_cast<int>(pick(1000)) - 1;
        }
        if (pick(2) != 0) {
            s.origin.message = static_cast<int>(pick(100000));
            s.origin.messageId = "id" + pieces[pick(pieces.size())] + "@host";
            s.origin.field = "From";
        }
        s.line = static_cast<std::int64_t>(random()) * 1000;
        s.offset = static_cast<std::int64_t>(random());
        s.context = pieces[pick(pieces.size())] + " " + a.address;
        out.push_back(std::move(s));
    }
    return out;
}

std::string writeShard(const TempDir& dir, const std::string& name, Format format,
                       const std::vector<Sighting>& sightings) {
    const std::vector<Contact> contacts;
    const std::vector<Problem> problems;
    const std::vector<SourceInfo> sources;
    std::string error;
    const std::string path = dir.file(name);
    EXPECT_TRUE(writeReport(format, {contacts, sightings, problems, sources}, true, path, error))
        << error;
    return path;
}

// The plain way to read a line: Qt's JSON parser, then the same fields.
bool referenceLine(const std::string& line, Sighting& s) {
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(QByteArray::fromStdString(line), &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject()) {
        return false;
    }
    const QJsonObject o = doc.object();
    auto text = [&](const char* key) { return o.value(key).toString().toStdString(); };
    auto whole = [&](const char* key) -> std::optional<int> {
        return o.value(key).isNull() || o.value(key).isUndefined()
                   ? std::nullopt
                   : std::optional<int>(o.value(key).toInt());
    };
    s = Sighting{};
    s.address = text("address");
    s.name = text("name");
    s.origin.source = text("source");
    s.origin.page = whole("page");
    s.origin.message = whole("message");
    s.origin.messageId = text("message_id");
    s.line = o.value("line").toInteger();
    s.offset = o.value("offset").toInteger();
    s.origin.field = text("field");
    s.context = text("context");
    SightingKinds kinds;
    return kinds.classify(s);
}

TEST(ShardReader, EverySightingComesBackFromJsonLinesAndSqlite) {
    TempDir dir;
    const std::vector<Sighting> sightings = generated(7, 400);
    std::vector<std::string> expected;
    for (const Sighting& s : sightings) {
        expected.push_back(fields(s));
    }
    for (Format format : {Format::Jsonl, Format::Sqlite}) {
        ShardReader reader;
        Collect got;
        const std::string path =
            writeShard(dir, "shard" + std::to_string(int(format)), format, sightings);
        EXPECT_TRUE(reader.read(path, got));
        EXPECT_EQ(got.problems, std::vector<std::string>{});
        ASSERT_EQ(got.rows.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(got.rows[i], expected[i]) << "row " << i;
        }
    }
}

TEST(ShardReader, ReadsLinesAsQtsJsonParserDoes) {
    TempDir dir;
    std::ifstream written(writeShard(dir, "s.jsonl", Format::Jsonl, generated(11, 300)));
    std::vector<std::string> lines;
    for (std::string line; std::getline(written, line);) {
        lines.push_back(line);
    }
    // The same objects spelt otherwise: keys in another order, spaces, escapes
    // a writer might use, keys this reader does not know.
    const std::vector<std::string> handWritten = {
        R"( { "source" : "a.txt" , "address":"ann@firm.com","line":3,"offset":-0 } )",
        R"({"address":"\u0061nn@firm.com","source":"\ud83d\ude00\/x","name":"\u00e9\t\"",)"
        R"("extra":{"k":[1,2.5e3,{"z":null}],"t":true},"page":null,"context":"\u20AC"})",
        R"({"address":"+441632960961","source":"s","page":2147483647,"message":-2147483648})",
        R"({"address":"https://b.org/","source":"s","message_id":"m@h","field":"To","x":false})",
        // A line as Hadoop hands it to a reducer: the key, a tab, no value.
        "{\"address\":\"info@firm.com\",\"source\":\"s\"}\t",
    };
    lines.insert(lines.end(), handWritten.begin(), handWritten.end());
    ShardReader reader;
    Sighting fast;
    Sighting plain;
    std::string reason;
    for (const std::string& line : lines) {
        ASSERT_TRUE(referenceLine(line, plain)) << line;
        ASSERT_TRUE(reader.parseLine(line, fast, reason)) << line << ": " << reason;
        EXPECT_EQ(fields(fast), fields(plain)) << line;
    }
}

TEST(ShardReader, ALoneSurrogateBecomesTheReplacementCharacter) {
    ShardReader reader;
    Sighting s;
    std::string reason;
    ASSERT_TRUE(reader.parseLine(
        R"({"address":"a@firm.com","source":"s","context":"\ud800x\udc00\ud800\u0041"})", s,
        reason));
    EXPECT_EQ(s.context,
              "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD"
              "A");
}

TEST(ShardReader, ALineThatIsNotASightingSaysWhy) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[1,2]", "not a JSON object"},
        {R"({"address":"a@b.org","source":"s")", "not valid JSON"},
        {R"({"address":"a@b.org","source":"s",})", "not valid JSON"},
        {R"({"address":"a@b.org","source":"s","line":01})", "not valid JSON"},
        {R"({"address":"a@b.org","source":"s\x"})", "not valid JSON"},
        {"{\"address\":\"a@b.org\",\"source\":\"tab\there\"}", "not valid JSON"},
        {R"({"address":"a@b.org","source":"s"} {})", "more than one JSON value"},
        {R"({"address":"a@b.org","source":"s","line":1.5})", "\"line\" is not a whole number"},
        {R"({"address":"a@b.org","source":"s","offset":99999999999999999999})",
         "\"offset\" is not a whole number"},
        {R"({"address":"a@b.org","source":"s","page":2147483648})", "\"page\" is out of range"},
        {R"({"address":"a@b.org","source":"s","name":7})", "\"name\" is not a string"},
        {R"({"address":null,"source":"s"})", "\"address\" is not a string"},
        {R"({"address":"","source":"s"})", "no \"address\""},
        {R"({"address":"a@b.org","kind":"personal","sightings":2})", "write shards with"},
        {R"({"address":"nobody","source":"s"})", "not an e-mail address"},
        {R"({"address":"@b.org","source":"s"})", "not an e-mail address"},
        {R"({"address":"http:///x","source":"s"})", "not an e-mail address"},
        {R"({"address":"+44 1632","source":"s"})", "not an e-mail address"},
    };
    ShardReader reader;
    Sighting s;
    for (const auto& [line, why] : cases) {
        std::string reason;
        EXPECT_FALSE(reader.parseLine(line, s, reason)) << line;
        EXPECT_NE(reason.find(why), std::string::npos) << line << ": " << reason;
    }
}

TEST(ShardReader, KindsAreWorkedOutAsTheFindersDo) {
    struct Case {
        std::string address;
        FindKind what;
        std::string kind, domain;
        bool reserved;
    };
    const std::vector<Case> cases = {
        {"Ann.Green@firm.com", FindKind::Email, "personal", "firm.com", false},
        {"postmaster@firm.com", FindKind::Email, "role", "firm.com", false},
        {"do-not-reply@firm.com", FindKind::Email, "no-reply", "firm.com", false},
        {"\"a@b\"@mail.test", FindKind::Email, "personal", "mail.test", true},
        {"https://user.example/", FindKind::Web, "web", "user.example", true},
        {"https://www.bücher.de:8443/a", FindKind::Web, "web", "www.bücher.de", false},
        {"http://shop.co.uk?q=1", FindKind::Web, "web", "shop.co.uk", false},
        {"httpd@firm.com", FindKind::Email, "personal", "firm.com", false},
        {"+12025550123", FindKind::Phone, "phone", "", false},
    };
    SightingKinds kinds;
    for (const Case& c : cases) {
        Sighting s;
        s.address = c.address;
        ASSERT_TRUE(kinds.classify(s)) << c.address;
        EXPECT_EQ(s.what, c.what) << c.address;
        EXPECT_EQ(s.kind, c.kind) << c.address;
        EXPECT_EQ(s.domain, c.domain) << c.address;
        EXPECT_EQ(s.reserved, c.reserved) << c.address;
    }
}

TEST(ShardReader, BrokenRowsAreProblemsAndTheRestIsRead) {
    TempDir dir;
    const std::string good = R"({"address":"ann@firm.com","source":"a.txt","line":1})";
    const std::string jsonl = dir.write("s.jsonl", good + "\r\n\n  \n{oops\n" + good + "\n" +
                                                       R"({"address":"x","source":"b"})" + "\n" +
                                                       good);  // no line end at the last
    ShardReader reader;
    Collect got;
    EXPECT_TRUE(reader.read(jsonl, got));
    EXPECT_EQ(got.rows.size(), 3u);
    ASSERT_EQ(got.problems.size(), 2u);
    EXPECT_EQ(got.problems[0], jsonl + ": line 4: not valid JSON");
    EXPECT_NE(got.problems[1].find(jsonl + ": line 6: the address"), std::string::npos);

    const std::string db = writeShard(dir, "s.sqlite", Format::Sqlite, generated(3, 5));
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(db.c_str(), &raw), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(raw,
                           "INSERT INTO sightings(address, source) VALUES ('nobody', 'x');"
                           "INSERT INTO sightings(address, source, line) VALUES ('a@b.org', 'x', "
                           "'three');"
                           "INSERT INTO sightings(address, source) VALUES ('a@b.org', 'x');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(raw);
    Collect fromDb;
    EXPECT_TRUE(reader.read(db, fromDb));
    EXPECT_EQ(fromDb.rows.size(), 6u);
    EXPECT_EQ(fromDb.problems,
              (std::vector<std::string>{db + ": row 6: the address is not an e-mail address, "
                                             "a web address or a phone number",
                                        db + ": row 7: a value of the wrong type"}));
}

TEST(ShardReader, AShardThatCannotBeReadIsOneProblem) {
    TempDir dir;
    const std::string other = dir.file("other.db");
    sqlite3* raw = nullptr;
    ASSERT_EQ(sqlite3_open(other.c_str(), &raw), SQLITE_OK);
    sqlite3_exec(raw, "CREATE TABLE t(x);", nullptr, nullptr, nullptr);
    sqlite3_close(raw);
    const std::string cut = dir.write("cut.sqlite", std::string("SQLite format 3\0garbage", 23));
    struct Case {
        std::string path;
        std::string problem;
    };
    const std::vector<Case> cases = {
        {dir.file("missing.jsonl"), "cannot open"},
        {other, "not a harvest's database: no such table: sightings"},
        {cut, "database"},
    };
    for (const Case& c : cases) {
        ShardReader reader;
        Collect got;
        EXPECT_FALSE(reader.read(c.path, got)) << c.path;
        ASSERT_EQ(got.problems.size(), 1u) << c.path;
        EXPECT_NE(got.problems[0].find(c.problem), std::string::npos) << got.problems[0];
    }
}

}  // namespace
}  // namespace harvest
