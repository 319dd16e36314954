#include <gtest/gtest.h>

#include <chrono>

#include "MailHeaderParser.h"
#include "MailRunFixture.h"
#include "RunErrors.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;

// One message read with From, To and CC ticked: the records it leaves
// (KeyWord, DisplayName, EmailAddress), first occurrence or every occurrence.
struct MessageCase {
    std::string file;
    int16_t every;
    Rows records;
};

class MessageRecords : public testing::TestWithParam<MessageCase> {};

TEST_P(MessageRecords, OneRecordPerPersonThenSubjectAndSent) {
    MailRun run(AllAddressHeaders(GetParam().every));
    ASSERT_TRUE(run.set_up);
    run.Process(MailFixture(GetParam().file));
    EXPECT_EQ(run.People(), GetParam().records);
}

const Rows kPlainCrLf = {
    {"From:", "Marta Quill", " marta.quill@example.com\r"},
    {"To:", "Devon", "ark <devon@example.org>"},
    {"To:", "", "ops-team@example.com\r"},
    {"CC:", "Ines Albright", " ines@example.net\r"},
    {"Subject:", " Quarterly supplier list\r", ""},
    {"Sent:", " Tuesday, March 3, 2026 10:15 AM\r", ""},
};

const Rows kPlainLf = {
    {"From:", "Marta Quill", " marta.quill@example.com"},
    {"To:", "Devon", "ark <devon@example.org>"},
    {"To:", "", "ops-team@example.com"},
    {"CC:", "Ines Albright", " ines@example.net"},
    {"Subject:", " Quarterly supplier list", ""},
    {"Sent:", " Tuesday, March 3, 2026 10:15 AM", ""},
};

INSTANTIATE_TEST_SUITE_P(
    Messages, MessageRecords,
    testing::Values(MessageCase{"plain_crlf.eml", 0, kPlainCrLf},
                    MessageCase{"plain_lf.eml", 0, kPlainLf},
                    // First occurrence: the reply's own header, and the quoted CC line
                    // since it is the first "CC:" in the text.
                    MessageCase{"reply_quoted.eml",
                                0,
                                {{"From:", "Devon", "ark <devon@example.org>\r"},
                                 {"To:", "Marta Quill", " marta.quill@example.com\r"},
                                 {"CC:", "Ines Albright", " ines@example.net\r"},
                                 {"Subject:", " RE: Quarterly supplier list\r", ""},
                                 {"Sent:", " Wednesday, March 4, 2026 8:02 AM\r", ""}}},
                    // Every occurrence: the quoted header block adds its rows; a person
                    // found again under the same header name is a repeat.
                    MessageCase{"reply_quoted.eml",
                                1,
                                {{"From:", "Devon", "ark <devon@example.org>\r"},
                                 {"From:", "Marta Quill", " marta.quill@example.com\r"},
                                 {"To:", "Marta Quill", " marta.quill@example.com\r"},
                                 {"To:", "Devon", "ark <devon@example.org>"},
                                 {"To:", "", "ops-team@example.com\r"},
                                 {"CC:", "Ines Albright", " ines@example.net\r"},
                                 {"Subject:", " RE: Quarterly supplier list\r", ""},
                                 {"Subject:", " Quarterly supplier list\r", ""},
                                 {"Sent:", " Wednesday, March 4, 2026 8:02 AM\r", ""},
                                 {"Sent:", " Tuesday, March 3, 2026 10:15 AM\r", ""}}},
                    MessageCase{"digest.txt",
                                1,
                                {{"From:", "", "gardening-club-request@example.org"},
                                 {"From:", "Lena", "rtiz <lena.ortiz@example.com>"},
                                 {"From:", "Tom Birch", " tbirch@example.net"},
                                 {"To:", "", "gardening-club@example.org"},
                                 {"Subject:", " Gardening Club Digest, Vol 12, Issue 4", ""},
                                 {"Subject:", " Seed swap", ""},
                                 {"Subject:", " Re: Seed swap", ""},
                                 {"Sent:", " Friday, May 8, 2026 6:00 AM", ""},
                                 {"Sent:", " Thursday, May 7, 2026 7:41 PM", ""},
                                 {"Sent:", " Thursday, May 7, 2026 9:12 PM", ""}}},
                    // "To:" wrapped after a comma is one header; the CC line wrapped
                    // inside a person loses its continuation.
                    MessageCase{"wrapped.eml",
                                0,
                                {{"From:", "Priya", "atarajan <priya@example.com>\r"},
                                 {"To:", "", "alpha@example.com"},
                                 {"To:", "", "bravo@example.com"},
                                 {"To:", "", "charlie@example.com"},
                                 {"To:", "", "delta@example.com\r"},
                                 {"CC:", "Owen Marsh", " owen@example.org"},
                                 {"CC:", "Lucia Vega", "\r"},
                                 {"Subject:", " Venue shortlist\r", ""},
                                 {"Sent:", " Monday, June 1, 2026 2:30 PM\r", ""}}},
                    MessageCase{"quoted_names.eml",
                                0,
                                {{"From:", "", "\"Hollis"},
                                 {"From:", "", "Grace\" grace.hollis@example.com\r"},
                                 {"To:", "Ben Okafor", " ben.okafor@example.org"},
                                 {"To:", "Rafael", "rafael@example.org>"},
                                 {"To:", "Sanne", "e Vries <sanne@example.net>"},
                                 {"To:", "noreply\r", ""},
                                 {"Subject:", " Board minutes\r", ""},
                                 {"Sent:", " Thursday, June 4, 2026 4:45 PM\r", ""}}},
                    // "from:" in lower case is found; empty and blank address lines add
                    // nothing.
                    MessageCase{"empty_to.eml",
                                1,
                                {{"From:", "Kit", "orrow <kit@example.com>\r"},
                                 {"Subject:", " lunch friday?\r", ""},
                                 {"Sent:", " Friday, June 5, 2026 11:20 AM\r", ""}}},
                    // The last line has no line feed: its "To:" gives nothing.
                    MessageCase{"no_final_lf.eml",
                                1,
                                {{"From:", "Ada", "rook <ada@example.com>\r"},
                                 {"Subject:", " Truncated save\r", ""},
                                 {"Sent:", " Saturday, June 6, 2026 9:00 AM\r", ""}}},
                    MessageCase{"no_headers.txt", 1, {}}, MessageCase{"not_a_message.bin", 1, {}}),
    [](const testing::TestParamInfo<MessageCase>& info) {
        std::string name = info.param.file.substr(0, info.param.file.find('.'));
        return name + (info.param.every == 1 ? "_Every" : "_First");
    });

TEST(MailListSetUp, FieldListFollowsTheOptionalFields) {
    struct Case {
        bool fileName, time;
        std::vector<std::string> fields;
    };
    for (const Case& c :
         {Case{false, false, {"KeyWord", "DisplayName", "EmailAddress", "No"}},
          Case{true, false, {"KeyWord", "DisplayName", "EmailAddress", "FileName", "No"}},
          Case{false, true, {"KeyWord", "DisplayName", "EmailAddress", "ProcessTime", "No"}},
          Case{true,
               true,
               {"KeyWord", "DisplayName", "EmailAddress", "FileName", "ProcessTime", "No"}}}) {
        MailListOptions options;
        options.chkFileName = c.fileName;
        options.chkTime = c.time;
        MailRun run(options);
        ASSERT_TRUE(run.set_up);
        EXPECT_EQ(run.arrColumns, c.fields);
        EXPECT_EQ(run.table().columns(), c.fields);
        // The heading record names each field.
        EXPECT_EQ(run.Records(), Rows{c.fields});
    }
}

// To alone ticked: the message's From and CC headers give nothing.
TEST(MailListRecords, OptionalFieldsAndRisingNumbers) {
    MailListOptions options;
    options.chkTo = true;
    options.chkFileName = options.chkTime = true;
    options.intUseFileName = options.intUseTime = 1;
    MailRun run(options);
    run.Process(MailFixture("plain_lf.eml"), "C:\\mail\\plain_lf.eml");
    const Rows expected = {
        {"To:", "Devon", "ark <devon@example.org>", "C:\\mail\\plain_lf.eml", "Mar-7-26 9:05", "1"},
        {"To:", "", "ops-team@example.com", "C:\\mail\\plain_lf.eml", "Mar-7-26 9:05", "2"},
        {"Subject:", " Quarterly supplier list", "", "C:\\mail\\plain_lf.eml", "Mar-7-26 9:05",
         "3"},
        {"Sent:", " Tuesday, March 3, 2026 10:15 AM", "", "C:\\mail\\plain_lf.eml", "Mar-7-26 9:05",
         "4"}};
    EXPECT_EQ(run.Records(), expected);
    // One yield per header name: "To:", "Subject:", "Sent:".
    EXPECT_EQ(run.pump.count, 3);
}

// Across files: the working tables keep every file's rows, so earlier rows
// are written again and removed as repeats; after each file the record then
// standing first is deleted.
TEST(MailListAcrossFiles, RepeatsRemovedAndFirstRecordDeletedAfterEachFile) {
    MailListOptions options = AllAddressHeaders();
    options.chkFileName = true;
    options.intUseFileName = 1;
    MailRun run(options);
    run.Process(MailFixture("plain_lf.eml"), "a.eml");
    ASSERT_EQ(run.Column("No"), (std::vector<std::string>{"1", "2", "3", "4", "5", "6"}));

    run.Process(MailFixture("empty_to.eml"), "b.eml");
    // Record 1 (Marta under From:, a.eml) is gone; her repeat written for
    // b.eml (No 7) now heads its group and stays.
    const Rows expected = {
        {"To:", "Devon", "ark <devon@example.org>", "a.eml", "2"},
        {"To:", "", "ops-team@example.com", "a.eml", "3"},
        {"CC:", "Ines Albright", " ines@example.net", "a.eml", "4"},
        {"Subject:", " Quarterly supplier list", "", "a.eml", "5"},
        {"Sent:", " Tuesday, March 3, 2026 10:15 AM", "", "a.eml", "6"},
        {"From:", "Marta Quill", " marta.quill@example.com", "b.eml", "7"},
        {"From:", "Kit", "orrow <kit@example.com>\r", "b.eml", "8"},
        {"Subject:", " lunch friday?\r", "", "b.eml", "13"},
        {"Sent:", " Friday, June 5, 2026 11:20 AM\r", "", "b.eml", "15"},
    };
    EXPECT_EQ(run.Records(), expected);
    EXPECT_EQ(run.mail.intRecordNo(), 15);
}

TEST(MailListAcrossFiles, SameFileTwiceKeepsOneRecordPerPerson) {
    MailRun run(AllAddressHeaders());
    const std::string text = MailFixture("plain_crlf.eml");
    run.Process(text);
    run.Process(text);
    // The second pass deleted record 1, so its repeat (No 7) is kept at the
    // end; every other repeat went.
    Rows expected(kPlainCrLf.begin() + 1, kPlainCrLf.end());
    expected.push_back(kPlainCrLf[0]);
    EXPECT_EQ(run.People(), expected);
    EXPECT_EQ(run.Column("No"), (std::vector<std::string>{"2", "3", "4", "5", "6", "7"}));
}

TEST(MailListAcrossFiles, SamePersonUnderToAndCcOrWithCrIsNotARepeat) {
    MailRun run(AllAddressHeaders());
    run.Process(
        "From: a@example.com\r\nTo: bo@example.com, cy@example.com\nCC: bo@example.com\n"
        "Subject: x\n\nFrom: a@example.com\n");
    EXPECT_EQ(run.People(), (Rows{{"From:", "", "a@example.com\r"},
                                  {"To:", "", "bo@example.com"},
                                  {"To:", "", "cy@example.com"},
                                  {"CC:", "", "bo@example.com"},
                                  {"Subject:", " x", ""}}));
}

TEST(MailListCancel, StopsAtTheYieldAndKeepsWhatWasWritten) {
    for (long cancelAt : {1L, 3L, 5L}) {
        MailRun run(AllAddressHeaders());
        run.pump.at(cancelAt, [&] { run.intCancel = 1; });
        run.Process(MailFixture("plain_crlf.eml"));
        // No end-of-file deletion: the heading record still stands first.
        Rows expected = {{"KeyWord", "DisplayName", "EmailAddress"}};
        const size_t recordsBefore[] = {0, 0, 1, 3, 4, 5};
        expected.insert(expected.end(), kPlainCrLf.begin(),
                        kPlainCrLf.begin() + static_cast<long>(recordsBefore[cancelAt]));
        EXPECT_EQ(run.People(), expected) << "cancel at yield " << cancelAt;
        EXPECT_EQ(run.pump.count, cancelAt);
    }
}

// Builds a message whose "To:" header lists `count` distinct addresses.
std::string ManyRecipients(int count) {
    std::string text = "From: Sender <sender@example.com>\r\nTo: ";
    text.reserve(static_cast<size_t>(count) * 24 + 100);
    for (int i = 0; i < count; ++i) {
        text += (i ? ", " : "") + ("p" + std::to_string(i) + "@example.com");
    }
    return text + "\r\nSubject: Everyone\r\n\r\nHello.\r\n";
}

TEST(MailListBadInput, FortyThousandRecipientsOverflowQuicklyKeepingRecords) {
    MailRun run(AllAddressHeaders());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(run.Process(ManyRecipients(40000)), OverflowError);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_LT(elapsed, std::chrono::seconds(5));
    // The counter stopped at its largest value; the records written before
    // (heading and sender) stay, and no deletion was made.
    EXPECT_EQ(run.mail.parser().intRecipientNo, 32767);
    EXPECT_EQ(run.mail.parser().rstRecipients.rowCount(), 32767u);
    EXPECT_EQ(run.People(), (Rows{{"KeyWord", "DisplayName", "EmailAddress"},
                                  {"From:", "Sender", "sender@example.com>\r"}}));
}

TEST(MailListBadInput, RecordNumberOverflowStopsWritingAndKeepsRecords) {
    // 20,000 people per file fit the recipient counter once, but the second
    // file writes the first file's rows again and the record number passes
    // 32,767 while writing.
    MailListOptions options;
    options.chkTo = true;
    MailRun run(options);
    run.Process(ManyRecipients(20000));
    EXPECT_EQ(run.table().rowCount(), 20001u);  // people, subject
    std::string second = ManyRecipients(10000);
    EXPECT_THROW(run.Process(second), OverflowError);
    EXPECT_EQ(run.mail.intRecordNo(), 32767);
    // Everything written stays; the failed file made no deletion.
    EXPECT_EQ(run.table().rowCount(), 32767u);
}

}  // namespace
