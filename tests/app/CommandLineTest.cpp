// The command line as a process: options, exit status, output and messages.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QProcess>

#include <algorithm>
#include <filesystem>

#include "TempDir.h"

namespace {

struct Result {
    int status;
    std::string out;
    std::string err;
};

Result Gleanmark(const std::vector<std::string>& args, const std::string& cwd = {}) {
    QProcess p;
    QStringList list{"run"};
    for (const auto& a : args) {
        list << QString::fromStdString(a);
    }
    if (!cwd.empty()) {
        p.setWorkingDirectory(QString::fromStdString(cwd));
    }
    p.start(GLEANMARK_BIN, list);
    p.waitForFinished(120000);
    return {p.exitCode(), p.readAllStandardOutput().toStdString(),
            p.readAllStandardError().toStdString()};
}

struct UsageCase {
    const char* name;
    std::vector<std::string> args;
    const char* mentions;
};

class Usage : public ::testing::TestWithParam<UsageCase> {};

TEST_P(Usage, ExitsWithStatusTwoAndTheUsageText) {
    TempDir dir;
    const std::string f = dir.write("a.txt", "x");
    std::vector<std::string> args = GetParam().args;
    for (auto& a : args) {
        if (a == "FILE") {
            a = f;
        }
    }
    Result r = Gleanmark(args);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(GetParam().mentions), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("usage: gleanmark run"), std::string::npos);
    EXPECT_EQ(r.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Usage,
    ::testing::Values(
        UsageCase{"UnknownOption", {"--bogus", "FILE"}, "unknown option --bogus"},
        UsageCase{"MissingValue", {"FILE", "--keywords"}, "missing value for --keywords"},
        UsageCase{"NoPath", {"--email"}, "no PATH"},
        UsageCase{"KeywordsAfterEmail",
                  {"--email", "--keywords", "FILE", "FILE"},
                  "--keywords conflicts with --email"},
        UsageCase{"MailOptionDisabledByWebsite",
                  {"--website", "--mail", "FILE"},
                  "--mail conflicts with --website"},
        UsageCase{"TwoProcessOptions", {"--files", "--mail", "FILE"}, "conflicting options"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CommandLine, WritesTheResultFileToStandardOutput) {
    TempDir dir;
    const std::string a = dir.write(
        "a.html", "<p>See http://a.example/x or <a href=\"mailto:ann@x.org\">Ann</a></p>");
    const std::string b = dir.write("b.txt", "write to bob@y.org\n");
    Result r = Gleanmark({"--website", "--mailto", "--file-name", a, b});
    EXPECT_EQ(r.status, 0) << r.err;
    // Mailto is on, so the mark-up stays. The FileName column is filled under
    // the ProcessTime box, so it stays empty here. The second file's only
    // pass is also its last, and the last pass of every file is deleted.
    EXPECT_EQ(r.out, "http://a.example/x\tann@x.org\"\t\r\n");
    EXPECT_EQ(r.err, "The processing is finished, do you want to save the results?\n");
}

TEST(CommandLine, OutputFileMessagesAndSkippedFiles) {
    TempDir dir;
    const std::string good = dir.write("good.txt", "mail ann@x.org\n");
    const std::string missing = dir.file("missing.txt");
    const std::string out = dir.file("out.txt");
    Result r = Gleanmark({"--email", "--file-name", "--process-time", missing, good, "-o", out});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "The file '" + missing +
                         "' has problem: 53,File not found\r\n So, it can not be processed!\n"
                         "The processing is finished, do you want to save the results?\n");
    const std::string written = ReadBytes(out);
    EXPECT_EQ(written.rfind("ann@x.org\t\t" + good + "\t", 0), 0u) << written;
}

TEST(CommandLine, RefusedRunExitsWithStatusOne) {
    TempDir dir;
    const std::string a = dir.write("a.txt", "x");
    Result r = Gleanmark({"--files", a});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "There is no process setting, so the files can not be process.\n");
    r = Gleanmark({"--keywords", dir.write("empty.txt", ""), a});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(
        r.err,
        "While you want to have the files processed by KeyWord, there should have KeyWord.\n");
}

TEST(CommandLine, FolderRunWithSubFolders) {
    TempDir dir;
    dir.write("top/a.txt", "mail a@x.org\n");
    dir.write("top/sub/b.TXT", "mail b@x.org\n");
    dir.write("top/sub/c.html", "mail c@x.org\n");
    Result r = Gleanmark({"--email", "--file-name", "--process-time", "--directory", "--subdirs",
                          "--ext", "txt", dir.file("top")});
    EXPECT_EQ(r.status, 0) << r.err;
    const std::string a = "a@x.org\t\t" + dir.file("top/a.txt") + "\t";
    const std::string b = "b@x.org\t\t" + dir.file("top/sub/b.TXT") + "\t";
    ASSERT_EQ(r.out.rfind(a, 0), 0u) << r.out;
    EXPECT_NE(r.out.find("\r\n" + b), std::string::npos) << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 2);
    EXPECT_EQ(r.err, "");
}

TEST(CommandLine, KeywordAndMailRuns) {
    TempDir dir;
    const std::string keys = dir.write("keys.txt", " Name: \t1, 2\r\n");
    const std::string card = dir.write("card.txt", "Card Name: Ann Green Phone: 555 \n");
    Result r = Gleanmark({"--keywords", keys, card});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "Ann Green\r\n");

    const std::string msg =
        dir.write("m.eml", "From: ann@x.org\r\nTo: bob@y.org\r\nSubject: Hi\r\n\r\nBody\r\n");
    r = Gleanmark({"--mail", "--heading", "--to", msg, card});
    EXPECT_EQ(r.status, 0) << r.err;
    // The second file has no headers, but the first file's rows are written
    // again for it; the first record is deleted after each file and the
    // repeated subject removed.
    EXPECT_EQ(r.out, "Subject:\t Hi\r\t\t2\r\nTo:\t\tbob@y.org\r\t3\r\n");
    EXPECT_EQ(r.err, "");
}

TEST(CommandLine, StripWritesOnlyTextFiles) {
    TempDir dir;
    const std::string page = dir.write("index.htm", "<p>Hello <b>world</b></p>");
    const std::string out = dir.file("out");  // made by the command
    Result r = Gleanmark({"--strip", out, page});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              "When Stripping HTML Tags processing is finished, please select a directory to save "
              "the results.\nStripping HTML Tags processing is finished!\n");
    EXPECT_NE(ReadBytes(out + "/indexhtm.txt").find("Hello"), std::string::npos);
}

TEST(CommandLine, InterruptCancelsAndStillWritesWhatWasFound) {
    // The second file is a pipe: the run waits for its text, so Ctrl+C comes
    // while the run is under way however fast it is.
    TempDir dir;
    const std::string first = dir.write("first.txt", "mail user0@example.org today\n");
    const std::string pipe = dir.file("second.txt");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    QProcess p;
    p.start(GLEANMARK_BIN, {"run", "--email", "--file-name", "--process-time",
                            QString::fromStdString(first), QString::fromStdString(pipe)});
    ASSERT_TRUE(p.waitForStarted());
    const int writer = ::open(pipe.c_str(), O_WRONLY);  // returns once the run reads it
    ASSERT_GE(writer, 0);
    ::kill(static_cast<pid_t>(p.processId()), SIGINT);
    const std::string more = "mail user1@example.org and user2@example.org\n";
    ASSERT_EQ(::write(writer, more.data(), more.size()), static_cast<ssize_t>(more.size()));
    ::close(writer);
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitCode(), 0);
    const std::string out = p.readAllStandardOutput().toStdString();
    EXPECT_EQ(out.rfind("user0@example.org", 0), 0u);
    EXPECT_EQ(out.find("user2@example.org"), std::string::npos) << "cancelled before";
    EXPECT_NE(p.readAllStandardError().toStdString().find("do you want to save the results?"),
              std::string::npos);
}

}  // namespace
