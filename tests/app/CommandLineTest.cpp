// The command line as a process: options, exit status, output and messages.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "ProcessRun.h"
#include "TempDir.h"

namespace {

using Result = ProcessResult;

Result Gleanmark(const std::vector<std::string>& args, const std::string& cwd = {}) {
    return RunProcess(GLEANMARK_BIN, {"run"}, args, {}, cwd);
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
        UsageCase{"UnknownOption", {"--bogus", "FILE"}, "Unknown option 'bogus'"},
        UsageCase{"MissingValue", {"FILE", "--keywords"}, "Missing value after '--keywords'"},
        UsageCase{"NoPath", {"--email"}, "no PATH"},
        UsageCase{"EmptyPath", {"--email", ""}, "an empty PATH"},
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

// A run that its checks refuse, or whose result file cannot be written,
// leaves an existing result file as it was.
struct OutputCase {
    const char* name;
    // OUT: the -o file; KEYS: a keyword file with a repeated name; DIR: the
    // folder of both; PAGE: a text with an address.
    std::vector<std::string> args;
    int status;
    const char* err;  // the start of standard error
};

class Output : public ::testing::TestWithParam<OutputCase> {};

TEST_P(Output, ExistingResultFileIsLeftAloneUnlessTheRunWritesIt) {
    TempDir dir;
    const std::string out = dir.write("out.txt", "earlier results\r\n");
    const std::string keys = dir.write("keys.txt", " a \t1\r\n a \t2\r\n");
    std::vector<std::string> args = GetParam().args;
    const std::string page = dir.write("page.txt", "mail ann@x.org\n");
    for (auto& a : args) {
        a = a == "OUT"    ? out
            : a == "KEYS" ? keys
            : a == "DIR"  ? dir.path()
            : a == "PAGE" ? page
                          : a;
    }
    Result r = Gleanmark(args);
    EXPECT_EQ(r.status, GetParam().status) << r.err;
    EXPECT_EQ(r.err.rfind(GetParam().err, 0), 0u) << r.err;
    EXPECT_EQ(ReadBytes(out), "earlier results\r\n");
    EXPECT_EQ(r.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Output,
    ::testing::Values(
        OutputCase{"RepeatedKeywords",
                   {"--keywords", "KEYS", "-o", "OUT", "PAGE"},
                   1,
                   "Some Keywords are same, please check"},
        OutputCase{
            "NoFunction", {"--files", "-o", "OUT", "PAGE"}, 1, "There is no process setting"},
        OutputCase{"KeywordFileThatIsADevice",
                   {"--keywords", "/dev/zero", "-o", "OUT", "PAGE"},
                   1,
                   "The keyword file '/dev/zero' can not be read.\nWhile you want"},
        OutputCase{"EmptyExtension",
                   {"--email", "--ext", "", "--directory", "DIR", "-o", "OUT"},
                   1,
                   "Please set the file extension!"},
        OutputCase{"OutputIsAFolder",
                   {"--email", "--file-name", "-o", "DIR", "PAGE"},
                   3,
                   "The processing is finished, do you want to save the results?\ngleanmark: "
                   "the result file '"},
        OutputCase{"OutputInAMissingFolder",
                   {"--email", "--file-name", "-o", "/nonexistent-gleanmark/out.txt", "PAGE"},
                   3,
                   "The processing is finished, do you want to save the results?\ngleanmark: "
                   "the result file '/nonexistent-gleanmark/out.txt' can not be written"}),
    [](const auto& info) { return std::string(info.param.name); });

// A folder run with sub-folders works inside the folder it processes; paths
// given relative still mean the folder the command was started in.
TEST(CommandLine, FolderRunWithSubFoldersAndRelativePaths) {
    TempDir dir;
    dir.write("top/a.txt", "mail a@x.org\n");
    dir.write("top/sub/b.TXT", "mail b@x.org\n");
    dir.write("top/sub/c.html", "mail c@x.org\n");
    dir.write("out/.keep", "");
    Result r = Gleanmark({"--email", "--file-name", "--process-time", "--directory", "--subdirs",
                          "--ext", "txt", "top", "-o", "out/r.txt"},
                         dir.path());
    EXPECT_EQ(r.status, 0) << r.err;
    const std::string out = ReadBytes(dir.file("out/r.txt"));
    EXPECT_EQ(out.rfind("a@x.org\t\t", 0), 0u) << out;
    EXPECT_NE(out.find("\r\nb@x.org\t\t"), std::string::npos) << out;
    EXPECT_NE(out.find("b.TXT\t"), std::string::npos) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 2);
    EXPECT_FALSE(std::filesystem::exists(dir.file("top/out")));
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

// Stripping writes text files into the folder given (made by the command);
// an empty folder strips nothing.
TEST(CommandLine, StripWritesTextFilesIntoTheFolderGiven) {
    TempDir dir;
    const std::string page = dir.write("index.htm", "<p>Hello <b>world</b></p>");
    const std::string asked =
        "When Stripping HTML Tags processing is finished, please select a directory to save the "
        "results.\n";
    for (const std::string& folder : {std::string(), dir.file("out")}) {
        Result r = Gleanmark({"--strip", folder, page}, dir.path());
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err,
                  asked + (folder.empty() ? "" : "Stripping HTML Tags processing is finished!\n"));
        const std::string written =
            ReadBytes((folder.empty() ? dir.path() : folder) + "/indexhtm.txt");
        EXPECT_EQ(written.find("Hello") != std::string::npos, !folder.empty());
    }
}

TEST(CommandLine, InterruptCancelsAndStillWritesWhatWasFound) {
    TempDir dir;
    const std::string first = dir.write("first.txt", "mail first@example.org today\n");
    std::string big;
    for (int i = 0; i < 400000; ++i) {
        big += " user" + std::to_string(i) + "@example.org" + std::string(60, 'x');
    }
    const std::string f = dir.write("big.txt", big);
    QProcess p;
    p.start(GLEANMARK_BIN, {"run", "--email", "--file-name", "--process-time",
                            QString::fromStdString(first), QString::fromStdString(f)});
    ASSERT_TRUE(p.waitForStarted());
    // The program catches Ctrl+C only while a run is under way.
    ASSERT_TRUE(WaitUntilCatching(p.processId(), SIGINT)) << "the run should be under way";
    QThread::msleep(300);  // the small file is done, the big one takes seconds
    ::kill(static_cast<pid_t>(p.processId()), SIGINT);
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(p.exitCode(), 130);
    const std::string out = p.readAllStandardOutput().toStdString();
    EXPECT_EQ(out.rfind("first@example.org", 0), 0u) << out.substr(0, 200);
    EXPECT_EQ(out.find("user399999@example.org"), std::string::npos) << "cancelled before";
    EXPECT_NE(p.readAllStandardError().toStdString().find("do you want to save the results?"),
              std::string::npos);
}

}  // namespace
