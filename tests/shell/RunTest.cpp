// The runs end to end over real files in a temporary folder.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "FormFixture.h"
#include "ResultTable.h"
#include "RunText.h"

namespace {

using Answer = Prompts::Answer;
const std::string kSaveQuestion = "The processing is finished, do you want to save the results?";

std::vector<std::vector<std::string>> Rows(const ResultTable& t) {
    std::vector<std::vector<std::string>> rows;
    for (size_t r = 0; r < t.rowCount(); ++r) {
        std::vector<std::string> row;
        for (size_t c = 0; c < t.columnCount(); ++c) {
            row.push_back(t.value(r, c));
        }
        rows.push_back(row);
    }
    return rows;
}

class Run : public FormFixture {
protected:
    void SetUp() override { load(); }
    // E-mail with both extra columns, so that rows are written.
    // (The two boxes can only be ticked under "Process Selected Files".)
    void tickEmailWithNameAndTime() {
        form.click("Option3");
        form.click("chkFileName");
        form.click("chkTime");
        form.click("ChkEmail");
    }
    std::string notAppropriate(const std::string& path, const char* so = " So") {
        return "The file '" + path + "' is not appropriate to be processed, \r\n" + so +
               ", it will be skipped!";
    }
};

TEST_F(Run, ChosenFilesRunRecordsEveryAddressAndAsksToSave) {
    const std::string a = write("a.html", "<p>Mail <b>ann@x.org</b> or bob@y.org</p>");
    const std::string b = write("b.txt", "carl@z.net\n");
    tickEmailWithNameAndTime();
    choose({a, b});
    prompts.savePaths = {file("out.txt")};
    form.click("cmdProcessAll");
    // E-mail switches mailto on, so the mark-up stays and the two "@"
    // scanners take turns; without a space before the "@" the local part is
    // lost.
    EXPECT_EQ(ReadBytes(file("out.txt")),
              "<b>ann@x.org</b>\tbob@y.org\t" + a + "\tMar-7-26 9:05\r\n" +  //
                  "z.net\t\t" + b + "\tMar-7-26 9:05\r\n");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{kSaveQuestion});
    EXPECT_EQ(form.ctl("Option2").value, 1) << "re-initialised";
    EXPECT_TRUE(form.ctl("List2").items.empty());
    EXPECT_EQ(form.ctl("LblProgress").caption, "");
}

TEST_F(Run, TwoColumnRunWritesNoRows) {
    const std::string a = write("a.txt", "ann@x.org bob@y.org\n");
    form.click("ChkEmail");  // columns Email and MailTo only
    choose({a});
    prompts.savePaths = {file("out.txt")};
    form.click("cmdProcessAll");
    EXPECT_EQ(ReadBytes(file("out.txt")), "");
}

TEST_F(Run, RefusalsShowTheirMessageAndNoSaveQuestion) {
    form.click("ChkEmail");
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{"There is no file to be processed"});
    EXPECT_TRUE(form.runRefused);

    prompts.shown.clear();
    choose({write("a.txt", "x")});
    form.click("cmdProcessAll");  // re-initialised: nothing ticked any more
    EXPECT_EQ(
        prompts.texts(),
        std::vector<std::string>{"There is no process setting, so the files can not be process."});
    EXPECT_TRUE(form.runRefused);
}

TEST_F(Run, FilesThatCannotBeReadAreReportedAndTheNextOnesProcessed) {
    const std::string missing = file("missing.txt");
    const std::string folder = file("sub");
    std::filesystem::create_directory(folder);
    const std::string pipe = file("pipe");  // opening it would wait for a writer
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string locked = write("locked.txt", "a@b.c ");
    chmod(locked.c_str(), 0);
    const std::string empty = write("empty.txt", "");
    const std::string good = write("good.txt", std::string("a\0b ann@x.org \x01\xff", 16));
    tickEmailWithNameAndTime();
    auto problem = [](const std::string& path, const std::string& what) {
        return "The file '" + path + "' has problem: " + what + "\r\n So, it can not be processed!";
    };
    std::vector<std::string> chosen = {missing, folder, pipe, "/dev/zero"};
    std::vector<std::string> expected = {problem(missing, "53,File not found"),
                                         problem(folder, "75,Path/File access error"),
                                         problem(pipe, "75,Path/File access error"),
                                         problem("/dev/zero", "75,Path/File access error")};
    if (geteuid() != 0) {  // root reads every file
        chosen.push_back(locked);
        expected.push_back(problem(locked, "70,Permission denied"));
    }
    chosen.insert(chosen.end(), {empty, good});
    expected.insert(expected.end(), {notAppropriate(empty), kSaveQuestion});
    choose(chosen);
    prompts.savePaths = {file("out.txt")};
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(), expected);
    EXPECT_EQ(ReadBytes(file("out.txt")), "ann@x.org\t\t" + good + "\tMar-7-26 9:05\r\n");
}

TEST_F(Run, CancelAtAYieldStillLeadsToTheSaveQuestion) {
    const std::string a = write("a.txt", "to one@x.org two@x.org three@x.org four@x.org\n");
    const std::string b = write("b.txt", "to five@x.org\n");
    tickEmailWithNameAndTime();
    choose({a, b});
    form.Toolbar1_ButtonClick("Cancel");  // pressed while idle: it does not stop the run
    // Cancel inside the first file, once its second row has begun.
    pump.every = [&](long) {
        if (form.rstWF && form.rstWF->rowCount() == 2) {
            form.click("cmdCancel");
        }
    };
    prompts.savePaths = {file("out.txt")};
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{kSaveQuestion});
    const std::string out = ReadBytes(file("out.txt"));
    EXPECT_NE(out.find("one@x.org"), std::string::npos);
    EXPECT_EQ(out.find("five@x.org"), std::string::npos) << "the second file is never read";
    EXPECT_EQ(form.intCancel, 0) << "re-initialised";
}

TEST_F(Run, OnlyCancelIsAcceptedWhileARunIsUnderWay) {
    const std::string a = write("a.txt", "to one@x.org two@x.org\n");
    tickEmailWithNameAndTime();
    choose({a});
    pump.at(3, [&] {
        EXPECT_TRUE(form.running());
        EXPECT_TRUE(form.ctl("cmdCancel").enabled);
        EXPECT_FALSE(form.ctl("CmdProcess").enabled);
        form.click("ChkEmail");       // ignored
        form.click("CmdSelectall2");  // ignored
        form.setFolder("/");          // ignored
        form.Combo1_Change("zzz");    // ignored
        EXPECT_EQ(form.ctl("Dir1").path, dir.path());
        EXPECT_EQ(form.ctl("Combo1").caption, "*");
        EXPECT_EQ(form.ctl("ChkEmail").value, 1);
        EXPECT_EQ(form.ctl("List2").items.size(), 1u);
    });
    prompts.answers = {Answer::No};
    form.click("cmdProcessAll");
    EXPECT_FALSE(form.running());
    EXPECT_TRUE(form.ctl("cmdProcessAll").enabled);
    EXPECT_FALSE(form.ctl("cmdCancel").enabled);
}

TEST_F(Run, ProgressLabelShowsTheSizeInKilobytes) {
    const std::string a = write("a.txt", " a@b.c " + std::string(12639, 'x'));
    tickEmailWithNameAndTime();
    choose({a});
    std::string label;
    pump.every = [&](long) {
        if (label.empty()) {
            label = form.ctl("LblProgress").caption;
        }
    };
    prompts.answers = {Answer::No};
    form.click("cmdProcessAll");
    EXPECT_EQ(label, a + " ( 12.35k )");
    struct Case {
        uintmax_t bytes;
        const char* text;
    };
    for (const Case& c : {Case{0, "0"}, Case{512, "0.5"}, Case{1024, "1"},
                          Case{1536 * 1024, "1536"}, Case{1029, "1"}}) {
        EXPECT_EQ(KiloText(c.bytes), c.text) << c.bytes;
    }
}

TEST_F(Run, MailtoRunScansTheMarkUpAsItIs) {
    const std::string a = write("a.html", "<a href=\"mailto:ann@x.org\">write</a>\n");
    form.click("Option3");
    form.click("chkFileName");
    form.click("chkTime");
    form.click("mnuMailto");
    choose({a});
    prompts.savePaths = {file("out.txt")};
    form.click("cmdProcessAll");
    EXPECT_EQ(ReadBytes(file("out.txt")), "ann@x.org\"\t" + a + "\tMar-7-26 9:05\r\n");
}

TEST_F(Run, StripRunWritesTextFilesAndSaysSo) {
    const std::string a = write("in/index.htm", "<html><p>Hello</p><script>x</script>World</html>");
    const std::string out = file("out");
    std::filesystem::create_directory(out);
    form.click("mnuHtml");
    choose({a});
    prompts.stripDir = out;
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(),
              (std::vector<std::string>{"When Stripping HTML Tags processing is finished, please "
                                        "select a directory to save the results.",
                                        "Stripping HTML Tags processing is finished!"}));
    const std::string stripped = ReadBytes(out + "/indexhtm.txt");
    EXPECT_NE(stripped.find("Hello"), std::string::npos);
    EXPECT_EQ(stripped.find("<p>"), std::string::npos);

    // Cancelling the folder question strips nothing.
    prompts.shown.clear();
    form.click("mnuHtml");
    choose({a});
    prompts.answers = {Answer::Cancel};
    std::filesystem::remove(out + "/indexhtm.txt");
    form.click("cmdProcessAll");
    EXPECT_FALSE(std::filesystem::exists(out + "/indexhtm.txt"));
    EXPECT_EQ(prompts.shown.size(), 1u);
}

class KeywordRun : public Run {
protected:
    void prepare(const std::vector<std::string>& files) {
        form.click("ChkKeyword");
        form.rstKeyWord->add(" Name: ", "1");
        form.rstKeyWord->add(" Phone: ", "1");
        form.setCheck("chkFileName", 1);
        choose(files);
    }
};

TEST_F(KeywordRun, OneRowPerFileShownInTheGrid) {
    const std::string a = write("a.txt", "Card Name: Ann Phone: 555 \n");
    const std::string b = write("b.txt", "Card Phone: 777 Name: Bob end\n");
    prepare({a, b});
    form.click("cmdProcessAll");
    ASSERT_TRUE(form.DataGrid1);
    EXPECT_EQ(form.DataGrid1->columns(),
              (std::vector<std::string>{" Name: ", " Phone: ", "FileName"}));
    // Taking "Name:" out of the second file joins "777" and "Bob": the
    // phone keyword then reads them as one word.
    EXPECT_EQ(Rows(*form.DataGrid1),
              (std::vector<std::vector<std::string>>{{"Ann", "555", a}, {"Bob", "777Bob", b}}));
    EXPECT_TRUE(prompts.shown.empty()) << "no save question";
    EXPECT_EQ(form.ctl("Option2").value, 1);
}

TEST_F(KeywordRun, IgnoreAllSilencesFurtherProblemsAndCancelStops) {
    const std::string e1 = write("e1.txt", "");
    const std::string e2 = write("e2.txt", "");
    const std::string good = write("g.txt", "Card Name: Gil x\n");
    prepare({e1, e2, good});
    prompts.problemAnswers = {Prompts::ProblemIgnoreAll};
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.problems, std::vector<std::string>{notAppropriate(e1)});
    EXPECT_EQ(form.DataGrid1->rowCount(), 1u);

    prompts.problems.clear();
    prepare({e1, good});
    prompts.problemAnswers = {Prompts::ProblemCancel};
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.problems.size(), 1u);
    EXPECT_EQ(form.DataGrid1->rowCount(), 0u) << "Cancel ends the loop at that file";
}

class FolderRun : public Run {};

TEST_F(FolderRun, WalksSubFoldersDepthFirstOnceEach) {
    write("top/b.txt", "mail b@x.org\n");
    write("top/a.TXT", "mail a@x.org\n");
    write("top/skip.html", "mail s@x.org\n");
    write("top/z/inner.txt", "mail z@x.org\n");
    write("top/m/deep/d.txt", "mail d@x.org\n");
    write("top/m/m.txt", "mail m@x.org\n");
    write("top/.hidden/h.txt", "mail h@x.org\n");
    std::filesystem::create_directory_symlink(file("top/m"), file("top/link"));
    tickEmailWithNameAndTime();
    form.click("Option1");
    form.setCheck("ChkSbD", 1);
    form.Combo1_Change("txt");
    form.setFolder(file("top"));
    form.click("cmdProcessAll");
    ASSERT_TRUE(form.rstWF) << "the folder run keeps its table for Save Result";
    std::vector<std::string> found;
    for (const auto& row : Rows(*form.rstWF)) {
        found.push_back(row[0]);
    }
    // A folder's own files before its sub-folders, each in name order; the
    // link and the hidden folder are not entered.
    EXPECT_EQ(found,
              (std::vector<std::string>{"a@x.org", "b@x.org", "m@x.org", "d@x.org", "z@x.org"}));
    EXPECT_TRUE(prompts.shown.empty()) << "no save question";
    EXPECT_EQ(form.ctl("Dir1").path, file("top")) << "back where it started";
}

TEST_F(FolderRun, UsesItsLowerCaseWordingAndNeedsAnExtension) {
    const std::string empty = write("f/e.txt", "");
    tickEmailWithNameAndTime();
    form.click("Option1");
    form.setFolder(file("f"));
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{notAppropriate(empty, " so")});

    prompts.shown.clear();
    form.click("Option1");
    form.Combo1_Change("");
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{"Please set the file extension!"});
}

TEST_F(Run, MailListRunBindsTheGrid) {
    const std::string m =
        write("m.eml",
              "From: Ann <ann@x.org>\r\nTo: bob@y.org, carl@z.org\r\nSubject: Hi\r\n"
              "Sent: Monday\r\n\r\nBody\r\n");
    const std::string other = write("notes.doc", "From: x\r\n");
    form.click("Option4");
    form.click("chkHead");
    form.click("chkTo");
    choose({other, m});
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.problems, std::vector<std::string>{notAppropriate(other)});
    ASSERT_TRUE(form.DataGrid1);
    EXPECT_EQ(form.DataGrid1->columns(),
              (std::vector<std::string>{"KeyWord", "DisplayName", "EmailAddress", "No"}));
    // The heading record went after the file; the rest in header order.
    EXPECT_EQ(Rows(*form.DataGrid1),
              (std::vector<std::vector<std::string>>{{"To:", "", "bob@y.org", "1"},
                                                     {"To:", "", "carl@z.org\r", "2"},
                                                     {"Subject:", " Hi\r", "", "3"},
                                                     {"Sent:", " Monday\r", "", "4"}}));
}

TEST_F(Run, MailCounterOverflowIsReportedAndTheRunKeepsWhatItFound) {
    std::string to = "To: first@x.org";
    for (int i = 0; i < 40000; ++i) {
        to += ", r" + std::to_string(i) + "@x.org";
    }
    const std::string big = write("big.eml", "From: ann@x.org\r\n" + to + "\r\nSubject: All\r\n");
    const std::string after = write("after.eml", "From: zed@x.org\r\n");
    form.click("Option4");
    form.click("chkHead");
    form.click("chkFrom");
    form.click("chkTo");
    choose({big, after});
    form.click("cmdProcessAll");
    EXPECT_EQ(prompts.texts(), std::vector<std::string>{"Overflow"});
    ASSERT_TRUE(form.DataGrid1);
    // The recipients overflow their counter while the "To:" header is read:
    // the records written before it stay (the heading and the sender).
    const auto rows = Rows(*form.DataGrid1);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1][0], "From:");
    EXPECT_EQ(rows[1][2], "ann@x.org\r");
    EXPECT_FALSE(form.running());
    EXPECT_TRUE(form.ctl("cmdProcessAll").enabled) << "the window stays usable";
}

}  // namespace
