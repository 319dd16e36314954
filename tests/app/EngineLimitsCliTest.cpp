// The command line at the engine's limits: very many keywords, a run that
// would walk words for minutes and is interrupted, and position numbers that
// overflow.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>
#include <random>

#include "ProcessRun.h"
#include "TempDir.h"

namespace {

QProcess* Start(QProcess& p, const std::vector<std::string>& args) {
    QStringList list{"run"};
    for (const auto& a : args) {
        list << QString::fromStdString(a);
    }
    p.start(GLEANMARK_BIN, list);
    return p.waitForStarted() ? &p : nullptr;
}

// The largest resident size of any finished child of this test, in MB.
long PeakChildMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss / 1024;
}

TEST(EngineLimits, FortyThousandKeywordsOverASmallFileInSecondsAndBoundedMemory) {
    TempDir dir;
    std::string keys;
    for (int i = 0; i < 40000; ++i) {
        keys += " kw" + std::to_string(i) + " \t1, 2\r\n";
    }
    const std::string keyFile = dir.write("keys.txt", keys);
    const std::string card = dir.write("card.txt", "Card kw17 Ann Green kw39999 Bob Brown end \n");
    QProcess p;
    ASSERT_TRUE(Start(p, {"--keywords", keyFile, card}));
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_LT(timer.elapsed(), 20000) << "ms";
    EXPECT_EQ(p.exitCode(), 0);
    const std::string out = p.readAllStandardOutput().toStdString();
    // One row: 17 empty fields, "Ann Green", ..., "Bob Brown" in the last one.
    EXPECT_EQ(out.rfind(std::string(17, '\t') + "Ann Green\t", 0), 0u) << out.substr(0, 80);
    const std::string last = "\tBob Brown\r\n";
    EXPECT_EQ(out.substr(out.size() - last.size()), last);
    // Every keyword column once kept a copy of all names: gigabytes.
    EXPECT_LT(PeakChildMegabytes(), 200);
}

TEST(EngineLimits, InterruptDuringALongWordWalkEndsSoonAndKeepsTheWordsFound) {
    // Long words that share nothing: every word taken must be sought in every
    // word after it, so the walk to word 32767 takes minutes.
    TempDir dir;
    std::mt19937 random(5);
    std::string text = "Intro Key: alpha beta";
    for (int i = 0; i < 40000; ++i) {
        text += ' ';
        for (int k = 0; k < 150; ++k) {
            text += static_cast<char>('a' + random() % 26);
        }
    }
    const std::string keyFile = dir.write("walk.txt", " Key: \t1, 2, 32767\r\n");
    const std::string big = dir.write("big.txt", text + " \n");
    QProcess p;
    ASSERT_TRUE(Start(p, {"--keywords", keyFile, big}));
    p.waitForFinished(1500);
    ASSERT_EQ(p.state(), QProcess::Running) << "the walk should still be going";
    QElapsedTimer timer;
    timer.start();
    ::kill(static_cast<pid_t>(p.processId()), SIGINT);
    ASSERT_TRUE(p.waitForFinished(30000));
    EXPECT_LT(timer.elapsed(), 3000) << "ms from Ctrl+C to the end";
    EXPECT_EQ(p.exitCode(), 130);  // ended by Ctrl+C
    EXPECT_EQ(p.readAllStandardOutput().toStdString(), "alpha beta\r\n");
}

TEST(EngineLimits, OverflowingPositionIsReportedPerFileAndTheRunGoesOn) {
    TempDir dir;
    const std::string keyFile = dir.write("keys.txt", " Name: \t1\r\n Phone: \t40000\r\n");
    const std::string ann = dir.write("ann.txt", "Card Name: Ann Phone: 555 \n");
    const std::string bob = dir.write("bob.txt", "Card Name: Bob Phone: 666 \n");
    const ProcessResult r = RunProcess(GLEANMARK_BIN, {"run"}, {"--keywords", keyFile, ann, bob});
    EXPECT_EQ(r.status, 0);
    // Each file keeps what it found before the overflow.
    EXPECT_EQ(r.out, "Ann\t\r\nBob\t\r\n");
    std::string expected;
    for (const std::string& file : {ann, bob}) {
        expected +=
            "The file '" + file + "' has problem: 6,Overflow\r\n So, it can not be processed!\n";
    }
    EXPECT_EQ(r.err, expected);
}

// A closing script mark right in front of an opening one would be removed for
// ever. No one can press Cancel on the command line: the loop counts as a
// Cancel press, named on standard error, and the run ends as after Cancel.
TEST(EngineLimits, EndlessRemovalCountsAsCancelAndNamesTheFile) {
    TempDir dir;
    const std::string first = dir.write("first.txt", "see http://a.test/x \n");
    const std::string loop = dir.write("loop.html", "<p>a SCRIPT><SCRIPT b http://b.test/y </p>");
    const std::string last = dir.write("last.txt", "see http://c.test/z \n");
    const ProcessResult r = RunProcess(
        GLEANMARK_BIN, {"run"}, {"--website", "--file-name", "--process-time", first, loop, last});
    EXPECT_EQ(r.status, 0);
    // The first file's row (site, file name, time) and nothing from the others.
    EXPECT_EQ(r.out.rfind("http://a.test/x\t" + first + "\t", 0), 0u) << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << r.out;
    EXPECT_EQ(r.err, "gleanmark: the file '" + loop +
                         "' would be processed for ever; the run is cancelled there.\n"
                         "The processing is finished, do you want to save the results?\n");
}

}  // namespace
