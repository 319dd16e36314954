// `gleanmark merge` as a process: shards of a harvest split by its sorted list
// of files add up to the output of one harvest over them all, whether the
// shards are files, SQLite databases, the output of GNU parallel, or sorted
// between a mapper and a reducer.
#include <gtest/gtest.h>

#include <QStandardPaths>
#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "../harvest/ArchiveWriting.h"
#include "ProcessRun.h"
#include "TempDir.h"

namespace {

using Result = ProcessResult;

Result Gleanmark(const std::string& command, const std::vector<std::string>& args) {
    return RunProcess(GLEANMARK_BIN, {QString::fromStdString(command)}, args);
}

// A shell pipeline; GLEANMARK in it stands for the program.
Result Shell(const std::string& script) {
    return RunProcess("sh",
                      {"-c", "GLEANMARK='" GLEANMARK_BIN "'; " + QString::fromStdString(script)});
}

std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) {
        text += line + "\n";
    }
    return text;
}

// Phones are found too, so that every kind of contact goes through the shards.
const std::vector<std::string> kFind = {"--phones", "GB", "-q"};

std::vector<std::string> With(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A mixed corpus in which several addresses turn up in several files, its
// sorted list of files, and that list cut in four.
class MergeCommand : public ::testing::Test {
protected:
    void SetUp() override {
        const std::vector<std::string> people = {"Ann Green <ann.green@firm.com>",
                                                 "bob@shop.co.uk",
                                                 "Info <info@firm.com>",
                                                 "noreply@service.io",
                                                 "test@example.org",
                                                 "https://www.firm.com/contact",
                                                 "http://shop.co.uk/a?b=1",
                                                 "call 020 7946 0958",
                                                 "Carl Diaz <carl@diaz.net>",
                                                 "dana@studio.de",
                                                 "Ann <ann.green@firm.com>"};
        for (int i = 0; i < 16; ++i) {
            std::string text = "Note " + std::to_string(i) + "\n";
            for (int k = 0; k < 4; ++k) {
                text += "see " + people[(i * 3 + k * 5) % people.size()] + " here\n";
            }
            dir.write(
                "corpus/" + std::string(i % 2 ? "b/" : "a/") + "t" + std::to_string(i) + ".txt",
                text);
        }
        dir.write("corpus/a/mail.mbox",
                  "From ann Mon Jan  1 00:00:00 2024\n"
                  "From: Ann Green <ann.green@firm.com>\nTo: Erin Lake <erin@lab.edu>\n"
                  "Message-ID: <m1@firm.com>\nSubject: hi\n\nAsk bob@shop.co.uk.\n\n"
                  "From erin Mon Jan  1 00:00:00 2024\n"
                  "From: Erin <erin@lab.edu>\nMessage-ID: <m2@lab.edu>\nSubject: re\n\n"
                  "Thanks, see https://lab.edu/people\n");
        dir.write("corpus/b/page.html",
                  "<html><body><a href=\"mailto:dana@studio.de\">Dana Wolf</a> "
                  "<a href=\"https://studio.de/team\">team</a> info@firm.com</body></html>");
        dir.write("corpus/c/pack.zip",
                  harvest::testing::zip({{"inner/one.txt", "erin@lab.edu and sales@lab.edu"},
                                         {"two.html", "<p>Frank Ode &lt;frank@ode.org&gt;</p>"}}));
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(dir.file("corpus"))) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path().string());
            }
        }
        std::sort(files.begin(), files.end());
        dir.write("list.txt", Lines(files));
        const std::size_t quarter = (files.size() + 3) / 4;
        for (std::size_t part = 0; part < 4; ++part) {
            auto from = files.begin() + static_cast<std::ptrdiff_t>(part * quarter);
            auto to = files.begin() +
                      static_cast<std::ptrdiff_t>(std::min(files.size(), (part + 1) * quarter));
            parts.push_back(dir.write("part" + std::to_string(part), Lines({from, to})));
        }
    }

    // One harvest over the whole list.
    Result Single(const std::vector<std::string>& options) {
        return Gleanmark("harvest", With(With(kFind, options), {"--files-from", list()}));
    }

    // A shard per part, in the given format.
    std::vector<std::string> Shards(const std::string& extension) {
        std::vector<std::string> shards;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const std::string shard = dir.file("shard" + std::to_string(i) + extension);
            Result r =
                Gleanmark("harvest", With(kFind, {"--files-from", parts[i], "--sightings",
                                                  "--format", extension.substr(1), "-o", shard}));
            EXPECT_EQ(r.status, 0) << r.err;
            shards.push_back(shard);
        }
        return shards;
    }

    std::string list() const { return dir.file("list.txt"); }

    TempDir dir;
    std::vector<std::string> files;
    std::vector<std::string> parts;
};

const std::vector<std::vector<std::string>> kOutputs = {
    {},
    {"--sightings"},
    {"--no-reserved", "--kind", "personal,web,phone"},
    {"--format", "jsonl", "--exclude-domain", "firm.com"},
    {"--format", "csv", "--sightings", "--only-domain", "lab.edu"},
};

TEST_F(MergeCommand, ShardsOfASortedSplitGiveTheSingleRunsOutput) {
    ASSERT_EQ(files.size(), 19u);
    const std::vector<std::string> jsonl = Shards(".jsonl");
    const std::vector<std::string> sqlite = Shards(".sqlite");
    // A merge's own SQLite file is a shard of everything too.
    const std::string whole = dir.file("whole.sqlite");
    ASSERT_EQ(Gleanmark("merge", With(jsonl, {"-q", "-o", whole})).status, 0);
    const std::vector<std::vector<std::string>> shardSets = {
        jsonl, sqlite, {jsonl[0], sqlite[1], jsonl[2], sqlite[3]}, {whole}};
    for (const auto& options : kOutputs) {
        Result single = Single(options);
        ASSERT_EQ(single.status, 0) << single.err;
        ASSERT_GT(std::count(single.out.begin(), single.out.end(), '\n'), 3) << single.out;
        for (const auto& shards : shardSets) {
            Result merged = Gleanmark("merge", With(With(options, {"-q"}), shards));
            EXPECT_EQ(merged.status, 0) << merged.err;
            EXPECT_EQ(merged.err, "");
            EXPECT_EQ(merged.out, single.out) << shards[0] << " " << options.size();
        }
    }
    // The contacts cover every kind, so every way of telling kinds was used.
    const std::string contacts = Single({}).out;
    for (const char* kind : {"\tpersonal\t", "\trole\t", "\tno-reply\t", "\tweb\t", "\tphone\t"}) {
        EXPECT_NE(contacts.find(kind), std::string::npos) << kind;
    }
}

TEST_F(MergeCommand, GnuParallelWithKeptOrderGivesTheSingleRunsOutput) {
    if (QStandardPaths::findExecutable("parallel").isEmpty()) {
        GTEST_SKIP() << "GNU parallel is not installed";
    }
    for (const auto& options : {std::vector<std::string>{}, {"--sightings"}}) {
        const std::string merge = options.empty() ? "-q" : "-q --sightings";
        Result r = Shell(
            "parallel --pipe -N 3 --keep-order -j4 \"$GLEANMARK\" harvest "
            "--files-from - --format jsonl --sightings --phones GB -q < '" +
            list() + "' | \"$GLEANMARK\" merge - " + merge);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, Single(options).out);
    }
}

// address -> kind, domain, reserved and sightings, from contact rows as TSV.
std::map<std::string, std::string> ContactsByAddress(const std::string& tsv) {
    std::map<std::string, std::string> contacts;
    std::istringstream in(tsv);
    std::string line;
    std::getline(in, line);  // the header
    while (std::getline(in, line)) {
        std::vector<std::string> f;
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');) {
            f.push_back(field);
        }
        if (f.size() >= 6) {
            contacts[f[0]] = f[2] + " " + f[3] + " " + f[4] + " " + f[5];
        }
    }
    return contacts;
}

TEST_F(MergeCommand, SortedBetweenMapperAndReducerTheContactsAndCountsStay) {
    std::string mappers;
    for (const std::string& part : parts) {
        mappers +=
            "\"$GLEANMARK\" harvest --files-from - --format jsonl --sightings --phones GB "
            "-q < '" +
            part + "'; ";
    }
    Result r = Shell("(" + mappers + ") | LC_ALL=C sort | \"$GLEANMARK\" merge - -q");
    EXPECT_EQ(r.status, 0) << r.err;
    const auto single = ContactsByAddress(Single({}).out);
    EXPECT_GT(single.size(), 10u);
    EXPECT_EQ(ContactsByAddress(r.out), single);
}

TEST_F(MergeCommand, ABrokenLineIsAProblemAndTheRestIsMerged) {
    std::vector<std::string> shards = Shards(".jsonl");
    std::string text = ReadBytes(shards[1]);
    const std::size_t second = text.find('\n') + 1;
    text.insert(second, "{\"address\": broken\n");
    dir.write("shard1.jsonl", text);
    Result r = Gleanmark("merge", shards);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("gleanmark: " + shards[1] + ": line 2: not valid JSON\n"),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("4 shards, "), std::string::npos) << r.err;
    EXPECT_NE(r.err.find(", 1 problems"), std::string::npos) << r.err;
    EXPECT_EQ(r.out, Single({}).out);
}

TEST_F(MergeCommand, UsageErrorsExitTwoAndAnUnwritableOutputThree) {
    const std::string shard = dir.write("s.jsonl", "");
    const std::vector<std::pair<std::vector<std::string>, int>> cases = {
        {{}, 2},
        {{"--format", "yaml", shard}, 2},
        {{"--kind", "friend", shard}, 2},
        {{"--format", "xlsx", shard}, 2},
        {{"--stop-list", dir.file("missing"), shard}, 2},
        {{"--jobs", "2", shard}, 2},
        {{"-o", dir.file("no/such/dir/out.tsv"), shard}, 3},
        {{"-q", "-o", dir.file("out.csv"), shard}, 0},
    };
    for (const auto& [args, status] : cases) {
        Result r = Gleanmark("merge", args);
        EXPECT_EQ(r.status, status) << args.size() << ": " << r.err;
        if (status == 2) {
            EXPECT_NE(r.err.find("usage: gleanmark merge"), std::string::npos) << r.err;
        }
    }
    EXPECT_EQ(ReadBytes(dir.file("out.csv")),
              "address,name,kind,domain,reserved,sightings,first_source\r\n");
    Result help = Gleanmark("merge", {"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--only-domain"), std::string::npos);
}

}  // namespace
