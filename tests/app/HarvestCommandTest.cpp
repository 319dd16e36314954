// `gleanmark harvest` as a process: formats, filters, lists of paths,
// problems, exit statuses and Ctrl+C.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "ProcessRun.h"
#include "TempDir.h"

namespace {

using Result = ProcessResult;

Result Harvest(const std::vector<std::string>& args, const std::string& input = {}) {
    return RunProcess(GLEANMARK_BIN, {"harvest"}, args, input);
}

class HarvestCommand : public ::testing::Test {
protected:
    void SetUp() override {
        dir.write("in/a.txt", "Mail (ann@firm.com), info@firm.com, test@example.org.\n");
        dir.write("in/b.html", "<html><a href=\"mailto:bob@shop.co.uk\">Bob Stone</a></html>");
        dir.write("in/c\tname.txt", "ann@firm.com again");
    }
    std::string in() const { return dir.file("in"); }
    TempDir dir;
};

const char* const kContactHeader =
    "address\tname\tkind\tdomain\treserved\tsightings\tfirst_source\n";

// Problems are listed and the run goes on.
TEST_F(HarvestCommand, WritesContactsAsTsvWithAHeaderProblemsAndASummary) {
    dir.write("in/broken.pdf", "%PDF-1.4 truncated");
    Result r = Harvest({"--no-web", in(), dir.file("missing")});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.substr(0, std::string(kContactHeader).size()), kContactHeader);
    EXPECT_NE(r.out.find("ann@firm.com\t\tpersonal\tfirm.com\tfalse\t2\t"), std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("bob@shop.co.uk\tBob Stone\tpersonal"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("info@firm.com\t\trole"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find("gleanmark: " + dir.file("in/broken.pdf") + ": "), std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("gleanmark: " + dir.file("missing") + ": cannot read"), std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("4 sources, 4 contacts, 5 sightings, 2 problems"), std::string::npos)
        << r.err;
}

TEST_F(HarvestCommand, FiltersLeaveOutWhatTheUserAsks) {
    dir.write("stop.txt", "# not these\ninfo@firm.com\nshop.co.uk\n");
    struct Case {
        std::vector<std::string> options;
        std::vector<std::string> kept;
    };
    const std::vector<Case> cases = {
        {{"--no-reserved"}, {"ann@firm.com", "info@firm.com", "bob@shop.co.uk"}},
        {{"--only-domain", "firm.com"}, {"ann@firm.com", "info@firm.com"}},
        {{"--kind", "role"}, {"info@firm.com"}},
        {{"--stop-list", dir.file("stop.txt"), "--no-reserved"}, {"ann@firm.com"}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = c.options;
        args.push_back("--no-web");
        args.push_back("-q");
        args.push_back(in());
        Result r = Harvest(args);
        ASSERT_EQ(r.status, 0) << r.err;
        size_t lines = 0;
        for (char ch : r.out) {
            lines += ch == '\n';
        }
        EXPECT_EQ(lines, c.kept.size() + 1) << c.options[0] << "\n" << r.out;
        for (const std::string& address : c.kept) {
            EXPECT_NE(r.out.find("\n" + address + "\t"), std::string::npos) << address;
        }
        EXPECT_TRUE(r.err.empty()) << r.err;
    }
}

TEST_F(HarvestCommand, ChoosesTheFormatByOptionOrByTheOutputFilesExtension) {
    struct Case {
        std::vector<std::string> options;
        const char* file;
        const char* startsWith;
    };
    const std::vector<Case> cases = {
        {{"--sightings"},
         "out.tsv",
         "address\tname\tsource\tpage\tmessage\tmessage_id\tline\toffset\tfield\tcontext\t"
         "referrer\tdepth\n"},
        {{"--format", "vcf"}, "out.txt", "BEGIN:VCARD\r\n"},
        {{}, "out.sqlite", "SQLite format 3"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args = c.options;
        for (const std::string& a :
             {std::string("-q"), std::string("-o"), dir.file(c.file), in()}) {
            args.push_back(a);
        }
        Result r = Harvest(args);
        ASSERT_EQ(r.status, 0) << c.file << r.err;
        EXPECT_EQ(ReadBytes(dir.file(c.file)).rfind(c.startsWith, 0), 0u) << c.file;
        EXPECT_TRUE(r.out.empty());
    }
}

TEST_F(HarvestCommand, ReadsPathsFromStandardInputByLineOrByNul) {
    std::string a = dir.file("in/a.txt"), b = dir.file("in/b.html");
    Result lines = Harvest({"-q", "--no-web", "--files-from", "-"}, a + "\n" + b + "\n");
    Result nul =
        Harvest({"-q", "--no-web", "--files-from", "-", "-0"}, a + std::string(1, '\0') + b);
    EXPECT_EQ(lines.status, 0) << lines.err;
    EXPECT_NE(lines.out.find("bob@shop.co.uk"), std::string::npos);
    EXPECT_EQ(lines.out, nul.out);
}

TEST_F(HarvestCommand, UsageErrorsExitTwoAndAnUnwritableOutputThree) {
    struct Case {
        std::vector<std::string> args;
        int status;
        const char* says;
    };
    const std::vector<Case> cases = {
        {{}, 2, "no PATH given"},
        {{"--format", "doc", in()}, 2, "unknown format"},
        {{"--format", "sqlite", in()}, 2, "needs a file"},
        {{"--kind", "friend", in()}, 2, "unknown kind"},
        {{"-0", in()}, 2, "-0 goes with --files-from"},
        {{"--stop-list", dir.file("none.txt"), in()}, 2, "stop list"},
        {{"-o", dir.file("no/such/folder/out.csv"), in()}, 3, "out.csv"},
    };
    for (const Case& c : cases) {
        Result r = Harvest(c.args);
        EXPECT_EQ(r.status, c.status) << c.says << "\n" << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    }
}

// A device or a pipe given as the output gets the bytes and stays what it was:
// renaming a finished file over /dev/null would put a plain file in its place.
TEST_F(HarvestCommand, OutputToANamedPipeWritesIntoThePipe) {
    const std::string fifo = dir.file("pipe");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    struct Case {
        QStringList args;
        const char* expect;
    };
    const QString in = QString::fromStdString(dir.file("in/a.txt"));
    const QString out = QString::fromStdString(fifo);
    const std::vector<Case> cases = {
        {{"harvest", "-q", "--format", "tsv", "-o", out, in}, "ann@firm.com\t"},
        {{"harvest", "-q", "--format", "sqlite", "-o", out, in}, "SQLite format 3"},
        {{"run", "--email", "--file-name", "--process-time", "-o", out, in}, "ann@firm.com"},
    };
    for (const Case& c : cases) {
        std::string received;
        std::thread reader([&] { received = ReadBytes(fifo); });
        QProcess p;
        p.start(GLEANMARK_BIN, c.args);
        p.closeWriteChannel();
        EXPECT_TRUE(p.waitForFinished(30000));
        // A reader still waiting for a writer (the pipe was never opened) is let go.
        int unblock = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
        if (unblock >= 0) {
            ::close(unblock);
        }
        reader.join();
        EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
        EXPECT_NE(received.find(c.expect), std::string::npos) << c.args.join(' ').toStdString();
        struct stat st {};
        ASSERT_EQ(::stat(fifo.c_str(), &st), 0);
        EXPECT_TRUE(S_ISFIFO(st.st_mode)) << c.args.join(' ').toStdString();
    }
}

TEST_F(HarvestCommand, CtrlCEndsWithStatus130AndStillWritesTheOutput) {
    QProcess p;
    p.start(GLEANMARK_BIN, {"harvest", "-q", "-o", QString::fromStdString(dir.file("out.tsv")),
                            "--files-from", "-"});
    ASSERT_TRUE(p.waitForStarted());
    // Ctrl+C once the program catches it, while it still reads the list.
    ASSERT_TRUE(WaitUntilCatching(p.processId(), SIGINT)) << "the program never caught Ctrl+C";
    ::kill(static_cast<pid_t>(p.processId()), SIGINT);
    QThread::msleep(100);
    p.write((dir.file("in/a.txt") + "\n").c_str());
    p.closeWriteChannel();
    ASSERT_TRUE(p.waitForFinished(30000));
    EXPECT_EQ(p.exitCode(), 130);
    EXPECT_EQ(ReadBytes(dir.file("out.tsv")).rfind(kContactHeader, 0), 0u);
}

}  // namespace
